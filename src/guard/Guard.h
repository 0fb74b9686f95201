#pragma once
#include <string>
#include "common/Clock.h"
#include "guard/GuardPolicy.h"
#include "guard/WatchedMiner.h"

enum GuardExit : int { kGuardDone = 0, kGuardFailed = 1, kGuardWrongUsage = 2, kGuardSecond = 3, kGuardGaveUp = 4 };

// Keeps a miner running, as CGuardPolicy says. One thread, which also serves a hidden window, so that the end of the session
// of Windows is noticed: what Windows closes then must not be started again.
class CGuard {
  public:
    // folder: of the executables; dataFolder: whose Logs has the miner's event log. Both end with a backslash.
    CGuard(std::wstring folder, const std::wstring& dataFolder, const GuardTimes& times, const IClock& clock);
    ~CGuard();
    CGuard(const CGuard&) = delete;
    CGuard& operator=(const CGuard&) = delete;

    // Until the miner is closed, the guard gives up or is told to end: the exit code.
    GuardExit Run();

  private:
    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void MakeWindow();
    void Say(const std::wstring& text) const;

    // Serves the window until the object is signalled (true), the time is over or the guard is to end.
    bool Wait(HANDLE object, TimeSpan span);
    // While it is open whether the session of Windows ends, nothing may be started.
    void WaitForSession();
    // Finds or starts the miner. False: it could not be started, which has been said, or the guard is to end.
    bool Obtain();
    // Until the miner has ended: whether a person closed it.
    bool Watch();
    void EndHungMiner();
    bool SayHowItEnded() const;
    bool TakeNextStep(bool closed);
    bool WasClosed() const { return WaitForSingleObject(m_closed.Get(), 0) == WAIT_OBJECT_0; }

    const std::wstring m_folder;
    const std::wstring m_eventFile;
    const GuardTimes m_times;
    const IClock& m_clock;
    CGuardPolicy m_policy;
    CWatchedMiner m_miner;
    const CHandle m_closed;  // kClosingEventName
    HWND m_window = nullptr;
    bool m_quit = false;
    bool m_sessionEnds = false;
    bool m_toldHung = false;
    bool m_again = false;  // what is started next takes the place of one that crashed or hung
    GuardExit m_result = kGuardDone;
};
