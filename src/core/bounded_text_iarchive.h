#pragma once

#include <boost/archive/text_iarchive.hpp>
#include <boost/serialization/collection_size_type.hpp>

#include <cstddef>
#include <istream>
#include <string>

// A text archive reader for input from the network: a declared string length or
// collection count that the rest of the input could not possibly hold is refused
// before anything is allocated for it.
class bounded_text_iarchive : public boost::archive::text_iarchive_impl<bounded_text_iarchive> {
public:
    // input_size: bytes the stream holds from its current position; every element
    // of a collection takes at least min_element_bytes of them.
    bounded_text_iarchive(std::istream& is, std::size_t input_size, std::size_t min_element_bytes);

private:
    friend class boost::archive::detail::interface_iarchive<bounded_text_iarchive>;
    friend class boost::archive::load_access;

    using text_iarchive_impl::load;
    void load(std::string& s);
    void load(boost::serialization::collection_size_type& count);

    std::size_t remaining();
    [[noreturn]] void refuse();

    std::istream::pos_type start_;
    std::size_t input_size_;
    std::size_t min_element_bytes_;
};
