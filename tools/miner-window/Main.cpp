// Steers a running miner through its main window, for scripts: miner-window wait|title|start|stop|close,
//     miner-window menu NUMBER (an entry of the system menu), miner-window press ID (a button),
//     miner-window text ID (prints the text of an item), miner-window --version
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

int PrintItem(HWND item) {
    wchar_t text[4000] = {};
    // Across processes only the message reaches a control's text.
    DWORD_PTR ignored = 0;
    if (item == nullptr) return 1;
    SendMessageTimeoutW(item, WM_GETTEXT, 4000, reinterpret_cast<LPARAM>(text), SMTO_ABORTIFHUNG, 5000, &ignored);
    std::printf("%ls\n", text);
    return 0;
}

int Print(HWND window) {
    wchar_t title[200] = {};
    GetWindowTextW(window, title, 200);
    std::printf("%ls\n", title);
    return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const std::wstring command = argc == 2 || argc == 3 ? argv[1] : L"";
    const auto number = static_cast<WPARAM>(argc == 3 ? std::wcstoul(argv[2], nullptr, 0) : 0);
    if (command == L"--version") return std::printf("miner-window %s\n", kVersionText) > 0 ? 0 : 1;
    if (command == L"wait") return Wait(true) ? 0 : 1;
    const HWND window = FindMiner();
    if (window == nullptr) return 1;
    if (command == L"title") return Print(window);
    if (command == L"start") return PostMessageW(window, kMessageMining, 1, 0) ? 0 : 1;
    if (command == L"stop") return PostMessageW(window, kMessageMining, 0, 0) ? 0 : 1;
    if (command == L"close") return PostMessageW(window, WM_CLOSE, 0, 0) && Wait(false) ? 0 : 1;
    if (command == L"menu" && number != 0) return PostMessageW(window, WM_SYSCOMMAND, number, 0) ? 0 : 1;
    if (command == L"press" && number != 0) {
        const HWND button = GetDlgItem(window, static_cast<int>(number));
        return button != nullptr && PostMessageW(button, BM_CLICK, 0, 0) ? 0 : 1;
    }
    if (command == L"text" && number != 0) return PrintItem(GetDlgItem(window, static_cast<int>(number)));
    std::fputs("usage: miner-window wait|title|start|stop|close|menu NUMBER|press ID|text ID|--version\n", stderr);
    return 2;
}
