#pragma once
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>
#include "world/Faults.h"

// What was asked for on the command line.
struct Command {
    std::optional<std::uint64_t> seed;  // of the first rig; none: a new one
    std::uint64_t rigs = 0;             // 0: as many as there is time for
    double days = 7;
    double seconds = 600;  // of real time, without a number of rigs
    std::set<FaultKind> without;
    std::vector<std::string> replay;  // case files
    std::string picture;              // file to draw the first rig's run into
    std::string caseFile;             // where a failure's case is written
    bool tells = false;
    bool shrinks = true;
};
// Nothing: what is wrong, or the help, was printed.
std::optional<Command> ParseCommand(int argc, char** argv);

// The exit code: 0, or 1 when a promise was broken.
int Carry(const Command& command);
