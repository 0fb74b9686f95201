#pragma once
#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "RigView.h"

// The Prometheus text format, version 0.0.4. What a rig did not report has no sample; a rig that is down has no GPU samples.
std::string MetricsText(const std::vector<const RigView*>& rigs, std::chrono::steady_clock::time_point now);

// As it must stand between the quotes of a label.
std::string LabelText(std::string_view value);
