#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <boost/asio/connect.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <functional>

#include "MinerThread.h"
#include "serve/FleetJson.h"
#include "serve/WebServer.h"

namespace {

namespace asio = boost::asio;
using Tcp = asio::ip::tcp;

constexpr std::chrono::seconds kPatience{8};

LinkTimes QuickTimes() {
    LinkTimes times;
    times.firstPause = std::chrono::milliseconds(20);
    times.replaced = std::chrono::milliseconds(20);
    times.longestPause = std::chrono::milliseconds(100);
    times.answer = std::chrono::milliseconds(500);
    times.quiet = std::chrono::milliseconds(200);
    return times;
}

// Fleet, server and simulated miners on one io_context that the test runs.
class FleetServer : public testing::Test {
  protected:
    void Make(const std::vector<FakeSettings>& settings, const std::vector<RigAddress>& more = {}) {
        std::vector<RigAddress> rigs;
        for (const FakeSettings& one : settings) {
            miners.push_back(std::make_unique<CFakeMiner>(io, one, static_cast<int>(miners.size())));
            rigs.push_back({"127.0.0.1", miners.back()->Port()});
        }
        rigs.insert(rigs.end(), more.begin(), more.end());
        fleet = std::make_unique<CFleet>(io, rigs, "", QuickTimes());
        router = std::make_unique<CRouter>(*fleet, std::string(64, 'a'), std::vector<std::string>{"localhost"});
        server = std::make_unique<CWebServer>(io, Tcp::endpoint(asio::ip::address_v4::loopback(), 0), *fleet, *router);
        fleet->Start();
    }

    bool RunUntil(const std::function<bool()>& done) {
        const auto end = std::chrono::steady_clock::now() + kPatience;
        while (!done() && std::chrono::steady_clock::now() < end)
            io.run_one_for(std::chrono::milliseconds(50));
        return done();
    }

    // Sends the text and gives back all that comes until the server closes.
    std::string Exchange(const std::string& request) {
        Tcp::socket client(io);
        client.connect(Tcp::endpoint(asio::ip::address_v4::loopback(), server->Port()));
        std::string reply;
        bool closed = false;
        asio::async_write(client, asio::buffer(request), [](const boost::system::error_code&, std::size_t) {});
        asio::async_read(client, asio::dynamic_buffer(reply),
                         [&](const boost::system::error_code&, std::size_t) { closed = true; });
        EXPECT_TRUE(RunUntil([&] { return closed; })) << request.substr(0, 60);
        return reply;
    }

