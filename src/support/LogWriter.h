#pragma once
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include "common/ScratchBuffer.h"
#include "support/LogBatch.h"
#include "support/LogFile.h"
#include "support/LogSystem.h"

// The asynchronous half of a log: takes lines from any thread, stamps and writes them on its own.
class CBKLogSystem::CWriter {
  public:
    CWriter(const CBKLogSystem& log, const IClock& clock, const wchar_t* path, std::uint64_t mostBytes);
    ~CWriter();
    CWriter(const CWriter&) = delete;
    CWriter& operator=(const CWriter&) = delete;

    // Opens today's file and starts the thread. False: one of them failed.
    bool Start();

    void Add(ddt_datetime time, std::wstring_view text);
    void AddTraffic(ddt_datetime time, TrafficDirection direction, std::string_view text, std::uint32_t error);
    void Flush();

  private:
    void AddLocked(const LogEntry& entry);
    void Run();
    void WriteBatch(std::uint32_t dropped);
    void EmitLine(const LogEntry& entry);
    ddt_datetime ToLocal(ddt_datetime utc);

    const CBKLogSystem& m_log;
    const IClock& m_clock;

    std::mutex m_mutex;  // guards the next group
    std::condition_variable m_wake;
    std::condition_variable m_idle;
    CLogBatch m_pending;
    CScratchBuffer m_lineBuffer;
    std::uint64_t m_added = 0;    // lines given, dropped ones included
    std::uint64_t m_written = 0;  // of these, how many are through
    std::uint32_t m_dropped = 0;
    bool m_stop = false;

    // The thread's own.
    CLogFile m_file;
    CLogBatch m_batch;
    std::wstring m_wideText;
    std::int64_t m_offsetMinute = -1;  // for which m_localOffset was asked for
    TimeSpan m_localOffset = 0;

    std::thread m_thread;
};
