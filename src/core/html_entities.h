#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

// Decodes HTML character references (the named ones of HTML 4.01 plus "&apos;",
// and "&#NNN;" / "&#xHHH;") into UTF-8. The output is never longer than the input:
// dest needs room for strlen(src) + 1 bytes. With src null, dest is decoded in place.
// Unknown or malformed references are copied unchanged. Writes a terminating zero
// byte and returns the number of bytes before it.
std::size_t decode_html_entities_utf8(char* dest, const char* src);

// The code point of a named reference of that table: name with its trailing ";"
// and without the "&" ("amp;"), case-sensitive.
std::optional<char32_t> html_entity_code_point(std::string_view name);
