#pragma once
#include <cstdint>
#include <string>
#include <vector>

// A local IPv4 address to listen at.
struct LocalInterface {
    std::wstring text;          // for the list
    std::uint32_t address = 0;  // in network byte order, as a number of this machine: 127.0.0.1 is 16777343
    bool operator==(const LocalInterface&) const = default;
};

// Those of adapters that are up, in the system's order, loopback last; empty when the system does not tell. An adapter with
// several addresses has each in its text. Windows only; any thread; may take some milliseconds.
std::vector<LocalInterface> LocalInterfaces();
