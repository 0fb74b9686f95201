// The whole pool connection against a pool played by the test, with real windows.
#include <gtest/gtest.h>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include "../net/ScriptedPeer.h"
#include "SessionRecorder.h"
#include "fixtures/Eventually.h"
#include "fixtures/ScratchFolder.h"
#include "pool/MiningStratum.h"

namespace {

// A message-only window of the test's thread that writes down what was posted to it.
class CRecordingWindow {
  public:
    ~CRecordingWindow() { DestroyWindow(m_window); }
    HWND Handle() const { return m_window; }
    // Takes what was posted, until the message has come.
    bool WaitFor(UINT message) {
        for (const ULONGLONG end = GetTickCount64() + 5000; GetTickCount64() < end;) {
            Take();
            if (std::count(messages.begin(), messages.end(), message) != 0) return true;
            MsgWaitForMultipleObjects(0, nullptr, FALSE, 100, QS_ALLINPUT);
        }
        return false;
    }
    void Take() {
        MSG posted;
        while (PeekMessageW(&posted, m_window, QV_MSG_SET_OWNER, kMessageReconnect, PM_REMOVE)) {
            messages.push_back(posted.message);
            lastParameter = posted.wParam;
        }
    }

    std::vector<UINT> messages;
    WPARAM lastParameter = 0;

  private:
    const HWND m_window = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
};

class MiningStratumTest : public ::testing::Test {
  protected:
    MiningStratumTest() {
        session.SetWindows(plugin.Handle(), manager.Handle());
        // The port in the host's text wins over the port field.
        const std::wstring port = std::to_wstring(peer.Port());
        const std::wstring server = peer.IsEncrypted() ? L"ssl://127.0.0.1:" + port + L"#insecure" : L"127.0.0.1:" + port;
        session.Session().SetPools({std::make_shared<const PoolEntry>(MakePool(1, server.c_str()))});
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
    struct Host : CQuietHost {
        ProxyAddress Proxy() override { return proxy; }
        ProxyAddress proxy;
    } host;
    CMiningStratum session{StratumKind::User, host, SystemClock()};
};

TEST_F(MiningStratumTest, ALoginLeadsToAJobAndSharesGoOut) {
    session.Connect();
    session.Session().Activate();
    CPeerLink link = AcceptLogin();
    link.Send("{\"id\":4,\"result\":[\"0x00ab\",\"0xseed\",\"0xboundary\"]}\n");
    ASSERT_TRUE(plugin.WaitFor(QV_MSG_NEW_JOB));
    EXPECT_EQ(plugin.messages, (std::vector<UINT>{QV_MSG_ACTIVATE, QV_MSG_LOGGED_IN, QV_MSG_NEW_JOB}));
    const auto* const block = reinterpret_cast<const StratumWorkBlock*>(plugin.lastParameter);
    EXPECT_EQ(block, &session.Session().WorkBlock());
    EXPECT_STREQ(block->bareJobId, "ab");
    EXPECT_STREQ(block->parameters[1], "0xboundary");
    EXPECT_EQ(block->session, &session);
    EXPECT_TRUE(session.Session().IsReady());

    auto* const fromBlock = static_cast<CMiningStratum*>(block->session);
    std::thread solver([&] { EXPECT_EQ(fromBlock->Session().SubmitShare("{\"id\":65537}\n"), 0u); });
    EXPECT_EQ(link.ReadLine(), R"({"id":65537})");
    solver.join();
}

TEST_F(MiningStratumTest, ClosingIsNoLossAndLeavesNothingPosted) {
    session.Session().Activate();
    session.Connect();
    AcceptLogin().Close();
    CPeerLink link = AcceptLogin();
    std::string jobs;
    for (int i = 0; i < 500; ++i)
        jobs += "{\"id\":0,\"result\":[\"0x" + std::to_string(i) + "\"]}\n";
    link.Send(jobs);
    ASSERT_TRUE(plugin.WaitFor(QV_MSG_NEW_JOB));
    session.CloseConnection();
    EXPECT_FALSE(session.IsRunning());
    EXPECT_FALSE(session.Session().IsReady());
    EXPECT_EQ(session.Send("x\n"), static_cast<std::uint32_t>(WSAENOTCONN));
    EXPECT_TRUE(link.IsClosedByOther());

    plugin.Take();
    plugin.messages.clear();
    plugin.Take();
    manager.Take();
    EXPECT_TRUE(plugin.messages.empty()) << "posted after the connection was closed";
    EXPECT_TRUE(manager.messages.empty());
}

// What was meant to be encrypted must reach nobody, a proxy included.
TEST_F(MiningStratumTest, ByAnAddressThatCannotBeUsedNobodyIsReached) {
    const std::string port = std::to_string(peer.Port());
    for (const std::string& proxy : {std::string(), "127.0.0.1:" + port}) {
        host.proxy = ParseProxyAddress(proxy);
        const std::wstring server = L"http://127.0.0.1:" + std::to_wstring(peer.Port());
        session.Session().SetPools({std::make_shared<const PoolEntry>(MakePool(1, server.c_str()))});
        session.Connect();
        const auto reason = [this] {
            const auto failures = session.Session().Status().poolFailures;
            return failures.empty() ? std::string() : failures[0].text;
        };
        EXPECT_TRUE(Eventually([&] { return reason().find("http:// is not supported") != std::string::npos; })) << reason();
        session.CloseConnection();
        EXPECT_FALSE(peer.HasVisitor()) << proxy;
    }
}

TEST_F(MiningStratumTest, TheLogHoldsTheTrafficInTheOrderOfItsEvents) {
    const CScratchFolder folder;
    {
        CBKLogSystem log;
        log.enabled = 1;
        log.showDate = log.showTime = 0;
        log.CreateLogSystem(folder.Path("session").c_str(), 0);
        session.SetLog(&log);
        session.Connect();
        AcceptLogin().Close();
        const CPeerLink link = AcceptLogin();
        session.CloseConnection();
    }
    session.SetLog(nullptr);
    std::ostringstream contents;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
        contents << std::ifstream(entry.path(), std::ios::binary).rdbuf();
    std::size_t at = 0;
    for (const char* const part :
         {"-> {\"id\":1,\"method\":\"eth_submitLogin\"", "<- {\"id\":1,\"result\":true}\r\n", "-> {\"id\":4,",
          "Connect error: Connection lost(", "Disconnected\r\n", "-> {\"id\":1,"}) {
        at = contents.str().find(part, at);
        ASSERT_NE(at, std::string::npos) << part << " is not where it should be in\n" << contents.str();
    }
}

}  // namespace
