#include "support/LogWriter.h"

#include <cstring>
#include <system_error>

#include "common/Format.h"
#include "common/SystemTime.h"
#include "support/TrafficLine.h"

namespace {

constexpr std::size_t kLineBufferUnit = 1024;

}  // namespace

CBKLogSystem::CWriter::CWriter(const CBKLogSystem& log, const IClock& clock, const wchar_t* path, std::uint64_t mostBytes)
    : m_log(log), m_clock(clock), m_lineBuffer(kLineBufferUnit), m_file(path, mostBytes) {}

CBKLogSystem::CWriter::~CWriter() {
    if (!m_thread.joinable()) return;
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

bool CBKLogSystem::CWriter::Start() {
    m_file._CheckNewLogFile(ToLocal(m_clock.UtcNow()));
    const bool open = m_file.IsOpen();
    m_file.Commit();
    try {
        m_thread = std::thread([this] { Run(); });
    } catch (const std::system_error&) {
        return false;
    }
    return open;
}

void CBKLogSystem::CWriter::Add(ddt_datetime time, std::wstring_view text) {
    const std::string_view bytes(static_cast<const char*>(static_cast<const void*>(text.data())),
                                 text.size() * sizeof(wchar_t));
    const std::lock_guard lock(m_mutex);
    AddLocked({time, LogTextKind::Wide, bytes});
}

void CBKLogSystem::CWriter::AddTraffic(ddt_datetime time, TrafficDirection direction, std::string_view text,
                                       std::uint32_t error) {
    const std::lock_guard lock(m_mutex);
    const std::span<char> buffer = m_lineBuffer.Acquire(TrafficLineBytes(text, error));
    const std::string_view line = WriteTrafficLine(buffer, direction == TrafficDirection::Sent, text, error);
    AddLocked({time, LogTextKind::Narrow, line});
    m_lineBuffer.Release(line.size());
}

void CBKLogSystem::CWriter::AddLocked(const LogEntry& entry) {
    if (!m_thread.joinable()) return;
    const bool idle = m_pending.IsEmpty() && m_dropped == 0;
    if (!m_pending.Add(entry)) ++m_dropped;
    ++m_added;
    if (idle) m_wake.notify_one();
}

void CBKLogSystem::CWriter::Flush() {
    std::unique_lock lock(m_mutex);
    m_idle.wait(lock, [this, target = m_added] { return m_written >= target; });
}

void CBKLogSystem::CWriter::Run() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stop || m_written != m_added; });
        if (m_written == m_added) return;
        std::swap(m_pending, m_batch);
        const std::uint32_t dropped = std::exchange(m_dropped, 0);
        const std::uint64_t taken = m_added;
        lock.unlock();
        WriteBatch(dropped);
        lock.lock();
        m_written = taken;
        m_idle.notify_all();
    }
}

void CBKLogSystem::CWriter::WriteBatch(std::uint32_t dropped) {
    LogEntry entry;
    while (m_batch.Next(entry))
        EmitLine(entry);
    if (dropped > 0) {
        char text[64];
        FormatTo(text, "*** %u lines were dropped here", dropped);
        EmitLine({m_clock.UtcNow(), LogTextKind::Narrow, text});
    }
    m_file.Commit();
    m_batch.Clear();
}

void CBKLogSystem::CWriter::EmitLine(const LogEntry& entry) {
    const ddt_datetime local = ToLocal(entry.time);
    m_file._CheckNewLogFile(local);
    if (!m_file.IsOpen()) return;
    if (m_log.showDate != 0) m_file._Write2File(std::wstring_view(DateText(local, m_log.dateFormat)));
    if (m_log.showTime != 0) {
        if (m_log.showDate != 0) m_file._Write2File(std::string_view(" - "));
        m_file._Write2File(std::wstring_view(TimeText(local, m_log.timeFormat, m_log.millisecondFormat)));
    }
    if (!entry.bytes.empty()) m_file._Write2File(std::string_view(": "));
    if (entry.kind == LogTextKind::Wide) {
        m_wideText.resize(entry.bytes.size() / sizeof(wchar_t));
        std::memcpy(m_wideText.data(), entry.bytes.data(), entry.bytes.size());
        m_file._Write2File(std::wstring_view(m_wideText));
    } else {
        m_file._Write2File(entry.bytes);
    }
    m_file._Write2File(std::string_view("\r\n"));
}

// The time zone is asked once a minute: that takes longer than writing the line.
ddt_datetime CBKLogSystem::CWriter::ToLocal(ddt_datetime utc) {
    const std::int64_t minute = utc.ticks / kTicksPerMinute;
    if (minute != m_offsetMinute) {
        m_offsetMinute = minute;
        m_localOffset = LocalFromUtc(utc).ticks - utc.ticks;
    }
    return {utc.ticks + m_localOffset};
}
