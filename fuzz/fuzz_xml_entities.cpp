// Decodes character and entity references in arbitrary text, against a plain in-place
// decoder that edits its copy with one replacement per reference.
#include "catalogue/xml/TBXML.h"
#include "core/html_entities.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

void check(bool condition)
{
    if (!condition)
        std::abort();
}

// The unit a reference candidate ("&...;") stands for, or 0.
char16_t unitOf(const QString& candidate)
{
    const qsizetype length = candidate.size();
    if (candidate[1] == u'#') {
        const bool hex = candidate[2] == u'x' || candidate[2] == u'X';
        const qsizetype first = hex ? 3 : 2;
        if (first >= length - 1)
            return 0;
        std::uint64_t value = 0;
        for (qsizetype i = first; i < length - 1; ++i) {
            const char16_t c = candidate[i].unicode();
            int digit = -1;
            if (c >= '0' && c <= '9')
                digit = c - '0';
            else if (hex && c >= 'a' && c <= 'f')
                digit = c - 'a' + 10;
            else if (hex && c >= 'A' && c <= 'F')
                digit = c - 'A' + 10;
            if (digit < 0)
                return 0;
            value = value * (hex ? 16 : 10) + static_cast<std::uint64_t>(digit);
        }
        if (value >= 0xD800 && value <= 0xDFFF)
            return u'\uFFFD';
        return value >= 1 && value <= 65534 ? static_cast<char16_t>(value) : 0;
    }
    std::string name;
    for (qsizetype i = 1; i < length; ++i) {
        if (candidate[i].unicode() > 0x7F)
            return 0;
        name += static_cast<char>(candidate[i].unicode());
    }
    const std::optional<char32_t> code = html_entity_code_point(name);
    return code ? static_cast<char16_t>(*code) : 0;
}

QString decodeInPlace(QString s)
{
    for (qsizetype amp = s.lastIndexOf(u'&'); amp >= 0; amp = amp > 0 ? s.lastIndexOf(u'&', amp - 1) : -1) {
        const qsizetype semicolon = s.indexOf(u';', amp);
        const qsizetype length = semicolon - amp + 1;
        if (semicolon < 0 || length < 4 || length > 10)
            continue;
        if (const char16_t unit = unitOf(s.mid(amp, length)))
            s.replace(amp, length, QChar(unit));
    }
    return s;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QString decoded = TBXML::stringByDecodingXMLEntities(text);
    check(decoded == decodeInPlace(text));
    // A reference only ever shrinks, to one unit, and nothing changes without an '&'.
    check(decoded.size() <= text.size());
    check(text.contains(u'&') || decoded == text);
    check(decoded.count(u'&') <= text.count(u'&'));
    return 0;
}
