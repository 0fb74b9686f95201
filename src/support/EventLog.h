#pragma once
#include <string>
#include <string_view>
#include <vector>
#include "common/Clock.h"
#include "support/Event.h"
#include "support/LogSystem.h"
#include "support/RecentLines.h"

// The event log, which is always on: "<path>.log", at most 1 MB, and its predecessor "<path>.old.log". One line per event:
//     2026-11-23 - 20:33:01.123: <kind> TAB <subject> TAB <text>
// Characters that would break the line are replaced by spaces. Other processes may append to the file, too.
class CEventLog final : public IEventSink {
  public:
    static constexpr std::int32_t kMostKilobytes = 1024;
    static constexpr std::size_t kLatestLines = 200;

    explicit CEventLog(const IClock& clock = SystemClock());

    // path without extension. Takes over the last lines of an existing file as the latest ones. GUI thread, once.
    void Open(const std::wstring& path);
    void Event(EventKind kind, std::wstring_view subject, std::wstring_view text) override;
    // Waits until every event given before the call is in the file.
    void Flush() { m_log.Flush(); }
    // The latest lines, the oldest first, those of earlier runs included.
    std::vector<std::wstring> LatestLines() const { return m_latest.Lines(); }

  private:
    const IClock& m_clock;
    CBKLogSystem m_log;
    CRecentLines m_latest{kLatestLines};
};

// Appends one such line to the file (its full name) at once, without a log of its own: for the guard, and for a program that
// is crashing. Allocates nothing. False: the file cannot be written. Any thread.
bool AppendEvent(const wchar_t* file, EventKind kind, std::wstring_view subject, std::wstring_view text) noexcept;
