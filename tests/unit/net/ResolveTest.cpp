#include <gtest/gtest.h>
#include <chrono>
#include "RecordingConnection.h"
#include "ScriptedPeer.h"
#include "net/HostLookup.h"

namespace {

using Clock = std::chrono::steady_clock;

void StartAt(CRecordingConnection& client, std::uint32_t port) {
    std::wstring host = L"pool.example";
    client.StartClient(host, port, 0);
}

TEST(SocketResolve, AFailureIsPacedAndReportedUnlessItSaysToTryAgainAFewTimes) {
    ASSERT_FALSE(SystemMessage(ERROR_ACCESS_DENIED).empty());
    struct Case {
        std::vector<std::uint32_t> errors;
        std::uint32_t interval;
        int milliseconds;  // the least until the connection
        std::size_t reports;
    };
    const Case cases[] = {{{}, 60'000, 0, 0},
                          {{WSATRY_AGAIN, WSATRY_AGAIN}, 200, 390, 0},
                          {std::vector<std::uint32_t>(7, WSATRY_AGAIN), 10, 50 + 2 * 30, 2},
                          {{ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED}, 60'000, 2 * 30, 2},
                          {{0}, 60'000, 30, 1}};  // a name without addresses
    for (const Case& test : cases) {
        CScriptedPeer peer;
        std::vector<ResolveResult> answers;
        for (const std::uint32_t error : test.errors)
            answers.push_back({error, {}});
        CScriptedResolver resolver(answers);
        CRecordingConnection client(resolver);
        client.SetInterval(test.interval);
        client.pause = 30;
        const auto begin = Clock::now();
        StartAt(client, peer.Port());
        ASSERT_TRUE(client.WaitFor("connected"));
        EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(test.milliseconds));
        EXPECT_EQ(resolver.calls, test.errors.size() + 1);
        std::vector<std::string> expected;
        if (test.reports != 0) {
            const std::uint32_t code = test.errors[0] != 0 ? test.errors[0] : WSANO_DATA;
            const std::string text = SystemMessage(code);  // not every system has one for every code
            expected.assign(test.reports,
                            "connect-error " + (text.empty() ? "Host not found" : text) + " " + std::to_string(code));
        }
        expected.push_back("connected");
        EXPECT_EQ(client.Events(), expected);
    }
}

// One attempt takes them in turn, whatever is wrong with one; then the name is looked up again, and while that fails, those
// known are tried. The peer is at 127.0.0.1.
TEST(SocketResolve, AllAddressesAreTriedAndTheOneThatWorkedComesFirstAgain) {
    CScriptedPeer peer;
    const HostAddress here = Address(L"127.0.0.1"), refusing = Address(L"127.0.0.2"), v6 = Address(L"::1");
    const HostAddress impossible = Address(L"255.255.255.255");
    CScriptedResolver resolver({{0, {refusing, impossible}}, {WSATRY_AGAIN, {}}, {0, {v6, refusing, here}}});
    CRecordingConnection client(resolver);
    client.pause = 0;
    StartAt(client, peer.Port());
    peer.Accept().Close();
    const CPeerLink link = peer.Accept();
    ASSERT_TRUE(client.WaitFor("connected", 2));
    std::vector<std::string> events = client.Events();
    EXPECT_TRUE(events[0].starts_with("connect-error Connect failed ")) << events[0];
    EXPECT_EQ(events, (std::vector<std::string>{events[0], "error Resolve 11002", events[0], "connected", "lost",
                                                "disconnected", "connected"}));
    std::string tried;
    for (const std::string& activity : client.Activities())
        tried += activity.substr(0, activity.rfind(':')) + ' ';
    const std::string first = "look up pool.example try 127.0.0.2 try 255.255.255.255 ";
    EXPECT_EQ(tried, first + first + "look up pool.example try [::1] try 127.0.0.2 try 127.0.0.1 try 127.0.0.1 ");
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
        ++calls;
        WaitForSingleObject(m_release.Get(), 30'000);
        --inside;
        return {0, {Address(L"127.0.0.1")}};
    }
    std::atomic<int> inside{0};
    std::atomic<int> calls{0};

  private:
    CWinsockSession m_winsock;
    CNetworkEvent m_release;
};

TEST(SocketResolve, HangingResolverDoesNotHoldUpStop) {
    CHangingResolver resolver;
    {
        CRecordingConnection client(resolver);
        for (const bool listen : {false, true}) {
            EndpointRecord endpoint;
            std::wstring(L"pool.example").copy(endpoint.host, 259);
            if (listen) {
                client.StartServer(endpoint);
            } else {
                StartAt(client, 1);
            }
            ASSERT_TRUE(Eventually([&] { return resolver.inside > 0; }));
            const auto begin = Clock::now();
            EXPECT_TRUE(client.Stop());
            EXPECT_LT(Clock::now() - begin, std::chrono::seconds(2));
        }
        EXPECT_EQ(client.Events(), std::vector<std::string>{"disconnected"});
        client.Forget();
        client.Limits().lookUp = 50;
        client.pause = 0;
        StartAt(client, 1);
        EXPECT_TRUE(client.WaitFor("connect-error Host not found 11002", 3));
    }
    EXPECT_EQ(resolver.calls, 1) << "one look-up is left behind, not one of each attempt";
}

TEST(SocketResolve, SystemResolverAndAddressesAsText) {
    const CWinsockSession winsock;
    EXPECT_EQ(SystemResolver().Resolve(L"").error, static_cast<std::uint32_t>(WSAHOST_NOT_FOUND)) << "not this machine";
    const std::vector<HostAddress> found = SystemResolver().Resolve(L"localhost").addresses;
    EXPECT_NE(std::ranges::find(found, Address(L"127.0.0.1")), found.end());
    for (const char* const text : {"127.0.0.1:80", "[::1]:80", "[2001:db8::7]:80"}) {
        std::string host(text, std::string_view(text).rfind(':'));
        if (host[0] == '[') host = host.substr(1, host.size() - 2);
        const HostAddress address = Address(std::wstring(host.begin(), host.end()).c_str());
        EXPECT_EQ(EndpointText(address, 80), text);
        EXPECT_EQ(AddressOf(*MakeSocketAddress(address, 80).Get()), address);
    }
    EXPECT_FALSE(ParseAddress(L"localhost") || ParseAddress(L""));
}

}  // namespace
