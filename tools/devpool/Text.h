#pragma once
#include <cstdint>
#include <string>
#include <string_view>

// Text for event lines; independent of the locale.

// decimals < 0: as many digits as the value needs.
std::string NumberText(double value, int decimals = -1);
// "12.346 MH/s".
std::string RateText(double hashesPerSecond);
// What a client sent, fit for one line: other than printable ASCII becomes '?', at most 64 characters are kept.
std::string Printable(std::string_view text);
