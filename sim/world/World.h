#pragma once
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include "config/AlgorithmList.h"
#include "world/Manager.h"
#include "world/Pool.h"

// What a minute of a rig looked like, for the picture.
enum class MinuteState : std::uint8_t { Off, Mining, Developer, Trouble, NoWork };

// A run of one rig's world: the seed decides on its set-up and on all that is random in it, the faults come from outside.
struct RunPlan {
    std::uint64_t seed = 0;
    TimeSpan length = 0;
    std::vector<Fault> faults;
    bool wantsMinutes = false;
    bool tells = false;  // events and changes of the state, on standard output
};
struct RunResult {
    std::optional<CPromises::Failure> failure;
    std::uint64_t steps = 0;
    std::uint64_t shares = 0;
    TimeSpan mined = 0;
    TimeSpan longestWait = 0;
    std::vector<MinuteState> minutes;
};
RunResult RunWorld(const RunPlan& plan);

// One rig, its person, its PC, and what is around it.
class CWorld final : private IStratumHost, private IEventSink {
  public:
    explicit CWorld(const RunPlan& plan);
    ~CWorld() override;
    RunResult Run();

  private:
    void MakeRig();
    std::shared_ptr<PoolEntry> MakePool(int number) const;
    std::vector<PoolPointer> FeePools() const;
    void SetUpFault(const Fault& fault);
    void Begin(const Fault& fault);
    void End(const Fault& fault);
    bool Happen(const Fault& fault);  // what has no duration
    void EditConfiguration(std::uint32_t value);

    // The person, or the controller.
    void StartMining();
    void StopMining();
    void Die();

    void LookAround();
    void CountMinute();
    Situation Look() const;
    bool IsInOrder(const PoolEntry& pool) const;
    bool CanMine() const;
    bool IsKnown() const;
    bool IsMining() const;
    std::int64_t Allowance() const;
    void Tell(const std::string& text) const;

    CMiningStatistics* FindStatistics(std::int32_t cudaId) override;
    void PoolErrorHappened(const PoolError& error) override;
    void RequestStopMining(const std::string& reason) override;
    std::wstring DefaultWorkerName() override { return L"rig"; }
    void Event(EventKind kind, std::wstring_view subject, std::wstring_view text) override;

    const RunPlan& m_plan;
    CKernel m_kernel;
    CRigClock m_clock{m_kernel};
    CConditions m_conditions;
    CPromises m_promises{m_kernel};
    CNetwork m_network;
    CRandom m_random;
    const std::int32_t m_algorithm;
    const CKernel::Owner m_owner;
    std::array<std::unique_ptr<CSimPool>, kPools> m_pools;
    ConnectionWorld m_connections{m_kernel, m_clock, m_network, m_conditions, m_promises};

    // The rig.
    std::array<QvGpuRecord, kMostCards> m_gpus = {};
    ConfigurationEntry m_configuration;
    CTroubleBoard m_troubles;
    CPlugInMessages m_messages;
    std::unique_ptr<CSimManager> m_manager;
    bool m_isWanted = true;     // that it mines
    bool m_hasStopped = false;  // by itself
    std::uint64_t m_shareNumber = 0;
    std::size_t m_logLines = 0;
    std::uint64_t m_starts = 0;
    std::array<bool, kPools> m_minedAt = {};          // since it was started
    std::array<TimeSpan, kFaultKinds> m_lastOf = {};  // when one of the kind lasted last
    std::vector<MinuteState> m_minutes;
    std::string m_toldState;
};
