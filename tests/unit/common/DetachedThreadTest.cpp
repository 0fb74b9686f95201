#include "common/DetachedThread.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "common/Handle.h"

namespace {

// A thread that ends while its starter lets go of it: neither may close a handle that has come to be somebody else's.
TEST(DetachedThread, OnesThatEndAtOnceLeaveTheHandlesOfOthersAlone) {
    std::atomic<int> lost = 0;
    {
        std::vector<std::jthread> starters;
        for (int i = 0; i < 4; ++i) {
            starters.emplace_back([&] {
                for (int round = 0; round < 500; ++round) {
                    const auto done = std::make_shared<CHandle>(CreateEventW(nullptr, TRUE, FALSE, nullptr));
                    const bool started = StartDetached([done] { SetEvent(done->Get()); });
                    if (!started || WaitForSingleObject(done->Get(), 5000) != WAIT_OBJECT_0) ++lost;
                }
            });
        }
    }
    EXPECT_EQ(lost, 0) << "signals that never came";
}

}  // namespace
