#pragma once
#include <cstdint>
#include <string_view>

// Codes of what the miner itself has to say about trouble. They take the way of a pool's errors: the pool's last message and
// the "errorinfo" report. Pools use small numbers of either sign and, for JSON-RPC, those around -32700.
enum class TroubleCode : std::int32_t {
    Over = -1000,              // trouble that was told before has ended: its text is "Over: " and the text told then
    NotConnected = -1001,      // the pool's server refuses the connection, or cannot be reached
    HostNotFound = -1002,      // the name of the server does not resolve
    ConnectionLost = -1003,    // the pool takes the connection and closes it before there is a job
    NoLoginAnswer = -1004,     // the pool is silent while it is logged in to
    LoginRefused = -1005,      // the pool refuses the login
    NoProtocol = -1006,        // the pool answers in none of the protocol modes
    NoJob = -1007,             // logged in, but no job comes
    PoolSilent = -1008,        // no line of the pool for long
    SharesUnanswered = -1009,  // the pool answers no shares
    PlugInMissing = -1010,     // no plug-in for the pool's algorithm, or it cannot be loaded
    GpuNotHashing = -1011,     // a GPU has a job and does not hash
    GpuSilent = -1012,         // the driver does not answer for a GPU
    MiningStopped = -1013,     // mining was stopped by a pool, not by a person or controller
    FileTrouble = -1014,       // something about the user's files
    NotTrusted = -1015,        // the pool's server cannot be trusted, or cannot be spoken to encrypted
};

constexpr std::int32_t CodeNumber(TroubleCode code) {
    return static_cast<std::int32_t>(code);
}

// Whether the code is one of the miner's own, rather than a pool's.
constexpr bool IsOwnCode(std::int32_t code) {
    return code <= CodeNumber(TroubleCode::Over) && code >= CodeNumber(TroubleCode::NotTrusted);
}

inline constexpr std::string_view kOverPrefix = "Over: ";
