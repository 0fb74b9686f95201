#pragma once
#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

#include "rig/RigAddress.h"

struct ServeRequest {
    std::vector<RigAddress> rigs;
    std::string token;  // of the rigs; empty: none
    std::filesystem::path stateFolder;
    RigAddress listen;
    std::vector<std::string> hosts;  // further names it may be called by
    bool newToken = false;
    double seconds = 0;  // 0: until interrupted
};

// Runs the fleet's web server until interrupted, or for so long. False: nobody could be told where it is.
bool RunServe(const ServeRequest& request, std::ostream& out, std::ostream& err);
