#include "mining/LogName.h"

std::wstring ConnectionLogName(std::wstring_view poolName) {
    constexpr std::wstring_view kForbidden = L"<>:\"/\\|?*";
    std::wstring name = L"Miner-[" + std::wstring(poolName) + L"]";
    for (wchar_t& character : name) {
        if (kForbidden.find(character) != std::wstring_view::npos) character = L'#';
    }
    return name;
}
