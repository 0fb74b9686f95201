#include "support/LogFile.h"

#include <chrono>

#include "common/CodePage.h"
#include "common/Format.h"

namespace {

constexpr std::size_t kGatheredBytes = std::size_t{64} << 10;

std::wstring DayFileName(const std::wstring& path, std::int64_t day) {
    using namespace std::chrono;
    const year_month_day date(sys_days(year(1601) / 1 / 1) + days(day));
    wchar_t suffix[32];
    FormatTo(suffix, L"_%04d-%02u-%02u.log", static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
             static_cast<unsigned>(date.day()));
    return path + suffix;
}

}  // namespace

CLogFile::CLogFile(std::wstring path, std::uint64_t mostBytes) : m_path(std::move(path)), m_mostBytes(mostBytes) {}

CLogFile::~CLogFile() {
    WriteOut();
}

void CLogFile::_CheckNewLogFile(ddt_datetime local) {
    if (m_mostBytes == 0) {
        CheckDay(local.ticks / kTicksPerDay);
    } else {
        CheckSize();
    }
}

void CLogFile::CheckDay(std::int64_t day) {
    if (day == m_day && (IsOpen() || !m_mayOpen)) return;
    WriteOut();
    m_day = day;
    Open(DayFileName(m_path, day));
}

void CLogFile::CheckSize() {
    const std::wstring name = m_path + L".log";
    if (!IsOpen()) {
        if (m_mayOpen) Open(name);
        return;
    }
    LARGE_INTEGER size = {};
    if (!GetFileSizeEx(m_file.Get(), &size)) return;
    if (static_cast<std::uint64_t>(size.QuadPart) + m_output.size() < m_mostBytes) return;
    WriteOut();
    m_file.Close();
    // Where the full file cannot be moved away (somebody may hold it), it grows on until it can.
    MoveFileExW(name.c_str(), (m_path + L".old.log").c_str(), MOVEFILE_REPLACE_EXISTING);
    Open(name);
}

void CLogFile::Open(const std::wstring& fileName) {
    m_mayOpen = false;
    m_file = CHandle(CreateFileW(fileName.c_str(), FILE_APPEND_DATA | SYNCHRONIZE | FILE_READ_ATTRIBUTES,
                                 FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                                 FILE_ATTRIBUTE_NORMAL, nullptr));
}

void CLogFile::_Write2File(std::string_view text) {
    m_output.append(text);
    if (m_output.size() >= kGatheredBytes) WriteOut();
}

void CLogFile::_Write2File(std::wstring_view text) {
    _Write2File(std::string_view(WideToUtf8(text)));
}

void CLogFile::Commit() {
    WriteOut();
    m_mayOpen = true;
}

void CLogFile::WriteOut() {
    if (!m_output.empty() && m_file) {
        DWORD written = 0;
        // A full disk loses these lines; there is nowhere to say so.
        WriteFile(m_file.Get(), m_output.data(), static_cast<DWORD>(m_output.size()), &written, nullptr);
    }
    m_output.clear();
}
