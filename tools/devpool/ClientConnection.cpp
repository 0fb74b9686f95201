#include "ClientConnection.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>

#include "Faults.h"

namespace asio = boost::asio;
using boost::system::error_code;

namespace {

constexpr std::size_t kMaxLine = std::size_t{16} * 1024;
constexpr std::size_t kMaxQueued = std::size_t{4} * 1024 * 1024;  // more unsent bytes mean that the client does not read

constexpr std::chrono::seconds kFinishWait{5};

PoolTime Now() {
    return std::chrono::steady_clock::now();
}

}  // namespace

CClientConnection::CClientConnection(asio::ip::tcp::socket socket, const PoolContext& context, unsigned client,
                                     Callbacks callbacks)
    : m_socket(std::move(socket)),
      m_delay(m_socket.get_executor()),
      m_finishTimer(m_socket.get_executor()),
      m_faults(context.options.faults),
      m_protocol(context, client),
      m_client(client),
      m_callbacks(std::move(callbacks)) {}

void CClientConnection::Start() {
    error_code ignored;
    m_socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    Read();
}

bool CClientConnection::Announce() {
    if (m_closed || m_finishing || !m_protocol.LoggedIn()) return false;
    Apply(m_protocol.Announce(Now()));
    return true;
}

void CClientConnection::Finish() {
    if (m_finishing || m_closed) return;
    m_finishing = true;
    if (m_output.empty()) return Close("closed by the pool");
    m_finishTimer.expires_after(kFinishWait);
    m_finishTimer.async_wait([self = shared_from_this()](const error_code& error) {
        if (!error) self->Close("closed by the pool, unsent lines were lost");
    });
}

void CClientConnection::Close(const std::string& reason) {
    if (m_closed) return;
    m_closed = true;
    error_code ignored;
    m_delay.cancel();
    m_finishTimer.cancel();
    // A client that does not read is reset; a pending send would otherwise keep the connection open behind our back.
    if (!m_output.empty()) m_socket.set_option(asio::socket_base::linger(true, 0), ignored);
    m_socket.cancel(ignored);
    m_socket.shutdown(asio::ip::tcp::socket::shutdown_both, ignored);
    m_socket.close(ignored);
    m_callbacks.event("client " + std::to_string(m_client) + " disconnected: " + reason);
    m_callbacks.closed(m_client);
}

void CClientConnection::Read() {
    asio::async_read_until(
        m_socket, asio::dynamic_buffer(m_input, kMaxLine), '\n',
        [self = shared_from_this()](const error_code& error, std::size_t size) { self->OnRead(error, size); });
}

void CClientConnection::OnRead(const error_code& error, std::size_t size) {
    if (m_closed || m_finishing) return;
    if (error == asio::error::not_found) return Close("line too long");
    if (error == asio::error::eof) return Close("closed by the client");
    if (error) return Close(error.message());
    HandleLine(size);
    if (!m_closed && !m_finishing) Read();
}

void CClientConnection::HandleLine(std::size_t size) {
    std::string line = m_input.substr(0, size - 1);
    m_input.erase(0, size);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    ++m_linesRead;
    if (!line.empty()) Apply(m_protocol.Receive(line, Now()));
    if (m_faults.dropAfterLines != 0 && m_linesRead >= m_faults.dropAfterLines) {
        m_callbacks.event("client " + std::to_string(m_client) + " dropped: " + std::to_string(m_linesRead) + " lines");
        Finish();
    }
    m_callbacks.lineHandled();
}

void CClientConnection::Apply(const Exchange& exchange) {
    for (const std::string& event : exchange.events)
        m_callbacks.event(event);
    for (const std::string& line : exchange.lines) {
        if (m_faults.garbage != Garbage::None) Queue(GarbageLine(m_garbageSent++));
        if (m_faults.garbage != Garbage::Instead) Queue(line);
    }
    if (exchange.drop) Finish();
    if (m_queuedBytes > kMaxQueued) Close("it does not read");
}

void CClientConnection::Queue(std::string line) {
    line += '\n';
    m_queuedBytes += line.size();
    m_output.push_back(std::move(line));
    if (!m_sending) Pump();
}

// Begins to send the next line, if any.
void CClientConnection::Pump() {
    if (m_closed) return;
    m_sending = !m_output.empty();
    if (!m_sending) {
        if (m_finishing) Close("closed by the pool");
        return;
    }
    m_sentOfLine = 0;
    if (m_faults.delayMs == 0) return Write();
    m_delay.expires_after(std::chrono::milliseconds(m_faults.delayMs));
    m_delay.async_wait([self = shared_from_this()](const error_code& error) {
        if (!error && !self->m_closed) self->Write();
    });
}

void CClientConnection::Write() {
    const std::string_view rest = std::string_view(m_output.front()).substr(m_sentOfLine);
    const std::size_t size = m_faults.split ? 1 : rest.size();
    asio::async_write(
        m_socket, asio::buffer(rest.data(), size),
        [self = shared_from_this()](const error_code& error, std::size_t sent) { self->OnWritten(error, sent); });
}

void CClientConnection::OnWritten(const error_code& error, std::size_t size) {
    if (m_closed) return;
    if (error) return Close(error.message());
    m_sentOfLine += size;
    if (m_sentOfLine < m_output.front().size()) return Write();
    m_queuedBytes -= m_output.front().size();
    m_output.pop_front();
    Pump();
}