    asio::io_context io{1};
    std::vector<std::unique_ptr<CFakeMiner>> miners;
    std::unique_ptr<CFleet> fleet;
    std::unique_ptr<CRouter> router;
    std::unique_ptr<CWebServer> server;
};

FakeSettings Settings(Manner manner, bool mining) {
    FakeSettings settings;
    settings.manner = manner;
    settings.mining = mining;
    return settings;
}

constexpr const char* kEnd = " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n";

TEST_F(FleetServer, ComesBackToRigsThatDroppedItAndToQuietOnes) {
    Make({Settings(Manner::DropsFirst, false)});
    ASSERT_TRUE(RunUntil([&] { return fleet->Rig(0).connects == 2; }));
    // A rig that does not mine sends nothing by itself: it is asked, and stays up.
    const std::uint64_t before = fleet->Rig(0).reports;
    ASSERT_TRUE(RunUntil([&] { return fleet->Rig(0).reports >= before + 3; }));
    EXPECT_EQ(fleet->Rig(0).connects, 2u);
    EXPECT_TRUE(fleet->Rig(0).IsUp());
}

TEST_F(FleetServer, TroubleLastsUntilTheRigSaysOtherwise) {
    FakeSettings mining = Settings(Manner::QuotedError, true);
    mining.troubles = {{-1001, "Connection refused"}};
    FakeSettings stopped = Settings(Manner::Good, false);
    stopped.troubles = {{-1013, "Thrown out"}};
    Make({mining, stopped, Settings(Manner::OnlyGarbage, true)}, {DeadAddress()});
    ASSERT_TRUE(RunUntil([&] {
        return fleet->Rig(0).errorCount > kKeptErrors && !fleet->Rig(1).troubles.IsEmpty() && fleet->Rig(2).badLines >= 10 &&
               !fleet->Rig(3).reason.empty();
    }));
    EXPECT_EQ(fleet->Rig(0).errors.size(), kKeptErrors);
    EXPECT_EQ(fleet->Sums().up, 2u);
    EXPECT_EQ(fleet->Sums().all.gpus, 4u);
    EXPECT_EQ(fleet->Rig(0).State(), RigState::Trouble);
    EXPECT_EQ(fleet->Rig(0).errors.front().code, 23) << "trouble is no error of a moment";
    // Asked again and again whether it is still there, the rig tells it each time.
    const std::uint64_t before = fleet->Rig(1).reports;
    bool stays = true;
    ASSERT_TRUE(RunUntil([&] {
        stays = stays && fleet->Rig(1).troubles.Text() == "Thrown out";
        return fleet->Rig(1).reports >= before + 15;
    }));
    EXPECT_TRUE(stays);
    EXPECT_EQ(fleet->Sums().trouble, 2u);
    const std::string json = FleetJson(*fleet, 0, std::array{std::size_t{0}});
    EXPECT_NE(json.find(R"("state":"trouble")"), std::string::npos) << json;
    EXPECT_NE(json.find(R"("troubles":[{"text":"Thrown out"}])"), std::string::npos) << json;
    EXPECT_NE(json.find(R"({"text":"Connection refused","code":-1001,"since":1701205301})"), std::string::npos) << json;
    miners[0]->EndTroubles();
    EXPECT_TRUE(RunUntil([&] { return fleet->Rig(0).State() == RigState::Mining; }));
    miners[1].reset();
    EXPECT_TRUE(RunUntil([&] { return fleet->Sums().trouble == 0; }));
}

TEST_F(FleetServer, CommandsReachTheRig) {
    Make({Settings(Manner::Good, false)});
    ASSERT_TRUE(RunUntil([&] { return fleet->Rig(0).IsUp(); }));
    const std::string authorized =
        std::string(kEnd) + "Authorization: Bearer " + std::string(64, 'a') + "\r\nContent-Type: application/json\r\n";
    const std::string reply = Exchange("POST /api/rigs/0/start" + authorized + "Content-Length: 2\r\n\r\n{}");
    EXPECT_TRUE(reply.starts_with("HTTP/1.1 202 ")) << reply;
    EXPECT_TRUE(RunUntil([&] { return fleet->Rig(0).Status() == MiningStatus::Mining; }));
    Exchange("POST /api/rigs/0/worker" + authorized + "Content-Length: 14\r\n\r\n{\"name\":\"w-1\"}");
    EXPECT_TRUE(
        RunUntil([&] { return miners[0]->Received().back() == R"({"cmd":"workername","params":{"workername":"w-1"}})"; }));
}

TEST_F(FleetServer, RequestsOutOfBoundsAreTurnedAway) {
    Make({});
    const struct {
        std::string request;
        const char* status;
    } kCases[] = {
        {"GET /" + std::string(kEnd) + "X: " + std::string(9000, 'x') + "\r\n\r\n", "HTTP/1.1 413 "},
        {"POST /api/rigs/0/start" + std::string(kEnd) + "Content-Length: 5000\r\n\r\n" + std::string(5000, 'x'),
         "HTTP/1.1 413 "},
        {"GET /live" + std::string(kEnd) + "\r\n", "HTTP/1.1 404 "},
        {"GET /live HTTP/1.1\r\nHost: localhost\r\nOrigin: http://evil.example\r\nConnection: Upgrade\r\nUpgrade: "
         "websocket\r\n"
         "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n",
         "HTTP/1.1 403 "},
        {"\x16\x03\x01\r\n\r\n", ""},
    };
    for (const auto& [request, status] : kCases) {
        const std::string reply = Exchange(request);
        EXPECT_TRUE(reply.starts_with(status)) << reply.substr(0, 200);
    }
    const std::string page = Exchange("GET /" + std::string(kEnd) + "\r\n");
    for (const char* header :
         {"Content-Security-Policy: default-src 'none'", "X-Content-Type-Options: nosniff", "X-Frame-Options: DENY"})
        EXPECT_NE(page.find(header), std::string::npos) << header;
    EXPECT_EQ(page.find("Access-Control"), std::string::npos);
}

TEST_F(FleetServer, LiveTableComesOverAWebSocket) {
    Make({Settings(Manner::Good, true)});
    ASSERT_TRUE(RunUntil([&] { return fleet->Rig(0).update.has_value(); }));
    Tcp::socket client(io);
    client.connect(Tcp::endpoint(asio::ip::address_v4::loopback(), server->Port()));
    const std::string request =
        "GET /live HTTP/1.1\r\nHost: localhost\r\nOrigin: http://localhost\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
        "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";
    asio::write(client, asio::buffer(request));
    std::string received;
    bool ended = false;
    std::array<char, 4096> buffer{};
    const std::function<void()> read = [&] {
        client.async_read_some(asio::buffer(buffer), [&](const boost::system::error_code& error, std::size_t bytes) {
            ended = error.failed();
            received.append(buffer.data(), bytes);
            if (!error) read();
        });
    };
    read();
    ASSERT_TRUE(RunUntil([&] { return received.find("\"rigCount\":1") != std::string::npos; }));
    // {"detail":[0]} as a text frame, masked with zeros.
    asio::write(client, asio::buffer(std::string("\x81\x8e\0\0\0\0{\"detail\":[0]}", 20)));
    EXPECT_TRUE(RunUntil([&] { return received.find("\"id\":\"" + FakeUuid(0, 1)) != std::string::npos; })) << received;
    EXPECT_TRUE(received.starts_with("HTTP/1.1 101 "));
    EXPECT_FALSE(ended);
    client.close();
    EXPECT_TRUE(RunUntil([&] { return ended; }));
}

TEST_F(FleetServer, OnlyRigsThatChangedAreSent) {
    Make({Settings(Manner::Good, false), Settings(Manner::Good, false)});
    ASSERT_TRUE(RunUntil([&] { return fleet->Rig(0).IsUp() && fleet->Rig(1).IsUp(); }));
    rapidjson::Document all;
    all.Parse(FleetJson(*fleet, 0, {}).c_str());
    EXPECT_EQ(all["rigs"].Size(), 2u);
    rapidjson::Document none;
    none.Parse(FleetJson(*fleet, fleet->Revision() + 1, {}).c_str());
    EXPECT_EQ(none["rigs"].Size(), 0u);
    EXPECT_EQ(none["rigCount"].GetInt(), 2);
}

}  // namespace
