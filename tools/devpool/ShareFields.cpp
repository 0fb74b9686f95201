#include "ShareFields.h"

#include <algorithm>
#include <array>

#include "HexField.h"

namespace {

std::optional<std::uint64_t> ReadNonce(std::string_view digits) {
    std::array<std::uint8_t, 8> bytes{};
    if (!ReadHex(digits, bytes)) return std::nullopt;
    std::uint64_t nonce = 0;
    for (const std::uint8_t byte : bytes)
        nonce = nonce << 8 | byte;
    return nonce;
}

std::optional<Hash256> ReadHash(std::string_view text) {
    const auto digits = AfterPrefix(text);
    Hash256 value{};
    if (!digits || !ReadHex(*digits, value)) return std::nullopt;
    return value;
}

// Reads nonce, header and mix from three consecutive parameters.
bool ReadSolution(const PoolRequest& request, std::size_t first, ShareFields& share) {
    const auto nonce = ReadNonce(AfterPrefix(*request.parameters[first]).value_or(""));
    share.header = ReadHash(*request.parameters[first + 1]);
    share.mix = ReadHash(*request.parameters[first + 2]);
    share.nonce = nonce.value_or(0);
    return nonce && share.header && share.mix;
}

bool ReadNiceHash(const PoolRequest& request, std::string_view extranonce, ShareFields& share) {
    const auto nonce = ReadNonce(std::string(extranonce) + *request.parameters[2]);
    share.user = request.parameters[0];
    share.jobId = request.parameters[1];
    share.nonce = nonce.value_or(0);
    return nonce.has_value();
}

bool ReadPlain(const PoolRequest& request, ShareFields& share) {
    const auto id = AfterPrefix(*request.parameters[1]);
    if (!id) return false;
    share.user = request.parameters[0];
    share.jobId.emplace(*id);
    return ReadSolution(request, 2, share);
}

std::size_t ParameterCount(Dialect dialect) {
    return dialect == Dialect::Plain || dialect == Dialect::Host ? 5 : 3;
}

}  // namespace

std::optional<ShareFields> ReadShare(Dialect dialect, const PoolRequest& request, std::string_view extranonce) {
    const auto& parameters = request.parameters;
    if (parameters.size() != ParameterCount(dialect)) return std::nullopt;
    if (std::find(parameters.begin(), parameters.end(), std::nullopt) != parameters.end()) return std::nullopt;
    ShareFields share;
    const bool valid = dialect == Dialect::EthProxy   ? ReadSolution(request, 0, share)
                       : dialect == Dialect::NiceHash ? ReadNiceHash(request, extranonce, share)
                                                      : ReadPlain(request, share);
    if (!valid) return std::nullopt;
    return share;
}
