#include "support/BaseThread.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Records what runs in which order; Run returns when it is asked to stop.
class CRecordingThread : public CBKBaseThread {
  public:
    ~CRecordingThread() override { StopThread(INFINITE); }

    std::uint32_t Run(void* argument) override {
        steps += "run ";
        runArgument = argument;
        WaitForSingleObject(ignoresStop ? release : StopEvent(), 30'000);
        return 24;
    }
    void OnThreadStart(void*) override { steps += "start "; }
    void OnThreadEnd(void* argument, std::uint32_t exitCode) override {
        if (stopsItself) stoppedItself = StopThread(INFINITE);
        steps += argument == runArgument && exitCode == 24 ? "end " : "wrong end ";
    }

    using CBKBaseThread::IsThreadAlive;
    using CBKBaseThread::StartThread;
    using CBKBaseThread::StopThread;

    HANDLE release = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    bool ignoresStop = false;
    bool stopsItself = false;
    bool stoppedItself = true;
    std::string steps;
    void* runArgument = nullptr;
};

TEST(BaseThread, RunsItsOperationsInOrderAndCanStartAgain) {
    CRecordingThread thread;
    EXPECT_TRUE(thread.StopThread(0));  // never started
    int argument = 0;
    ASSERT_TRUE(thread.StartThread(&argument));
    EXPECT_TRUE(thread.IsThreadAlive());
    ASSERT_TRUE(thread.StopThread(10'000));
    EXPECT_FALSE(thread.IsThreadAlive());
    EXPECT_EQ(thread.runArgument, &argument);

    // The stop event is reset: the second run waits for its own stop.
    ASSERT_TRUE(thread.StartThread(nullptr));
    EXPECT_FALSE(WaitForSingleObject(thread.release, 20) == WAIT_OBJECT_0);
    EXPECT_TRUE(thread.IsThreadAlive());
    ASSERT_TRUE(thread.StopThread(10'000));
    EXPECT_EQ(thread.steps, "start run end start run end ");
}

TEST(BaseThread, OneThreadAtATimeThatDoesNotWaitForItself) {
    CRecordingThread thread;
    thread.ignoresStop = true;
    thread.stopsItself = true;
    ASSERT_TRUE(thread.StartThread(nullptr));
    EXPECT_FALSE(thread.StartThread(nullptr));
    EXPECT_FALSE(thread.StopThread(10));  // it takes longer than the caller would wait
    EXPECT_FALSE(thread.StartThread(nullptr));
    SetEvent(thread.release);
    EXPECT_TRUE(thread.StopThread(10'000));
    EXPECT_FALSE(thread.stoppedItself);
    EXPECT_EQ(thread.steps, "start run end ");
}

}  // namespace
