#include "devpool_core/Server.h"

#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <mutex>
#include <thread>

#include "PoolFixture.h"
#include "common/Hex.h"
#include "devpool_core/Faults.h"
#include "devpool_core/Target.h"

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
    explicit RunningPool(const PoolOptions& options)
        : m_pool(options), m_server(m_io, m_pool.options, [this](const std::string& line) { Note(line); }) {
        m_server.Serve({m_pool.options, m_pool.jobs, m_pool.check, m_pool.statistics}, [] {});
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
    bool Printed(const std::string& part) {
        const std::lock_guard lock(m_lock);
        return m_events.find(part) != std::string::npos;
    }
    TestPool& Pool() { return m_pool; }

  private:
    void Note(const std::string& line) {
        const std::lock_guard lock(m_lock);
        m_events += line + "\n";
    }

    TestPool m_pool;
    asio::io_context m_io;
    CServer m_server;
    std::mutex m_lock;
    std::string m_events;
    std::jthread m_thread;
};

class TestClient {
  public:
    explicit TestClient(std::uint16_t port) : m_socket(m_io) { m_socket.connect({asio::ip::address_v4::loopback(), port}); }
    bool Send(const std::string& line) { return SendBytes(line + "\n"); }
    // False when the pool has closed the connection.
    bool SendBytes(const std::string& bytes) {
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
    void LogIn(Dialect dialect) {
        for (const std::string& line : LoginLines(dialect))
            Send(line);
    }

  private:
    asio::io_context m_io;
    tcp::socket m_socket;
    std::string m_input;
};

std::string ShareLine(const PoolJob& job) {
    const Solution solution = FindSolution(job.header, BoundaryOfDifficulty(kTestDifficulty), 0);
    return R"({"id":65536,"method":"eth_submitWork","params":["0x)" + NonceText(solution.nonce) + "\",\"0x" +
           HexText(job.header) + "\",\"0x" + HexText(solution.mix) + "\"]}";
}

TEST(Server, GivesWorkAndEndsAfterTheWantedShares) {
    PoolOptions options = ServerOptions();
    options.shares = 1;
    RunningPool pool(options);
    TestClient client(pool.Port());
    client.LogIn(Dialect::EthProxy);
    EXPECT_EQ(client.Receive(), R"({"id":1,"jsonrpc":"2.0","result":true})");
    const auto work = client.Receive();
    ASSERT_TRUE(work);
    const PoolJob& job = pool.Pool().jobs.Current();  // not replaced: the interval is 0
    EXPECT_EQ(Json(*work)["result"][0].GetString(), "0x" + HexText(job.header));
    client.Send(ShareLine(job));
    EXPECT_EQ(client.Receive(), R"({"id":65536,"jsonrpc":"2.0","result":true})");
    EXPECT_FALSE(client.Receive());
    pool.Join();
    EXPECT_EQ(pool.Pool().statistics.Accepted(), 1U);
    EXPECT_TRUE(pool.Printed("share accepted client=1 gpu=0"));
}

TEST(Server, SendsNewJobsToSeveralClients) {
    PoolOptions options = ServerOptions();
    options.interval = 0.2;
    RunningPool pool(options);
    TestClient first(pool.Port());
    TestClient second(pool.Port());
    first.LogIn(Dialect::NiceHash);
    second.LogIn(Dialect::EthProxy);
    const auto jobsSeen = [](TestClient& client, const std::string& mark) {
        int jobs = 0;
        while (jobs < 3) {
            const auto line = client.Receive();
            if (!line) break;
            if (line->find(mark) != std::string::npos) ++jobs;
        }
        return jobs;
    };
    EXPECT_EQ(jobsSeen(first, "\"id\":null,\"method\":\"mining.notify\""), 3);
    EXPECT_EQ(jobsSeen(second, "\"id\":0"), 3);
}

