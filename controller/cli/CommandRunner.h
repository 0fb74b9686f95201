#pragma once
#include <iosfwd>

#include "cli/Options.h"

// What the commands read and write. terminal: out is one, on which no password is shown.
struct CommandStreams {
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
    bool terminal = false;
};

// The commands that end by themselves: everything but "watch" and "serve". Returns the exit code.
int RunCommand(const Options& options, const CommandStreams& streams);
