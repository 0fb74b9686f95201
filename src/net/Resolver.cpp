#include "net/Resolver.h"
#include <winsock2.h>
// After winsock2.h:
#include <ws2tcpip.h>
#include <algorithm>
#include <memory>
#include "net/SocketAddress.h"
#include "net/SocketHandles.h"

namespace {

struct AddressListDeleter {
    void operator()(ADDRINFOW* list) const { FreeAddrInfoW(list); }
};

class CSystemResolver final : public IResolver {
  public:
    ResolveResult Resolve(const std::wstring& host) override {
        if (host.empty()) return {WSAHOST_NOT_FOUND, {}};
        const CWinsockSession winsock;  // the caller's thread may outlive every other user of Windows Sockets
        ADDRINFOW hints = {};
        hints.ai_family = AF_UNSPEC;
        hints.ai_socktype = SOCK_STREAM;
        hints.ai_protocol = IPPROTO_TCP;
        ADDRINFOW* found = nullptr;
        const int error = GetAddrInfoW(host.c_str(), nullptr, &hints, &found);
        if (error != 0) return {static_cast<std::uint32_t>(error), {}};
        const std::unique_ptr<ADDRINFOW, AddressListDeleter> list(found);
        ResolveResult result;
        for (const ADDRINFOW* entry = found; entry != nullptr; entry = entry->ai_next) {
            const auto address = AddressOf(*entry->ai_addr);
            if (!address || std::ranges::find(result.addresses, *address) != result.addresses.end()) continue;
            result.addresses.push_back(*address);
        }
        if (result.addresses.empty()) result.error = WSANO_DATA;
        return result;
    }
};

}  // namespace

IResolver& SystemResolver() {
    static CSystemResolver resolver;
    return resolver;
}
