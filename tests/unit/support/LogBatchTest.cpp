#include "support/LogBatch.h"

#include <gtest/gtest.h>

namespace {

TEST(LogBatch, GivesBackWhatItTookInOrder) {
    CLogBatch batch;
    ASSERT_TRUE(batch.Add({{5}, LogTextKind::Narrow, "first"}));
    ASSERT_TRUE(batch.Add({{-7}, LogTextKind::Wide, ""}));
    ASSERT_TRUE(batch.Add({{9}, LogTextKind::Narrow, "x"}));

    LogEntry entry;
    ASSERT_TRUE(batch.Next(entry));
    EXPECT_EQ(entry.time.ticks, 5);
    EXPECT_EQ(entry.bytes, "first");
    ASSERT_TRUE(batch.Next(entry));
    EXPECT_EQ(entry.time.ticks, -7);
    EXPECT_EQ(entry.kind, LogTextKind::Wide);
    EXPECT_EQ(entry.bytes, "");
    ASSERT_TRUE(batch.Next(entry));
    EXPECT_EQ(entry.bytes, "x");
    EXPECT_FALSE(batch.Next(entry));

    batch.Clear();
    EXPECT_TRUE(batch.IsEmpty());
    EXPECT_FALSE(batch.Next(entry));
}

TEST(LogBatch, RefusesWhatWouldPassItsLimit) {
    CLogBatch batch;
    const std::string large(CLogBatch::kMaxBytes / 4, 'x');
    int taken = 0;
    while (batch.Add({{1}, LogTextKind::Narrow, large}))
        ++taken;
    EXPECT_EQ(taken, 3);  // the fourth does not fit because of what is stored with each
    EXPECT_TRUE(batch.Add({{1}, LogTextKind::Narrow, "a short one still fits"}));
    batch.Clear();
    EXPECT_TRUE(batch.Add({{1}, LogTextKind::Narrow, large}));
}

}  // namespace
