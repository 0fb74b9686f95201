/* A plug-in that hashes nothing and has no threads: what runs while it "mines" is the miner alone. */
#include <windows.h>

#include "quorvel/plugin.h"

static QvDescriptor g_descriptor = {9, L"Idle", L""};

__declspec(dllexport) uintptr_t GetInterface(uintptr_t argument) {
    if (argument == QV_INTERFACE_DESCRIPTOR) return (uintptr_t)&g_descriptor;
    if (argument != QV_INTERFACE_WINDOW) return 0;
    return (uintptr_t)CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, NULL, NULL, NULL);
}
