#include "service/TextFold.h"

namespace service {

namespace {

char32_t lower(char32_t c)
{
    if ((c >= U'A' && c <= U'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7))
        return c + 0x20;
    if (c >= 0x100 && c <= 0x17F) {
        if (c == 0x178)
            return 0xFF;
        // Upper case sits on even code points here, except in the two runs
        // between 0x139 and 0x148 and from 0x179 on, where it sits on odd ones.
        const bool oddUpper = (c >= 0x139 && c <= 0x148) || c >= 0x179;
        if (c == 0x130 || c == 0x131 || c == 0x138 || c == 0x149 || c == 0x17F)
            return c;
        return ((c & 1) == 1) == oddUpper ? c + 1 : c;
    }
    if ((c >= 0x391 && c <= 0x3AB && c != 0x3A2) || (c >= 0x410 && c <= 0x42F))
        return c + 0x20;
    if (c >= 0x400 && c <= 0x40F)
        return c + 0x50;
    return c;
}

// Length of the sequence starting at text[i] and its code point; 0 when invalid.
std::size_t decode(std::string_view text, std::size_t i, char32_t& out)
{
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    std::size_t length = 0;
    char32_t c = 0;
    if (lead < 0x80)
        return out = lead, 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        length = 2, c = lead & 0x1F;
    else if (lead >= 0xE0 && lead <= 0xEF)
        length = 3, c = lead & 0x0F;
    else if (lead >= 0xF0 && lead <= 0xF4)
        length = 4, c = lead & 0x07;
    else
        return 0;
    if (i + length > text.size())
        return 0;
    for (std::size_t k = 1; k < length; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80)
            return 0;
        c = (c << 6) | (byte(i + k) & 0x3F);
    }
    out = c;
    return length;
}

} // namespace

std::u32string foldCase(std::string_view utf8)
{
    std::u32string folded;
    folded.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) {
        char32_t c = 0;
        const std::size_t length = decode(utf8, i, c);
        if (length == 0) {
            folded.push_back(static_cast<unsigned char>(utf8[i]));
            ++i;
            continue;
        }
        folded.push_back(lower(c));
        i += length;
    }
    return folded;
}

} // namespace service
