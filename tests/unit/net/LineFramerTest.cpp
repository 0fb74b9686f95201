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
    }
}

TEST(LineFramer, ClearForgetsTheUnfinishedLine) {
    CLineFramer framer(';');
    std::vector<std::string> lines;
    framer.Add(std::string_view("a;half"));
    TakeLines(framer, lines);
    framer.Clear();
    framer.Add(std::string_view("b;"));
    TakeLines(framer, lines);
    EXPECT_EQ(lines, (std::vector{"a;\0"s, "b;\0"s}));
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
    for (std::size_t sent = 0; sent + piece.size() < kMaximumPendingBytes; sent += piece.size()) {
        framer.Add(piece);
        ASSERT_TRUE(framer.NextLine().empty());
        ASSERT_FALSE(framer.IsOverLimit()) << sent;
    }
    framer.Add(piece);
    ASSERT_TRUE(framer.NextLine().empty());
    EXPECT_TRUE(framer.IsOverLimit());
}

TEST(LineFramer, MemoryDoesNotGrowWithTheStream) {
    for (const std::string_view piece : {"line\n", "e\nlin"}) {
        CLineFramer framer('\n');
        std::vector<std::string> lines;
        for (int i = 0; i < 20'000; ++i) {
            framer.Add(piece);
            TakeLines(framer, lines);
        }
        EXPECT_EQ(lines.size(), 20'000u);
        EXPECT_LT(framer.Capacity(), 128u * 1024);
    }
}

}  // namespace
