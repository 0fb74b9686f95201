#include "ScriptedPeer.h"
#include <chrono>
#include <cstdlib>
#include <sstream>

namespace {

constexpr long kPatienceSeconds = 5;

sockaddr_in Loopback(std::uint32_t port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<u_short>(port));
    return address;
}

CSocket NewSocket() {
    return CSocket(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
}

bool WaitReadable(SOCKET socket, long seconds = kPatienceSeconds) {
    fd_set set = {1, {socket}};
    timeval patience = {seconds, 0};
    return select(0, &set, nullptr, nullptr, &patience) == 1;
}

}  // namespace

CPeerLink CPeerLink::To(std::uint32_t port) {
    const sockaddr_in address = Loopback(port);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(kPatienceSeconds);
    do {
        CSocket socket = NewSocket();
        if (connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
            return CPeerLink(std::move(socket));
        }
        Sleep(5);
    } while (std::chrono::steady_clock::now() < end);
    return {};
}

bool CPeerLink::Send(std::string_view bytes) {
    while (!bytes.empty()) {
        const int sent = send(m_socket.Get(), bytes.data(), static_cast<int>(bytes.size()), 0);
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

std::string CPeerLink::ReadLine() {
    std::size_t end = 0;
    while ((end = m_pending.find('\n')) == std::string::npos) {
        if (!Fill()) return {};
    }
    std::string line = m_pending.substr(0, end);
    m_pending.erase(0, end + 1);
    return line;
}

bool CPeerLink::IsClosedByOther() {
    while (Fill()) {
    }
    return !IsOpen();
}

// One read. False: nothing came in time, or (the link is closed then) nothing will.
bool CPeerLink::Fill() {
    if (!IsOpen() || !WaitReadable(m_socket.Get())) return false;
    char area[65536];
    const int received = recv(m_socket.Get(), area, sizeof area, 0);
    if (received <= 0) {
        m_socket.Close();
        return false;
    }
    m_pending.append(area, static_cast<std::size_t>(received));
    return true;
}

void CPeerLink::Reset() {
    const linger hard = {1, 0};
    setsockopt(m_socket.Get(), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&hard), sizeof hard);
    Close();
}

TlsFront TlsFront::FromEnvironment() {
    TlsFront front;
    const char* const text = std::getenv("QV_TLS_FRONT");
    std::istringstream(text != nullptr ? text : "") >> front.port >> front.peerPort;
    return front;
}

CScriptedPeer::CScriptedPeer(int backlog, TlsFront front) : m_listening(NewSocket()), m_front(front) {
    sockaddr_in address = Loopback(front.peerPort);
    int size = sizeof address;
    const BOOL isReused = front.peerPort != 0;
    setsockopt(m_listening.Get(), SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char*>(&isReused), sizeof isReused);
    if (bind(m_listening.Get(), reinterpret_cast<const sockaddr*>(&address), size) != 0) return;
    if (listen(m_listening.Get(), backlog) != 0) return;
    if (getsockname(m_listening.Get(), reinterpret_cast<sockaddr*>(&address), &size) == 0) m_port = ntohs(address.sin_port);
}

bool CScriptedPeer::HasVisitor() const {
    return WaitReadable(m_listening.Get(), 0);
}

CPeerLink CScriptedPeer::Accept() {
    if (!WaitReadable(m_listening.Get())) return {};
    return CPeerLink(CSocket(accept(m_listening.Get(), nullptr, nullptr)));
}
