#pragma once
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <string_view>
#include <thread>
#include <vector>
#include "common/Time.h"
#include "support/Event.h"

// Whether a file of that name is the log of a day ("..._YYYY-MM-DD.log", "..." not empty) that is more than so many days
// before today (days since 1601, as of the same local time). days: 0 or less keeps everything. Pure.
bool IsOldLog(std::wstring_view fileName, std::int64_t today, std::int32_t days);

// Removes the old logs out of some folders (not out of folders in them), once a day, on a thread of its own. Portable; one
// thread uses it. The destructor waits for the file that is being removed, and no further.
class COldLogs {
  public:
    COldLogs(std::vector<std::filesystem::path> folders, std::int32_t days, IEventSink& events);

    // At the first call of a day of local time, starts to remove what is old by now; the other calls cost nothing, and none
    // waits. The event log says what was done, if anything. A file that cannot be removed is tried again the next day.
    void Check(ddt_datetime local);

  private:
    void Remove(std::int64_t today, const std::stop_token& stop) const;

    const std::vector<std::filesystem::path> m_folders;
    const std::int32_t m_days;
    IEventSink& m_events;
    std::int64_t m_checked = -1;  // the day
    std::atomic<bool> m_busy = false;
    std::jthread m_thread;
};
