#include "toolkit/Wnd.h"

#include <utility>

namespace {

CWnd* ObjectOf(HWND window) {
    return reinterpret_cast<CWnd*>(GetWindowLongPtrW(window, GWLP_USERDATA));
}

}  // namespace

std::wstring TextOfWindow(HWND window) {
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)), L'\0');
    text.resize(static_cast<std::size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()) + 1)));
    return text;
}

CWnd::~CWnd() {
    LetGo();
}

void CWnd::LetGo() {
    if (m_handle == nullptr) return;
    if (m_original != nullptr) {
        Release();
        return;
    }
    SetWindowLongPtrW(m_handle, GWLP_USERDATA, 0);
    ::DestroyWindow(std::exchange(m_handle, nullptr));
}

bool CWnd::CreateMessageOnly() {
    WindowSpec spec;
    spec.parent = HWND_MESSAGE;
    return Create(spec);
}

bool CWnd::Create(const WindowSpec& spec) {
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.style = spec.classStyle;
    windowClass.lpfnWndProc = &CWnd::Procedure;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));
    windowClass.lpszClassName = spec.className;
    if (RegisterClassExW(&windowClass) == 0 && GetLastError() != ERROR_CLASS_ALREADY_EXISTS) return false;
    const RECT& place = spec.place;
    return CreateWindowExW(spec.extendedStyle, spec.className, spec.text, spec.style, static_cast<int>(place.left),
                           static_cast<int>(place.top), static_cast<int>(place.right - place.left),
                           static_cast<int>(place.bottom - place.top), spec.parent,
                           reinterpret_cast<HMENU>(static_cast<INT_PTR>(spec.id)), windowClass.hInstance, this) != nullptr;
}

bool CWnd::SubclassWindow(HWND window) {
    if (window == nullptr || m_handle != nullptr) return false;
    m_handle = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    m_original = reinterpret_cast<WNDPROC>(
        SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&CWnd::SubclassProcedure)));
    PreSubclassWindow();
    return true;
}

void CWnd::Release() {
    SetWindowLongPtrW(m_handle, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(m_original));
    SetWindowLongPtrW(m_handle, GWLP_USERDATA, 0);
    m_handle = nullptr;
    m_original = nullptr;
}

void CWnd::DestroyWindow() {
    if (m_handle != nullptr) ::DestroyWindow(m_handle);
}

void CWnd::SetText(const std::wstring& text) {
    if (Text() != text) SetWindowTextW(m_handle, text.c_str());
}

LRESULT CWnd::Default(UINT message, WPARAM wParam, LPARAM lParam) const {
    if (m_original != nullptr) return CallWindowProcW(m_original, m_handle, message, wParam, lParam);
    return DefWindowProcW(m_handle, message, wParam, lParam);
}

LRESULT CALLBACK CWnd::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = ObjectOf(window);
    if (message == WM_NCCREATE) {
        self = static_cast<CWnd*>(reinterpret_cast<const CREATESTRUCTW*>(lParam)->lpCreateParams);
        self->m_handle = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    if (self == nullptr) return DefWindowProcW(window, message, wParam, lParam);
    const LRESULT result = self->OnMessage(message, wParam, lParam);
    if (message == WM_NCDESTROY) self->m_handle = nullptr;
    return result;
}

LRESULT CALLBACK CWnd::SubclassProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    CWnd* const self = ObjectOf(window);
    if (self == nullptr) return DefWindowProcW(window, message, wParam, lParam);
    if (message != WM_NCDESTROY) return self->OnMessage(message, wParam, lParam);
    const WNDPROC original = self->m_original;
    self->Release();
    return CallWindowProcW(original, window, message, wParam, lParam);
}

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

void AllowMessageFromAll(HWND window, UINT message) {
    constexpr DWORD kAllow = 1;  // MSGFLT_ALLOW
    using Function = BOOL(WINAPI*)(HWND, UINT, DWORD, void*);
    const HMODULE library = GetModuleHandleW(L"user32.dll");
    if (library == nullptr) return;
    const auto change =
        reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, "ChangeWindowMessageFilterEx")));
    if (change != nullptr) change(window, message, kAllow, nullptr);
}
