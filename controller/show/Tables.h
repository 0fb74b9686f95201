#pragma once
#include <optional>
#include <string>

#include "rig/ConfigFile.h"
#include "rig/Reports.h"
#include "rig/TroubleList.h"

// What is known of one rig, for the tables of "status" and "watch".
struct RigSight {
    std::string rig;
    std::string problem;  // why nothing more is known (the rig is a row all the same), or what a pool said last
    const SystemReport* system = nullptr;
    const UpdateReport* update = nullptr;  // null: no recent one
    const CTroubleList* troubles = nullptr;
};

// "61.24 MH/s"; three to four figures.
std::string HashRateText(double hashesPerSecond);
std::string StatusText(MiningStatus status);

std::string StatusTable(const std::vector<RigSight>& sights);
std::string SystemTable(const SystemReport& system);
std::string UpdateTable(const UpdateReport& update);
// As the file has them: see Masked.
std::string PoolTable(const ConfigFile& file);
