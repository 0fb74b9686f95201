#pragma once
#include <span>
#include <string>
#include "guard/GuardPolicy.h"

enum class GuardCommand { Watch, Install, Remove, Help, Version, Invalid };

struct GuardOptions {
    GuardCommand command = GuardCommand::Watch;
    GuardTimes times;
};

// arguments: without the program's name.
GuardOptions ParseGuardOptions(std::span<const std::wstring> arguments);

extern const wchar_t kGuardUsage[];
