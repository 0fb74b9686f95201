#include "support/DataFolder.h"

#include <windows.h>

#include <filesystem>
#include <system_error>

#include "common/Handle.h"
#include "common/Version.h"

namespace {

namespace fs = std::filesystem;

constexpr wchar_t kSettings[] = L"Settings\\";
constexpr wchar_t kLogs[] = L"Logs\\";

// A virus scanner may hold a file for a moment, and settings must not move because of that.
constexpr DWORD kRetryDelaysMs[] = {20, 50, 100};

DWORD WriteOnce(const std::wstring& folder) {
    CreateDirectoryW(folder.c_str(), nullptr);
    const std::wstring name = folder + kApplicationName + L"." + std::to_wstring(GetCurrentProcessId()) + L".tmp";
    const CHandle file(CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                   FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    DWORD written = 0;
    return file && WriteFile(file.Get(), ".", 1, &written, nullptr) ? ERROR_SUCCESS : GetLastError();
}

// A full disk is no reason to leave the settings behind that are there.
bool MayBeWritten(DWORD error) {
    return error == ERROR_SUCCESS || error == ERROR_DISK_FULL || error == ERROR_HANDLE_DISK_FULL;
}

// "Settings: error 5", or nothing when it can be written.
std::wstring WhyNot(const std::wstring& parent, std::wstring name) {
    DWORD error = WriteOnce(parent + name);
    for (const DWORD delay : kRetryDelaysMs) {
        if (MayBeWritten(error)) return {};
        Sleep(delay);
        error = WriteOnce(parent + name);
    }
    name.back() = L':';
    return MayBeWritten(error) ? std::wstring() : name + L" error " + std::to_wstring(error);
}

// Empty: the system names none.
std::wstring UsersFolder() {
    wchar_t local[MAX_PATH] = {};
    const DWORD length = GetEnvironmentVariableW(L"LOCALAPPDATA", local, MAX_PATH);
    return length == 0 || length >= MAX_PATH ? std::wstring() : std::wstring(local) + L"\\" + kApplicationName + L"\\";
}

DWORD CopySetting(const fs::path& from, const std::wstring& to) {
    if (!CopyFileW(from.c_str(), to.c_str(), TRUE)) return GetLastError();
    SetFileAttributesW(to.c_str(), FILE_ATTRIBUTE_NORMAL);  // on a read-only medium every file is read-only
    return ERROR_SUCCESS;
}

std::wstring CopySettings(const std::wstring& from, const std::wstring& to) {
    std::wstring text;
    std::error_code error;
    for (fs::directory_iterator entry(from, error), end; !error && entry != end; entry.increment(error)) {
        if (entry->path().extension() != L".xml") continue;
        const std::wstring name = entry->path().filename().wstring();
        const DWORD failure = CopySetting(entry->path(), to + name);
        text +=
            L"; " + name +
            (failure == ERROR_SUCCESS ? L" taken over" : L" could not be copied (error " + std::to_wstring(failure) + L")");
    }
    return text;
}

}  // namespace

std::wstring ProgramFolder() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH - 1);
    const std::wstring module = path;
    return module.substr(0, module.find_last_of(L"\\/") + 1);
}

DataFolder FindDataFolder(const std::wstring& programFolder) {
    std::wstring reason = WhyNot(programFolder, kSettings);
    if (reason.empty()) reason = WhyNot(programFolder, kLogs);
    if (reason.empty()) return {.path = programFolder, .reason = {}};
    reason = L"the program's folder cannot be written (" + reason + L")";
    const std::wstring own = UsersFolder();
    if (own.empty()) return {.path = programFolder, .reason = reason + L", and LOCALAPPDATA is not set"};
    CreateDirectoryW(own.c_str(), nullptr);
    const std::wstring failure = WhyNot(own, kLogs);
    if (!failure.empty())
        return {.path = programFolder, .reason = reason + L", and neither can " + own + L" (" + failure + L")"};
    const bool isNew = GetFileAttributesW((own + kSettings).c_str()) == INVALID_FILE_ATTRIBUTES;
    return {.path = own, .isMoved = true, .isNew = isNew, .reason = reason};
}

std::wstring PrepareDataFolder(const DataFolder& data, const std::wstring& programFolder) {
    if (data.reason.empty()) return {};
    if (!data.isMoved) return L"settings and logs are lost: " + data.reason;
    const std::wstring settings = data.path + kSettings;
    CreateDirectoryW(settings.c_str(), nullptr);
    const std::wstring copied = data.isNew ? CopySettings(programFolder + kSettings, settings) : std::wstring();
    return L"settings and logs are in " + data.path + L", because " + data.reason + copied;
}
