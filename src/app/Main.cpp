#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cwchar>

#include "app/CrashReport.h"
#include "app/QuorvelMinerApp.h"
#include "common/Guarded.h"
#include "support/DataFolder.h"

namespace {

std::atomic<CQuorvelMinerApp*> theApplication = nullptr;

}  // namespace

CQuorvelMinerApp* TheApplication() {
    return theApplication;
}

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
    const DataFolder data = FindDataFolder(ProgramFolder());
    InstallCrashReport(data.path + L"Logs\\");
    // Libraries are never found by bare name in the folder that the program happens to be started from.
    SetDllDirectoryW(L"");
    const auto isGiven = [](const wchar_t* option) {
        return std::any_of(__wargv + 1, __wargv + __argc,
                           [option](const wchar_t* argument) { return std::wcscmp(argument, option) == 0; });
    };
    CQuorvelMinerApp application(data, isGiven(kGuardedOption), isGiven(kResumeOption));
    theApplication = &application;
    const int result = application.Run();
    theApplication = nullptr;
    return result;
}
