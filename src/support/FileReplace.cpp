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
DWORD WithRetries(Operation operation) {
    DWORD error = operation();
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

unsigned long ReplaceFileContents(const wchar_t* path, std::string_view bytes) {
    if (HoldsExactly(path, bytes)) return ERROR_SUCCESS;
    if (IsReadOnly(path)) return ERROR_ACCESS_DENIED;
    // A name per thread: several may save the same file at once.
    wchar_t suffix[32];
    FormatTo(suffix, L".%08lx.tmp", GetCurrentThreadId());
    const std::wstring temporary = std::wstring(path) + suffix;
    DWORD error = WithRetries([&] { return WriteNewFile(temporary.c_str(), bytes); });
    if (error == ERROR_SUCCESS) error = WithRetries([&] { return MoveOver(temporary.c_str(), path); });
    if (error != ERROR_SUCCESS) DeleteFileW(temporary.c_str());
    return error;
}

unsigned long ReadFileContents(const wchar_t* path, std::string& bytes) {
    return WithRetries([&] { return ReadOnce(path, bytes); });
}

unsigned long KeepCopy(const wchar_t* path, const wchar_t* suffix) {
    const std::wstring copy = std::wstring(path) + suffix;
    return WithRetries([&] { return CopyFileW(path, copy.c_str(), FALSE) ? ERROR_SUCCESS : GetLastError(); });
}
