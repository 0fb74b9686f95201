#include "common/ProxyAddress.h"

#include "common/PoolAddress.h"

namespace {

constexpr std::string_view kScheme = "socks5://";
constexpr std::size_t kMost = 255;  // bytes of a text on the wire

ProxyAddress Refused(std::string reason) {
    ProxyAddress proxy;
    proxy.reason = std::move(reason);
    return proxy;
}

}  // namespace

ProxyAddress ParseProxyAddress(std::string_view text) {
    if (text.empty()) return {};
    if (text.starts_with(kScheme)) text.remove_prefix(kScheme.size());
    if (text.find("://") != std::string_view::npos) return Refused("a proxy is socks5://host:port");
    ProxyAddress proxy;
    if (const std::size_t at = text.rfind('@'); at != std::string_view::npos) {
        const std::string_view login = text.substr(0, at);
        const std::size_t colon = login.find(':');
        proxy.user = login.substr(0, colon);
        if (colon != std::string_view::npos) proxy.password = login.substr(colon + 1);
        if (proxy.user.empty()) return Refused("there is no user before the proxy's '@'");
        if (proxy.user.size() > kMost || proxy.password.size() > kMost)
            return Refused("the proxy's user or password is too long");
        text.remove_prefix(at + 1);
    }
    PoolAddress address = ParsePoolAddress(text);
    if (!address.reason.empty()) return Refused(std::move(address.reason));
    proxy.host = std::move(address.host);
    proxy.port = address.port.value_or(proxy.port);
    return proxy;
}
