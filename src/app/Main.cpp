#include <windows.h>

#include <atomic>

#include "app/Application.h"
#include "app/CrashReport.h"

namespace {

std::atomic<CQuorvelMinerApp*> theApplication = nullptr;

}  // namespace

CQuorvelMinerApp* TheApplication() {
    return theApplication;
}

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
    InstallCrashReport();
    // Libraries are never found by bare name in the folder that the program happens to be started from.
    SetDllDirectoryW(L"");
    CQuorvelMinerApp application;
    theApplication = &application;
    const int result = application.Run();
    theApplication = nullptr;
    return result;
}
