#pragma once

#include <string>
#include <string_view>

namespace service {

// Text for XML content and attributes: the five special characters as entities,
// other UTF-8 as it stands; control characters XML cannot carry are dropped.
std::string escapeXml(std::string_view text);

// Text for an HTML attribute the way the watch pages carried it: "&amp;",
// "&quot;", "&lt;", "&gt;", and a numeric reference for "'" and every
// character beyond ASCII.
std::string escapeHtml(std::string_view utf8);

// Text for a JSON string inside a <script> element: quotes, backslashes and
// control characters escaped, and "<", ">" and "&" as \u escapes so that no
// "</script>" or comment can end the element; other UTF-8 as it stands.
std::string escapeJson(std::string_view utf8);

} // namespace service
