#pragma once
#include "world/World.h"

// The shortest list of faults that is found within the number of runs with which the same promise is still broken. plan: of
// a run that failed so.
RunPlan Shrink(RunPlan plan, const CPromises::Failure& failure, int mostRuns = 400);

// A run as the lines of a case file, and back. What is no line of a case is told on standard error.
std::string CaseText(const RunPlan& plan, const std::string& note);
std::optional<RunPlan> ReadCase(const std::string& path);
