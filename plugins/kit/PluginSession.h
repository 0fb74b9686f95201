#pragma once
#include <windows.h>
#include <memory>
#include "kit/PluginEngine.h"

// The message-only window of one mining session and the engine behind it. Everything on the thread that constructed it.
class CPluginSession {
  public:
    // identity and host outlive the session.
    CPluginSession(const PluginIdentity& identity, IEngineHost& host);
    ~CPluginSession();
    CPluginSession(const CPluginSession&) = delete;
    CPluginSession& operator=(const CPluginSession&) = delete;

    // Null when it could not be created.
    HWND CreateMessageWindow();
    // Returns when the window has been destroyed: by the stop message, once every thread of the engine has ended.
    static void RunMessages();

  private:
    static LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    // False: not a message of the miner.
    bool OnMinerMessage(UINT message, WPARAM wParam, LPARAM lParam);
    void Stop();

    IEngineHost& m_host;
    const std::unique_ptr<IPluginEngine> m_engine;
    wchar_t m_className[48] = {};
    HWND m_window = nullptr;
};
