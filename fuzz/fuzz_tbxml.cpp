// Builds an XML document from arbitrary bytes and walks all of it through the query
// operations, checking how the records must hang together for any input.
#include "catalogue/xml/TBXML.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

void check(bool condition)
{
    if (!condition)
        std::abort();
}

void walkAttributes(const TBXMLElement* element)
{
    for (const TBXMLAttribute* a = element->firstAttribute; a; a = a->next) {
        const std::string_view name = a->name;
        check(!name.empty() && name.find_first_of(" \t\n\v\f\r") == std::string_view::npos);
        const TBXMLAttribute* first = element->firstAttribute;
        while (name != first->name)
            first = first->next;
        const std::optional<QString> value = TBXML::valueOfAttributeNamed(name, element);
        check(value && *value == QString::fromUtf8(first->value));
    }
}

// Depth first over everything reachable from the root; returns the element names in that order.
std::string walk(const TBXMLElement* root, std::size_t limit)
{
    std::string names;
    std::size_t visited = 0;
    std::vector<const TBXMLElement*> stack{root};
    while (!stack.empty()) {
        const TBXMLElement* element = stack.back();
        stack.pop_back();
        check(++visited <= limit); // each element takes at least "<" and an end byte

        const std::string_view name = element->name;
        check(name.find_first_of(" /\n") == std::string_view::npos);
        check(TBXML::elementName(element).isEmpty() == name.empty());
        check(TBXML::textForElement(element).isEmpty() == (!element->text || !*element->text));
        walkAttributes(element);
        names.append(name).push_back('\0');

        const TBXMLElement* previous = nullptr;
        std::vector<const TBXMLElement*> children;
        for (const TBXMLElement* child = element->firstChild; child; child = child->nextSibling) {
            check(child->parentElement == element);
            check(child->previousSibling == previous);
            if (previous)
                check(TBXML::nextSiblingNamed(child->name, previous) == child);
            // The first child of that name: this one or one before it.
            const TBXMLElement* named = TBXML::childElementNamed(child->name, element);
            check(named && std::string_view(named->name) == child->name);
            while (named && named != child)
                named = named->nextSibling;
            check(named == child);
            children.push_back(child);
            previous = child;
        }
        check(element->currentChild == previous);
        stack.insert(stack.end(), children.rbegin(), children.rend());
    }
    return names;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    platform::Error error;
    const TBXML doc(bytes, &error);
    const TBXMLElement* root = doc.rootXMLElement();
    check(error.code == (size == 0 ? TBXML::DataNil : root ? 0 : TBXML::DecodeFailure));
    check(!root || (!root->parentElement && !root->previousSibling && !root->nextSibling));
    const std::string names = root ? walk(root, size / 2) : std::string();

    // Text that survives the trip through UTF-16 makes the same tree.
    const QString text = QString::fromUtf8(bytes.data(), static_cast<qsizetype>(size));
    if (text.toUtf8() == QByteArrayView(bytes.data(), static_cast<qsizetype>(size))) {
        const TBXML again(text);
        check((again.rootXMLElement() ? walk(again.rootXMLElement(), size / 2) : std::string()) == names);
    }
    return 0;
}
