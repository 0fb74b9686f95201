#include "toolkit/ModalWindows.h"

namespace {

constexpr ULONG_PTR kDialogClass = 32770;  // the atom of dialogs, message boxes and task dialogs

BOOL CALLBACK CancelDialog(HWND window, LPARAM besides) {
    const bool isDialog = GetClassLongPtrW(window, GCW_ATOM) == kDialogClass;
    // Posted: an outer dialog hears it in the loop of an inner one and ends after it.
    if (isDialog && window != reinterpret_cast<HWND>(besides)) PostMessageW(window, WM_CLOSE, 0, 0);
    return TRUE;
}

}  // namespace

void CancelModalWindows(HWND besides) {
    EndMenu();
    SendMessageW(besides, WM_CANCELMODE, 0, 0);
    EnumThreadWindows(GetCurrentThreadId(), &CancelDialog, reinterpret_cast<LPARAM>(besides));
}
