#include "support/EventLog.h"

#include "common/CodePage.h"
#include "common/SystemTime.h"
#include "support/FileReplace.h"

CEventLog::CEventLog(const IClock& clock) : m_clock(clock), m_log(clock) {}

void CEventLog::Open(const std::wstring& path) {
    std::string bytes;
    ReadFileContents((path + L".log").c_str(), bytes);
    std::string_view rest = bytes;
    while (!rest.empty()) {
        const std::size_t end = rest.find("\r\n");
        if (!rest.substr(0, end).empty()) m_latest.Add(Utf8ToWide(rest.substr(0, end)));
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 2);
    }
    m_log.enabled = 1;
    m_log.CreateLogSystem(path.c_str(), kMostKilobytes);
}

void CEventLog::Event(EventKind kind, std::wstring_view subject, std::wstring_view text) {
    const std::wstring line = EventText(kind, subject, text);
    m_log.LogLine(L"%s", line.c_str());
    const ddt_datetime local = LocalFromUtc(m_clock.UtcNow());
    m_latest.Add(DateText(local, m_log.dateFormat) + L" - " +
                 TimeText(local, m_log.timeFormat, m_log.millisecondFormat) + L": " + line);
}
