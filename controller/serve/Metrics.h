#pragma once
#include <chrono>
#include <string>
#include <vector>

#include "fleet/RigView.h"

// The Prometheus text format, version 0.0.4. What a rig did not report has no sample; a rig that is down has no GPU samples.
std::string MetricsText(const std::vector<const RigView*>& rigs, std::chrono::steady_clock::time_point now);
