#include "support/FileReplace.h"

#include <windows.h>
#include <map>

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

namespace {

using Copies = std::map<unsigned, std::wstring>;  // full names by number

// The number at the end of a copy's name; 0: it is none.
unsigned CopyNumber(std::wstring_view digits) {
    if (digits.empty()) return 1;
    if (digits.size() > 8 || digits.front() == L'0') return 0;
    unsigned number = 0;
    for (const wchar_t c : digits) {
        if (c < L'0' || c > L'9') return 0;
        number = number * 10 + static_cast<unsigned>(c - L'0');
    }
    return number > 1 ? number : 0;
}

// Whatever has such a name, be it a folder: its number is taken.
Copies FindCopies(const std::wstring& path, const std::wstring& suffix) {
    Copies copies;
    const std::size_t folder = path.find_last_of(L"\\/") + 1;
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((path + suffix + L"*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return copies;
    const std::size_t start = path.size() - folder + suffix.size();
    do {
        const std::wstring name = found.cFileName;
        const unsigned number = name.size() < start ? 0 : CopyNumber(std::wstring_view(name).substr(start));
        if (number != 0) copies[number] = path.substr(0, folder) + name;
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return copies;
}

}  // namespace

KeptCopy KeepCopy(const std::wstring& path, const std::wstring& suffix) {
    const std::size_t folder = path.find_last_of(L"\\/") + 1;
    std::string bytes;
    const unsigned long error = ReadFileContents(path.c_str(), bytes);
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return {};
    Copies copies = FindCopies(path, suffix);
    const unsigned number = copies.empty() ? 1 : copies.rbegin()->first + 1;
    const std::wstring copy = path + suffix + (number == 1 ? L"" : std::to_wstring(number));
    const std::wstring name = copy.substr(folder);
    if (error != ERROR_SUCCESS) return {error, name};
    for (const auto& [_, present] : copies) {
        std::string kept;
        if (ReadFileContents(present.c_str(), kept, Patience::None) == ERROR_SUCCESS && kept == bytes)
            return {ERROR_SUCCESS, present.substr(folder)};
    }
    const unsigned long written = ReplaceFileContents(copy.c_str(), bytes);
    if (written != ERROR_SUCCESS) return {written, name};
    for (auto oldest = copies.begin(); copies.size() + 1 > kMostCopies; oldest = copies.erase(oldest))
        DeleteFileW(oldest->second.c_str());
    return {ERROR_SUCCESS, name};
}
