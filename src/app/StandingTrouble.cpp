#include "app/StandingTrouble.h"

#include "common/Clock.h"
#include "common/CodePage.h"
#include "mining/TroubleWatch.h"

CStandingTrouble::CStandingTrouble(CTroubleBoard& board, IEventSink& events, std::function<void(const PoolError&)> report)
    : m_board(board), m_events(events), m_report(std::move(report)) {}

void CStandingTrouble::Set(Source source, const std::wstring& text) {
    const std::lock_guard lock(m_lock);
    const EventKind kind = source == Source::PlugIns ? EventKind::PlugIn : EventKind::Configuration;
    const TroubleCode code = source == Source::PlugIns ? TroubleCode::PlugInMissing : TroubleCode::FileTrouble;
    const ddt_datetime now = SystemClock().UtcNow();
    if (const auto told = m_entries.find(source); told != m_entries.end()) {
        if (told->second.text == text) return;
        m_board.Remove(told->second.error);
        m_events.Event(kind, L"", L"over: " + told->second.text);
        m_report(OverError(told->second.error, now));
        m_entries.erase(told);
    }
    if (text.empty()) return;
    const PoolError error = ErrorOf({code, -1, text, true}, now);
    m_entries[source] = {text, error};
    m_board.Add(error);
    m_events.Event(kind, L"", text);
    m_report(error);
}

void CStandingTrouble::Repeat(Source source) {
    const std::lock_guard lock(m_lock);
    if (const auto told = m_entries.find(source); told != m_entries.end()) m_report(told->second.error);
}

TimedMessage CStandingTrouble::Latest() const {
    const std::lock_guard lock(m_lock);
    TimedMessage latest;
    for (const auto& [source, entry] : m_entries) {
        if (latest.text.empty() || latest.time < entry.error.time) latest = {entry.text, entry.error.time};
    }
    return latest;
}
