#pragma once
#include <winsock2.h>
#include <optional>
#include <string>
#include "net/Resolver.h"

// What Windows Sockets takes for an address and a port.
struct SocketAddress {
    sockaddr_storage storage = {};
    int size = 0;
    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&storage); }
};

SocketAddress MakeSocketAddress(const HostAddress& address, std::uint32_t port);
// Nothing: of another family. address: as long as its family wants it.
std::optional<HostAddress> AddressOf(const sockaddr& address);
// A dotted IPv4 or a plain IPv6 address; nothing: a name.
std::optional<HostAddress> ParseAddress(const std::wstring& text);
// "1.2.3.4:4444" or "[::1]:4444".
std::string EndpointText(const HostAddress& address, std::uint32_t port);
