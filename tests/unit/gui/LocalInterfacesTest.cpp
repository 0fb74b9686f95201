#include "gui/LocalInterfaces.h"

#include <gtest/gtest.h>

namespace {

TEST(LocalInterfaces, HaveTextsAndEndWithLoopback) {
    const std::vector<LocalInterface> interfaces = LocalInterfaces();
    ASSERT_FALSE(interfaces.empty());
    EXPECT_EQ(interfaces.back().address, 16777343u);
    for (const LocalInterface& entry : interfaces) {
        EXPECT_FALSE(entry.text.empty());
        EXPECT_NE(entry.address, 0u);
    }
    for (std::size_t i = 0; i + 1 < interfaces.size(); ++i)
        EXPECT_NE(interfaces[i].address & 0xFF, 127u) << "loopback stands last";
}

}  // namespace
