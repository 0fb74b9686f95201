#include "pool/StratumRequests.h"
#include <initializer_list>
#include "common/CodePage.h"
#include "common/Version.h"

namespace {

std::string Join(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts)
        text += part;
    return text;
}

std::string Request(std::uint32_t id, std::string_view body) {
    return Join({"{\"id\":", std::to_string(id), ",", body, "}\n"});
}

// "name/version".
std::string ClientText() {
    return Join({kApplicationNameNarrow, "/", kVersionText});
}

std::string SubscribeBody(ProtocolMode mode, const LoginFields& login) {
    switch (mode) {
        case ProtocolMode::Plain:
            return R"("jsonrpc":"2.0","method":"mining.subscribe","params":[])";
        case ProtocolMode::NiceHash:
            return Join({R"("method":"mining.subscribe","params":[")", ClientText(), R"(","EthereumStratum/1.0.0"])"});
        case ProtocolMode::Host:
            return Join({R"("method":"mining.subscribe","params":[")", ClientText(), R"(",null,")",
                         WideToNarrow(login.server), R"(",")", std::to_string(login.port), R"("])"});
        default:
            return Join({R"("method":"eth_submitLogin","worker":")", WideToNarrow(login.worker), R"(","params":[")",
                         WideToNarrow(login.wallet), R"("])"});
    }
}

}  // namespace

std::string SubscribeRequest(ProtocolMode mode, const LoginFields& login) {
    return Request(kIdSubscribe, SubscribeBody(mode, login));
}

std::string AuthorizeRequest(ProtocolMode mode, const LoginFields& login) {
    std::string user = WideToNarrow(login.wallet);
    if (mode != ProtocolMode::Host) user = Join({user, ".", WideToNarrow(login.worker)});
    return Request(kIdAuthorize, Join({mode == ProtocolMode::Plain ? R"("jsonrpc":"2.0",)" : "",
                                       R"("method":"mining.authorize","params":[")", user, R"(",")",
                                       WideToNarrow(login.password), R"("])"}));
}

std::string ExtranonceSubscribeRequest() {
    return Request(kIdExtranonceSubscribe, R"("method":"mining.extranonce.subscribe","params":[])");
}

std::string GetWorkRequest() {
    return Request(kIdGetWork, R"("method":"eth_getWork","params":[])");
}
