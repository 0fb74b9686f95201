#include "mining/PlugInQuarantine.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace {

// Takes a number and the tab behind it off the line.
std::optional<std::uint64_t> TakeNumber(std::string_view& line) {
    std::uint64_t number = 0;
    const char* const end = line.data() + line.size();
    const auto [rest, error] = std::from_chars(line.data(), end, number);
    if (error != std::errc() || rest == end || *rest != '\t') return std::nullopt;
    line.remove_prefix(static_cast<std::size_t>(rest - line.data()) + 1);
    return number;
}

}  // namespace

CPlugInQuarantine::CPlugInQuarantine(std::string_view state) {
    while (!state.empty()) {
        const std::size_t length = std::min(state.find('\n'), state.size());
        std::string_view line = state.substr(0, length);
        state.remove_prefix(std::min(length + 1, state.size()));
        if (line.ends_with('\r')) line.remove_suffix(1);
        const auto crashes = TakeNumber(line);
        const auto size = TakeNumber(line);
        const auto lastWrite = TakeNumber(line);
        if (!crashes || !size || !lastWrite || line.empty()) continue;
        const auto counted = static_cast<std::uint32_t>(std::min<std::uint64_t>(*crashes, kMostCrashes));
        m_notes.push_back({counted, {std::string(line), *size, *lastWrite}});
    }
}

bool CPlugInQuarantine::MayList(const PlugInFile& file) const {
    return std::ranges::none_of(m_notes,
                                [&](const Note& note) { return note.file == file && note.crashes >= kMostCrashes; });
}

void CPlugInQuarantine::Begin(const PlugInFile& file) {
    const auto note = std::ranges::find(m_notes, file, &Note::file);
    const std::uint32_t before = note == m_notes.end() ? 0 : note->crashes;
    End(file);
    m_notes.push_back({before + 1, file});
}

void CPlugInQuarantine::End(const PlugInFile& file) {
    std::erase_if(m_notes, [&](const Note& note) { return note.file.name == file.name; });
}

std::string CPlugInQuarantine::State() const {
    std::string text;
    for (const auto& [crashes, file] : m_notes) {
        text += std::to_string(crashes) + '\t' + std::to_string(file.size) + '\t' + std::to_string(file.lastWrite) + '\t';
        text.append(file.name).append("\r\n");
    }
    return text;
}
