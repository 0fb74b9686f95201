#include "net/TcpLink.h"
#include <utility>
#include "net/SocketAddress.h"

namespace {

std::uint32_t LastError() {
    return static_cast<std::uint32_t>(WSAGetLastError());
}

// Requests are short and waited for: none of them is held back to be joined with the next.
void SendAtOnce(SOCKET socket) {
    const BOOL on = TRUE;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
}

std::optional<std::uint32_t> EventOf(const WSANETWORKEVENTS& events, long mask, int bit) {
    if ((events.lNetworkEvents & mask) == 0) return std::nullopt;
    return static_cast<std::uint32_t>(events.iErrorCode[bit]);
}

}  // namespace

CTcpLink::CTcpLink(WSAEVENT dataEvent, CSocket accepted, std::uint32_t* error)
    : m_event(dataEvent), m_socket(std::move(accepted)) {
    SendAtOnce(m_socket.Get());
    // An accepted socket has inherited the selection of the listening one.
    *error = WSAEventSelect(m_socket.Get(), m_event, FD_READ | FD_CLOSE) == 0 ? 0 : LastError();
}

std::uint32_t CTcpLink::Connect(const HostAddress& address, std::uint32_t port) {
    const SocketAddress peer = MakeSocketAddress(address, port);
    m_socket = CSocket(WSASocketW(peer.Get()->sa_family, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_OVERLAPPED));
    if (!m_socket.IsOpen() || WSAEventSelect(m_socket.Get(), m_event, FD_READ | FD_CONNECT | FD_CLOSE) != 0) {
        return LastError();
    }
    SendAtOnce(m_socket.Get());
    if (WSAConnect(m_socket.Get(), peer.Get(), peer.size, nullptr, nullptr, nullptr, nullptr) == 0) return 0;
    const std::uint32_t error = LastError();
    return error == WSAEWOULDBLOCK ? 0 : error;
}

LinkEvents CTcpLink::TakeEvents() {
    WSANETWORKEVENTS events = {};
    if (WSAEnumNetworkEvents(m_socket.Get(), m_event, &events) != 0) {
        const std::uint32_t error = LastError();
        WSAResetEvent(m_event);
        return {.failed = error, .connected = {}, .readable = {}, .closed = {}};
    }
    return {.failed = {},
            .connected = EventOf(events, FD_CONNECT, FD_CONNECT_BIT),
            .readable = EventOf(events, FD_READ, FD_READ_BIT),
            .closed = EventOf(events, FD_CLOSE, FD_CLOSE_BIT)};
}

LinkTransfer CTcpLink::Receive(std::span<char> area) {
    WSABUF buffer = {static_cast<u_long>(area.size()), area.data()};
    DWORD received = 0;
    DWORD flags = 0;
    if (WSARecv(m_socket.Get(), &buffer, 1, &received, &flags, nullptr, nullptr) == 0) return {0, received};
    const std::uint32_t error = LastError();
    return {error == WSA_IO_PENDING || error == WSAEWOULDBLOCK ? 0 : error, 0};
}

LinkTransfer CTcpLink::Send(std::string_view bytes) {
    // The interface takes a writable pointer but only reads.
    WSABUF buffer = {static_cast<u_long>(bytes.size()), const_cast<char*>(bytes.data())};
    DWORD sent = 0;
    const int status = WSASend(m_socket.Get(), &buffer, 1, &sent, 0, nullptr, nullptr);
    return {status == 0 ? 0 : LastError(), sent};
}
