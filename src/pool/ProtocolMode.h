#pragma once
#include <cstdint>

// How a pool is spoken to. The numbers are those of the work block and of the log.
enum class ProtocolMode : std::int32_t { None = -1, EthProxy = 0, Plain = 1, NiceHash = 2, Host = 3 };

constexpr std::int32_t ModeNumber(ProtocolMode mode) {
    return static_cast<std::int32_t>(mode);
}

// All that makes one mode differ from another. In the requests' bodies {client} is "name/version", {server} and {port} are
// the pool's, {wallet}, {worker} and {password} the login's.
struct ProtocolDialect {
    const wchar_t* name;    // shown to people
    const char* subscribe;  // body of the first request, the login in some
    const char* authorize;  // body of the request that follows its answer; null: there is none, the pool has logged in
    bool fetchesWork;       // work is asked for after the login
    bool wantsExtranonce;   // the subscribe's answer brings one, and its changes are subscribed to
    ProtocolMode next;      // tried after this one; None: it is the last
};

// mode: not None.
const ProtocolDialect& DialectOf(ProtocolMode mode);
