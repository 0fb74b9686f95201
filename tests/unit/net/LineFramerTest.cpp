#include <gtest/gtest.h>
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>
#include "net/LineFramer.h"

namespace {

using namespace std::string_literals;

void TakeLines(CLineFramer& framer, std::vector<std::string>& lines) {
    for (auto line = framer.NextLine(); !line.empty(); line = framer.NextLine()) {
        lines.emplace_back(line.begin(), line.end());
        std::fill(line.begin(), line.end(), '\n');  // a line is the receiver's to write in
    }
}

TEST(LineFramer, LinesAreTheSameHoweverTheBytesArrive) {
    const std::string bytes = "one\ntwo\r\n\n\n{\"id\":3}\nwith a \0 byte\nunfinished"s;
    const std::vector<std::string> expected = {"one\n\0"s, "two\r\n\0"s,      "\n\0"s,
                                               "\n\0"s,    "{\"id\":3}\n\0"s, "with a \0 byte\n\0"s};
    for (std::size_t piece = 1; piece <= bytes.size(); ++piece) {
        CLineFramer framer('\n');
        std::vector<std::string> lines;
        for (std::size_t i = 0; i < bytes.size(); i += piece) {
            framer.Add(std::string_view(bytes).substr(i, piece));
            TakeLines(framer, lines);
        }
        EXPECT_EQ(lines, expected) << "in pieces of " << piece;
        framer.Clear();
        framer.Add(std::string_view("b\n"));
        TakeLines(framer, lines);
        EXPECT_EQ(lines.back(), "b\n\0"s) << "without the unfinished line";
    }
}

// Would run into the time limit if the cost of a line grew with what stands behind or before it.
TEST(LineFramer, ManyLinesInOnePieceAndOneLineInManyPieces) {
    constexpr std::size_t kLines = 200'000;
    CLineFramer framer('\n');
    std::string bytes;
    for (std::size_t i = 0; i < kLines; ++i)
        bytes += "0123456789abcdef\n";
    std::vector<std::string> lines;
    framer.Add(bytes);
    TakeLines(framer, lines);
    EXPECT_EQ(lines.size(), kLines);

    const std::string piece(4096, 'x');
    for (std::size_t sent = piece.size(); sent <= kMaximumPendingBytes; sent += piece.size()) {
        framer.Add(piece);
        ASSERT_TRUE(framer.NextLine().empty());
        ASSERT_EQ(framer.IsOverLimit(), sent == kMaximumPendingBytes) << sent;
    }
}

TEST(LineFramer, MemoryDoesNotGrowWithTheStream) {
    CLineFramer framer('\n');
    std::vector<std::string> lines;
    for (int i = 0; i < 20'000; ++i) {
        framer.Add(std::string_view("e\nlin"));
        TakeLines(framer, lines);
    }
    EXPECT_EQ(lines.size(), 20'000u);
    EXPECT_LT(framer.Capacity(), 128u * 1024);
}

}  // namespace
