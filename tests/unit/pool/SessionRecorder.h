#pragma once
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>
#include "common/Clock.h"
#include "pool/StratumSession.h"

class CHandClock final : public IClock {
  public:
    ddt_datetime UtcNow() const noexcept override { return now; }
    TimeSpan Monotonic() const noexcept override { return now.ticks; }
    ddt_datetime now{132'000'000'000'000'000};
};

class CQuietHost : public IStratumHost {
  public:
    CMiningStatistics* FindStatistics(std::int32_t) override { return nullptr; }
    void PoolErrorHappened(const PoolError&) override {}
    void RequestStopMining(const std::string&) override {}
    std::wstring DefaultWorkerName() override { return L"rig"; }
};

inline std::string Join(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts)
        text += part;
    return text;
}

PoolEntry MakePool(std::uint32_t id, const wchar_t* server, std::int32_t algorithm = 3);

// The surroundings of a session, which write down what it does:
//     "send <text>", "post <number>", "switch", "log <text>", "drop <text>", "stop-mining", "pool-error <code> <GPU> <text>"
class CSessionRecorder final : public IStratumHost, public IStratumOutput {
  public:
    explicit CSessionRecorder(StratumKind kind = StratumKind::User) : session(kind, *this, *this, clock, this) {}

    using Events = std::vector<std::string>;
    Events Take() { return std::exchange(m_events, {}); }
    // One line as the transport hands it over, in memory of exactly that size. What the session did is forgotten before.
    Events Line(std::string_view line);
    // As one pool, connected and with a login that has been accepted. What the session did is forgotten.
    void LogIn(ProtocolMode mode);
    void UsePools(const std::vector<PoolEntry>& entries);
    void Pass(TimeSpan span) { clock.now.ticks += span; }

    CMiningStatistics* FindStatistics(std::int32_t cudaId) override {
        return gpus.contains(cudaId) ? &gpus[cudaId] : nullptr;
    }
    void PoolErrorHappened(const PoolError& error) override;
    void RequestStopMining(const std::string&) override { m_events.emplace_back("stop-mining"); }
    std::wstring DefaultWorkerName() override { return workerName; }

    std::uint32_t SendText(std::string_view text) override {
        m_events.push_back("send " + std::string(text));
        return sendResult;
    }
    void DropConnection(const std::string& text, std::uint32_t) override { m_events.push_back("drop " + text); }
    void PostWork(unsigned message) override;
    void PostPoolSwitch() override { m_events.emplace_back("switch"); }
    void LogText(const std::string& text) override { m_events.push_back("log " + text); }

    CHandClock clock;
    std::uint32_t sendResult = 0;
    std::wstring workerName = L"rig";
    std::map<std::int32_t, CMiningStatistics> gpus;
    std::vector<PoolPointer> pools;
    CStratumSession session;

  private:
    Events m_events;
};

// Whether every text of the block is terminated and every reference leads where it should.
bool IsSound(const StratumWorkBlock& block);
