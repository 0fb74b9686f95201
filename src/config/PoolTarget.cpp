#include "config/PoolTarget.h"

#include <algorithm>
#include <utility>

#include "common/CodePage.h"

PoolTarget TargetOf(const PoolEntry& pool) {
    PoolTarget target{
        .host = pool.Server, .port = pool.Port, .shownPort = pool.Port, .encryption = {}, .protocol = {}, .reason = {}};
    if (target.host.find(L"://") == std::wstring::npos) {
        target.port = CutPort(target.host, pool.Port);
        target.protocol = AddressProtocol::Any;
        return target;
    }
    PoolAddress address = ParsePoolAddress(WideToUtf8(target.host));
    target.protocol = address.protocol;
    target.reason = std::move(address.reason);
    if (!target.reason.empty()) return target;
    target.host = NarrowToWide(Utf8ToNarrow(address.host, nullptr));
    target.port = target.shownPort = address.port.value_or(pool.Port);
    target.encryption = std::move(address.encryption);
    return target;
}

std::wstring PoolAddressText(const PoolEntry& pool) {
    const PoolTarget target = TargetOf(pool);
    if (!target.reason.empty()) return target.host;
    if (!target.encryption.isEncrypted && target.protocol == AddressProtocol::Any) {
        const bool isIpv6 = std::ranges::count(target.host, L':') > 1;
        const std::wstring host = isIpv6 ? L"[" + target.host + L"]" : target.host;
        return host + L":" + std::to_wstring(target.port);
    }
    PoolAddress address;
    address.host = WideToUtf8(target.host);
    address.port = target.port;
    address.encryption = target.encryption;
    address.encryption.fingerprint.clear();
    address.protocol = target.protocol;
    return NarrowToWide(Utf8ToNarrow(PoolAddressUrl(address), nullptr));
}
