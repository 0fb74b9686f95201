#pragma once
#include <string>
#include "world/World.h"

// Draws the minutes of a run, a day a row, and its faults above them, as an SVG. False: the file cannot be written, which
// was told on standard error.
bool DrawPicture(const std::string& path, const RunPlan& plan, const RunResult& run);
