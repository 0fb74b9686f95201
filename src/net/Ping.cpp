#include "net/Ping.h"

#include <winsock2.h>
// After winsock2.h:
#include <ws2tcpip.h>
// After ws2tcpip.h:
#include <iphlpapi.h>
// After iphlpapi.h:
#include <icmpapi.h>

#include <algorithm>
#include <memory>
#include <new>

// Missing from the toolchain's headers, present in its import library (documented in the IP Helper reference).
extern "C" DWORD WINAPI IcmpSendEcho2Ex(HANDLE icmp, HANDLE event, FARPROC apcRoutine, PVOID apcContext, IPAddr source,
                                        IPAddr destination, LPVOID data, WORD dataSize, PIP_OPTION_INFORMATION options,
                                        LPVOID reply, DWORD replySize, DWORD timeout);

namespace {

constexpr std::size_t kReplyOverhead = 48;
constexpr int kFlagReverse = 1;  // IP_FLAG_REVERSE of ipexport.h, missing here too

struct IcmpCloser {
    void operator()(HANDLE handle) const { IcmpCloseHandle(handle); }
};
using IcmpHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, IcmpCloser>;

IcmpHandle OpenIcmp() {
    const HANDLE handle = IcmpCreateFile();
    return IcmpHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

bool Resolve(const std::wstring& host, IPAddr& address) {
    const ResolveResult result = SystemResolver().Resolve(host);
    const auto found = std::ranges::find(result.addresses, false, &HostAddress::isV6);
    const bool isFound = found != result.addresses.end();
    if (isFound) address = found->V4Word();
    SetLastError(isFound || result.error != 0 ? result.error : WSANO_DATA);
    return isFound;
}

IP_OPTION_INFORMATION MakeOptions(const PingOptions& options) {
    IP_OPTION_INFORMATION information = {};
    information.Ttl = options.timeToLive;
    information.Tos = options.typeOfService;
    information.Flags =
        static_cast<UCHAR>((options.dontFragment ? IP_FLAG_DF : 0) | (options.reverseRoute ? kFlagReverse : 0));
    return information;
}

}  // namespace

void CPing::FillRequestData(std::uint8_t* buffer, std::size_t size) const {
    std::fill_n(buffer, size, std::uint8_t{0x45});
}

bool CPing::Ping(const std::wstring& host, PingReply& reply, const PingOptions& options) const {
    try {
        return SendEcho(host, reply, options);
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_OUTOFMEMORY);
        return false;
    }
}

// Throws std::bad_alloc.
bool CPing::SendEcho(const std::wstring& host, PingReply& reply, const PingOptions& options) const {
    IPAddr destination = 0;
    IPAddr source = 0;
    if (!Resolve(host, destination)) return false;
    if (!options.localAddress.empty() && !Resolve(options.localAddress, source)) return false;
    const IcmpHandle icmp = OpenIcmp();
    if (icmp == nullptr) return false;

    std::vector<std::uint8_t> request(options.requestSize);
    FillRequestData(request.data(), request.size());
    reply.buffer.assign(request.size() + kReplyOverhead, 0);
    const auto replySize = static_cast<DWORD>(reply.buffer.size());
    IP_OPTION_INFORMATION information = MakeOptions(options);
    const DWORD replies = options.localAddress.empty()
                              ? IcmpSendEcho(icmp.get(), destination, request.data(), options.requestSize, &information,
                                             reply.buffer.data(), replySize, options.timeoutMilliseconds)
                              : IcmpSendEcho2Ex(icmp.get(), nullptr, nullptr, nullptr, source, destination, request.data(),
                                                options.requestSize, &information, reply.buffer.data(), replySize,
                                                options.timeoutMilliseconds);
    if (replies == 0) {
        SetLastError(ERROR_TIMEOUT);
        return false;
    }
    const auto* echo = reinterpret_cast<const ICMP_ECHO_REPLY*>(reply.buffer.data());
    reply.family = AF_INET;
    reply.address = echo->Address;
    reply.roundTrip = echo->RoundTripTime;
    reply.status = echo->Status;
    return true;
}
