#include "support/FileReplace.h"

#include <windows.h>

#include "common/Format.h"
#include "common/Handle.h"

namespace {

constexpr ULONGLONG kMaxFileBytes = 64ull << 20;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Waits between tries while somebody (a virus scanner, an editor, a backup) has the file open: one second in all.
constexpr DWORD kRetryDelaysMs[] = {10, 20, 40, 80, 150, 300, 400};

template <typename Operation>
DWORD WithRetries(Patience patience, Operation operation) {
    DWORD error = operation();
    if (patience == Patience::None) return error;
    for (const DWORD delay : kRetryDelaysMs) {
        if (error != ERROR_ACCESS_DENIED && error != ERROR_SHARING_VIOLATION) break;
        Sleep(delay);
        error = operation();
    }
    return error;
}

DWORD ReadOnce(const wchar_t* path, std::string& bytes) {
    bytes.clear();
    const CHandle file(CreateFileW(path, GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) return GetLastError();
    LARGE_INTEGER size;
    if (!GetFileSizeEx(file.Get(), &size)) return GetLastError();
    if (static_cast<ULONGLONG>(size.QuadPart) > kMaxFileBytes) return ERROR_FILE_TOO_LARGE;
    bytes.resize(static_cast<std::size_t>(size.QuadPart));
    DWORD read = 0;
    const bool done = ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr) != FALSE;
    const DWORD error = done ? ERROR_SUCCESS : GetLastError();
    bytes.resize(done ? read : 0);
    return error;
}

bool HoldsExactly(const wchar_t* path, std::string_view bytes) {
    std::string current;
    return ReadOnce(path, current) == ERROR_SUCCESS && current == bytes;
}

// Nothing but a person clears that attribute, so waiting for it is in vain.
bool IsReadOnly(const wchar_t* path) {
    const DWORD attributes = GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
}

DWORD WriteNewFile(const wchar_t* path, std::string_view bytes) {
    if (bytes.size() > kMaxFileBytes) return ERROR_FILE_TOO_LARGE;
    const CHandle file(CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) return GetLastError();
    DWORD written = 0;
    if (!WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr)) return GetLastError();
    if (written != bytes.size()) return ERROR_DISK_FULL;
    return FlushFileBuffers(file.Get()) ? ERROR_SUCCESS : GetLastError();
}

DWORD MoveOver(const wchar_t* from, const wchar_t* to) {
    return MoveFileExW(from, to, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) ? ERROR_SUCCESS : GetLastError();
}

}  // namespace

unsigned long ReplaceFileContents(const wchar_t* path, std::string_view bytes, Patience patience) {
    if (HoldsExactly(path, bytes)) return ERROR_SUCCESS;
    if (IsReadOnly(path)) return ERROR_ACCESS_DENIED;
    // A name per thread: several may save the same file at once.
    wchar_t suffix[32];
    FormatTo(suffix, L".%08lx.tmp", GetCurrentThreadId());
    const std::wstring temporary = std::wstring(path) + suffix;
    DWORD error = WithRetries(patience, [&] { return WriteNewFile(temporary.c_str(), bytes); });
    if (error == ERROR_SUCCESS) error = WithRetries(patience, [&] { return MoveOver(temporary.c_str(), path); });
    if (error != ERROR_SUCCESS) DeleteFileW(temporary.c_str());
    return error;
}

unsigned long ReadFileContents(const wchar_t* path, std::string& bytes, Patience patience) {
    return WithRetries(patience, [&] { return ReadOnce(path, bytes); });
}

void RemoveTemporaries(const wchar_t* path) {
    const std::wstring file = path;
    const std::wstring folder = file.substr(0, file.find_last_of(L"\\/") + 1);
    const std::size_t nameLength = file.size() - folder.size();
    constexpr std::wstring_view kForm = L".00000000.tmp";
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((file + L".*.tmp").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return;
    do {
        const std::wstring_view name = found.cFileName;
        if (name.size() == nameLength + kForm.size()) DeleteFileW((folder + found.cFileName).c_str());
    } while (FindNextFileW(search, &found));
    FindClose(search);
}

std::wstring FileErrorText(unsigned long error) {
    wchar_t text[256] = {};
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0, text,
                                        static_cast<DWORD>(std::size(text)), nullptr);
    std::wstring words(text, length);
    words.erase(words.find_last_not_of(L" .\r\n") + 1);
    if (words.empty()) words = L"error";
    return words.append(L" (").append(std::to_wstring(error)).append(L")");
}
