#include "net/Resolver.h"
#include <winsock2.h>
// After winsock2.h:
#include <ws2tcpip.h>
#include <cstring>
#include <memory>
#include "net/SocketHandles.h"

namespace {

struct AddressListDeleter {
    void operator()(ADDRINFOW* list) const { FreeAddrInfoW(list); }
};

class CSystemResolver final : public IResolver {
  public:
    ResolveResult Resolve(const std::wstring& host) override {
        if (host.empty()) return {WSAHOST_NOT_FOUND, 0};
        const CWinsockSession winsock;  // the caller's thread may outlive every other user of Windows Sockets
        ADDRINFOW hints = {};
        hints.ai_family = AF_INET;
        hints.ai_socktype = SOCK_STREAM;
        hints.ai_protocol = IPPROTO_TCP;
        ADDRINFOW* found = nullptr;
        const int error = GetAddrInfoW(host.c_str(), nullptr, &hints, &found);
        if (error != 0) return {static_cast<std::uint32_t>(error), 0};
        const std::unique_ptr<ADDRINFOW, AddressListDeleter> list(found);
        sockaddr_in address = {};
        std::memcpy(&address, list->ai_addr, sizeof address);
        return {0, address.sin_addr.s_addr};
    }
};

}  // namespace

IResolver& SystemResolver() {
    static CSystemResolver resolver;
    return resolver;
}
