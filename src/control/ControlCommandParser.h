#pragma once
#include <cstddef>
#include <optional>
#include <string_view>
#include "control/ControlCommand.h"

// Bounds on the values of a line and on their nesting, so that parsing takes memory in proportion to any command that makes
// sense: a rig of 16 GPUs with 100 pools needs some 2,000 values, nested 4 deep.
inline constexpr std::size_t kMaximumCommandValues = 50'000;
inline constexpr std::size_t kMaximumCommandDepth = 32;

// One line, without its delimiter. Nothing: it is no JSON object with a "cmd" and "params", the command is unknown, or it
// lacks a member that it needs. A member of the wrong type, or a number outside the range of its field, counts as missing;
// of members of one name the first counts.
//
// JSON is UTF-8, narrow text of the program is in the ANSI code page: texts are converted from the first to the second and
// then widened, so that a name arrives as it was written and reads the same after it has been through a file or a request.
// A text that is not UTF-8 is taken to be in the code page already, as a controller without JSON's encoding sends it.
std::optional<ControlCommand> ParseCommand(std::string_view line);
