#pragma once
#include <windows.h>
#include <filesystem>
#include <functional>
#include <string>

// A child process; ended by force with the object if it still runs.
class CChildProcess {
  public:
    CChildProcess() = default;
    // commandLine: program and arguments. output: file that takes stdout and stderr, or empty.
    CChildProcess(const std::wstring& commandLine, const std::filesystem::path& folder, const std::filesystem::path& output);
    ~CChildProcess();
    CChildProcess(CChildProcess&& other) noexcept;
    CChildProcess& operator=(CChildProcess&& other) noexcept;

    bool IsRunning() const;
    // Exit code, or -1 when it did not end in time.
    int WaitForExit(DWORD milliseconds) const;
    DWORD Id() const { return m_id; }

  private:
    HANDLE m_process = nullptr;
    DWORD m_id = 0;
};

// Polls until the condition holds. False: it did not within the time.
bool WaitUntil(DWORD milliseconds, const std::function<bool()>& condition);

// The first visible top-level window of the process whose title starts with the text, or null.
HWND FindWindowOf(DWORD processId, const std::wstring& titleStart);
std::wstring WindowText(HWND window);
