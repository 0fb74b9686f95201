#pragma once
#include "quorvel/plugin.h"

// All words of the block to 0. Only while no plug-in mines with the GPU.
void ClearStatistics(CMiningStatistics& statistics);
