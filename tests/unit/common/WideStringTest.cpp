#include "common/WideString.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

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
