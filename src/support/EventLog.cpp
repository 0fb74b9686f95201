#include "support/EventLog.h"

#include <windows.h>

#include "common/CodePage.h"
#include "common/Format.h"
#include "common/Handle.h"
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
    m_latest.Add(DateText(local, m_log.dateFormat) + L" - " + TimeText(local, m_log.timeFormat, m_log.millisecondFormat) +
                 L": " + line);
}

bool AppendEvent(const wchar_t* file, EventKind kind, std::wstring_view subject, std::wstring_view text) noexcept {
    constexpr std::size_t kStampCharacters = 40;
    wchar_t line[kStampCharacters + kMostEventCharacters + 2];
    SYSTEMTIME now = {};
    GetLocalTime(&now);
    const int stamp = FormatTo(line, L"%04u-%02u-%02u - %02u:%02u:%02u.%03u: ", now.wYear, now.wMonth, now.wDay, now.wHour,
                               now.wMinute, now.wSecond, now.wMilliseconds);
    std::size_t length = stamp > 0 ? static_cast<std::size_t>(stamp) : 0;
    length += WriteEventText(std::span(line).subspan(length, kMostEventCharacters), kind, subject, text).size();
    line[length++] = L'\r';
    line[length++] = L'\n';
    char bytes[3 * std::size(line)];
    const int count = WideCharToMultiByte(CP_UTF8, 0, line, static_cast<int>(length), bytes, static_cast<int>(sizeof bytes),
                                          nullptr, nullptr);
    const CHandle out(CreateFileW(file, FILE_APPEND_DATA | SYNCHRONIZE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    return out && WriteFile(out.Get(), bytes, static_cast<DWORD>(count), &written, nullptr) != FALSE;
}
