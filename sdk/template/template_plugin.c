/* The smallest Quorvel-Miner plug-in: it takes every message, says in the miner's main log what it was told, and hashes
 * nothing. Copy it, give it an id and a name of your own and put your hashing where the comments say so. Plain C11.
 *
 * Its window belongs to the miner's GUI thread, on which GetInterface is called: the simplest way, right for a plug-in that
 * does little in its window procedure. The procedure must return quickly, because the dialog waits for it. */
#include <windows.h>

#include <stdio.h>
#include <stdlib.h>

#include "quorvel/plugin.h"

#define TEMPLATE_ID 9 /* 0, 5, 6, 9 and 10 are free */
static const wchar_t kWindowClass[] = L"QuorvelTemplatePlugin";

static QvDescriptor g_descriptor = {TEMPLATE_ID, L"Template", L""};
static HINSTANCE g_library;

/* What one mining session knows. A library may run several sessions at once, one for each configuration that mines with its
 * algorithm: keep a session's state with its window, not in global variables. */
typedef struct Session {
    QvLog log;   /* null when the executable offers none */
    QvSend send; /* likewise; for your shares */
    QvGpuRecord* const* gpus;
    size_t gpuCount;
    const StratumWorkBlock* work; /* the block named by the latest 0x2408 */
} Session;

static void Say(const Session* session, const wchar_t* what, const char* narrow) {
    wchar_t text[QV_PARAMETER_BYTES] = L"";
    wchar_t line[QV_PARAMETER_BYTES + 128];
    if (session->log == NULL) return;
    /* Narrow text of the miner is in the system's ANSI code page. */
    if (MultiByteToWideChar(CP_ACP, 0, narrow, -1, text, QV_PARAMETER_BYTES) == 0) text[0] = L'\0';
    _snwprintf(line, sizeof line / sizeof *line - 1, L"Template: %ls%ls", what, text);
    line[sizeof line / sizeof *line - 1] = L'\0';
    session->log(line);
}

static void TakeGpus(Session* session, WPARAM wParam, LPARAM lParam) {
    /* The array and the records stay valid until 0x2404 has returned. */
    session->gpus = (QvGpuRecord* const*)wParam;
    session->gpuCount = (size_t)lParam;
    for (size_t i = 0; i < session->gpuCount; ++i)
        Say(session, L"mines with ", session->gpus[i]->name);
}

static void Start(Session* session) {
    /* Start your threads here, one per GPU for example. They write the plug-in's words of gpus[i]->statistics, each with one
     * atomic store: hashSpeed and solSpeed, the histories once a second, and lastTime when a share is sent. To stale, in
     * which the miner counts, too, they add atomically. */
    Say(session, L"start", "");
}

static void Stop(Session* session) {
    /* End your threads here and wait for them: when this message has returned, the miner destroys the window and frees the
     * library, and the GPU records and work blocks may go. */
    Say(session, L"stop", "");
    session->gpus = NULL;
    session->gpuCount = 0;
    session->work = NULL;
}

static void WorkChanged(Session* session, UINT message, const StratumWorkBlock* work) {
    if (message == QV_MSG_ACTIVATE) session->work = work;
    /* A message of a pool that is no longer the source of work may arrive late. */
    if (work == NULL || work != session->work) return;
    switch (message) {
        case QV_MSG_ACTIVATE:
            Say(session, L"works for another pool session from now on", "");
            break;
        case QV_MSG_LOGGED_IN:
            Say(session, L"logged in", "");
            break;
        case QV_MSG_NEW_JOB:
            /* Copy the block first, check every field that you use (it is what a pool sent), and hand the copy to your
             * threads. A share is one request line with a line feed at its end:
             *     session->send(copy.session, line, length)
             * and its id must be ((cudaId + 1) << 16) | a 16-bit sequence number. */
            Say(session, L"new job ", work->jobId);
            break;
        case QV_MSG_NEW_TARGET:
            Say(session, L"new target", "");
            break;
        case QV_MSG_NEW_EXTRANONCE:
            Say(session, L"new extranonce ", work->extranonce);
            break;
        default:
            break;
    }
}

static LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    Session* session = (Session*)GetWindowLongPtrW(window, GWLP_USERDATA);
    if (session == NULL) return DefWindowProcW(window, message, wParam, lParam);
    switch (message) {
        case QV_MSG_SET_OWNER: /* wParam: the manager's window, should you want to post to it */
            return 0;
        case QV_MSG_SET_GPUS:
            TakeGpus(session, wParam, lParam);
            return 0;
        case QV_MSG_START:
            Start(session);
            return 0;
        case QV_MSG_STOP:
            Stop(session);
            return 0;
        case QV_MSG_LOGGED_IN:
        case QV_MSG_NEW_JOB:
        case QV_MSG_NEW_TARGET:
        case QV_MSG_NEW_EXTRANONCE:
        case QV_MSG_ACTIVATE:
            WorkChanged(session, message, (const StratumWorkBlock*)wParam);
            return 0;
        case WM_NCDESTROY:
            SetWindowLongPtrW(window, GWLP_USERDATA, 0);
            free(session);
            return 0;
        default:
            return DefWindowProcW(window, message, wParam, lParam);
    }
}

/* Services of the executable are found by name; the double cast keeps compilers from warning about function types. */
static void* Service(const char* name) {
    return (void*)(uintptr_t)GetProcAddress(GetModuleHandleW(NULL), name);
}

static HWND OpenSession(void) {
    WNDCLASSEXW windowClass = {0};
    Session* session = calloc(1, sizeof *session);
    HWND window;
    if (session == NULL) return NULL;
    session->log = (QvLog)(uintptr_t)Service("QuorvelLog");
    session->send = (QvSend)(uintptr_t)Service("QuorvelSend");

    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = WindowProcedure;
    windowClass.hInstance = g_library;
    windowClass.lpszClassName = kWindowClass;
    RegisterClassExW(&windowClass); /* fails for the second session: the class is there already */
    window = CreateWindowExW(0, kWindowClass, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, NULL, g_library, NULL);
    if (window == NULL) {
        free(session);
        return NULL;
    }
    SetWindowLongPtrW(window, GWLP_USERDATA, (LONG_PTR)session);
    return window;
}

__declspec(dllexport) uintptr_t GetInterface(uintptr_t argument) {
    switch (argument) {
        case QV_INTERFACE_DESCRIPTOR:
            return (uintptr_t)&g_descriptor;
        case QV_INTERFACE_WINDOW:
            return (uintptr_t)OpenSession();
        default:
            return 0;
    }
}

__declspec(dllexport) const wchar_t* GetUnit(void) {
    return L"H/s";
}

BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_ATTACH) {
        g_library = library;
        DisableThreadLibraryCalls(library);
    }
    /* A window class outlives its library unless it is taken back (at the end of the process there is no need to). */
    if (reason == DLL_PROCESS_DETACH && reserved == NULL) UnregisterClassW(kWindowClass, library);
    return TRUE;
}
