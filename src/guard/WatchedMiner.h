#pragma once
#include <windows.h>
#include <string>
#include "common/Handle.h"
#include "guard/GuardPolicy.h"

// A miner's process. One thread.
class CWatchedMiner {
  public:
    CWatchedMiner() = default;

    // Whether a miner runs in this session of Windows.
    static bool IsRunning();
    // The one that runs; none when its process is not found or may not be opened.
    static CWatchedMiner Find();
    // Starts the miner of that folder (ends with a backslash), for an unattended rig. again: after one that crashed or hung.
    // None: error says why.
    static CWatchedMiner Start(const std::wstring& folder, bool again, DWORD& error);

    explicit operator bool() const { return static_cast<bool>(m_process); }
    HANDLE Process() const { return m_process.Get(); }
    DWORD Id() const { return m_id; }
    // Asks its main window, for some seconds at most.
    MinerAnswer Ask() const;
    // Windows error code; the process may take a while to be gone.
    DWORD End() const;
    DWORD ExitCode() const;

  private:
    CHandle m_process;
    DWORD m_id = 0;
};
