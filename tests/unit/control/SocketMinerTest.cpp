// The channel on real sockets of this machine.
#include <gtest/gtest.h>
#include "../net/ScriptedPeer.h"
#include "RecordingHost.h"
#include "control/SocketMiner.h"

namespace {

using Events = std::vector<std::string>;

constexpr char kConnect[] = "{\"cmd\":\"connect\",\"params\":{}}\n";
constexpr char kSecretConnect[] = "{\"cmd\":\"connect\",\"params\":{\"token\":\"secret\"}}\n";
constexpr char kStart[] = "{\"cmd\":\"start-mining\",\"params\":{}}\n";

constexpr char kRefused[] = "log A command of a controller without the right token was refused";

// From that address of this machine, which a program may choose freely from 127.0.0.0/8.
CSocket ConnectFrom(const char* address, std::uint32_t port) {
    CSocket socket(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    sockaddr_in ends[2] = {};
    ends[0].sin_family = ends[1].sin_family = AF_INET;
    ends[0].sin_addr.s_addr = inet_addr(address);
    ends[1].sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ends[1].sin_port = htons(static_cast<u_short>(port));
    EXPECT_EQ(bind(socket.Get(), reinterpret_cast<const sockaddr*>(&ends[0]), sizeof ends[0]), 0);
    EXPECT_EQ(connect(socket.Get(), reinterpret_cast<const sockaddr*>(&ends[1]), sizeof ends[1]), 0);
    return socket;
}

// A controller that says all it has to say and ends its half of the connection.
CPeerLink HalfClosedLink(std::uint32_t port, std::string_view text) {
    CSocket socket = ConnectFrom("127.0.0.1", port);
    EXPECT_GT(send(socket.Get(), text.data(), static_cast<int>(text.size()), 0), 0);
    EXPECT_EQ(shutdown(socket.Get(), SD_SEND), 0);
    return CPeerLink(std::move(socket));
}

class SocketMiner : public testing::Test {
  protected:
    void Open(std::string token = {}, std::uint32_t address = htonl(INADDR_LOOPBACK)) {
        EndpointRecord endpoint;
        endpoint.address = address;
        endpoint.port = port;
        endpoint.reconnectInterval = 50;
        miner.Open(endpoint, std::move(token));
    }
    // A controller that has said "connect" and got its report.
    CPeerLink Join() {
        CPeerLink link = CPeerLink::To(port);
        EXPECT_TRUE(link.Send(kConnect));
        EXPECT_EQ(link.ReadLine().substr(0, 32), R"({"cmd":"system","params":{"hostn)");
        return link;
    }

    CRecordingHost host;
    CSocketMiner miner{host};
    const std::uint32_t port = CScriptedPeer::FreePort();
};

TEST_F(SocketMiner, WhoConnectsIsToldWhatLasts) {
    PoolError trouble{.code = -1001, .time = {7}, .gpuIndex = -1, .text = "Connection refused; trying again"};
    host.troubles = {trouble};
    Open();
    CPeerLink link = Join();
    EXPECT_EQ(link.ReadLine(),
              R"({"cmd":"errorinfo","params":{"time":7,"id":-1001,"text":"Connection refused; trying again"}})");
}

TEST_F(SocketMiner, ControllersComeAndGo) {
    Open({}, 0);
    EXPECT_TRUE(miner.IsOpen() && !miner.IsConnected());
    const Events warning = host.Take();
    EXPECT_TRUE(warning.size() == 1 && warning[0].starts_with("log Warning: ")) << "open to everybody";
    miner.SendUpdateReport();
    CPeerLink first = Join();
    EXPECT_TRUE(miner.IsConnected());
    EXPECT_EQ(host.Take(), Events{"state 3"});
    miner.SendUpdateReport();
    EXPECT_EQ(first.ReadLine().substr(0, 49), R"({"cmd":"update","params":{"status":"mining","GpuD)");
    miner.SendErrorReport(PoolError());
    EXPECT_EQ(first.ReadLine(), R"({"cmd":"errorinfo","params":{"time":0,"id":0,"text":""}})");

    first.Send("{\"cmd\":\"start-mi");  // never finished
    first.Reset();
    CPeerLink second = Join();
    second.Send(kStart);
    EXPECT_TRUE(host.WaitFor("mining 1"));
    miner.Close();
    EXPECT_TRUE(second.IsClosedByOther());
    EXPECT_FALSE(miner.IsOpen() || miner.IsConnected());
    EXPECT_EQ(host.Take(), Events{"mining 1"});

    Open();
    Join();
    EXPECT_EQ(host.Take(), Events{"state 3"});
}

TEST_F(SocketMiner, ATakenPortIsSaidAndUsedOnceItIsFree) {
    CSocket other(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<u_short>(port));
    ASSERT_EQ(bind(other.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(other.Get(), 1), 0);
    Open();
    EXPECT_TRUE(host.WaitFor("log The control channel cannot listen on 127.0.0.1:" + std::to_string(port) +
                             ": the port is taken by another program; trying again every 5 s"));
    EXPECT_TRUE(host.WaitFor("state 1"));
    EXPECT_EQ(miner.ListenError(), static_cast<std::uint32_t>(WSAEADDRINUSE));
    other.Close();
    EXPECT_TRUE(host.WaitFor("state 2"));
    EXPECT_TRUE(host.WaitFor("log The control channel listens now on 127.0.0.1:" + std::to_string(port)));
    EXPECT_EQ(miner.ListenError(), 0u);
    Join();
}

TEST_F(SocketMiner, AControllerThatHasFinishedWritingStillGetsReports) {
    Open();
    Join().Reset();  // it listens
    CPeerLink link = HalfClosedLink(port, std::string(kConnect) + kStart);
    EXPECT_TRUE(host.WaitFor("mining 1"));
    EXPECT_NE(link.ReadLine(), "");
    miner.SendUpdateReport();
    EXPECT_EQ(link.ReadLine().substr(0, 15), R"({"cmd":"update")");
    EXPECT_TRUE(miner.IsConnected());
}

// One that stops reading costs its sender no waiting, and its connection; the next is served as ever.
TEST_F(SocketMiner, AControllerThatDoesNotReadIsDropped) {
    const std::vector<QvGpuRecord*> gpus(500, &host.A());
    host.manyGpus = gpus;
    Open();
    CPeerLink deaf = CPeerLink::To(port);
    ASSERT_TRUE(host.WaitFor("state 3"));
    ULONGLONG slowest = 0;
    for (int i = 0; i < 1000 && miner.IsConnected(); ++i) {
        const ULONGLONG start = GetTickCount64();
        miner.SendUpdateReport();
        slowest = std::max(slowest, GetTickCount64() - start);
    }
    EXPECT_FALSE(miner.IsConnected());
    EXPECT_LT(slowest, 1000u);
    ASSERT_TRUE(host.WaitFor("state 2"));
    EXPECT_EQ(host.Take(),
              (Events{"state 3", "log The controller does not read its reports; its connection is closed", "state 2"}));
    EXPECT_TRUE(deaf.IsClosedByOther());
    EXPECT_TRUE(miner.IsOpen());

    host.manyGpus.clear();
    CPeerLink next = Join();
    miner.SendUpdateReport();
    EXPECT_NE(next.ReadLine(), "");
    EXPECT_EQ(host.Take(), Events{"state 3"});
    miner.Close();
    EXPECT_FALSE(miner.IsOpen());
}

TEST_F(SocketMiner, ALineWithoutEndCostsTheConnection) {
    Open();
    CPeerLink flood = CPeerLink::To(port);
    const std::string block(256 * 1024, 'x');
    for (int i = 0; i < 40 && flood.Send(block); ++i) {
    }
    EXPECT_TRUE(host.WaitFor("log The controller sent a line without end; its connection is closed"));
    EXPECT_TRUE(flood.IsClosedByOther());
    Join();
}

// What a page in a browser can make of a command: the body of a request, in one packet with its head or in a later one.
TEST_F(SocketMiner, ABrowserIsDroppedAtItsFirstLine) {
    Open();
    const std::string head = "POST /x HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
    Events events;
    for (const std::string& packet : {head + kStart, head}) {
        Join();
        CPeerLink browser(ConnectFrom("127.0.0.2", port));
        browser.Send(packet);
        EXPECT_TRUE(browser.IsClosedByOther());
        browser.Send(kStart);
        EXPECT_TRUE(host.WaitFor("state 2"));
        EXPECT_FALSE(miner.IsConnected());
        Join();
        for (std::string& event : host.Take()) {
            if (!event.starts_with("state ")) events.push_back(std::move(event));
        }
    }
    ASSERT_EQ(events.size(), 2u) << "each is said once, and nothing else has happened";
    EXPECT_TRUE(events[0].starts_with("log 127.0.0.2:")) << events[0];
    EXPECT_NE(events[0].find(" has taken the control channel over from 127.0.0.1:"), std::string::npos) << events[0];
    EXPECT_TRUE(events[1].starts_with("log 127.0.0.2:")) << events[1];
    EXPECT_TRUE(events[1].ends_with(" sent an HTTP request (POST /x), as a web page would; its connection is closed"));
}

// What a connection has proved does not pass on to the next one.
TEST_F(SocketMiner, WithATokenReportsGoOnlyToWhoHasSentIt) {
    Open("secret");
    const auto sendReports = [this] {
        miner.SendUpdateReport();
        miner.SendErrorReport(PoolError());
    };
    CPeerLink owner = CPeerLink::To(port);
    ASSERT_TRUE(host.WaitFor("state 3"));
    sendReports();
    owner.Send(kSecretConnect);
    EXPECT_EQ(owner.ReadLine().substr(0, 15), R"({"cmd":"system")") << "the first there is";
    miner.SendUpdateReport();
    EXPECT_EQ(owner.ReadLine().substr(0, 15), R"({"cmd":"update")");

    CPeerLink stranger = CPeerLink::To(port);
    EXPECT_TRUE(owner.IsClosedByOther()) << "the stranger has its place";
    sendReports();
    stranger.Send("{\"cmd\":\"nothing\",\"params\":{\"token\":\"secret\"}}\n" + std::string(kConnect));
    for (int i = 0; i < 20; ++i)
        stranger.Send("{\"cmd\":\"connect\",\"params\":{\"token\":\"guess\",\"workername\":\"mine\"}}\n");
    EXPECT_TRUE(host.WaitFor(kRefused));
    sendReports();
    stranger.Send(kSecretConnect);
    EXPECT_EQ(stranger.ReadLine().substr(0, 15), R"({"cmd":"system")") << "the first there is";
    miner.SendErrorReport(PoolError());
    EXPECT_EQ(stranger.ReadLine().substr(0, 18), R"({"cmd":"errorinfo")");
    EXPECT_EQ(host.Take(), (Events{"state 3", kRefused})) << "one line for all of them";
}

}  // namespace
