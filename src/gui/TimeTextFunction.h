#pragma once
#include <string>
#include "common/Time.h"

// How a point in UTC is written; the system's time zone and locale are not for portable code.
using TimeTextFunction = std::wstring (*)(ddt_datetime utc);
