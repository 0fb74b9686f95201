#include <winsock2.h>
// After winsock2.h:
#include <ws2tcpip.h>
#include <array>
#include <memory>
#include "common/DetachedThread.h"
#include "net/HostLookup.h"
#include "net/SocketHandles.h"

namespace {

struct Request {
    Request(IResolver& askedResolver, const std::wstring& askedHost) : resolver(askedResolver), host(askedHost) {}

    IResolver& resolver;
    const std::wstring host;
    ResolveResult result;  // written before done is set, read after
    CNetworkEvent done;
};

struct LocalMemoryDeleter {
    void operator()(char* memory) const { LocalFree(memory); }
};

bool StartRequest(const std::shared_ptr<Request>& request) {
    return request->done.IsValid() && StartDetached([request] {
               request->result = request->resolver.Resolve(request->host);
               WSASetEvent(request->done.Get());
           });
}

}  // namespace

std::optional<ResolveResult> LookUpHost(IResolver& resolver, const std::wstring& host, HANDLE stopEvent) {
    in_addr numeric = {};
    if (InetPtonW(AF_INET, host.c_str(), &numeric) == 1) return ResolveResult{0, numeric.s_addr};

    const auto request = std::make_shared<Request>(resolver, host);
    if (!StartRequest(request)) return ResolveResult{WSATRY_AGAIN, 0};
    const std::array<HANDLE, 2> events = {stopEvent, request->done.Get()};
    if (WaitForMultipleObjects(2, events.data(), FALSE, INFINITE) != WAIT_OBJECT_0 + 1) return std::nullopt;
    return request->result;
}

std::string SystemMessage(std::uint32_t code) {
    char* allocated = nullptr;
    const DWORD flags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    // With the allocate flag the function takes the address of a pointer in place of a buffer.
    const DWORD length = FormatMessageA(flags, nullptr, code, 0, reinterpret_cast<char*>(&allocated), 0, nullptr);
    const std::unique_ptr<char, LocalMemoryDeleter> owner(allocated);
    if (length == 0) return {};
    std::string text(allocated, length);
    text.erase(text.find_last_not_of(" \r\n") + 1);
    return text;
}
