#include "Server.h"

#include <boost/asio/error.hpp>
#include <boost/asio/ip/address.hpp>
#include <stdexcept>

#include "common/Hex.h"

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

constexpr std::size_t kMaxClients = 256;
constexpr std::chrono::seconds kStopWait{1};

std::chrono::steady_clock::duration Seconds(double seconds) {
    return std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(seconds));
}

std::string EndpointText(const tcp::endpoint& endpoint) {
    const std::string address = endpoint.address().to_string();
    return (endpoint.address().is_v6() ? "[" + address + "]" : address) + ":" + std::to_string(endpoint.port());
}

}  // namespace

CServer::CServer(asio::io_context& io, const PoolOptions& options, Sink sink)
    : m_acceptor(io), m_jobTimer(io), m_endTimer(io), m_stopTimer(io), m_options(options), m_sink(std::move(sink)) {
    error_code error;
    const asio::ip::address address = asio::ip::make_address(options.listen, error);
    const tcp::endpoint endpoint(address, options.port);
    if (!error) m_acceptor.open(endpoint.protocol(), error);
#ifndef _WIN32  // there the option would let another program take the port
    if (!error) m_acceptor.set_option(tcp::acceptor::reuse_address(true), error);
#endif
    if (!error) m_acceptor.bind(endpoint, error);
    if (!error) m_acceptor.listen(asio::socket_base::max_listen_connections, error);
    if (!error) return;
    throw std::runtime_error("cannot listen on " + options.listen + " port " + std::to_string(options.port) + ": " +
                             error.message() + " (" + std::to_string(error.value()) + ")");
}

std::string CServer::Endpoint() const {
    return EndpointText(m_acceptor.local_endpoint());
}

void CServer::Serve(const PoolContext& context, std::function<void()> stopped) {
    m_context = std::make_unique<PoolContext>(context);
    m_stopped = std::move(stopped);
    if (m_options.seconds > 0) {
        m_endTimer.expires_after(Seconds(m_options.seconds));
        m_endTimer.async_wait([this](const error_code& error) {
            if (error) return;
            m_sink("time is up");
            Stop();
        });
    }
    ScheduleJob();
    Accept();
}

void CServer::Stop() {
    if (m_stopping) return;
    m_stopping = true;
    error_code ignored;
    m_acceptor.close(ignored);
    m_jobTimer.cancel();
    m_endTimer.cancel();
    if (m_stopped) m_stopped();
    const auto clients = m_clients;  // finishing removes from the map
    for (const auto& [number, client] : clients)
        client->Finish();
    if (m_clients.empty()) return;
    m_stopTimer.expires_after(kStopWait);
    m_stopTimer.async_wait([this](const error_code& error) {
        if (error) return;
        const auto rest = m_clients;
        for (const auto& [number, client] : rest)
            client->Close("closed by the pool, unsent lines were lost");
    });
}

void CServer::Accept() {
    m_acceptor.async_accept([this](const error_code& error, tcp::socket socket) {
        if (m_stopping) return;
        if (error && error != asio::error::connection_aborted) {
            m_sink("accept failed: " + error.message());
            return Stop();
        }
        if (!error) OnAccepted(std::move(socket));
        Accept();
    });
}

void CServer::OnAccepted(tcp::socket socket) {
    error_code error;
    const tcp::endpoint peer = socket.remote_endpoint(error);
    if (m_clients.size() >= kMaxClients) {
        m_sink("a client too many was turned away");
        return;
    }
    const unsigned number = ++m_lastClient;
    m_context->statistics.CountClient();
    m_sink("client " + std::to_string(number) + " connected from " + EndpointText(peer));
    CClientConnection::Callbacks callbacks{
        .event = m_sink,
        .lineHandled =
            [this] {
                if (m_options.shares != 0 && m_context->statistics.Accepted() >= m_options.shares) Stop();
            },
        .closed =
            [this](unsigned client) {
                m_clients.erase(client);
                if (m_stopping && m_clients.empty()) m_stopTimer.cancel();
            },
    };
    const auto client = std::make_shared<CClientConnection>(std::move(socket), *m_context, number, std::move(callbacks));
    m_clients.emplace(number, client);
    client->Start();
}

void CServer::ScheduleJob() {
    if (m_options.interval <= 0) return;
    m_jobTimer.expires_after(Seconds(m_options.interval));
    m_jobTimer.async_wait([this](const error_code& error) {
        if (error || m_stopping) return;
        NewJob();
        ScheduleJob();
    });
}

void CServer::NewJob() {
    m_context->jobs.Next();
    const auto clients = m_clients;  // a client that does not read is removed from the map
    std::size_t sent = 0;
    for (const auto& [number, client] : clients)
        sent += client->Announce() ? 1U : 0U;
    const PoolJob& job = m_context->jobs.Current();
    m_sink("job " + job.id + " header=" + HexText(job.header) + " sent to " + std::to_string(sent) + " clients");
}
