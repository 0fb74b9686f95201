#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include "common/Handle.h"
#include "common/Time.h"

// The file behind a log: "<path>_YYYY-MM-DD.log", appended to, and open for others to read, rename and delete.
// Used by one thread. What is written is handed to the system by Commit, or sooner when much has gathered.
class CLogFile {
  public:
    explicit CLogFile(std::wstring path);
    ~CLogFile();
    CLogFile(const CLogFile&) = delete;
    CLogFile& operator=(const CLogFile&) = delete;

    // Switches to the file of that day of local time. When it cannot be opened, tries again after the next Commit.
    void _CheckNewLogFile(ddt_datetime local);
    bool IsOpen() const { return static_cast<bool>(m_file); }

    void _Write2File(std::string_view text);   // the bytes as they are
    void _Write2File(std::wstring_view text);  // as UTF-8
    void Commit();

  private:
    void Open(std::int64_t day);
    void WriteOut();

    std::wstring m_path;
    CHandle m_file;
    std::int64_t m_day = -1;  // since 1601; of m_file, or of the one that could not be opened
    bool m_mayOpen = true;
    std::string m_output;
};
