#include <gtest/gtest.h>
#include "RecordingConnection.h"
#include "ScriptedPeer.h"

namespace {

using namespace std::string_literals;

EndpointRecord LoopbackEndpoint(std::uint32_t port) {
    EndpointRecord endpoint;
    endpoint.address = htonl(INADDR_LOOPBACK);
    endpoint.port = port;
    endpoint.reconnectInterval = 50;
    return endpoint;
}

class SocketServer : public testing::Test {
  protected:
    void Start() {
        server.SetFraming(true, '\n');
        server.StartServer(LoopbackEndpoint(port));
    }
    // The next peer connects and is heard.
    CPeerLink Join(const std::string& line) {
        CPeerLink link = CPeerLink::To(port);
        EXPECT_TRUE(link.Send(line + "\n"));
        EXPECT_TRUE(server.WaitFor("line " + line + "\n\0"s));
        return link;
    }

    CRecordingConnection server;
    const std::uint32_t port = CScriptedPeer::FreePort();
};

TEST_F(SocketServer, PeersFollowOneAnotherWithoutFurtherStateChanges) {
    Start();
    CPeerLink first = Join("first");
    EXPECT_EQ(server.Send("report\n"), 0u);
    EXPECT_EQ(first.ReadLine(), "report");
    first.Send("unfinished");
    first.Close();
    CPeerLink second = Join("second");
    second.Reset();
    CPeerLink third = Join("third");
    EXPECT_EQ(server.Send("report\n"), 0u);
    EXPECT_EQ(third.ReadLine(), "report");
    EXPECT_TRUE(server.Stop());
    EXPECT_TRUE(third.IsClosedByOther());
    EXPECT_EQ(server.Events(),
              (std::vector{"connected"s, "line first\n\0"s, "line second\n\0"s, "line third\n\0"s, "disconnected"s}));
}

TEST_F(SocketServer, PeersThatLeaveAtOnceAreHeardAndNoneIsTurnedAway) {
    Start();
    for (int i = 0; i < 30; ++i) {
        CPeerLink hasty = CPeerLink::To(port);
        hasty.Send("one\n" + std::to_string(i) + "\n");
        hasty.Close();
        EXPECT_TRUE(server.WaitFor("line " + std::to_string(i) + "\n\0"s));
    }
}

TEST_F(SocketServer, PeerThatNeverEndsItsLineIsDropped) {
    server.SetLineLimit(1000);
    Start();
    CPeerLink link = Join("hello");
    link.Send(std::string(1000, 'x'));
    EXPECT_TRUE(link.IsClosedByOther());
    EXPECT_TRUE(server.WaitFor("error ReadData 10053"));
    EXPECT_EQ(server.Send("report\n"), static_cast<std::uint32_t>(WSAENOTCONN));
    Join("next");
    EXPECT_FALSE(server.Happened("disconnected"));
}

TEST_F(SocketServer, PeerForWhichThereIsNoMemoryIsDropped) {
    Start();
    CPeerLink link = Join("hello");
    server.starving = 1;
    link.Send("too much\n");
    EXPECT_TRUE(link.IsClosedByOther());
    EXPECT_TRUE(server.WaitFor("error ReadData 8"));
    Join("next");
}

// Whatever keeps it from listening is said once and tried again, however long it lasts.
TEST(SocketServerPort, ATakenPortAndAFailedLookUpAreTriedAgain) {
    CScriptedResolver resolver({{WSAHOST_NOT_FOUND, {}}, {WSAHOST_NOT_FOUND, {}}});
    CRecordingConnection server(resolver);
    server.Limits().listenAgain = 20;
    CScriptedPeer occupant;
    EndpointRecord endpoint = LoopbackEndpoint(occupant.Port());
    endpoint.reconnectInterval = 5;
    std::wstring(L"pool.example").copy(endpoint.host, 259);
    server.SetFraming(true, '\n');
    server.StartServer(endpoint);
    ASSERT_TRUE(Eventually([&] { return resolver.calls >= 20; }));
    EXPECT_EQ(server.Events(), (std::vector{"error Listen 11001"s, "error Listen 10048"s}));
    occupant.Close();
    CPeerLink link = CPeerLink::To(endpoint.port);
    link.Send("heard\n");
    EXPECT_TRUE(server.WaitFor("line heard\n\0"s));
    EXPECT_TRUE(server.Happened("error Listen 0"));
}

}  // namespace
