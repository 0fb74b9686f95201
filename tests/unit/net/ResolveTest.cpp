#include <gtest/gtest.h>
#include <chrono>
#include "RecordingConnection.h"
#include "ScriptedPeer.h"
#include "net/HostLookup.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kThisMachine = 0x0100007F;  // 127.0.0.1 in network byte order

void StartAt(CRecordingConnection& client, std::uint32_t port) {
    std::wstring host = L"pool.example";
    client.StartClient(host, port, 0);
}

TEST(SocketResolve, AFailureIsPacedAndReportedWithTheSystemsTextUnlessItSaysToTryAgain) {
    ASSERT_FALSE(SystemMessage(ERROR_ACCESS_DENIED).empty());
    struct Case {
        std::vector<std::uint32_t> errors;
        std::uint32_t interval;
        int pause;  // the least, in milliseconds, until the connection
    };
    const Case cases[] = {{{}, 60'000, 0},
                          {{WSATRY_AGAIN, WSATRY_AGAIN}, 200, 390},
                          {{ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED}, 20, 0},
                          {{WSAHOST_NOT_FOUND, WSAHOST_NOT_FOUND}, 20, 0}};
    for (const Case& test : cases) {
        CScriptedPeer peer;
        CScriptedResolver resolver(test.errors);
        CRecordingConnection client(resolver);
        client.SetInterval(test.interval);
        const auto begin = Clock::now();
        StartAt(client, peer.Port());
        ASSERT_TRUE(client.WaitFor("connected"));
        EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(test.pause));
        EXPECT_EQ(resolver.calls, test.errors.size() + 1);
        std::vector<std::string> expected = {"connected"};
        const std::uint32_t code = test.errors.empty() ? WSATRY_AGAIN : test.errors[0];
        const std::string text = SystemMessage(code);
        // Not every system has a text for every code; the failure is silent then.
        if (code != WSATRY_AGAIN && !text.empty()) {
            expected.insert(expected.begin(), "connect-error " + text + " " + std::to_string(code));
        }
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
