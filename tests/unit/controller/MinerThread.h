#pragma once
#include <thread>

#include "rig/RigAddress.h"
#include "rigs/FakeMiner.h"

// A simulated miner that runs on a thread of its own.
class CMinerThread {
  public:
    explicit CMinerThread(FakeSettings settings, int number = 0)
        : m_work(boost::asio::make_work_guard(m_io)),
          m_miner(m_io, std::move(settings), number),
          m_thread([this] { m_io.run(); }) {}
    ~CMinerThread() {
        m_io.stop();
        m_thread.join();
    }
    CMinerThread(const CMinerThread&) = delete;
    CMinerThread& operator=(const CMinerThread&) = delete;

    RigAddress Address() const { return {"127.0.0.1", m_miner.Port()}; }
    std::vector<std::string> Received() const { return m_miner.Received(); }

  private:
    boost::asio::io_context m_io{1};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_work;
    CFakeMiner m_miner;
    std::thread m_thread;
};

// A loopback address on which nobody listens.
inline RigAddress DeadAddress() {
    boost::asio::io_context io;
    boost::asio::ip::tcp::acceptor gone(io, {boost::asio::ip::address_v4::loopback(), 0});
    return {"127.0.0.1", gone.local_endpoint().port()};
}
