#include "net/HostText.h"

namespace {

std::uint32_t ReadPort(const std::wstring& text, std::size_t from) {
    std::uint32_t port = 0;
    for (std::size_t i = text.find_first_not_of(L" \t", from); i < text.size(); ++i) {
        if (text[i] < L'0' || text[i] > L'9') break;
        port = (port * 10 + static_cast<std::uint32_t>(text[i] - L'0')) % 65536;
    }
    return port;
}

}  // namespace

std::uint32_t CutPort(std::wstring& hostText, std::uint32_t defaultPort) {
    if (const std::size_t close = hostText.find(L']'); hostText.starts_with(L'[') && close != std::wstring::npos) {
        const std::wstring behind = hostText.substr(close + 1);
        if (!behind.empty() && behind[0] != L':') return defaultPort;  // no address either: the look-up says so
        hostText = hostText.substr(1, close - 1);
        return behind.empty() ? defaultPort : ReadPort(behind, 1);
    }
    const std::size_t colon = hostText.find(L':');
    if (colon == std::wstring::npos) return defaultPort;
    const bool isIPv6 = hostText.find(L':', colon + 1) != std::wstring::npos &&
                        hostText.find_first_not_of(L"0123456789abcdefABCDEF:.%") == std::wstring::npos;
    // What can be no host is left whole, so that the message about it is understood.
    if (isIPv6 || hostText.starts_with(L'[') || hostText.find(L"://") != std::wstring::npos) return defaultPort;
    const std::uint32_t port = ReadPort(hostText, colon + 1);
    hostText.erase(colon);
    return port;
}
