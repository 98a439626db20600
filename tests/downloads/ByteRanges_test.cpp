// The bookkeeping of a partial file: which bytes it has, what is still to be
// fetched in chunks, and the record kept beside it.
#include "downloads/ByteRanges.h"

#include <gtest/gtest.h>

using Range = ByteRanges::Range;

TEST(ByteRanges, PiecesMergeAndWhatIsMissingComesInChunks)
{
    ByteRanges have(100);
    EXPECT_EQ(have.missing(30), (QList<Range>{{0, 30}, {30, 60}, {60, 90}, {90, 100}}));
    have.add(10, 10);
    have.add(40, 5);
    have.add(20, 5); // touches the first: one range
    EXPECT_EQ(have.ranges(), (QList<Range>{{10, 25}, {40, 45}}));
    have.add(0, 200); // past the end counts up to it
    EXPECT_TRUE(have.isComplete());
    EXPECT_EQ(have.doneBytes(), 100);

    ByteRanges some(100);
    some.add(5, 10);
    some.add(50, 50);
    EXPECT_EQ(some.missing(20), (QList<Range>{{0, 5}, {15, 35}, {35, 50}}));
    EXPECT_TRUE(some.contains(60, 40));
    EXPECT_FALSE(some.contains(10, 10));
    EXPECT_EQ(some.doneBytes(), 60);
    // Overlapping writes count once.
    some.add(40, 20);
    EXPECT_EQ(some.doneBytes(), 70);
    EXPECT_TRUE(ByteRanges().missing(10).isEmpty()); // no total, nothing to split
}

TEST(ByteRanges, TheRecordRoundTripsAndADamagedOneIsNone)
{
    ByteRanges have(1000);
    have.add(0, 100);
    have.add(500, 200);
    const auto read = ByteRanges::fromRecord(have.record());
    ASSERT_TRUE(read);
    EXPECT_EQ(read->total(), 1000);
    EXPECT_EQ(read->ranges(), have.ranges());

    for (const QByteArray& damaged :
         {QByteArray(), QByteArray("melodrift partial 1\ntotal x\n"), QByteArray("melodrift partial 1\nhave 0 10\n"),
          QByteArray("melodrift partial 1\ntotal 10\nhave 5 20\n"), QByteArray("melodrift partial 1\ntotal 10\nhave 5 5\n"),
          QByteArray("melodrift partial 2\ntotal 10\n"), have.record().left(35)})
        EXPECT_FALSE(ByteRanges::fromRecord(damaged)) << damaged.toStdString();
}
