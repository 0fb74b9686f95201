#include "guard/AutoStart.h"

#include <windows.h>

#include <string>

namespace {

constexpr wchar_t kRunKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Run";
constexpr wchar_t kValue[] = L"Quorvel-Guard";

}  // namespace

unsigned long InstallAutoStart() {
    wchar_t path[MAX_PATH] = {};
    const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
    if (length == 0 || length == MAX_PATH) return ERROR_BUFFER_OVERFLOW;
    const std::wstring command = L"\"" + std::wstring(path) + L"\"";
    return static_cast<unsigned long>(RegSetKeyValueW(HKEY_CURRENT_USER, kRunKey, kValue, REG_SZ, command.c_str(),
                                                      static_cast<DWORD>((command.size() + 1) * sizeof(wchar_t))));
}

unsigned long RemoveAutoStart() {
    const auto error = static_cast<unsigned long>(RegDeleteKeyValueW(HKEY_CURRENT_USER, kRunKey, kValue));
    return error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error;
}
