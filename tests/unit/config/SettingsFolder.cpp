#include "SettingsFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "common/Handle.h"

namespace {

constexpr FILETIME kOldTime = {0, 30'000'000};

HANDLE OpenExclusively(const std::wstring& path, DWORD access) {
    const HANDLE handle = CreateFileW(path.c_str(), access, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_NE(handle, INVALID_HANDLE_VALUE) << GetLastError();
    return handle;
}

}  // namespace

CSettingsFolder::CSettingsFolder() {
    static std::atomic<int> count = 0;
    wchar_t folder[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH + 1, folder);
    m_path = std::wstring(folder) + L"qv-config-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
    std::filesystem::create_directories(m_path);
    m_path += L'\\';
}

CSettingsFolder::~CSettingsFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

bool CSettingsFolder::Exists(const std::wstring& name) const {
    return GetFileAttributesW((m_path + name).c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::string CSettingsFolder::Bytes(const std::wstring& name) const {
    std::ifstream file(std::filesystem::path(m_path + name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void CSettingsFolder::Write(const std::wstring& name, const std::string& bytes) const {
    std::ofstream file(std::filesystem::path(m_path + name), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

HANDLE CSettingsFolder::Lock(const std::wstring& name) const {
    return OpenExclusively(m_path + name, GENERIC_READ);
}

void CSettingsFolder::Age(const std::wstring& name) const {
    const CHandle file(OpenExclusively(m_path + name, FILE_WRITE_ATTRIBUTES));
    EXPECT_TRUE(SetFileTime(file.Get(), nullptr, nullptr, &kOldTime)) << GetLastError();
}

bool CSettingsFolder::IsAged(const std::wstring& name) const {
    const CHandle file(OpenExclusively(m_path + name, GENERIC_READ));
    FILETIME time = {};
    return GetFileTime(file.Get(), nullptr, nullptr, &time) && CompareFileTime(&time, &kOldTime) == 0;
}
