#pragma once
#include <windows.h>
#include <cstdint>
#include <memory>
#include <string_view>
#include "common/Clock.h"
#include "common/Time.h"

enum ENUM_LOG_SEVERITY_LEVEL : std::int32_t { LOG_SEVERITY_NORMAL = 1 };

enum class TrafficDirection : std::int32_t { Sent = 1, Received = 2 };

// One log file, "<path>_YYYY-MM-DD.log", a new one for each day of local time, or one that is limited in size; each line
// flushed.
//
// The writing operations may be called from any thread at any time after CreateLogSystem and return without touching the
// disk: the line is stamped and copied into a buffer that a thread of this object writes out, in order. The lock they take
// is held only for that copy, never during disk I/O. The destructor writes what is pending. While the disk keeps the thread
// waiting, lines beyond 16 MiB are dropped; a line in the file then says how many.
class CBKLogSystem {
  public:
    explicit CBKLogSystem(const IClock& clock = SystemClock());
    virtual ~CBKLogSystem();
    CBKLogSystem(const CBKLogSystem&) = delete;
    CBKLogSystem& operator=(const CBKLogSystem&) = delete;

    // Set by the owner before CreateLogSystem; while 0 every writer does nothing.
    std::int32_t enabled = 0;
    // How lines are stamped; set before the first line. Pictures of GetDateFormatEx and GetTimeFormatEx.
    std::int32_t showTime = 1;
    std::int32_t showDate = 1;
    const wchar_t* dateFormat = L"yyyy-MM-dd";
    const wchar_t* timeFormat = L"HH:mm:ss";
    const wchar_t* millisecondFormat = L".%03d";  // null: none

    // path: full path without date and extension. option: 0, a file per day; else the kilobytes of "<path>.log", which then
    // becomes "<path>.old.log". Opens the file (appending) when enabled; false: it could not be opened, and the next lines
    // will try again.
    bool CreateLogSystem(const wchar_t* path, std::int32_t option);

    // As LogLine; the severity is not shown.
    void LogFormat(ENUM_LOG_SEVERITY_LEVEL severity, const wchar_t* format, ...);
    // "-> " or "<- ", the text (0x01 shown as '|', '%' doubled, trailing white space removed) and " - Error:%08X" when
    // error is not 0. time: when it was sent or received; unset: now.
    void LogTraffic(TrafficDirection direction, std::string_view text, ddt_datetime time, std::uint32_t error);
    // One line stamped with the current time. In the format, narrow text (in the ANSI code page) is %S and wide text %s.
    void LogLine(const wchar_t* format, ...);

    // Waits until every line given before the call is in the file.
    void Flush();

  private:
    class CWriter;
    void Log(const wchar_t* format, __builtin_va_list arguments);

    const IClock& m_clock;
    std::unique_ptr<CWriter> m_writer;
};
