#pragma once
#include <atomic>
#include <functional>
#include <string>
#include "Shares.h"
#include "fixtures/Eventually.h"
#include "kit/EngineHost.h"

// The program around an engine, collecting what it is told.
class CFakeHost final : public IEngineHost {
  public:
    int Send(void* session, std::string_view line) override {
        if (onSend) onSend();
        if (sendResult == 0) collector.AddShare(session, line);
        return sendResult;
    }
    void Log(std::string_view text) override { collector.AddLog(std::string(text)); }
    std::string Narrow(std::wstring_view text) override {
        std::string narrow;
        for (const wchar_t character : text)
            narrow += static_cast<char>(character);
        return narrow;
    }
    void HashingThreadStarted() override {}
    void CardThreadStarted() override { ++cardThreads; }
    void KeepCodeLoaded() override { ++keptLoaded; }

    CCollector collector;
    std::function<void()> onSend;
    std::atomic<int> sendResult{0};
    std::atomic<int> keptLoaded{0};
    std::atomic<int> cardThreads{0};
};

template <class Word>
Word Read(Word& word) {
    return std::atomic_ref(word).load();
}
