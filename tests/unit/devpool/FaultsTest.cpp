#include "devpool_core/Faults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace {

TEST(Faults, GarbageIsSingleLinesThatDifferAndRepeat) {
    std::set<std::string> seen;
    for (std::size_t i = 0; i < GarbageLines(); ++i) {
        const std::string line = GarbageLine(i);
        EXPECT_EQ(line.find('\n'), std::string::npos) << i;
        EXPECT_TRUE(seen.insert(line).second) << i;
        EXPECT_EQ(line, GarbageLine(i + GarbageLines()));
    }
}

}  // namespace
