#include <gtest/gtest.h>

#include "common/Format.h"

namespace {

TEST(FormatTo, CutsAndTerminatesWhatDoesNotFit) {
    char text[6] = "*****";
    EXPECT_EQ(FormatTo(std::span(text).first(5), "%d", 1234), 4);
    EXPECT_STREQ(text, "1234");
    EXPECT_EQ(FormatTo(std::span(text).first(4), "%d", 5678), -1);
    EXPECT_STREQ(text, "567");
    EXPECT_EQ(FormatTo(std::span(text).first(0), "%d", 7), -1);
}

}  // namespace
