// Decodes character and entity references in arbitrary text.
#include "catalogue/xml/TBXML.h"

#include <cstdint>
#include <cstdlib>

namespace {

void check(bool condition)
{
    if (!condition)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QString decoded = TBXML::stringByDecodingXMLEntities(text);
    // A reference only ever shrinks, to one unit, and nothing appears without an '&'.
    check(decoded.size() <= text.size());
    check(text.contains(u'&') || decoded == text);
    check(decoded.count(u'&') <= text.count(u'&'));
    return 0;
}
