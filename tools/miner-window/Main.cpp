// Steers a running miner through its main window, for scripts: miner-window wait|title|start|stop|close
// Exit code 0; 1 when there is no such window (wait: within 60 s), 2 for wrong usage.
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>

#include "common/Messages.h"
#include "common/Version.h"

namespace {

constexpr DWORD kWaitMilliseconds = 60000;
constexpr DWORD kPollMilliseconds = 100;

BOOL CALLBACK FindByTitle(HWND window, LPARAM result) {
    wchar_t title[200] = {};
    GetWindowTextW(window, title, 200);
    const std::wstring start = std::wstring(kApplicationName) + L" (Version";
    if (std::wstring(title).compare(0, start.size(), start) != 0) return TRUE;
    *reinterpret_cast<HWND*>(result) = window;
    return FALSE;
}

HWND FindMiner() {
    HWND window = nullptr;
    EnumWindows(&FindByTitle, reinterpret_cast<LPARAM>(&window));
    return window;
}

bool Wait(bool present) {
    const ULONGLONG end = GetTickCount64() + kWaitMilliseconds;
    while ((FindMiner() != nullptr) != present) {
        if (GetTickCount64() > end) return false;
        Sleep(kPollMilliseconds);
    }
    return true;
}

int Print(HWND window) {
    wchar_t title[200] = {};
    GetWindowTextW(window, title, 200);
    std::printf("%ls\n", title);
    return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const std::wstring command = argc == 2 ? argv[1] : L"";
    if (command == L"wait") return Wait(true) ? 0 : 1;
    const HWND window = FindMiner();
    if (window == nullptr) return 1;
    if (command == L"title") return Print(window);
    if (command == L"start") return PostMessageW(window, kMessageMining, 1, 0) ? 0 : 1;
    if (command == L"stop") return PostMessageW(window, kMessageMining, 0, 0) ? 0 : 1;
    if (command == L"close") return PostMessageW(window, WM_CLOSE, 0, 0) && Wait(false) ? 0 : 1;
    std::fputs("usage: miner-window wait|title|start|stop|close\n", stderr);
    return 2;
}
