#pragma once
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include "mining/ManagerCore.h"
#include "world/Connection.h"
#include "world/PlugIn.h"

// What a manager needs of the rig that it runs on.
struct ManagerRig {
    IStratumHost& host;
    IEventSink& events;
    CTroubleBoard& troubles;
    CPlugInMessages& messages;
    std::vector<PoolPointer> feePools;
    std::uint64_t seed = 0;
    std::uint64_t& shareNumber;
    std::size_t& logLines;
};

// The real core of a mining session, with timers and messages of the kernel in the place of its window's.
class CSimManager final : private IManagerShell, private IConnectionWindows {
  public:
    CSimManager(const ConnectionWorld& world, const ManagerRig& rig, const ConfigurationEntry& configuration);
    // Nothing is called any more, and nothing was said: the process has died. Stop comes before it otherwise.
    ~CSimManager() override;
    void Start();
    void Stop();

    const CManagerCore& Core() const { return m_core; }
    const CSimConnection& User() const { return m_user; }
    CSimPlugIn& PlugIn() { return *m_plugIn; }

  private:
    // An event of the window: a moment later, or when it has done what keeps it busy.
    template <typename Action>
    void InWindow(TimeSpan after, Action action) {
        if (m_world.conditions.Is(FaultKind::BusyWindow)) after += m_random.Between(0, 5 * kTicksPerSecond);
        m_world.kernel.After(after, m_owner, std::move(action));
    }
    void WatchTimer();
    void AccountingTimer();
    void SubmitTimer();

    void LogLine(const std::wstring&) override { ++m_rig.logLines; }
    void LogMain(const std::wstring&) override {}
    void PostPoolSwitch(IPoolConnection& connection) override;
    std::unique_ptr<IPoolConnection> MakeProbe(const PoolPointer& pool) override;
    void OrderFeePools(const std::vector<PoolPointer>& pools) override;
    std::optional<std::vector<PoolPointer>> TakeFeePoolOrder() override { return std::exchange(m_order, std::nullopt); }

    void PostToPlugIn(unsigned message, CSimConnection& source) override;
    void PostSwitch(CSimConnection& connection) override { PostPoolSwitch(connection); }
    void ConnectionLog(const std::string&) override { ++m_rig.logLines; }

    const ConnectionWorld m_world;
    const ManagerRig m_rig;
    CRandom m_random;
    const CKernel::Owner m_owner;
    bool m_hasStopped = false;
    bool m_hasAskedOrder = false;
    std::optional<std::vector<PoolPointer>> m_order;
    CSimConnection m_user;
    CSimConnection m_fee;
    CManagerCore m_core;
    std::unique_ptr<CSimPlugIn> m_plugIn;
};
