#include <winsock2.h>
// After winsock2.h:
#include <array>
#include <new>
#include "common/DetachedThread.h"
#include "net/HostLookup.h"
#include "net/SocketHandles.h"

struct CHostLookup::Request {
    Request(IResolver& askedResolver, const std::wstring& askedHost) : resolver(askedResolver), host(askedHost) {}

    void Run() noexcept {
        try {
            result = resolver.Resolve(host);
        } catch (const std::bad_alloc&) {
            result = {WSA_NOT_ENOUGH_MEMORY, {}};
        }
        WSASetEvent(done.Get());
    }

    IResolver& resolver;
    const std::wstring host;
    ResolveResult result;  // written before done is set, read after
    CNetworkEvent done;
};

namespace {

struct LocalMemoryDeleter {
    void operator()(char* memory) const { LocalFree(memory); }
};

}  // namespace

CHostLookup::CHostLookup(IResolver& resolver) : m_resolver(resolver) {}

CHostLookup::~CHostLookup() = default;

std::optional<LookUpAnswer> CHostLookup::LookUp(const std::wstring& host, HANDLE stopEvent,
                                                std::uint32_t limitMilliseconds) {
    Host& entry = m_hosts[host];
    std::shared_ptr<Request> request = entry.pending;
    if (!request) {
        request = std::make_shared<Request>(m_resolver, host);
        if (!request->done.IsValid() || !StartDetached([request] { request->Run(); })) {
            return LookUpAnswer{WSA_NOT_ENOUGH_MEMORY, false, entry.known};
        }
        entry.pending = request;
    }
    const std::array<HANDLE, 2> events = {stopEvent, request->done.Get()};
    const DWORD ended = WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(), FALSE, limitMilliseconds);
    if (ended == WAIT_OBJECT_0) return std::nullopt;
    if (ended != WAIT_OBJECT_0 + 1) return LookUpAnswer{WSATRY_AGAIN, true, entry.known};

    entry.pending.reset();
    ResolveResult result = std::move(request->result);
    if (result.error == 0 && result.addresses.empty()) result.error = WSANO_DATA;
    if (result.error == 0) entry.known = std::move(result.addresses);
    return LookUpAnswer{result.error, false, entry.known};
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
