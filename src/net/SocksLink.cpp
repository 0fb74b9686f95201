#include "net/SocksLink.h"
#include <algorithm>
#include <array>
#include "common/CodePage.h"
#include "net/SocketAddress.h"

namespace {

constexpr char kNoAnswer[] = "The proxy does not answer";
constexpr char kClosed[] = "The proxy closed the connection";

constexpr std::uint32_t ProxyCode(std::uint32_t code) {
    return kProxyFailure | code;
}

}  // namespace

CSocksLink::CSocksLink(WSAEVENT dataEvent, const ProxyAddress& proxy, const std::wstring& host, std::uint32_t port)
    : m_tcp(dataEvent), m_handshake(proxy, WideToUtf8(host).substr(0, 255), ParseAddress(host), port) {}

LinkEvents CSocksLink::TakeEvents() {
    LinkEvents events = m_tcp.TakeEvents();
    if (m_phase == Phase::Open || events.failed) return events;
    if (m_phase == Phase::Connecting) {
        if (!events.connected) return events;
        if (*events.connected != 0) return Fail("The proxy cannot be reached", *events.connected);
        m_phase = Phase::Handshake;
        m_failure = LinkFailure{kNoAnswer, ProxyCode(WSAETIMEDOUT)};  // while it lasts
        if (!SendAll(m_handshake.Greeting())) return Fail(kClosed, WSAECONNRESET);
    }
    // Not one byte more than belongs to the handshake: what is behind it is the server's.
    std::array<char, 300> area;
    while (m_handshake.Needed() > 0) {
        const LinkTransfer read = m_tcp.Receive(std::span(area).first(std::min(area.size(), m_handshake.Needed())));
        if (read.error != 0) return Fail(kClosed, read.error);
        if (read.bytes == 0) break;
        if (!SendAll(m_handshake.Take({area.data(), read.bytes}))) return Fail(kClosed, WSAECONNRESET);
    }
    if (!m_handshake.Failure().empty()) return Fail(m_handshake.Failure(), WSAECONNREFUSED);
    if (m_handshake.IsConnected()) {
        m_phase = Phase::Open;
        m_failure.reset();
        return {.failed = {}, .connected = 0, .readable = {}, .closed = events.closed};
    }
    if (events.closed) return Fail(kClosed, WSAECONNRESET);
    return {};
}

LinkEvents CSocksLink::Fail(std::string text, std::uint32_t code) {
    m_failure = LinkFailure{std::move(text), ProxyCode(code)};
    return {.failed = {}, .connected = m_failure->code, .readable = {}, .closed = {}};
}

bool CSocksLink::SendAll(const std::string& text) {
    if (text.empty()) return true;
    const LinkTransfer sent = m_tcp.Send(text);
    return sent.error == 0 && sent.bytes == text.size();
}
