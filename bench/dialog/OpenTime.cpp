// From CreateProcess to the first top-level window that shows its contents, of two programs in turn:
//     open_time ROUNDS NAME PROGRAM NAME REFERENCE
// Prints the medians under the names, and the ratios. Exit code 0; 1 when a program does not
// open, 2 for wrong usage.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <vector>

namespace {

constexpr DWORD kLongestMs = 30000;
constexpr DWORD kPollMs = 5;

struct Search {
    DWORD process = 0;
    HWND window = nullptr;
};

BOOL CALLBACK FindVisible(HWND window, LPARAM parameter) {
    auto& search = *reinterpret_cast<Search*>(parameter);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    wchar_t title[2] = {};
    // Without a title: the helper windows of the system.
    if (process != search.process || !IsWindowVisible(window) || GetWindowTextW(window, title, 2) == 0) return TRUE;
    search.window = window;
    return FALSE;
}

// Whose thread waits for input has nothing left to paint. Asking the window system meanwhile would slow the program down.
HWND WaitForWindow(const PROCESS_INFORMATION& process) {
    if (WaitForInputIdle(process.hProcess, kLongestMs) != 0) return nullptr;
    Search search = {process.dwProcessId, nullptr};
    do {
        EnumWindows(&FindVisible, reinterpret_cast<LPARAM>(&search));
    } while (search.window == nullptr && WaitForSingleObject(process.hProcess, kPollMs) == WAIT_TIMEOUT);
    return search.window;
}

// Milliseconds; negative: it has not opened.
double OpenOnce(const wchar_t* program) {
    LARGE_INTEGER frequency, start, end;
    QueryPerformanceFrequency(&frequency);
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    QueryPerformanceCounter(&start);
    if (!CreateProcessW(program, nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) return -1;
    const HWND window = WaitForWindow(process);
    QueryPerformanceCounter(&end);
    if (window != nullptr) PostMessageW(window, WM_CLOSE, 0, 0);
    if (WaitForSingleObject(process.hProcess, kLongestMs) != WAIT_OBJECT_0) TerminateProcess(process.hProcess, 1);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    if (window == nullptr) return -1;
    return static_cast<double>(end.QuadPart - start.QuadPart) * 1000.0 / static_cast<double>(frequency.QuadPart);
}

struct Summary {
    double median = 0;
    double fastest = 0;  // the least disturbed by what else the machine does
};

Summary Summarize(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return {values[values.size() / 2], values.front()};
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const int rounds = argc == 6 ? static_cast<int>(std::wcstol(argv[1], nullptr, 10)) : 0;
    if (rounds <= 0) {
        std::fputs("usage: open_time ROUNDS NAME PROGRAM NAME REFERENCE\n", stderr);
        return 2;
    }
    std::vector<double> times[2];
    for (int round = -1; round < rounds; ++round) {
        for (int i = 0; i < 2; ++i) {
            const double time = OpenOnce(argv[3 + 2 * i]);
            if (time < 0) {
                std::fprintf(stderr, "does not open: %ls\n", argv[3 + 2 * i]);
                return 1;
            }
            if (round >= 0) times[i].push_back(time);  // the first of each reads files that are not cached yet
        }
    }
    const Summary program = Summarize(times[0]);
    const Summary reference = Summarize(times[1]);
    std::printf("%ls: %.0f ms   %ls: %.0f ms   ratio of the medians %.2f, of the fastest %.2f\n", argv[2], program.median,
                argv[4], reference.median, program.median / reference.median, program.fastest / reference.fastest);
    return 0;
}
