#pragma once
#include <atomic>
#include <string>
#include <string_view>
#include "kit/EngineHost.h"
#include "quorvel/plugin.h"

// The services of the executable that loaded the plug-in. Either may be missing: log lines are then dropped, shares not
// sent.
class CExecutableHost final : public IEngineHost {
  public:
    // logName begins each log line; it outlives the host.
    explicit CExecutableHost(const wchar_t* logName);

    int Send(void* session, std::string_view line) override;
    void Log(std::string_view text) override;
    std::string Narrow(std::wstring_view text) override;
    void HashingThreadStarted() override;
    void CardThreadStarted() override;
    void KeepCodeLoaded() override;

  private:
    const wchar_t* const m_logName;
    const QvSend m_send;
    const QvLog m_log;
    std::atomic<bool> m_saidNoSend{false};
};
