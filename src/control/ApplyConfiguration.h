#pragma once
#include <optional>
#include "control/ControlCommand.h"

// The configuration that the command describes, made in the builder beside the one in force. A pool whose ID is taken, a
// binding to a pool that the command does not bring and a GPU that this machine does not have or that stands in an earlier
// configuration are left out, and so is a configuration that is left without a GPU. Nothing: the command brings pools and
// none of them is usable.
std::optional<MinerConfiguration> BuildConfiguration(const ConfigurationCommand& command, CConfigurationBuilder builder);
