#include "support/TrafficLine.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace std::string_view_literals;

TEST(TrafficLine, MarksDoublesTrimsAndAppendsTheError) {
    struct Case {
        bool sent;
        std::string_view text;
        std::uint32_t error;
        std::string_view line;
    };
    const Case cases[] = {
        {true, "{\"id\":1}\n", 0, "-> {\"id\":1}"},
        {false, "a%b\n", 0, "<- a%%b"},
        {false, "\n\n", 0, "<-"},
        {true, "", 0, "->"},
        {true, "%%%", 0, "-> %%%%%%"},
        {false, "x\x01y\x01", 0, "<- x|y|"},
        {false, "keep \t inside \t\r\n", 0, "<- keep \t inside"},
        {true, "x", 255, "-> x - Error:000000FF"},
        {true, "\r\n", 10054, "-> - Error:00002746"},
        {true, "x", 0xFFFFFFFFu, "-> x - Error:FFFFFFFF"},
        {false, "zero\0inside"sv, 0, "<- zero\0inside"sv},
    };
    for (const Case& c : cases) {
        std::vector<char> buffer(TrafficLineBytes(c.text, c.error));  // exactly: a write past the end is caught
        EXPECT_EQ(WriteTrafficLine(buffer, c.sent, c.text, c.error), c.line);
    }
}

}  // namespace
