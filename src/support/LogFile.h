#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include "common/Handle.h"
#include "common/Time.h"

// The file behind a log, appended to, and open for others to read, append to, rename and delete: "<path>_YYYY-MM-DD.log",
// or, with a limit, "<path>.log", which becomes "<path>.old.log" when it is full. Used by one thread. What is written is
// handed to the system by Commit, or sooner when much has gathered.
class CLogFile {
  public:
    // mostBytes: 0 for a file per day.
    explicit CLogFile(std::wstring path, std::uint64_t mostBytes = 0);
    ~CLogFile();
    CLogFile(const CLogFile&) = delete;
    CLogFile& operator=(const CLogFile&) = delete;

    // Switches to the file of that day of local time, or away from one that is full. When it cannot be opened, tries again
    // after the next Commit.
    void _CheckNewLogFile(ddt_datetime local);
    bool IsOpen() const { return static_cast<bool>(m_file); }

    void _Write2File(std::string_view text);   // the bytes as they are
    void _Write2File(std::wstring_view text);  // as UTF-8
    void Commit();

  private:
    void CheckDay(std::int64_t day);
    void CheckSize();
    void Open(const std::wstring& fileName);
    void WriteOut();

    const std::wstring m_path;
    const std::uint64_t m_mostBytes;
    CHandle m_file;
    std::int64_t m_day = -1;  // since 1601; of m_file, or of the one that could not be opened
    bool m_mayOpen = true;
    std::string m_output;
};
