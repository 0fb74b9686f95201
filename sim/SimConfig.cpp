#include "SimConfig.h"

#include <windows.h>

#include <algorithm>
#include <charconv>
#include <iterator>

namespace {

constexpr std::int32_t kMostGpus = 64;

std::wstring ConfigPath() {
    static const wchar_t anchor = 0;
    HMODULE library = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, &anchor,
                       &library);
    wchar_t path[MAX_PATH] = {};
    const DWORD length = GetModuleFileNameW(library, path, MAX_PATH);
    const std::wstring file(path, length);
    return file.substr(0, file.find_last_of(L"\\/") + 1) + L"SimGpus.ini";
}

// The value as it stands in the file, without the comment behind it.
std::wstring RawText(const std::wstring& section, const wchar_t* key) {
    wchar_t buffer[512] = {};
    GetPrivateProfileStringW(section.c_str(), key, L"", buffer, static_cast<DWORD>(std::size(buffer)), ConfigPath().c_str());
    std::wstring text = buffer;
    text.resize(std::min(text.find(L';'), text.size()));
    text.resize(text.find_last_not_of(L" \t\r") + 1);
    return text;
}

}  // namespace

std::optional<std::string> SimText(const std::wstring& section, const wchar_t* key) {
    const std::wstring text = RawText(section, key);
    if (text.empty() || text == L"fail") return std::nullopt;
    std::string narrow;
    for (const wchar_t character : text)
        narrow += character < 0x80 ? static_cast<char>(character) : '?';
    return narrow;
}

std::optional<std::uint64_t> SimNumber(const std::wstring& section, const wchar_t* key) {
    const auto text = SimText(section, key);
    if (!text) return std::nullopt;
    std::uint64_t value = 0;
    const char* const end = text->data() + text->size();
    const auto [stop, error] = std::from_chars(text->data(), end, value);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

std::int32_t SimGpuCount() {
    const std::wstring path = ConfigPath();
    std::int32_t count = 0;
    wchar_t start[8] = {};
    while (count < kMostGpus && GetPrivateProfileSectionW(SimGpuSection(count).c_str(), start,
                                                          static_cast<DWORD>(std::size(start)), path.c_str()) > 0) {
        ++count;
    }
    return count;
}

std::wstring SimGpuSection(std::int32_t index) {
    return L"Gpu" + std::to_wstring(index);
}

bool SimUuid(std::int32_t index, std::uint8_t (&uuid)[16]) {
    const auto text = SimText(SimGpuSection(index), L"Uuid");
    if (!text || text->size() != 2 * std::size(uuid)) return false;
    for (std::size_t i = 0; i < std::size(uuid); ++i) {
        const char* const digits = text->data() + 2 * i;
        if (std::from_chars(digits, digits + 2, uuid[i], 16).ptr != digits + 2) return false;
    }
    return true;
}
