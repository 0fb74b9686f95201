#include <gtest/gtest.h>
#include <chrono>
#include "RecordingConnection.h"
#include "ScriptedPeer.h"
#include "net/HostLookup.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kThisMachine = 0x0100007F;  // 127.0.0.1 in network byte order

// Gives the answers in turn, then this machine's address.
class CScriptedResolver final : public IResolver {
  public:
    explicit CScriptedResolver(std::vector<std::uint32_t> errors) : m_errors(std::move(errors)) {}
    ResolveResult Resolve(const std::wstring& host) override {
        EXPECT_EQ(host, L"pool.example");
        const std::size_t call = calls++;
        if (call < m_errors.size()) return {m_errors[call], 0};
        return {0, kThisMachine};
    }
    std::atomic<std::size_t> calls{0};

  private:
    const std::vector<std::uint32_t> m_errors;
};

void StartAt(CRecordingConnection& client, std::uint32_t port) {
    std::wstring host = L"pool.example";
    client.StartClient(host, port, 0);
}

TEST(SocketResolve, FirstAnswerConnectsWithoutAPause) {
    CScriptedPeer peer;
    CScriptedResolver resolver({});
    CRecordingConnection client(resolver);
    client.SetInterval(60'000);
    StartAt(client, peer.Port());
    EXPECT_TRUE(client.WaitFor("connected"));
    EXPECT_EQ(resolver.calls, 1u);
}

TEST(SocketResolve, TryAgainIsSilentAndPaced) {
    CScriptedPeer peer;
    CScriptedResolver resolver({WSATRY_AGAIN, WSATRY_AGAIN});
    CRecordingConnection client(resolver);
    client.SetInterval(200);
    const auto begin = Clock::now();
    StartAt(client, peer.Port());
    ASSERT_TRUE(client.WaitFor("connected"));
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(390));  // after the second answer, and after the third
    EXPECT_EQ(resolver.calls, 3u);
    EXPECT_EQ(client.Events(), std::vector<std::string>{"connected"});
}

TEST(SocketResolve, OtherFailuresAreReportedWithTheSystemsText) {
    ASSERT_FALSE(SystemMessage(ERROR_ACCESS_DENIED).empty());
    for (const std::uint32_t code : {std::uint32_t{ERROR_ACCESS_DENIED}, std::uint32_t{WSAHOST_NOT_FOUND}}) {
        CScriptedPeer peer;
        CScriptedResolver resolver({code, code});
        CRecordingConnection client(resolver);
        client.SetInterval(20);
        StartAt(client, peer.Port());
        ASSERT_TRUE(client.WaitFor("connected"));
        std::vector<std::string> expected;
        const std::string text = SystemMessage(code);
        // Not every system has a text for every code; the failure is silent then.
        if (!text.empty()) expected.push_back("connect-error " + text + " " + std::to_string(code));
        expected.push_back("connected");
        EXPECT_EQ(client.Events(), expected);
    }
}

TEST(SocketResolve, FailureEndsTheThreadWhenNoLongerWanted) {
    CScriptedResolver resolver(std::vector<std::uint32_t>(100, ERROR_ACCESS_DENIED));
    CRecordingConnection client(resolver);
    client.answer = 0;
    StartAt(client, 1);
    ASSERT_TRUE(client.WaitFor("connect-error " + SystemMessage(ERROR_ACCESS_DENIED) + " 5"));
    EXPECT_TRUE(client.Stop());
    EXPECT_EQ(resolver.calls, 2u);
}

// Keeps its callers until it goes.
class CHangingResolver final : public IResolver {
  public:
    ~CHangingResolver() override {
        WSASetEvent(m_release.Get());
        EXPECT_TRUE(Eventually([this] { return inside == 0; }));
    }
    ResolveResult Resolve(const std::wstring&) override {
        ++inside;
        WaitForSingleObject(m_release.Get(), 30'000);
        --inside;
        return {0, kThisMachine};
    }
    std::atomic<int> inside{0};

  private:
    CWinsockSession m_winsock;
    CNetworkEvent m_release;
};

TEST(SocketResolve, HangingResolverDoesNotHoldUpStop) {
    CHangingResolver resolver;
    {
        CRecordingConnection client(resolver);
        for (const bool listen : {false, true}) {
            const int before = resolver.inside;
            EndpointRecord endpoint;
            std::wstring(L"pool.example").copy(endpoint.host, 259);
            if (listen) {
                client.StartServer(endpoint);
            } else {
                StartAt(client, 1);
            }
            ASSERT_TRUE(Eventually([&] { return resolver.inside > before; }));
            const auto begin = Clock::now();
            EXPECT_TRUE(client.Stop());
            EXPECT_LT(Clock::now() - begin, std::chrono::seconds(2));
        }
        EXPECT_EQ(client.Events(), std::vector<std::string>{"disconnected"});
    }
}

TEST(SocketResolve, SystemResolverAndDottedAddresses) {
    const CWinsockSession winsock;
    const CNetworkEvent never;
    EXPECT_EQ(SystemResolver().Resolve(L"").error, static_cast<std::uint32_t>(WSAHOST_NOT_FOUND)) << "not this machine";
    EXPECT_EQ(SystemResolver().Resolve(L"localhost").address, kThisMachine);
    EXPECT_EQ(LookUpHost(SystemResolver(), L"localhost", never.Get())->address, kThisMachine);

    CHangingResolver hanging;
    EXPECT_EQ(LookUpHost(hanging, L"127.0.0.1", never.Get())->address, kThisMachine);
}

}  // namespace
