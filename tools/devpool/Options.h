#pragma once
#include <atomic>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

#include "Dialect.h"
#include "ethash/hash/Ethash.h"

enum class Garbage { None, Before, Instead };

// Ways in which the pool misbehaves on request.
struct FaultOptions {
    unsigned dropAfterLines = 0;  // 0: never
    unsigned delayMs = 0;
    bool split = false;
    Garbage garbage = Garbage::None;
    bool refuseUser = false;
    int dropUntilMode = 0;
    bool announceNiceHash = false;
};

// What the server of an encrypted pool shows, and how it misbehaves.
enum class TlsCertificate { None, Good, Expired, OtherName, SelfSigned };
struct TlsOptions {
    TlsCertificate certificate = TlsCertificate::None;  // None: plain TCP
    int version = 12;                                   // 12: at most TLS 1.2; 13: TLS 1.3 alone
    std::string rootFile;                               // the root that signed it is written there, as DER
    std::size_t closeAfter = 0;                         // bytes that the server sends before it closes; 0: it does not
    bool floods = false;                                // an endless handshake
    bool isSilent = false;                              // never answers
    bool renews = false;                                // with every line
    std::uint16_t before = 0;                           // the port of the pool that is served so; 0: this one
};

struct PoolOptions {
    std::string listen = "127.0.0.1";
    std::uint16_t port = 0;          // 0: chosen by the system
    std::optional<Dialect> dialect;  // nothing: whatever the client speaks
    double difficulty = 2000;        // expected hashes per share, at least 1
    double interval = 10;            // seconds between jobs; 0: one job for ever
    // Nothing: the toy hash of the template plug-in.
    std::optional<EthashVariant> variant = EthashVariant::Etchash;
    std::uint64_t block = 0;
    unsigned holdJobs = 4;
    unsigned extranonceBytes = 2;
    std::string wallet;        // empty: any
    std::uint64_t shares = 0;  // 0: no end
    double seconds = 0;        // 0: no end
    std::string statsFile;
    FaultOptions faults;
    TlsOptions tls;
};

// Reads a command line. Without a result the program ends with exitCode: 0 after --help, 2 after an error, whose text went
// to error.
std::optional<PoolOptions> ParseOptions(int argc, const char* const* argv, std::ostream& out, std::ostream& error,
                                        int& exitCode);
