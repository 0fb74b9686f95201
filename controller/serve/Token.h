#pragma once
#include <string>
#include <string_view>

#include "rig/StateFolder.h"

// 32 bytes from the system's random source as 64 hexadecimal digits. Throws std::runtime_error when there are none.
std::string NewToken();

struct WebToken {
    std::string text;
    bool fresh = false;  // made now, so to be shown
};

// The token for commands over HTTP, kept in the state folder. Made when there is none, when it is damaged or when asked for.
WebToken LoadWebToken(const CStateFolder& state, bool makeNew);
