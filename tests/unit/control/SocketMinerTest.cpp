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

// A controller that says all it has to say and ends its half of the connection.
CPeerLink HalfClosedLink(std::uint32_t port, std::string_view text) {
    CSocket socket(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<u_short>(port));
    const bool isOpen = connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    EXPECT_TRUE(isOpen && send(socket.Get(), text.data(), static_cast<int>(text.size()), 0) > 0);
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
    EXPECT_TRUE(host.WaitFor("log The control channel cannot listen (10048): is the port taken?"));
    EXPECT_TRUE(host.WaitFor("state 1"));
    other.Close();
    EXPECT_TRUE(host.WaitFor("state 2"));
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

TEST_F(SocketMiner, StrangersAreRefusedInSilence) {
    Open("secret");
    CPeerLink link = CPeerLink::To(port);
    for (int i = 0; i < 20; ++i)
        link.Send("{\"cmd\":\"connect\",\"params\":{\"token\":\"guess\",\"workername\":\"mine\"}}\n");
    link.Send(kSecretConnect);
    EXPECT_EQ(link.ReadLine().substr(0, 15), R"({"cmd":"system")");
    EXPECT_EQ(host.Take(), (Events{"state 3", "log Commands of a controller without the right token were refused: 1"}));
    miner.SendErrorReport(PoolError());
    EXPECT_EQ(link.ReadLine().substr(0, 18), R"({"cmd":"errorinfo")") << "nothing was sent for the refused ones";
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
    EXPECT_TRUE(host.WaitFor("log Commands of a controller without the right token were refused: 1"));
    sendReports();
    stranger.Send(kSecretConnect);
    EXPECT_EQ(stranger.ReadLine().substr(0, 15), R"({"cmd":"system")") << "the first there is";
    miner.SendErrorReport(PoolError());
    EXPECT_EQ(stranger.ReadLine().substr(0, 18), R"({"cmd":"errorinfo")");
}

}  // namespace