TEST(Server, SendsTheSameLinesByteByByte) {
    PoolOptions options = ServerOptions();
    options.faults.split = true;
    RunningPool pool(options);
    TestClient client(pool.Port());
    client.LogIn(Dialect::Plain);
    EXPECT_EQ(client.Receive(), R"({"id":1,"jsonrpc":"2.0","result":["00000001"]})");
    EXPECT_EQ(client.Receive(), R"({"id":2,"jsonrpc":"2.0","result":true})");
    const auto job = client.Receive();
    ASSERT_TRUE(job);
    EXPECT_STREQ(Json(*job)["method"].GetString(), "mining.notify");
}

TEST(Server, DropsAfterTheGivenNumberOfLines) {
    PoolOptions options = ServerOptions();
    options.faults.dropAfterLines = 2;
    options.faults.delayMs = 10;
    RunningPool pool(options);
    TestClient client(pool.Port());
    client.LogIn(Dialect::EthProxy);
    EXPECT_TRUE(client.Receive());
    EXPECT_TRUE(client.Receive());
    EXPECT_FALSE(client.Receive());
    TestClient again(pool.Port());
    again.Send(LoginLines(Dialect::EthProxy)[0]);
    EXPECT_TRUE(again.Receive());
}

TEST(Server, PutsGarbageBeforeOrInsteadOfItsLines) {
    for (const Garbage kind : {Garbage::Before, Garbage::Instead}) {
        PoolOptions options = ServerOptions();
        options.faults.garbage = kind;
        RunningPool pool(options);
        TestClient client(pool.Port());
        client.LogIn(Dialect::EthProxy);
        EXPECT_EQ(client.Receive(), GarbageLine(0));
        if (kind == Garbage::Before) {
            EXPECT_EQ(client.Receive(), R"({"id":1,"jsonrpc":"2.0","result":true})");
        }
        EXPECT_EQ(client.Receive(), GarbageLine(1));
    }
}

TEST(Server, DropsAClientOfTheWrongModeAndOneWithoutLineEnds) {
    PoolOptions options = ServerOptions();
    options.dialect = Dialect::NiceHash;
    RunningPool pool(options);
    TestClient wrong(pool.Port());
    wrong.Send(LoginLines(Dialect::EthProxy)[0]);
    EXPECT_FALSE(wrong.Receive());
    TestClient endless(pool.Port());
    endless.SendBytes(std::string(20'000, 'x'));
    EXPECT_FALSE(endless.Receive());
    TestClient right(pool.Port());
    right.Send(LoginLines(Dialect::NiceHash)[0]);
    EXPECT_TRUE(right.Receive());
    pool.Stop();
    EXPECT_TRUE(pool.Printed("client 1 dropped: it speaks mode 0"));
    EXPECT_TRUE(pool.Printed("client 2 disconnected: line too long"));
}

TEST(Server, DropsAClientThatNeverReads) {
    PoolOptions options = ServerOptions();
    options.faults.garbage = Garbage::Before;  // a megabyte now and then fills every buffer soon
    RunningPool pool(options);
    TestClient client(pool.Port());
    client.Send(LoginLines(Dialect::EthProxy)[0]);
    int lines = 0;
    while (lines < 1'000'000 && client.Send(LoginLines(Dialect::EthProxy)[1]))
        ++lines;
    pool.Stop();
    EXPECT_TRUE(pool.Printed("client 1 disconnected: it does not read"));
}

TEST(Server, StopsByTimeWithClientsConnected) {
    PoolOptions options = ServerOptions();
    options.seconds = 0.2;
    RunningPool pool(options);
    TestClient client(pool.Port());
    EXPECT_FALSE(client.Receive());
    pool.Join();
    EXPECT_TRUE(pool.Printed("time is up"));
}

TEST(Server, SaysWhichAddressCannotBeUsed) {
    asio::io_context io;
    PoolOptions options = ServerOptions();
    for (const char* const address : {"no address", "203.0.113.1"}) {
        options.listen = address;
        try {
            const CServer server(io, options, [](const std::string&) {});
            ADD_FAILURE() << address;
        } catch (const std::runtime_error& failure) {
            EXPECT_TRUE(std::string(failure.what()).starts_with("cannot listen on " + options.listen)) << failure.what();
        }
    }
}

}  // namespace
