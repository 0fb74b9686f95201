#pragma once
#include <string>
#include <string_view>

// "Miner-[<pool name>]", with each character that no file name may hold replaced by '#'.
std::wstring ConnectionLogName(std::wstring_view poolName);
