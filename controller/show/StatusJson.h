#pragma once
#include <string>
#include <vector>

#include "show/Tables.h"

// All rigs as one JSON document on one line, its line feed included. A figure that a rig does not report is left out.
std::string StatusJson(const std::vector<RigSight>& sights);
