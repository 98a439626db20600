#include "service/ByteRange.h"

#include <gtest/gtest.h>

using service::ByteRange;
using Kind = ByteRange::Kind;

TEST(ByteRange, AnswersWhatTheHeaderAsks)
{
    const struct {
        const char* header;
        std::uint64_t size;
        Kind kind;
        std::uint64_t first = 0, last = 0;
    } cases[] = {
        // What a player seeking in a stream sends; an end past the body is cut to it.
        {"bytes=0-", 1000, Kind::partial, 0, 999},
        {"bytes=999-999", 1000, Kind::partial, 999, 999},
        {"bytes=900-5000", 1000, Kind::partial, 900, 999},
        // The last n bytes, all of them when n is larger.
        {"bytes=-100", 1000, Kind::partial, 900, 999},
        // Blanks and case are not held against the client.
        {"  Bytes = 1 - 2 ", 1000, Kind::partial, 1, 2},
        // Starts at or past the end.
        {"bytes=1000-", 1000, Kind::unsatisfiable},
        {"bytes=-0", 1000, Kind::unsatisfiable},
        {"bytes=0-", 0, Kind::unsatisfiable},
        // Anything else is ignored and the whole body sent.
        {"", 1000, Kind::whole},
        {"bytes=5-1", 1000, Kind::whole},
        {"bytes=0-1,5-9", 1000, Kind::whole},
        {"bytes=1-2x", 1000, Kind::whole},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.header) + " of " + std::to_string(c.size));
        const ByteRange range = ByteRange::parse(c.header, c.size);
        EXPECT_EQ(range.kind, c.kind);
        if (c.kind == Kind::partial && range.kind == Kind::partial) {
            EXPECT_EQ(range.first, c.first);
            EXPECT_EQ(range.last, c.last);
            EXPECT_EQ(range.length(), c.last - c.first + 1);
        }
    }
}
