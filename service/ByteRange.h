#pragma once

#include <cstdint>
#include <string_view>

namespace service {

// What a "Range" header asks of a body of a given size. Only single byte ranges
// are honoured; any other form is ignored and the whole body is sent.
struct ByteRange {
    enum class Kind {
        whole,         // no usable header: 200 with everything
        partial,       // 206 with [first, last]
        unsatisfiable, // 416
    };

    Kind kind = Kind::whole;
    std::uint64_t first = 0;
    std::uint64_t last = 0; // inclusive

    std::uint64_t length() const { return kind == Kind::partial ? last - first + 1 : 0; }

    static ByteRange parse(std::string_view header, std::uint64_t size);
};

} // namespace service
