#pragma once

#include <any>
#include <map>
#include <typeindex>

namespace urdl {

// A bag of options keyed by their type: setting an option of a type that is
// already there replaces it; an option never set reads as its default.
class option_set {
public:
    template <typename Option>
    void set_option(const Option& option)
    {
        options_[std::type_index(typeid(Option))] = option;
    }

    template <typename Option>
    Option get_option() const
    {
        const auto it = options_.find(std::type_index(typeid(Option)));
        return it == options_.end() ? Option() : std::any_cast<const Option&>(it->second);
    }

    template <typename Option>
    void clear_option()
    {
        options_.erase(std::type_index(typeid(Option)));
    }

    // Takes every option of other, replacing those of the same type.
    void set_options(const option_set& other)
    {
        for (const auto& [type, value] : other.options_)
            options_[type] = value;
    }

private:
    std::map<std::type_index, std::any> options_;
};

} // namespace urdl
