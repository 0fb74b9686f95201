#include "Reply.h"

#include "Text.h"
#include "common/Hex.h"

namespace {

std::string Quoted(std::string_view text) {
    return '"' + std::string(text) + '"';
}
std::string Prefixed(const Hash256& value) {
    return "0x" + HexText(value);
}
bool UsesJsonRpc2(Dialect dialect) {
    return dialect == Dialect::EthProxy || dialect == Dialect::Plain;
}

std::string Notify(std::string_view parameters) {
    return R"({"id":null,"method":"mining.notify","params":[)" + std::string(parameters) + ",true]}";
}

}  // namespace

std::string ResultReply(Dialect dialect, std::string_view id, std::string_view result) {
    const std::string start = R"({"id":)" + std::string(id);
    if (UsesJsonRpc2(dialect)) return start + R"(,"jsonrpc":"2.0","result":)" + std::string(result) + "}";
    return start + R"(,"result":)" + std::string(result) + R"(,"error":null})";
}

std::string ErrorReply(Dialect dialect, std::string_view id, const ReplyError& error) {
    const std::string start = R"({"id":)" + std::string(id);
    const std::string code = std::to_string(error.code);
    if (UsesJsonRpc2(dialect)) {
        return start + R"(,"jsonrpc":"2.0","error":{"code":)" + code + R"(,"message":)" + Quoted(error.text) + "}}";
    }
    return start + R"(,"result":null,"error":[)" + code + "," + Quoted(error.text) + ",null]}";
}

std::string JobName(Dialect dialect, const PoolJob& job) {
    if (dialect == Dialect::EthProxy) return Prefixed(job.header);
    return dialect == Dialect::NiceHash ? job.id : "0x" + job.id;
}

std::string WorkArray(const PoolJob& job, const Hash256& seed, const Hash256& boundary) {
    return "[" + Quoted(Prefixed(job.header)) + "," + Quoted(Prefixed(seed)) + "," + Quoted(Prefixed(boundary)) + "]";
}

std::string JobLine(Dialect dialect, const PoolJob& job, const Hash256& seed, const Hash256& boundary) {
    const std::string name = Quoted(JobName(dialect, job));
    switch (dialect) {
        case Dialect::EthProxy:
            return R"({"id":0,"jsonrpc":"2.0","result":)" + WorkArray(job, seed, boundary) + "}";
        case Dialect::NiceHash:
            return Notify(name + "," + Quoted(HexText(seed)) + "," + Quoted(HexText(job.header)));
        case Dialect::Plain:
        case Dialect::Host:
            break;
    }
    return Notify(name + "," + Quoted(Prefixed(job.header)) + "," + Quoted(Prefixed(seed)) + "," +
                  Quoted(Prefixed(boundary)));
}

std::string DifficultyLine(double difficulty) {
    return R"({"id":null,"method":"mining.set_difficulty","params":[)" + NumberText(difficulty) + "]}";
}

std::string NiceHashSubscription(std::string_view session, std::string_view extranonce) {
    return R"([["mining.notify",)" + Quoted(session) + R"(,"EthereumStratum/1.0.0"],)" + Quoted(extranonce) + "]";
}
