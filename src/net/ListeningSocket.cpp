#include "net/ListeningSocket.h"

ListenResult OpenListeningSocket(std::uint32_t address, std::uint32_t port, WSAEVENT acceptEvent) {
    CSocket socket(WSASocketW(AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_OVERLAPPED));
    sockaddr_in local = {};
    local.sin_family = AF_INET;
    local.sin_port = htons(static_cast<u_short>(port));
    local.sin_addr.s_addr = address;

    // No address-reuse option: with it another program could take the port over. Listening anew while the accepted
    // connection is still open does not need it.
    u_long nonBlocking = 1;
    const bool listening = socket.IsOpen() && ioctlsocket(socket.Get(), static_cast<long>(FIONBIO), &nonBlocking) == 0 &&
                           WSAEventSelect(socket.Get(), acceptEvent, FD_ACCEPT) == 0 &&
                           bind(socket.Get(), reinterpret_cast<const sockaddr*>(&local), sizeof local) == 0 &&
                           listen(socket.Get(), SOMAXCONN) == 0;
    if (listening) return {std::move(socket), 0};
    const int error = WSAGetLastError();
    if (error == WSAEWOULDBLOCK) return {std::move(socket), 0};
    return {CSocket(), static_cast<std::uint32_t>(error)};
}
