#include "kit/PluginSession.h"

#include <cstddef>
#include <cwchar>
#include <exception>
#include <span>

#include "kit/ThisLibrary.h"
#include "quorvel/plugin.h"

CPluginSession::CPluginSession(const PluginIdentity& identity, IEngineHost& host)
    : m_host(host), m_engine(identity.makeEngine(host)) {
    // A class per session: it has to be gone before the library is, whatever other sessions do at the time.
    _snwprintf(m_className, std::size(m_className) - 1, L"QuorvelPlugin-%p-%lu", static_cast<void*>(ThisLibrary()),
               GetCurrentThreadId());
}

CPluginSession::~CPluginSession() {
    Stop();
    UnregisterClassW(m_className, ThisLibrary());
}

HWND CPluginSession::CreateMessageWindow() {
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = WindowProcedure;
    windowClass.hInstance = ThisLibrary();
    windowClass.lpszClassName = m_className;
    if (RegisterClassExW(&windowClass) == 0) return nullptr;
    m_window = CreateWindowExW(0, m_className, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, ThisLibrary(), this);
    return m_window;
}

void CPluginSession::RunMessages() {
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
        DispatchMessageW(&message);
}

LRESULT CALLBACK CPluginSession::WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message == WM_NCCREATE) {
        const auto* const create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    }
    auto* const self = reinterpret_cast<CPluginSession*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self == nullptr) return DefWindowProcW(window, message, wParam, lParam);
    if (message == WM_DESTROY) {
        self->m_window = nullptr;
        PostQuitMessage(0);
        return 0;
    }
    // Nothing may be thrown through the system's frames.
    try {
        if (self->OnMinerMessage(message, wParam, lParam)) return 0;
    } catch (const std::exception& error) {
        self->m_host.Log(error.what());
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

bool CPluginSession::OnMinerMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case QV_MSG_SET_OWNER:
            return true;  // nothing is asked of the owner
        case QV_MSG_SET_GPUS:
            m_engine->SetGpus({reinterpret_cast<QvGpuRecord* const*>(wParam), static_cast<std::size_t>(lParam)});
            return true;
        case QV_MSG_START:
            m_engine->Start();
            return true;
        case QV_MSG_STOP:
            Stop();
            return true;
        case QV_MSG_ACTIVATE:
            m_engine->Activate(reinterpret_cast<const StratumWorkBlock*>(wParam));
            return true;
        case QV_MSG_LOGGED_IN:
        case QV_MSG_NEW_JOB:
        case QV_MSG_NEW_TARGET:
        case QV_MSG_NEW_EXTRANONCE:
            m_engine->Update(message, reinterpret_cast<const StratumWorkBlock*>(wParam));
            return true;
        default:
            return false;
    }
}

void CPluginSession::Stop() {
    m_engine->Stop();
    if (m_window != nullptr) DestroyWindow(m_window);
}
