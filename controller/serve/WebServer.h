#pragma once
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <memory>

#include "serve/HttpSession.h"

// Accepts browsers and scrapers. Sessions still open when the io_context ends are closed with it.
class CWebServer {
  public:
    // Listens at once; throws boost::system::system_error when the address cannot be had.
    CWebServer(boost::asio::io_context& io, const boost::asio::ip::tcp::endpoint& endpoint, CFleet& fleet, CRouter& router);

    std::uint16_t Port() const { return m_acceptor.local_endpoint().port(); }
    void Stop();

  private:
    void Accept();

    boost::asio::ip::tcp::acceptor m_acceptor;
    boost::asio::steady_timer m_pause;
    CFleet& m_fleet;
    CRouter& m_router;
    std::shared_ptr<SessionCount> m_count = std::make_shared<SessionCount>();
};
