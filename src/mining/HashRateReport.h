#pragma once
#include <cstdint>
#include <string>
#include <string_view>

// The "eth_submitHashrate" request: the rate as a 256-bit number in 64 digits, then the client id ("0x" and 64 digits); both
// with "0x" when the pool writes its numbers so. Ends with a line feed.
std::string HashRateRequest(std::uint64_t hashesPerSecond, std::string_view clientId, bool prefix);
