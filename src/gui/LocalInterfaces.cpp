#include "gui/LocalInterfaces.h"

#include <winsock2.h>
#include <ws2tcpip.h>
// Behind winsock2.h.
#include <iphlpapi.h>

#include <algorithm>
#include <cstring>

#include "common/IpAddress.h"

namespace {

// What the system recommends for a first try, and a bound for a list that keeps growing.
constexpr ULONG kFirstBytes = 15 * 1024;
constexpr int kTries = 4;

// The blocks of a list of adapters, which point at one another.
using AdapterBuffer = std::vector<std::uint64_t>;

const IP_ADAPTER_ADDRESSES* ReadAdapters(AdapterBuffer& buffer) {
    constexpr ULONG kFlags = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER;
    ULONG bytes = kFirstBytes;
    for (int i = 0; i < kTries; ++i) {
        buffer.resize(bytes / sizeof(buffer[0]) + 1);
        auto* adapters = static_cast<IP_ADAPTER_ADDRESSES*>(static_cast<void*>(buffer.data()));
        const ULONG result = GetAdaptersAddresses(AF_INET, kFlags, nullptr, adapters, &bytes);
        if (result == ERROR_SUCCESS) return adapters;
        if (result != ERROR_BUFFER_OVERFLOW) return nullptr;
    }
    return nullptr;
}

std::vector<std::uint32_t> AddressesOf(const IP_ADAPTER_ADDRESSES& adapter) {
    std::vector<std::uint32_t> addresses;
    for (const auto* unicast = adapter.FirstUnicastAddress; unicast != nullptr; unicast = unicast->Next) {
        const SOCKET_ADDRESS& socketAddress = unicast->Address;
        if (socketAddress.lpSockaddr->sa_family != AF_INET ||
            socketAddress.iSockaddrLength < static_cast<int>(sizeof(sockaddr_in))) {
            continue;
        }
        sockaddr_in address;
        std::memcpy(&address, socketAddress.lpSockaddr, sizeof(address));
        addresses.push_back(address.sin_addr.s_addr);
    }
    return addresses;
}

void Append(const IP_ADAPTER_ADDRESSES& adapter, std::vector<LocalInterface>& interfaces) {
    const std::vector<std::uint32_t> addresses = AddressesOf(adapter);
    const std::wstring name = adapter.FriendlyName == nullptr ? L"" : adapter.FriendlyName;
    for (const std::uint32_t address : addresses) {
        std::wstring text = name.empty() ? Ipv4Text(address) : name;
        if (!name.empty() && addresses.size() > 1) text.append(L" (").append(Ipv4Text(address)).append(L")");
        interfaces.push_back({std::move(text), address});
    }
}

}  // namespace

std::vector<LocalInterface> LocalInterfaces() {
    std::vector<LocalInterface> interfaces;
    AdapterBuffer buffer;
    for (const IP_ADAPTER_ADDRESSES* adapter = ReadAdapters(buffer); adapter != nullptr; adapter = adapter->Next) {
        if (adapter->OperStatus == IfOperStatusUp) Append(*adapter, interfaces);
    }
    std::stable_partition(interfaces.begin(), interfaces.end(),
                          [](const LocalInterface& entry) { return !IsLoopback(entry.address); });
    return interfaces;
}
