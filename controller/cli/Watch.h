#pragma once
#include <iosfwd>

#include "cli/Options.h"

// Redraws the table once a second until the time is over or the user interrupts. On what is no terminal the tables follow
// one another. Ends, too, when out cannot be written. Exit code: whether all rigs were up and without trouble at the end.
int RunWatch(const Options& options, std::ostream& out, bool terminal);
