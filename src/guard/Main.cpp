#include <windows.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "common/CodePage.h"
#include "common/Handle.h"
#include "common/Version.h"
#include "guard/AutoStart.h"
#include "guard/Guard.h"
#include "guard/GuardPolicy.h"
#include "support/DataFolder.h"

namespace {

// To standard output, or the console that the program was started from, if there is one: never a box, for this may be a
// script.
void Print(const std::wstring& text) {
    const std::string bytes = WideToUtf8(text);
    DWORD written = 0;
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    if (output != nullptr && output != INVALID_HANDLE_VALUE &&
        WriteFile(output, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
        return;
    if (!AttachConsole(ATTACH_PARENT_PROCESS)) return;
    const CHandle console(CreateFileW(L"CONOUT$", GENERIC_WRITE, FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
    if (console) WriteConsoleW(console.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

GuardExit Report(unsigned long error, const wchar_t* done) {
    if (error == ERROR_SUCCESS) {
        Print(std::wstring(done) + L"\r\n");
        return kGuardDone;
    }
    Print(L"Quorvel-Guard: the registry cannot be written (error " + std::to_wstring(error) + L")\r\n");
    return kGuardFailed;
}

GuardExit WatchMiner(const GuardTimes& times) {
    const CHandle mutex(CreateMutexW(nullptr, FALSE, L"Quorvel-Guard"));
    if (!mutex || GetLastError() == ERROR_ALREADY_EXISTS) {
        Print(L"Quorvel-Guard runs already\r\n");
        return kGuardSecond;
    }
    const std::wstring folder = ProgramFolder();
    return CGuard(folder, FindDataFolder(folder).path, times, SystemClock()).Run();
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
    SetDllDirectoryW(L"");
    const GuardOptions options = ParseGuardOptions(std::vector<std::wstring>(__wargv + 1, __wargv + __argc));
    switch (options.command) {
        case GuardCommand::Install:
            return Report(InstallAutoStart(), L"The guard starts when this user logs in");
        case GuardCommand::Remove:
            return Report(RemoveAutoStart(), L"The guard no longer starts when this user logs in");
        case GuardCommand::Help:
            Print(kGuardUsage);
            return kGuardDone;
        case GuardCommand::Version:
            Print(L"Quorvel-Guard " + NarrowToWide(kVersionText) + L"\r\n");
            return kGuardDone;
        case GuardCommand::Invalid:
            Print(kGuardUsage);
            return kGuardWrongUsage;
        case GuardCommand::Watch:
            return WatchMiner(options.times);
    }
    return kGuardFailed;
}
