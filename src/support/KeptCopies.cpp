#include "support/KeptCopies.h"

#include <windows.h>

#include <map>

#include "support/FileReplace.h"

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
