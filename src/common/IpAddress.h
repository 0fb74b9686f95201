#pragma once
#include <array>
#include <cstdint>
#include <cstring>
#include <string>

// IP addresses. Values; any thread.

// Of either family, in network byte order.
struct HostAddress {
    bool isV6 = false;
    std::array<std::uint8_t, 16> bytes = {};  // IPv4: the first four
    std::uint32_t scope = 0;                  // IPv6: the interface of a link-local address

    static HostAddress V4(std::uint32_t word) {
        HostAddress address;
        std::memcpy(address.bytes.data(), &word, sizeof word);
        return address;
    }
    std::uint32_t V4Word() const {
        std::uint32_t word = 0;
        std::memcpy(&word, bytes.data(), sizeof word);
        return word;
    }
    bool operator==(const HostAddress&) const = default;
};

// An IPv4 address in network byte order as a number of this machine (127.0.0.1 is 16777343): "127.0.0.1".
inline std::wstring Ipv4Text(std::uint32_t address) {
    const HostAddress parts = HostAddress::V4(address);
    std::wstring text = std::to_wstring(parts.bytes[0]);
    for (std::size_t i = 1; i < 4; ++i)
        text.append(L".").append(std::to_wstring(parts.bytes[i]));
    return text;
}

// Whether only programs of this machine reach it (127.0.0.0/8). 0, which stands for every address of the machine, is none.
inline bool IsLoopback(std::uint32_t address) {
    return HostAddress::V4(address).bytes[0] == 127;
}
