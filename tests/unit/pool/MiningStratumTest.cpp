// The whole pool connection against a pool played by the test, with real windows.
#include <gtest/gtest.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include "../net/ScriptedPeer.h"
#include "SessionRecorder.h"
#include "common/CodePage.h"
#include "pool/MiningStratum.h"

namespace {

constexpr DWORD kPatience = 5000;  // ms

// A message-only window of the test's thread that writes down what was posted to it.
class CRecordingWindow {
  public:
    CRecordingWindow() {
        WNDCLASSW windowClass = {};
        windowClass.lpfnWndProc = &OnMessage;
        windowClass.lpszClassName = L"PoolTestRecorder";
        RegisterClassW(&windowClass);
        m_window = CreateWindowExW(0, windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, this);
    }
    ~CRecordingWindow() { DestroyWindow(m_window); }
    CRecordingWindow(const CRecordingWindow&) = delete;
    CRecordingWindow& operator=(const CRecordingWindow&) = delete;

    HWND Handle() const { return m_window; }
    // Dispatches what was posted, until the message has come that often.
    bool WaitFor(UINT message, std::ptrdiff_t times = 1) {
        const ULONGLONG end = GetTickCount64() + kPatience;
        for (;;) {
            Dispatch();
            if (std::count(messages.begin(), messages.end(), message) >= times) return true;
            const ULONGLONG now = GetTickCount64();
            if (now >= end) return false;
            MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(end - now), QS_ALLINPUT);
        }
    }
    static void Dispatch() {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageW(&message);
    }

    std::vector<UINT> messages;
    WPARAM lastParameter = 0;

  private:
    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == WM_NCCREATE) {
            const auto* const creation = reinterpret_cast<const CREATESTRUCTW*>(lParam);
            SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(creation->lpCreateParams));
        }
        auto* const self = reinterpret_cast<CRecordingWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (self != nullptr && message >= QV_MSG_SET_OWNER && message <= kMessageReconnect) {
            self->messages.push_back(message);
            self->lastParameter = wParam;
        }
        return DefWindowProcW(window, message, wParam, lParam);
    }
    HWND m_window = nullptr;
};

class CQuietHost final : public IStratumHost {
  public:
    CMiningStatistics* FindStatistics(std::int32_t) override { return nullptr; }
    void PoolErrorHappened(const PoolError&) override {}
    void RequestStopMining() override {}
    std::wstring DefaultWorkerName() override { return L"rig"; }
};

class MiningStratumTest : public ::testing::Test {
  protected:
    MiningStratumTest() {
        session.SetWindows(plugin.Handle(), manager.Handle());
        // The port in the host's text wins over the port field.
        const std::wstring server = L"127.0.0.1:" + std::to_wstring(peer.Port());
        session.SetPoolList({std::make_shared<const PoolEntry>(MakePool(1, server.c_str()))});
    }
    ~MiningStratumTest() override { session.CloseConnection(); }

    // The pool takes the login.
    CPeerLink AcceptLogin() {
        CPeerLink link = peer.Accept();
        EXPECT_EQ(link.ReadLine(), R"({"id":1,"method":"eth_submitLogin","worker":"rig","params":["0xwallet"]})");
        link.Send("{\"id\":1,\"result\":true}\n");
        EXPECT_EQ(link.ReadLine(), R"({"id":4,"method":"eth_getWork","params":[]})");
        return link;
    }
    CScriptedPeer peer;
    CRecordingWindow plugin;
    CRecordingWindow manager;
    CQuietHost host;
    CMiningStratum session{StratumKind::User, host, SystemClock()};
};

