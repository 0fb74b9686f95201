#include "ScratchFolder.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <sstream>

CScratchFolder::CScratchFolder() {
    static std::atomic<int> count = 0;
    m_path = std::filesystem::temp_directory_path().wstring() + L"qv-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
             std::to_wstring(++count);
    std::filesystem::create_directories(m_path);
}

CScratchFolder::~CScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::vector<std::wstring> CScratchFolder::Files() const {
    std::vector<std::wstring> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_path))
        names.push_back(entry.path().filename().wstring());
    std::sort(names.begin(), names.end());
    return names;
}

std::string FileBytes(const std::wstring& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

void WriteFileBytes(const std::wstring& path, const std::string& bytes) {
    std::ofstream file(std::filesystem::path(path), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}
