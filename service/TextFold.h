#pragma once

#include <string>
#include <string_view>

namespace service {

// UTF-8 text as code points in lower case, for case-blind search: ASCII, Latin-1,
// Latin Extended-A, Greek and Cyrillic capitals are folded. A byte that starts no
// valid sequence stands for itself.
std::u32string foldCase(std::string_view utf8);

} // namespace service
