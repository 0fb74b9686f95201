#include <windows.h>

namespace {

INT_PTR CALLBACK OnDialog(HWND window, UINT message, WPARAM, LPARAM) {
    if (message == WM_CLOSE) EndDialog(window, 0);
    return message == WM_INITDIALOG || message == WM_CLOSE;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int) {
    struct {
        DLGTEMPLATE header = {DS_CENTER | WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 0, 0, 504, 387};
        WORD menu = 0, windowClass = 0;
        WCHAR title[13] = L"Empty dialog";
    } const dialog;
    return static_cast<int>(DialogBoxIndirectParamW(instance, &dialog.header, nullptr, &OnDialog, 0));
}
