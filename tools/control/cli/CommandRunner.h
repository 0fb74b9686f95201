#pragma once
#include <iosfwd>

#include "Options.h"

// The commands that end by themselves: everything but "watch" and "serve". Returns the exit code.
int RunCommand(const Options& options, std::ostream& out, std::ostream& err);
