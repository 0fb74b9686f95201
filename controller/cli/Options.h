#pragma once
#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "rig/RigAddress.h"

enum class Command { Status, Watch, System, Update, Start, Stop, Worker, Configure, NonceGenerator, Export, Serve };

struct Options {
    Command command = Command::Status;
    std::vector<RigAddress> rigs;
    double timeout = 10;  // seconds
    double wait = 30;     // start: seconds until it must hash; 0: not awaited
    std::string token;    // of the rigs; empty: none
    std::filesystem::path stateFolder;
    bool json = false;
    bool dryRun = false;
    bool force = false;  // export: replace a file
    std::string worker;
    std::string file;  // configure: what to read, "-": standard input; export: where to write, empty: standard output
    std::vector<std::string> gpus;  // nonce-generator
    std::optional<int> mode;        // nonce-generator
    std::optional<std::uint64_t> setting;
    double seconds = 0;              // watch, serve: 0 for ever
    RigAddress listen;               // serve
    std::vector<std::string> hosts;  // serve: further names it may be called by
    bool newToken = false;           // serve
};

inline constexpr int kExitGood = 0;
inline constexpr int kExitRigFailed = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitTrouble = 3;

// Nothing: the program ends with exitCode; what there is to say has been written.
std::optional<Options> ParseOptions(int argc, const char* const* argv, std::ostream& out, std::ostream& err, int& exitCode);
