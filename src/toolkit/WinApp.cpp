#include "toolkit/WinApp.h"

#include <windows.h>

int CWinApp::Run() {
    if (InitInstance()) RunMessageLoop();
    return ExitInstance();
}

void CWinApp::RunMessageLoop() {
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}
