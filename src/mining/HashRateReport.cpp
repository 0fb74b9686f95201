#include "mining/HashRateReport.h"

#include <algorithm>
#include <array>

#include "common/Hex.h"

namespace {

constexpr int kRequestId = 5;
constexpr std::size_t kPrefixLength = 2;  // "0x"

}  // namespace

std::string HashRateRequest(std::uint64_t hashesPerSecond, std::string_view clientId, bool prefix) {
    std::array<std::uint8_t, 32> number = {};  // most significant byte first
    for (std::size_t i = 0; i < sizeof(hashesPerSecond); ++i) {
        number[number.size() - 1 - i] = static_cast<std::uint8_t>(hashesPerSecond >> (8 * i));
    }
    if (!prefix) clientId.remove_prefix(std::min(clientId.size(), kPrefixLength));
    return "{\"id\":" + std::to_string(kRequestId) +
           ",\"jsonrpc\":\"2.0\",\"method\":\"eth_submitHashrate\",\"params\":[\"" + (prefix ? "0x" : "") + HexText(number) +
           "\", \"" + std::string(clientId) + "\"]}\n";
}
