#pragma once
#include <iosfwd>

#include "../cli/Options.h"

// Runs the fleet's web server until interrupted (or for options.seconds). Returns the exit code.
int RunServe(const Options& options, std::ostream& out, std::ostream& err);
