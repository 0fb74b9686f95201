#pragma once
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "ClientConnection.h"

// Accepts clients and gives them new jobs. Every call on the io_context's thread; outlives the run of the io_context.
class CServer {
  public:
    using Sink = std::function<void(const std::string&)>;  // one event line each

    // Listens at once: clients can connect and are served once Serve has been called. Throws std::runtime_error
    // when the address cannot be used.
    CServer(boost::asio::io_context& io, const PoolOptions& options, Sink sink);

    // "127.0.0.1:4444", with the port that the system chose.
    std::string Endpoint() const;
    std::uint16_t Port() const { return m_acceptor.local_endpoint().port(); }

    // stopped: called once, when Stop begins.
    void Serve(const PoolContext& context, std::function<void()> stopped);
    // Takes no more clients, lets queued lines go out (a second at most), then lets the io_context run out of work.
    void Stop();

  private:
    void Accept();
    void OnAccepted(boost::asio::ip::tcp::socket socket);
    void ScheduleJob();
    void NewJob();

    boost::asio::ip::tcp::acceptor m_acceptor;
    boost::asio::steady_timer m_jobTimer;
    boost::asio::steady_timer m_endTimer;
    boost::asio::steady_timer m_stopTimer;
    const PoolOptions& m_options;
    Sink m_sink;
    std::unique_ptr<PoolContext> m_context;
    std::function<void()> m_stopped;
    std::map<unsigned, std::shared_ptr<CClientConnection>> m_clients;
    unsigned m_lastClient = 0;
    bool m_stopping = false;
};
