#include "pool/StratumRequests.h"

#include <iterator>
#include <random>

#include "common/CodePage.h"
#include "common/Version.h"

namespace {

#define QV_AUTHORIZE R"("method":"mining.authorize","params":[")"
constexpr ProtocolDialect kDialects[] = {
    {.name = L"eth-proxy",
     .subscribe = R"("method":"eth_submitLogin","worker":"{worker}","params":["{wallet}"])",
     .authorize = nullptr,
     .fetchesWork = true,
     .wantsExtranonce = false,
     .next = ProtocolMode::Plain},
    {.name = L"stratum",
     .subscribe = R"("jsonrpc":"2.0","method":"mining.subscribe","params":[])",
     .authorize = R"("jsonrpc":"2.0",)" QV_AUTHORIZE R"({wallet}.{worker}","{password}"])",
     .fetchesWork = false,
     .wantsExtranonce = false,
     .next = ProtocolMode::NiceHash},
    {.name = L"NiceHash stratum",
     .subscribe = R"("method":"mining.subscribe","params":["{client}","EthereumStratum/1.0.0"])",
     .authorize = QV_AUTHORIZE R"({wallet}.{worker}","{password}"])",
     .fetchesWork = false,
     .wantsExtranonce = true,
     .next = ProtocolMode::Host},
    {.name = L"stratum with host",
     .subscribe = R"("method":"mining.subscribe","params":["{client}",null,"{server}","{port}"])",
     .authorize = QV_AUTHORIZE R"({wallet}","{password}"])",
     .fetchesWork = false,
     .wantsExtranonce = false,
     .next = ProtocolMode::None},
};
#undef QV_AUTHORIZE

std::string ValueOf(std::string_view name, const LoginFields& login) {
    if (name == "client") return std::string(kApplicationNameNarrow) + "/" + kVersionText;
    if (name == "server") return WideToNarrow(login.server);
    if (name == "port") return std::to_string(login.port);
    if (name == "wallet") return WideToNarrow(login.wallet);
    if (name == "worker") return WideToNarrow(login.worker);
    return WideToNarrow(login.password);
}

std::string Request(std::uint32_t id, std::string_view body, const LoginFields& login = {}) {
    std::string text = "{\"id\":" + std::to_string(id) + ",";
    for (std::size_t open = body.find('{'); open != body.npos; open = body.find('{')) {
        const std::size_t close = body.find('}', open);
        text.append(body.substr(0, open)).append(ValueOf(body.substr(open + 1, close - open - 1), login));
        body.remove_prefix(close + 1);
    }
    return text.append(body).append("}\n");
}

}  // namespace

const ProtocolDialect& DialectOf(ProtocolMode mode) {
    return kDialects[static_cast<std::size_t>(ModeNumber(mode))];
}

std::string SubscribeRequest(ProtocolMode mode, const LoginFields& login) {
    return Request(kIdSubscribe, DialectOf(mode).subscribe, login);
}

std::string AuthorizeRequest(ProtocolMode mode, const LoginFields& login) {
    return Request(kIdAuthorize, DialectOf(mode).authorize, login);
}

std::string ExtranonceSubscribeRequest() {
    return Request(kIdExtranonceSubscribe, R"("method":"mining.extranonce.subscribe","params":[])");
}

std::string GetWorkRequest() {
    return Request(kIdGetWork, R"("method":"eth_getWork","params":[])");
}

std::wstring MakeClientId(std::uint32_t seed) {
    static constexpr wchar_t kDigits[] = L"0123456789abcdef";
    constexpr int kDraws = 4;
    std::mt19937_64 generator(seed);
    std::uniform_int_distribution<std::uint64_t> wholeRange;
    std::wstring id = L"0x";
    for (int draw = 0; draw < kDraws; ++draw) {
        std::uint64_t value = wholeRange(generator);
        for (std::size_t byte = 0; byte < sizeof value; ++byte, value >>= 8) {
            id += kDigits[value >> 4 & 0xF];
            id += kDigits[value & 0xF];
        }
    }
    return id;
}

std::wstring MakeClientId() {
    return MakeClientId(std::random_device()());
}
