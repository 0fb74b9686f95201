#include "support/OldLogs.h"

#include <chrono>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

namespace {

namespace fs = std::filesystem;

constexpr std::wstring_view kForm = L"_dddd-dd-dd.log";  // d: a digit

bool HasForm(std::wstring_view end) {
    for (std::size_t i = 0; i < kForm.size(); ++i) {
        const bool isDigit = end[i] >= L'0' && end[i] <= L'9';
        if (kForm[i] == L'd' ? !isDigit : end[i] != kForm[i]) return false;
    }
    return true;
}

unsigned Number(std::wstring_view digits) {
    unsigned number = 0;
    for (const wchar_t digit : digits)
        number = number * 10 + static_cast<unsigned>(digit - L'0');
    return number;
}

// Days since 1601; nothing: the file is no log of a day.
std::optional<std::int64_t> DayOfLog(std::wstring_view fileName) {
    using namespace std::chrono;
    if (fileName.size() <= kForm.size()) return std::nullopt;
    const std::wstring_view end = fileName.substr(fileName.size() - kForm.size());
    if (!HasForm(end)) return std::nullopt;
    const year_month_day date(year(static_cast<int>(Number(end.substr(1, 4)))), month(Number(end.substr(6, 2))),
                              day(Number(end.substr(9, 2))));
    if (!date.ok()) return std::nullopt;
    return (sys_days(date) - sys_days(year(1601) / 1 / 1)).count();
}

struct Outcome {
    std::size_t removed = 0;
    std::size_t kept = 0;  // could not be removed
};

// Looked up first: what is removed under way may confuse the look at the folder.
std::vector<fs::path> OldLogsOf(const fs::path& folder, std::int64_t today, std::int32_t days) {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code unknown;
        if (IsOldLog(entry->path().filename().wstring(), today, days) && entry->is_regular_file(unknown))
            found.push_back(entry->path());
    }
    return found;
}

std::wstring TextOf(const Outcome& outcome, std::int32_t days) {
    std::wstring text =
        L"old logs removed: " + std::to_wstring(outcome.removed) + L" (kept for " + std::to_wstring(days) + L" days)";
    if (outcome.kept != 0) text += L"; could not be removed, tried again tomorrow: " + std::to_wstring(outcome.kept);
    return text;
}

}  // namespace

bool IsOldLog(std::wstring_view fileName, std::int64_t today, std::int32_t days) {
    const auto day = DayOfLog(fileName);
    return days > 0 && day && today - *day > days;
}

COldLogs::COldLogs(std::vector<std::filesystem::path> folders, std::int32_t days, IEventSink& events)
    : m_folders(std::move(folders)), m_days(days), m_events(events) {}

void COldLogs::Check(ddt_datetime local) {
    const std::int64_t today = local.ticks / kTicksPerDay;
    // A thread that is busy since the day before is stuck in the disk: the assignment would wait for it.
    if (m_days <= 0 || today == m_checked || m_busy.exchange(true)) return;
    try {
        m_thread = std::jthread([this, today](const std::stop_token& stop) {
            Remove(today, stop);
            m_busy = false;
        });
        m_checked = today;
    } catch (const std::system_error&) {
        m_busy = false;  // the next call tries again
    }
}

void COldLogs::Remove(std::int64_t today, const std::stop_token& stop) const {
    Outcome outcome;
    for (const fs::path& folder : m_folders) {
        for (const fs::path& file : OldLogsOf(folder, today, m_days)) {
            if (stop.stop_requested()) return;
            std::error_code error;
            ++(fs::remove(file, error) && !error ? outcome.removed : outcome.kept);
        }
    }
    if (outcome.removed + outcome.kept != 0) m_events.Event(EventKind::Program, L"", TextOf(outcome, m_days));
}
