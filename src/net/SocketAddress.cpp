#include "net/SocketAddress.h"
// After winsock2.h:
#include <ws2tcpip.h>
#include <array>
#include <cstring>

SocketAddress MakeSocketAddress(const HostAddress& address, std::uint32_t port) {
    SocketAddress result;
    const u_short networkPort = htons(static_cast<u_short>(port));
    if (address.isV6) {
        sockaddr_in6 v6 = {};
        v6.sin6_family = AF_INET6;
        v6.sin6_port = networkPort;
        std::memcpy(&v6.sin6_addr, address.bytes.data(), sizeof v6.sin6_addr);
        v6.sin6_scope_id = address.scope;
        std::memcpy(&result.storage, &v6, sizeof v6);
        result.size = sizeof v6;
    } else {
        sockaddr_in v4 = {};
        v4.sin_family = AF_INET;
        v4.sin_port = networkPort;
        v4.sin_addr.s_addr = address.V4Word();
        std::memcpy(&result.storage, &v4, sizeof v4);
        result.size = sizeof v4;
    }
    return result;
}

std::optional<HostAddress> AddressOf(const sockaddr& address) {
    if (address.sa_family == AF_INET) {
        sockaddr_in v4 = {};
        std::memcpy(&v4, &address, sizeof v4);
        return HostAddress::V4(v4.sin_addr.s_addr);
    }
    if (address.sa_family != AF_INET6) return std::nullopt;
    sockaddr_in6 v6 = {};
    std::memcpy(&v6, &address, sizeof v6);
    HostAddress result{.isV6 = true, .bytes = {}, .scope = v6.sin6_scope_id};
    std::memcpy(result.bytes.data(), &v6.sin6_addr, result.bytes.size());
    return result;
}

std::optional<HostAddress> ParseAddress(const std::wstring& text) {
    in_addr v4 = {};
    if (InetPtonW(AF_INET, text.c_str(), &v4) == 1) return HostAddress::V4(v4.s_addr);
    HostAddress v6{.isV6 = true, .bytes = {}, .scope = 0};
    if (InetPtonW(AF_INET6, text.c_str(), v6.bytes.data()) == 1) return v6;
    return std::nullopt;
}

std::string EndpointText(const HostAddress& address, std::uint32_t port) {
    std::array<char, INET6_ADDRSTRLEN> text = {};
    inet_ntop(address.isV6 ? AF_INET6 : AF_INET, address.bytes.data(), text.data(), text.size());
    const std::string host(text.data());
    return (address.isV6 ? '[' + host + ']' : host) + ':' + std::to_string(port);
}
