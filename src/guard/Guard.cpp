#include "guard/Guard.h"

#include <algorithm>
#include <utility>

#include "common/Format.h"
#include "common/Guarded.h"
#include "common/Version.h"
#include "support/EventLog.h"

namespace {

constexpr wchar_t kClassName[] = L"Quorvel-Guard";
constexpr int kAsksPerSilence = 12;
constexpr DWORD kEarlierThanTheMiner = 0x300;

std::wstring Number(std::uint64_t number) {
    return std::to_wstring(number);
}

}  // namespace

CGuard::CGuard(std::wstring folder, const std::wstring& dataFolder, const GuardTimes& times, const IClock& clock)
    : m_folder(std::move(folder)),
      m_eventFile(dataFolder + L"Logs\\" + kApplicationName + L"_events.log"),
      m_times(times),
      m_clock(clock),
      m_policy(times),
      m_closed(CreateEventW(nullptr, TRUE, FALSE, kClosingEventName)) {}

CGuard::~CGuard() {
    if (m_window != nullptr) DestroyWindow(m_window);
}

GuardExit CGuard::Run() {
    MakeWindow();
    Say(L"guard started");
    bool goOn = true;
    while (goOn) {
        const bool closed = Obtain() && Watch();
        if (m_quit) {
            Say(m_sessionEnds ? L"guard ended with the session of Windows"
                              : L"guard told to end; the miner is left as it is");
            return kGuardDone;
        }
        goOn = TakeNextStep(closed);
    }
    return m_result;
}

void CGuard::MakeWindow() {
    // Windows tells the processes of a higher level first: the guard knows of the end before the miner is closed.
    SetProcessShutdownParameters(kEarlierThanTheMiner, 0);
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = &CGuard::OnMessage;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = kClassName;
    RegisterClassW(&windowClass);
    m_window = CreateWindowExW(0, kClassName, kClassName, WS_OVERLAPPED, 0, 0, 0, 0, nullptr, nullptr, windowClass.hInstance,
                               nullptr);
    if (m_window != nullptr) {
        SetWindowLongPtrW(m_window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    } else {
        Say(L"the guard has no window (error " + Number(GetLastError()) + L"): it will not notice the end of the session");
    }
}

LRESULT CALLBACK CGuard::OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): what MakeWindow stored
    auto* const guard = reinterpret_cast<CGuard*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (guard == nullptr) return DefWindowProcW(window, message, wParam, lParam);
    switch (message) {
        case WM_QUERYENDSESSION:
            guard->m_sessionEnds = true;
            return TRUE;
        case WM_ENDSESSION:
            guard->m_sessionEnds = wParam != 0;  // 0: called off
            if (wParam != 0) guard->m_quit = true;
            return 0;
        case WM_CLOSE:
            guard->m_quit = true;
            return 0;
        default:
            return DefWindowProcW(window, message, wParam, lParam);
    }
}

void CGuard::Say(const std::wstring& text) const {
    // A file that cannot be written leaves nowhere to say so.
    AppendEvent(m_eventFile.c_str(), EventKind::Guard, L"", text);
}

bool CGuard::Wait(HANDLE object, TimeSpan span) {
    const TimeSpan end = m_clock.Monotonic() + span;
    const DWORD count = object != nullptr ? 1 : 0;
    while (!m_quit) {
        const TimeSpan left = std::max<TimeSpan>(end - m_clock.Monotonic(), 0);
        const auto milliseconds = static_cast<DWORD>((left + kTicksPerMillisecond - 1) / kTicksPerMillisecond);
        const DWORD woken = MsgWaitForMultipleObjectsEx(count, &object, milliseconds, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        if (woken == WAIT_OBJECT_0 && count == 1) return true;
        if (woken == WAIT_TIMEOUT || woken == WAIT_FAILED) return false;
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageW(&message);
    }
    return false;
}

void CGuard::WaitForSession() {
    while (m_sessionEnds && !m_quit)
        Wait(nullptr, kTicksPerSecond);
}

bool CGuard::Obtain() {
    m_toldHung = false;
    bool told = false;
    while (CWatchedMiner::IsRunning()) {
        m_miner = CWatchedMiner::Find();
        m_policy.Started(m_clock.Monotonic());
        if (m_miner) {
            m_again = true;
            Say(L"watching the miner that runs already (process " + Number(m_miner.Id()) + L")");
            return true;
        }
        if (!std::exchange(told, true)) Say(L"a miner runs, but its process cannot be watched; waiting for its end");
        Wait(nullptr, m_times.silence / kAsksPerSilence);
        if (m_quit) return false;
    }
    ResetEvent(m_closed.Get());
    DWORD error = ERROR_SUCCESS;
    m_miner = CWatchedMiner::Start(m_folder, m_again, error);
    m_again = true;
    m_policy.Started(m_clock.Monotonic());
    if (m_miner) {
        Say(L"miner started (process " + Number(m_miner.Id()) + L")");
    } else {
        Say(L"Quorvel-Miner.exe cannot be started (error " + Number(error) + L")");
    }
    return static_cast<bool>(m_miner);
}

bool CGuard::Watch() {
    while (!Wait(m_miner.Process(), m_times.silence / kAsksPerSilence)) {
        if (m_quit) return false;
        if (m_policy.IsHung(m_miner.Ask(), m_clock.Monotonic()) && !m_sessionEnds) EndHungMiner();
    }
    const bool closed = SayHowItEnded();
    WaitForSession();
    return closed;
}

void CGuard::EndHungMiner() {
    if (std::exchange(m_toldHung, true)) return;
    const std::wstring silent =
        L"not answering for " + Number(static_cast<std::uint64_t>(m_times.silence / kTicksPerSecond)) + L" s";
    const DWORD error = m_miner.End();
    if (error != ERROR_SUCCESS) {
        Say(silent + L", but cannot be ended (error " + Number(error) + L"); waiting for its end");
    } else {
        Say(silent + (WasClosed() ? L" after it was closed, and ended" : L" and ended"));
    }
}

// Whether a person closed it.
bool CGuard::SayHowItEnded() const {
    const DWORD code = m_miner.ExitCode();
    if (code == 0 || WasClosed()) {
        Say(L"closed by the user; the guard ends, too");
        return true;
    }
    if (m_toldHung) return false;
    constexpr DWORD kLastOwnCode = 0xFF;
    wchar_t text[60];
    FormatTo(text, code > kLastOwnCode ? L"crashed with exit code 0x%08lX" : L"ended with exit code %lu", code);
    Say(text);
    return false;
}

bool CGuard::TakeNextStep(bool closed) {
    const GuardDecision next = m_policy.Ended(closed, m_clock.Monotonic());
    const std::wstring most = Number(m_times.mostRestarts);
    if (next.step == GuardStep::Stop) return false;
    if (next.step == GuardStep::GiveUp) {
        Say(L"given up: the miner was restarted " + most +
            L" times in this hour and does not stay up; start the guard again when "
            L"the cause is removed");
        m_result = kGuardGaveUp;
        return false;
    }
    Say(L"restart in " + Number(static_cast<std::uint64_t>(next.pause / kTicksPerSecond)) + L" s (" + Number(next.restarts) +
        L" of " + most + L" in this hour)");
    Wait(nullptr, next.pause);
    WaitForSession();
    return true;
}
