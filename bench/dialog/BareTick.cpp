// The bare reference of the tick: a window that, once a second, draws as many changed texts as a grid of GPUs and its groups
// show, each straight to the screen: bare_tick TEXTS
#include <windows.h>

#include <cwchar>

namespace {

int texts = 0;
int tick = 0;

void DrawTexts(HWND window) {
    const HDC device = GetDC(window);
    for (int i = 0; i < texts; ++i) {
        wchar_t text[32];
        const int length = std::swprintf(text, 32, L"%d.%02d MH/s", tick % 90 + 10, i);
        const int left = i / 20 * 100;
        const int top = i % 20 * 20;
        const RECT cell = {left, top, left + 100, top + 20};
        ExtTextOutW(device, left, top, ETO_OPAQUE | ETO_CLIPPED, &cell, text, static_cast<UINT>(length), nullptr);
    }
    ReleaseDC(window, device);
    ++tick;
}

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_TIMER) DrawTexts(window);
    if (message == WM_DESTROY) PostQuitMessage(0);
    return DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR arguments, int) {
    texts = static_cast<int>(std::wcstol(arguments, nullptr, 10));
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = &OnMessage;
    windowClass.hInstance = instance;
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    windowClass.lpszClassName = L"BareTick";
    RegisterClassW(&windowClass);
    const HWND window = CreateWindowExW(0, windowClass.lpszClassName, L"Bare tick", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                                        900, 640, nullptr, nullptr, instance, nullptr);
    SetTimer(window, 1, 1000, nullptr);
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
        DispatchMessageW(&message);
    return 0;
}
