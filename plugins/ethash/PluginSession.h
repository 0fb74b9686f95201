#pragma once
#include <windows.h>
#include "ethash/CacheStore.h"
#include "ethash/EngineHost.h"
#include "ethash/MiningEngine.h"

// The message-only window of one mining session and the engine behind it. Everything on the thread that constructed it.
class CPluginSession {
  public:
    // store and host outlive the session.
    CPluginSession(CCacheStore& store, IEngineHost& host, const HashingKind& hashing);
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
    CMiningEngine m_engine;
    wchar_t m_className[48] = {};
    HWND m_window = nullptr;
};