TEST_F(MiningStratumTest, ALoginLeadsToAJobAndSharesGoOut) {
    session.activeTime = 5;
    session.Connect();
    session.Activate();
    EXPECT_EQ(session.activeTime, 0);
    EXPECT_TRUE(session.lastTick.IsSet());
    CPeerLink link = AcceptLogin();
    link.Send("{\"id\":4,\"result\":[\"0x00ab\",\"0xseed\",\"0xboundary\"]}\n");
    ASSERT_TRUE(plugin.WaitFor(QV_MSG_NEW_JOB));
    EXPECT_EQ(plugin.messages, (std::vector<UINT>{QV_MSG_ACTIVATE, QV_MSG_LOGGED_IN, QV_MSG_NEW_JOB}));
    const auto* const block = reinterpret_cast<const StratumWorkBlock*>(plugin.lastParameter);
    EXPECT_EQ(block, &session.WorkBlock());
    EXPECT_STREQ(block->bareJobId, "ab");
    EXPECT_STREQ(block->parameters[1], "0xboundary");
    EXPECT_EQ(block->session, &session);
    EXPECT_TRUE(session.IsReady());

    auto* const fromBlock = static_cast<CMiningStratum*>(block->session);
    std::thread solver([&] { EXPECT_EQ(fromBlock->Send("{\"id\":65537}\n"), 0u); });
    EXPECT_EQ(link.ReadLine(), R"({"id":65537})");
    solver.join();
}

TEST_F(MiningStratumTest, TheFourthLossAsksTheManagerForTheNextPool) {
    session.Connect();
    for (int loss = 0; loss < 4; ++loss)
        AcceptLogin().Close();
    ASSERT_TRUE(manager.WaitFor(kMessageReconnect));
    EXPECT_EQ(manager.lastParameter, reinterpret_cast<WPARAM>(&session));
    EXPECT_EQ(manager.messages.size(), 1u);
}

TEST_F(MiningStratumTest, ClosingIsNoLossAndLeavesNothingPosted) {
    session.Activate();
    session.Connect();
    for (int loss = 0; loss < 3; ++loss)
        AcceptLogin().Close();
    CPeerLink link = AcceptLogin();
    std::string jobs;
    for (int i = 0; i < 500; ++i)
        jobs += "{\"id\":0,\"result\":[\"0x" + std::to_string(i) + "\"]}\n";
    link.Send(jobs);
    ASSERT_TRUE(plugin.WaitFor(QV_MSG_NEW_JOB));
    session.CloseConnection();
    EXPECT_FALSE(session.IsRunning());
    EXPECT_FALSE(session.IsReady());
    EXPECT_EQ(session.Send("x\n"), static_cast<std::uint32_t>(WSAENOTCONN));
    EXPECT_TRUE(link.IsClosedByOther());

    CRecordingWindow::Dispatch();
    plugin.messages.clear();
    CRecordingWindow::Dispatch();
    EXPECT_TRUE(plugin.messages.empty());
    EXPECT_TRUE(manager.messages.empty());
}

TEST_F(MiningStratumTest, ASessionThatIsToStayUnconnectedOnlyResets) {
    session.SetStopped(true);
    session.SetCurrentPoolIndex(0);
    session.Connect();
    EXPECT_FALSE(session.IsRunning());
    EXPECT_STREQ(session.WorkBlock().walletUser, L"0xwallet");

    session.SetStopped(false);
    session.SetPoolList({});
    session.Connect();
    EXPECT_FALSE(session.IsRunning()) << "there is no pool";
}

TEST_F(MiningStratumTest, TheLogHoldsTheTrafficInTheOrderOfItsEvents) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("pool-test-" + std::to_string(GetCurrentProcessId()));
    std::filesystem::create_directories(folder);
    {
        CBKLogSystem log;
        log.enabled = 1;
        log.showDate = log.showTime = 0;
        log.CreateLogSystem((folder / "session").c_str(), 0);
        session.SetLog(&log);
        session.Connect();
        CPeerLink link = AcceptLogin();
        link.Close();
        link = AcceptLogin();
        session.CloseConnection();
    }
    session.SetLog(nullptr);
    std::ostringstream contents;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        contents << std::ifstream(entry.path(), std::ios::binary).rdbuf();
    }
    const std::string text = contents.str();
    std::filesystem::remove_all(folder);
    std::size_t at = 0;
    for (const char* const part :
         {"-> {\"id\":1,\"method\":\"eth_submitLogin\"", "<- {\"id\":1,\"result\":true}\r\n", "-> {\"id\":4,",
          "Connect error: Connection lost(", "Disconnected\r\n", "-> {\"id\":1,"}) {
        at = text.find(part, at);
        ASSERT_NE(at, std::string::npos) << part << " is not where it should be in\n" << text;
    }
}

}  // namespace
