#include "net/HostText.h"

std::uint32_t CutPort(std::wstring& hostText, std::uint32_t defaultPort) {
    const std::size_t colon = hostText.find(L':');
    if (colon == std::wstring::npos) return defaultPort;

    std::uint32_t port = 0;
    for (std::size_t i = hostText.find_first_not_of(L" \t", colon + 1); i < hostText.size(); ++i) {
        if (hostText[i] < L'0' || hostText[i] > L'9') break;
        port = (port * 10 + static_cast<std::uint32_t>(hostText[i] - L'0')) % 65536;
    }
    hostText.erase(colon);
    return port;
}
