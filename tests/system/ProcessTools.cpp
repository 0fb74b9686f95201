#include "ProcessTools.h"

#include <utility>

namespace {

constexpr DWORD kPollMilliseconds = 20;

struct WindowSearch {
    DWORD processId;
    std::wstring titleStart;
    HWND found;
};

BOOL CALLBACK MatchWindow(HWND window, LPARAM parameter) {
    auto& search = *reinterpret_cast<WindowSearch*>(parameter);
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    if (processId != search.processId || !IsWindowVisible(window)) return TRUE;
    if (WindowText(window).compare(0, search.titleStart.size(), search.titleStart) != 0) return TRUE;
    search.found = window;
    return FALSE;
}

HANDLE OpenOutput(const std::filesystem::path& path) {
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    return CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, CREATE_ALWAYS, 0,
                       nullptr);
}

}  // namespace

CChildProcess::CChildProcess(const std::wstring& commandLine, const std::filesystem::path& folder,
                             const std::filesystem::path& output) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    HANDLE file = INVALID_HANDLE_VALUE;
    if (!output.empty()) {
        file = OpenOutput(output);
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = startup.hStdError = file;
    }
    std::wstring line = commandLine;
    PROCESS_INFORMATION process = {};
    if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr, folder.c_str(), &startup,
                       &process)) {
        CloseHandle(process.hThread);
        m_process = process.hProcess;
        m_id = process.dwProcessId;
    }
    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
}

CChildProcess::~CChildProcess() {
    if (m_process == nullptr) return;
    if (IsRunning()) {
        TerminateProcess(m_process, 1);
        WaitForSingleObject(m_process, 10000);
    }
    CloseHandle(m_process);
}

CChildProcess::CChildProcess(CChildProcess&& other) noexcept
    : m_process(std::exchange(other.m_process, nullptr)), m_id(std::exchange(other.m_id, 0)) {}

CChildProcess& CChildProcess::operator=(CChildProcess&& other) noexcept {
    std::swap(m_process, other.m_process);
    std::swap(m_id, other.m_id);
    return *this;
}

bool CChildProcess::IsRunning() const {
    return m_process != nullptr && WaitForSingleObject(m_process, 0) == WAIT_TIMEOUT;
}

int CChildProcess::WaitForExit(DWORD milliseconds) const {
    if (m_process == nullptr || WaitForSingleObject(m_process, milliseconds) != WAIT_OBJECT_0) return -1;
    DWORD code = 0;
    GetExitCodeProcess(m_process, &code);
    return static_cast<int>(code);
}

bool WaitUntil(DWORD milliseconds, const std::function<bool()>& condition) {
    const ULONGLONG end = GetTickCount64() + milliseconds;
    while (!condition()) {
        if (GetTickCount64() > end) return false;
        Sleep(kPollMilliseconds);
    }
    return true;
}

HWND FindWindowOf(DWORD processId, const std::wstring& titleStart) {
    WindowSearch search{processId, titleStart, nullptr};
    EnumWindows(&MatchWindow, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

std::wstring WindowText(HWND window) {
    wchar_t text[512] = {};
    GetWindowTextW(window, text, 512);
    return text;
}
