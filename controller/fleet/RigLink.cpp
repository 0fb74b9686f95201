#include "fleet/RigLink.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/write.hpp>
#include <random>

#include "rig/CleanText.h"
#include "rig/ReportParser.h"

namespace {

namespace asio = boost::asio;

constexpr std::size_t kMaxOutput = 1 << 20;
constexpr unsigned kMaxBadLines = 10;

bool IsClosing(const boost::system::error_code& error) {
    return error == asio::error::eof || error == asio::error::connection_reset || error == asio::error::connection_aborted ||
           error == asio::error::broken_pipe;
}

std::string Reason(const boost::system::error_code& error) {
    if (IsClosing(error)) return "closed by the rig";
    if (error == asio::error::connection_refused) return "connection refused";
    return CleanText(error.message(), 120);
}

}  // namespace

CRigLink::CRigLink(asio::io_context& io, RigAddress address, std::string token, const LinkTimes& times, bool reconnect,
                   IRigEvents& events)
    : m_resolver(io),
      m_socket(io),
      m_timer(io),
      m_address(std::move(address)),
      m_commands(std::move(token)),
      m_times(times),
      m_reconnect(reconnect),
      m_events(&events),
      m_backoff(times.firstPause, times.longestPause, std::random_device()()) {}

void CRigLink::Start() {
    Resolve();
}

void CRigLink::Stop() {
    m_events = nullptr;
    ++m_generation;
    m_timer.cancel();
    m_resolver.cancel();
    Error ignored;
    m_socket.shutdown(Tcp::socket::shutdown_both, ignored);
    m_socket.close(ignored);
}

void CRigLink::Resolve() {
    if (!m_events) return;
    SetState(LinkState::Connecting);
    if (!m_events) return;
    Arm(m_times.connect, &CRigLink::OnSilent);
    Error notNumeric;
    const auto address = asio::ip::make_address(m_address.host, notNumeric);
    if (!notNumeric) {
        // Without the resolver, which has a thread of its own.
        Connect(Tcp::resolver::results_type::create(Tcp::endpoint(address, m_address.port), m_address.host, ""));
        return;
    }
    m_resolver.async_resolve(m_address.host, std::to_string(m_address.port),
                             [self = shared_from_this(), generation = m_generation](const Error& error, auto endpoints) {
                                 if (self->IsStale(generation)) return;
                                 if (error) return self->Fail("no such host: " + Reason(error));
                                 self->Connect(endpoints);
                             });
}

void CRigLink::Connect(const Tcp::resolver::results_type& endpoints) {
    asio::async_connect(m_socket, endpoints,
                        [self = shared_from_this(), generation = m_generation](const Error& error, const Tcp::endpoint&) {
                            if (!self->IsStale(generation)) self->OnConnected(error);
                        });
}

void CRigLink::OnConnected(const Error& error) {
    if (error) return Fail(Reason(error));
    Error ignored;
    m_socket.set_option(Tcp::no_delay(true), ignored);
    SetState(LinkState::Waiting);
    if (!m_events) return;
    AskForReport();
    Read();
}

void CRigLink::AskForReport() {
    if (!Send(m_commands.Connect())) return Fail("does not take what is sent to it");
    Arm(m_times.answer, &CRigLink::OnSilent);
}

void CRigLink::OnSilent() {
    if (m_state == LinkState::Connecting) return Fail("timed out");
    Fail(kNoAnswer);
}

void CRigLink::Read() {
    m_socket.async_read_some(asio::buffer(m_buffer),
                             [self = shared_from_this(), generation = m_generation](const Error& error, std::size_t bytes) {
                                 if (!self->IsStale(generation)) self->OnRead(error, bytes);
                             });
}

void CRigLink::OnRead(const Error& error, std::size_t bytes) {
    if (error) return Lose(error);
    std::string_view data(m_buffer.data(), bytes);
    const unsigned generation = m_generation;
    for (std::size_t end = data.find('\n'); end != std::string_view::npos; end = data.find('\n')) {
        m_pending.append(data.substr(0, end));
        data.remove_prefix(end + 1);
        const std::string line = std::exchange(m_pending, {});
        TakeLine(line);
        if (IsStale(generation)) return;
    }
    m_pending.append(data);
    if (m_pending.size() > kMaxReportBytes) return Fail("sends a line without an end");
    Read();
}

void CRigLink::TakeLine(std::string_view line) {
    std::optional<Report> report = ParseReport(line);
    if (!report) {
        const unsigned generation = m_generation;
        m_events->OnBadLine();
        if (!IsStale(generation) && ++m_badLines >= kMaxBadLines) Fail("does not speak the miner's protocol");
        return;
    }
    m_badLines = 0;
    if (std::holds_alternative<SystemReport>(*report) && m_state != LinkState::Up) {
        m_backoff.Reset();
        SetState(LinkState::Up);
    }
    if (!m_events) return;
    if (m_state == LinkState::Up) Arm(m_times.quiet, &CRigLink::AskForReport);
    m_events->OnReport(std::move(*report), line);
}

bool CRigLink::Send(std::string_view line) {
    const bool connected = m_state == LinkState::Waiting || m_state == LinkState::Up;
    if (!connected || m_output.size() + line.size() > kMaxOutput) return false;
    m_output += line;
    if (!m_writing) Write();
    return true;
}

void CRigLink::Write() {
    m_writing = true;
    const auto text = std::make_shared<const std::string>(std::exchange(m_output, {}));
    asio::async_write(m_socket, asio::buffer(*text),
                      [self = shared_from_this(), generation = m_generation, text](const Error& error, std::size_t) {
                          if (self->IsStale(generation)) return;
                          if (error) return self->Lose(error);
                          self->m_writing = false;
                          if (!self->m_output.empty()) self->Write();
                      });
}

// A miner gives its one place to whoever comes last. Who lost it lets the other do its work before it comes back.
void CRigLink::Lose(const Error& error) {
    if (m_state != LinkState::Up || !IsClosing(error)) return Fail(Reason(error));
    m_isReplaced = true;
    TakeDown("closed by the rig (has another controller connected?)", m_times.replaced);
}

void CRigLink::Fail(const std::string& reason) {
    m_isReplaced = false;
    TakeDown(reason, m_backoff.Next());
}

void CRigLink::TakeDown(const std::string& reason, std::chrono::milliseconds pause) {
    ++m_generation;
    m_resolver.cancel();
    m_timer.cancel();
    m_writing = false;
    m_output.clear();
    m_pending.clear();
    m_badLines = 0;
    Error ignored;
    m_socket.close(ignored);
    SetState(LinkState::Down, reason);
    if (m_events && m_reconnect) Arm(pause, &CRigLink::Resolve);
}

void CRigLink::SetState(LinkState state, const std::string& reason) {
    m_state = state;
    m_events->OnLinkState(state, reason);
}

void CRigLink::Arm(std::chrono::milliseconds pause, void (CRigLink::*action)()) {
    m_timer.expires_after(pause);
    m_timer.async_wait(
        [self = shared_from_this(), armed = ++m_armed, generation = m_generation, action](const Error& error) {
            if (!error && armed == self->m_armed && !self->IsStale(generation)) ((*self).*action)();
        });
}
