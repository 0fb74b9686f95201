#include "control/ControlSecurity.h"
#include <cstddef>

namespace {

constexpr std::uint32_t kLoopbackNetwork = 127;

constexpr std::uint32_t Octet(std::uint32_t address, unsigned place) {
    return address >> (8 * place) & 0xFF;
}

std::wstring AddressText(std::uint32_t address) {
    if (address == 0) return L"every address of this machine";
    std::wstring text = std::to_wstring(Octet(address, 0));
    for (unsigned place = 1; place < 4; ++place)
        text.append(L".").append(std::to_wstring(Octet(address, place)));
    return text;
}

}  // namespace

bool IsSameToken(std::string_view given, std::string_view expected) {
    if (given.size() != expected.size()) return false;
    // Volatile: the compiler is not to find out that the answer may be known before the end.
    volatile unsigned difference = 0;
    for (std::size_t i = 0; i < expected.size(); ++i)
        difference = difference | (static_cast<unsigned char>(given[i]) ^ static_cast<unsigned char>(expected[i]));
    return difference == 0;
}

bool IsLoopback(std::uint32_t address) {
    return Octet(address, 0) == kLoopbackNetwork;
}

std::wstring ListenWarning(std::uint32_t address, std::uint32_t port, bool hasToken) {
    if (hasToken || IsLoopback(address)) return {};
    return L"Warning: the control channel listens on " + AddressText(address) + L", port " + std::to_wstring(port) +
           L", without a password: whoever reaches it controls this miner. ControlToken in RuntimeSettingsMiner.xml sets "
           L"one.";
}
