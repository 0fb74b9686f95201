#pragma once
#include "gui/TimeTextFunction.h"

// Points in UTC as the user reads them: local, in his locale's formats; empty for no time. Windows only; any thread.
std::wstring LocalTimeText(ddt_datetime utc);
std::wstring LocalDateTimeText(ddt_datetime utc);
