#include "guard/WatchedMiner.h"
// After windows.h:
#include <tlhelp32.h>

#include <utility>

#include "common/Guarded.h"
#include "common/Version.h"

namespace {

constexpr UINT kAskMilliseconds = 4000;
constexpr wchar_t kFileName[] = L"Quorvel-Miner.exe";
const std::wstring kTitleStart = std::wstring(kApplicationName) + L" (Version";

struct WindowSearch {
    DWORD processId;
    HWND found = nullptr;
};

BOOL CALLBACK MatchWindow(HWND window, LPARAM parameter) {
    auto& search = *reinterpret_cast<WindowSearch*>(parameter);
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    if (processId != search.processId) return TRUE;
    wchar_t title[64] = {};
    // Of another process's window, this does not ask the window itself, which may be hung.
    GetWindowTextW(window, title, static_cast<int>(std::size(title)));
    if (!std::wstring_view(title).starts_with(kTitleStart)) return TRUE;
    search.found = window;
    return FALSE;
}

// The window may be hidden: it can be minimised to the notification area.
HWND MainWindowOf(DWORD processId) {
    WindowSearch search{.processId = processId};
    EnumWindows(&MatchWindow, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

// Elevated miners of others may be watched, but not ended.
CHandle OpenMiner(DWORD processId) {
    constexpr DWORD kWatch = SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION;
    CHandle process(OpenProcess(kWatch | PROCESS_TERMINATE, FALSE, processId));
    if (!process) process = CHandle(OpenProcess(kWatch, FALSE, processId));
    return process;
}

bool Exists(HANDLE object) {
    const CHandle owner(object);
    return owner || GetLastError() == ERROR_ACCESS_DENIED;
}

// The process that has the main window; before there is one, the first of that name.
DWORD FindProcess() {
    DWORD session = 0;
    ProcessIdToSessionId(GetCurrentProcessId(), &session);
    const CHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof entry;
    DWORD found = 0;
    for (BOOL more = Process32FirstW(snapshot.Get(), &entry); more; more = Process32NextW(snapshot.Get(), &entry)) {
        DWORD itsSession = 0;
        if (_wcsicmp(entry.szExeFile, kFileName) != 0) continue;
        if (!ProcessIdToSessionId(entry.th32ProcessID, &itsSession) || itsSession != session) continue;
        if (MainWindowOf(entry.th32ProcessID) != nullptr) return entry.th32ProcessID;
        if (found == 0) found = entry.th32ProcessID;
    }
    return found;
}

}  // namespace

bool CWatchedMiner::IsRunning() {
    return Exists(OpenMutexW(SYNCHRONIZE, FALSE, kApplicationName));
}

CWatchedMiner CWatchedMiner::Find() {
    CWatchedMiner miner;
    miner.m_id = FindProcess();
    if (miner.m_id != 0) miner.m_process = OpenMiner(miner.m_id);
    return miner;
}

CWatchedMiner CWatchedMiner::Start(const std::wstring& folder, bool again, DWORD& error) {
    CWatchedMiner miner;
    const std::wstring program = folder + kFileName;
    std::wstring commandLine = L"\"" + program + L"\" " + kGuardedOption;
    if (again) commandLine.append(L" ").append(kResumeOption);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, folder.c_str(), &startup,
                        &process)) {
        error = GetLastError();
        return miner;
    }
    CloseHandle(process.hThread);
    miner.m_process = CHandle(process.hProcess);
    miner.m_id = process.dwProcessId;
    return miner;
}

MinerAnswer CWatchedMiner::Ask() const {
    const HWND window = MainWindowOf(m_id);
    if (window == nullptr) return MinerAnswer::NoWindow;
    DWORD_PTR ignored = 0;
    return SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_ABORTIFHUNG, kAskMilliseconds, &ignored) != 0
               ? MinerAnswer::Answers
               : MinerAnswer::Silent;
}

DWORD CWatchedMiner::End() const {
    return TerminateProcess(m_process.Get(), ERROR_TIMEOUT) ? ERROR_SUCCESS : GetLastError();
}

DWORD CWatchedMiner::ExitCode() const {
    DWORD code = 0;
    GetExitCodeProcess(m_process.Get(), &code);
    return code;
}
