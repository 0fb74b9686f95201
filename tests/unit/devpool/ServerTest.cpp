#include "devpool_core/Server.h"

#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <thread>

#include "PoolFixture.h"
#include "devpool_core/Faults.h"

namespace asio = boost::asio;
using asio::ip::tcp;

namespace {

PoolOptions ServerOptions() {
    PoolOptions options = TestOptions();
    options.interval = 0;
    options.seconds = 60;  // bounds every wait of these tests
    return options;
}

// A server on a thread of its own, and the events that it printed.
class RunningPool {
  public:
    explicit RunningPool(const PoolOptions& options) : pool(options) {
        m_server.Serve({pool.options, pool.jobs, pool.check, pool.statistics}, [] {});
        m_thread = std::jthread([this] { m_io.run(); });
    }
    ~RunningPool() { Stop(); }

    std::uint16_t Port() const { return m_server.Port(); }
    void Stop() {
        asio::post(m_io, [this] { m_server.Stop(); });
        Join();
    }
    void Join() {
        if (m_thread.joinable()) m_thread.join();
    }
    // After the end of the thread.
    bool Printed(const std::string& part) const { return m_events.find(part) != std::string::npos; }

    TestPool pool;

  private:
    asio::io_context m_io;
    std::string m_events;
    CServer m_server{m_io, pool.options, [this](const std::string& line) { m_events += line + "\n"; }};
    std::jthread m_thread;
};

class TestClient {
  public:
    explicit TestClient(const RunningPool& running, const std::vector<std::string>& lines = {}) : m_socket(m_io) {
        m_socket.connect({asio::ip::address_v4::loopback(), running.Port()});
        for (const std::string& line : lines)
            Send(line + "\n");
    }
    // False when the pool has closed the connection.
    bool Send(const std::string& bytes) {
        boost::system::error_code error;
        asio::write(m_socket, asio::buffer(bytes), error);
        return !error;
    }
    // The next line; nothing when the pool closed the connection.
    std::optional<std::string> Receive() {
        boost::system::error_code error;
        const std::size_t size = asio::read_until(m_socket, asio::dynamic_buffer(m_input), '\n', error);
        if (error) return std::nullopt;
        std::string line = m_input.substr(0, size - 1);
        m_input.erase(0, size);
        return line;
    }

  private:
    asio::io_context m_io;
    tcp::socket m_socket;
    std::string m_input;
};

TEST(Server, GivesWorkByteByByteAndEndsAfterTheWantedShares) {
    PoolOptions options = ServerOptions();
    options.shares = 1;
    options.faults.split = true;
    RunningPool running(options);
    TestClient client(running, LoginLines(Dialect::EthProxy));
    EXPECT_EQ(client.Receive(), R"({"id":1,"jsonrpc":"2.0","result":true})");
    EXPECT_NE(client.Receive().value_or("").find(HexText(running.pool.jobs.Current().header)), std::string::npos);
    client.Send(ProxyShare(running.pool) + "\n");
    EXPECT_EQ(client.Receive(), R"({"id":65536,"jsonrpc":"2.0","result":true})");
    EXPECT_FALSE(client.Receive());
    running.Join();
    EXPECT_EQ(running.pool.statistics.Accepted(), 1U);
}

TEST(Server, DropsClientsOfTheWrongModeOrWithoutLineEndsOrThatNeverRead) {
    PoolOptions options = ServerOptions();
    options.dialect = Dialect::NiceHash;
    options.faults.garbage = Garbage::Before;  // a megabyte now and then fills every buffer soon
    RunningPool running(options);
    EXPECT_FALSE(TestClient(running, LoginLines(Dialect::EthProxy)).Receive());
    EXPECT_FALSE(TestClient(running, {std::string(20'000, 'x')}).Receive());
    TestClient right(running, LoginLines(Dialect::NiceHash));
    EXPECT_TRUE(right.Receive());
    for (int lines = 0; lines < 1'000'000 && right.Send(LoginLines(Dialect::NiceHash)[1] + "\n");)
        ++lines;
    running.Stop();
    EXPECT_TRUE(running.Printed("client 1 dropped: it speaks mode 0"));
    EXPECT_TRUE(running.Printed("client 2 disconnected: line too long"));
    EXPECT_TRUE(running.Printed("client 3 disconnected: it does not read"));
}

TEST(Server, StopsByTimeWithClientsConnected) {
    PoolOptions options = ServerOptions();
    options.seconds = 0.2;
    RunningPool running(options);
    EXPECT_FALSE(TestClient(running).Receive());
    running.Join();
    EXPECT_TRUE(running.Printed("time is up"));
}

TEST(Server, RefusesAnAddressThatCannotBeUsed) {
    asio::io_context io;
    PoolOptions options = ServerOptions();
    for (const char* const address : {"no address", "203.0.113.1"}) {
        options.listen = address;
        EXPECT_THROW(CServer(io, options, [](const std::string&) {}), std::runtime_error) << address;
    }
}

}  // namespace
