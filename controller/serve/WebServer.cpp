#include "serve/WebServer.h"

namespace {

// After a failed accept, for example for lack of file descriptors: no busy loop.
constexpr std::chrono::milliseconds kPauseAfterFailure{200};

}  // namespace

CWebServer::CWebServer(boost::asio::io_context& io, const boost::asio::ip::tcp::endpoint& endpoint, CFleet& fleet,
                       CRouter& router)
    : m_acceptor(io), m_pause(io), m_fleet(fleet), m_router(router) {
    m_acceptor.open(endpoint.protocol());
#ifndef _WIN32
    // On Windows this option would let another program take the port over.
    m_acceptor.set_option(boost::asio::ip::tcp::acceptor::reuse_address(true));
#endif
    m_acceptor.bind(endpoint);
    m_acceptor.listen();
    Accept();
}

void CWebServer::Stop() {
    boost::system::error_code ignored;
    m_acceptor.close(ignored);
    m_pause.cancel();
}

void CWebServer::Accept() {
    m_acceptor.async_accept([this](const boost::system::error_code& error, boost::asio::ip::tcp::socket socket) {
        if (error == boost::asio::error::operation_aborted || !m_acceptor.is_open()) return;
        if (!error) {
            // One too many is closed at once.
            if (m_count->open < kMaxSessions) ServeHttp(std::move(socket), m_fleet, m_router, m_count);
            return Accept();
        }
        m_pause.expires_after(kPauseAfterFailure);
        m_pause.async_wait([this](const boost::system::error_code& stopped) {
            if (!stopped) Accept();
        });
    });
}
