#include "ethash/job/EthashSubmit.h"

#include <span>

namespace {

constexpr char kDigits[] = "0123456789abcdef";

std::string Hex(std::span<const std::uint8_t> bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

// The low digits of the nonce, most significant first.
std::string NonceHex(std::uint64_t nonce, std::uint32_t bits) {
    std::string text;
    for (std::uint32_t shift = bits; shift != 0; shift -= 4)
        text += kDigits[(nonce >> (shift - 4)) & 15];
    return text;
}

// A JSON string of these texts one after the other.
std::string Quoted(std::initializer_list<std::string_view> parts) {
    std::string text = "\"";
    for (const std::string_view part : parts) {
        for (const char character : part) {
            const auto code = static_cast<unsigned char>(character);
            if (character == '"' || character == '\\') text += '\\';
            if (code >= 0x20) {
                text += character;
            } else {
                text += {'\\', 'u', '0', '0', kDigits[code >> 4], kDigits[code & 15]};
            }
        }
    }
    return text + '"';
}

std::string Parameters(const EthashJob& job, const EthashShare& share, std::string_view wallet, std::string_view worker) {
    const std::string user = Quoted({wallet, ".", worker});
    const std::string nonce = NonceHex(share.nonce, job.nonces.freeBits);
    if (job.dialect == EthashDialect::NiceHash) return user + ',' + Quoted({job.jobId}) + ',' + Quoted({nonce});
    std::string solution = Quoted({"0x", nonce}) + ',' + Quoted({job.headerText}) + ',' + Quoted({"0x", Hex(share.mix)});
    if (job.dialect == EthashDialect::EthProxy) return solution;
    return user + ',' + Quoted({job.jobId}) + ',' + solution;
}

// Everything between the id and the parameters, in the style of the dialect's login.
std::string Method(EthashDialect dialect, std::string_view worker) {
    switch (dialect) {
        case EthashDialect::EthProxy:
            return "\"method\":\"eth_submitWork\",\"worker\":" + Quoted({worker});
        case EthashDialect::Plain:
            return "\"jsonrpc\":\"2.0\",\"method\":\"mining.submit\"";
        case EthashDialect::NiceHash:
            break;
    }
    return "\"method\":\"mining.submit\"";
}

}  // namespace

std::uint32_t ShareId(std::int32_t cudaId, std::uint16_t sequence) {
    return ((static_cast<std::uint32_t>(cudaId) + 1) << 16) | sequence;
}

std::string SubmitLine(const EthashJob& job, const EthashShare& share, std::string_view wallet, std::string_view worker) {
    return "{\"id\":" + std::to_string(share.id) + ',' + Method(job.dialect, worker) + ",\"params\":[" +
           Parameters(job, share, wallet, worker) + "]}\n";
}
