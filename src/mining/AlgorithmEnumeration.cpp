#include "mining/AlgorithmEnumeration.h"

#include <windows.h>

#include <cstring>
#include <optional>

#include "common/CodePage.h"
#include "mining/PluginLibrary.h"

namespace {

std::optional<AlgorithmEntry> ReadAlgorithm(const std::wstring& path) {
    const CPluginLibrary library(path);
    if (library.Interface() == nullptr) return std::nullopt;
    const auto* descriptor = reinterpret_cast<const void*>(library.Interface()(QV_INTERFACE_DESCRIPTOR));
    if (descriptor == nullptr) return std::nullopt;

    AlgorithmEntry entry;
    std::memcpy(&entry.record, descriptor, sizeof(entry.record));
    entry.record.name[QV_NAME_CHARS - 1] = L'\0';
    CopyToField(path, entry.record.libraryPath);
    const wchar_t* unit = library.Unit() != nullptr ? library.Unit()() : nullptr;
    if (unit != nullptr) entry.unit = unit;
    return entry;
}

}  // namespace

void EnumerateAlgorithms(const std::wstring& algosFolder, CAlgorithmList& algorithms) {
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((algosFolder + L"*.dll").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return;
    do {
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) continue;
        if (auto entry = ReadAlgorithm(algosFolder + found.cFileName)) algorithms.Add(std::move(*entry));
    } while (FindNextFileW(search, &found));
    FindClose(search);
}
