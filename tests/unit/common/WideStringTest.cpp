#include "common/WideString.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

TEST(WideString, BlocksAreRoundedTo128BytesAndNeverFull) {
    // The length at which a block is full: 16 bytes of header and the terminator go off.
    constexpr std::size_t kFull = (128 - 16) / sizeof(wchar_t) - 1;
    EXPECT_EQ(CWideString::BlockBytes(kFull - 1), 128u);
    EXPECT_EQ(CWideString::BlockBytes(kFull), 256u);
    EXPECT_EQ(CWideString(std::wstring(kFull, L'x')).Capacity(), (256 - 16) / sizeof(wchar_t));
    EXPECT_EQ(CWideString().Capacity(), 0u);
}

TEST(WideString, ACopySharesUntilOneIsWritten) {
    CWideString first(L"job");
    CWideString second = first;
    EXPECT_EQ(first.Text(), second.Text());
    EXPECT_TRUE(first.IsShared());
    first.Append(L" 7");
    EXPECT_EQ(second.View(), L"job");
    EXPECT_FALSE(first.IsShared());
    EXPECT_FALSE(second.IsShared());

    const wchar_t* block = first.Text();
    first.Append(L"!");
    EXPECT_EQ(first.Text(), block);  // its own and large enough: written in place
    CWideString moved = std::move(first);
    first = second;
    second.Clear();
    EXPECT_EQ(moved.View(), L"job 7!");
    EXPECT_EQ(first.View(), L"job");
    EXPECT_EQ(second.View(), L"");
    EXPECT_FALSE(first.IsShared());
}

TEST(WideString, AppendsAPartOfItself) {
    CWideString text(L"0123456789");
    std::wstring expected = L"0123456789";
    for (int i = 0; i < 6; ++i) {
        text.Append(text.View().substr(1));
        expected += expected.substr(1);
        EXPECT_EQ(text.Text(), expected);
    }
}

TEST(WideString, CopiesMayBeDroppedByOtherThreads) {
    const CWideString text(L"shared by all");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([text] {
            for (int round = 0; round < 2000; ++round)
                CWideString(text).Append(L"+");
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_FALSE(text.IsShared());
    EXPECT_EQ(text.View(), L"shared by all");
}

}  // namespace
