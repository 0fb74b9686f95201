#include "gpu/DriverLibrary.h"

namespace {

std::wstring FileIn(const std::wstring& folder, const wchar_t* fileName) {
    const bool delimited = folder.ends_with(L'\\') || folder.ends_with(L'/');
    return folder + (delimited ? L"" : L"\\") + fileName;
}

std::wstring SystemFolder() {
    wchar_t path[MAX_PATH] = {};
    const UINT length = GetSystemDirectoryW(path, MAX_PATH);
    return length < MAX_PATH ? std::wstring(path, length) : std::wstring();
}

// Where drivers before the 2018 ones put NVML.
std::wstring NvsmiFolder() {
    wchar_t programs[MAX_PATH] = {};
    const DWORD length = GetEnvironmentVariableW(L"ProgramW6432", programs, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) return {};
    return FileIn(programs, L"NVIDIA Corporation\\NVSMI");
}

}  // namespace

std::vector<std::wstring> DriverFolders(const std::wstring& executableFolder) {
    if (GetFileAttributesW(FileIn(executableFolder, L"SimGpus.ini").c_str()) != INVALID_FILE_ATTRIBUTES) {
        return {executableFolder};
    }
    return {SystemFolder(), NvsmiFolder()};
}

CDriverLibrary::CDriverLibrary(const wchar_t* fileName, std::span<const std::wstring> folders) {
    for (const std::wstring& folder : folders) {
        if (folder.empty()) continue;
        m_library = LoadLibraryExW(FileIn(folder, fileName).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
        if (m_library != nullptr) return;
    }
}

CDriverLibrary::~CDriverLibrary() {
    if (m_library != nullptr) FreeLibrary(m_library);
}

void* CDriverLibrary::Address(const char* name) const {
    return m_library != nullptr ? reinterpret_cast<void*>(GetProcAddress(m_library, name)) : nullptr;
}
