#include "SimConfig.h"

#include <windows.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>

namespace {

constexpr std::int32_t kMostGpus = 64;
constexpr std::uint64_t kMostBytes = 1 << 20;

// Who writes twice within this time (100 ns units; FAT has the coarsest clock) may leave the same write time.
constexpr std::uint64_t kWriteTimeStep = 2ULL * 10'000'000;

// Milliseconds between looks whether a call still hangs.
constexpr DWORD kHangStep = 50;

using Section = std::map<std::string, std::string, std::less<>>;

struct SimFile {
    std::map<std::string, Section, std::less<>> sections;
    std::int32_t gpuCount = 0;
};

struct FileState {
    std::uint64_t written = 0;
    std::uint64_t size = 0;
    bool operator==(const FileState&) const = default;
};

std::uint64_t Whole(DWORD high, DWORD low) {
    return std::uint64_t{high} << 32 | low;
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t start = std::min(text.find_first_not_of(kBlanks), text.size());
    return text.substr(start, text.find_last_not_of(kBlanks) + 1 - start);
}

// Names count in any case, as in other .ini files.
template <class Text>
std::string Folded(const Text& text) {
    std::string folded;
    for (const auto character : text)
        folded += character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : static_cast<char>(character);
    return folded;
}

std::shared_ptr<const SimFile> Parse(std::string_view rest) {
    auto file = std::make_shared<SimFile>();
    Section* section = nullptr;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        const std::string_view text = Trimmed(line.substr(0, line.find(';')));
        const std::size_t equals = text.find('=');
        if (text.starts_with('[') && text.ends_with(']')) {
            section = &file->sections[Folded(text.substr(1, text.size() - 2))];
        } else if (section != nullptr && equals != std::string_view::npos) {
            section->emplace(Folded(Trimmed(text.substr(0, equals))), Trimmed(text.substr(equals + 1)));
        }
    }
    const auto isCard = [&](std::int32_t index) {
        const auto found = file->sections.find(Folded(SimGpuSection(index)));
        return found != file->sections.end() && !found->second.empty();
    };
    while (file->gpuCount < kMostGpus && isCard(file->gpuCount))
        ++file->gpuCount;
    return file;
}

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

// Empty when it cannot be read.
std::string ReadAll(const wchar_t* path, std::uint64_t size) {
    std::string text(static_cast<std::size_t>(std::min(size, kMostBytes)), '\0');
    DWORD read = 0;
    const HANDLE file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return {};
    if (!ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &read, nullptr)) read = 0;
    CloseHandle(file);
    text.resize(read);
    return text;
}

// The file as it is now; it is parsed again only when it may have changed.
std::shared_ptr<const SimFile> CurrentFile() {
    static const std::wstring path = ConfigPath();
    static std::mutex mutex;
    static std::shared_ptr<const SimFile> file = std::make_shared<SimFile>();
    static FileState state;

    const std::lock_guard lock(mutex);
    FILETIME now = {};
    GetSystemTimeAsFileTime(&now);
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) {
        file = std::make_shared<SimFile>();
        state = FileState();
        return file;
    }
    const FileState found = {Whole(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime),
                             Whole(data.nFileSizeHigh, data.nFileSizeLow)};
    if (found != state) {
        file = Parse(ReadAll(path.c_str(), found.size));
        const bool isSettled = found.written + kWriteTimeStep < Whole(now.dwHighDateTime, now.dwLowDateTime);
        state = isSettled ? found : FileState();
    }
    return file;
}

// Empty: the key is missing.
std::string RawText(const std::string& section, const std::string& key) {
    const auto file = CurrentFile();
    const auto values = file->sections.find(section);
    if (values == file->sections.end()) return {};
    const auto value = values->second.find(key);
    return value != values->second.end() ? value->second : std::string();
}

}  // namespace

std::optional<std::string> SimText(const std::wstring& section, const wchar_t* key) {
    for (bool hangs = false;; Sleep(kHangStep)) {
        std::string text = RawText(Folded(section), Folded(std::wstring_view(key)));
        // Nothing is what a file says that is being written.
        hangs = text == "hang" || (hangs && text.empty());
        if (hangs) continue;
        if (text.empty() || text == "fail") return std::nullopt;
        return text;
    }
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
    return CurrentFile()->gpuCount;
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
