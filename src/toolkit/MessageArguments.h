#pragma once
#include <windows.h>
#include <tuple>
#include "toolkit/Wnd.h"

// Messages whose lParam is a point of the client area and whose wParam tells the keys that are held.
constexpr bool IsMouseMessage(UINT message) {
    return message >= WM_MOUSEFIRST && message <= WM_MBUTTONDBLCLK;
}

constexpr bool IsColorMessage(UINT message) {
    return message >= WM_CTLCOLORMSGBOX && message <= WM_CTLCOLORSTATIC;
}

// Signed: screens lie left of and above the first one.
constexpr POINT PointOf(LPARAM lParam) {
    return {static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
}

// What a message carries, with its types; wParam and lParam themselves where nothing better is known.
template <UINT message>
auto MessageArguments(WPARAM wParam, LPARAM lParam) {
    if constexpr (IsMouseMessage(message)) {
        return std::tuple<POINT, WPARAM>(PointOf(lParam), wParam);
    } else if constexpr (message == WM_MOUSEWHEEL || message == WM_MOUSEHWHEEL) {
        return std::tuple<int, WORD>(GET_WHEEL_DELTA_WPARAM(wParam), GET_KEYSTATE_WPARAM(wParam));
    } else if constexpr (IsColorMessage(message)) {
        return std::tuple<HDC, HWND>(reinterpret_cast<HDC>(wParam), reinterpret_cast<HWND>(lParam));
    } else if constexpr (message == WM_ERASEBKGND || message == WM_PRINTCLIENT ||
                         (message > kReflected && IsColorMessage(message - kReflected))) {
        return std::tuple<HDC>(reinterpret_cast<HDC>(wParam));
    } else if constexpr (message == WM_DRAWITEM || message == WM_DRAWITEM + kReflected) {
        return std::tuple<const DRAWITEMSTRUCT&>(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
    } else if constexpr (message == WM_GETMINMAXINFO) {
        return std::tuple<MINMAXINFO&>(*reinterpret_cast<MINMAXINFO*>(lParam));
    } else if constexpr (message == WM_NCCALCSIZE) {
        return std::tuple<RECT&>(wParam != 0 ? reinterpret_cast<NCCALCSIZE_PARAMS*>(lParam)->rgrc[0]
                                             : *reinterpret_cast<RECT*>(lParam));
    } else if constexpr (message == WM_SIZE) {
        return std::tuple<WPARAM, SIZE>(wParam, {LOWORD(lParam), HIWORD(lParam)});
    } else if constexpr (message == WM_SYSCOMMAND) {
        return std::tuple<UINT>(static_cast<UINT>(wParam) & 0xFFF0);  // the rest is the system's
    } else if constexpr (message == WM_ENDSESSION) {
        return std::tuple<bool>(wParam != FALSE);
    } else {
        return std::tuple<WPARAM, LPARAM>(wParam, lParam);
    }
}
