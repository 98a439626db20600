#pragma once

#include <cstddef>

// Decodes HTML character references (the named ones of HTML 4.01 plus "&apos;",
// and "&#NNN;" / "&#xHHH;") into UTF-8. The output is never longer than the input:
// dest needs room for strlen(src) + 1 bytes. With src null, dest is decoded in place.
// Unknown or malformed references are copied unchanged. Writes a terminating zero
// byte and returns the number of bytes before it.
std::size_t decode_html_entities_utf8(char* dest, const char* src);
