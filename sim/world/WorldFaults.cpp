// What each fault does to the world.
#include "common/CodePage.h"
#include "world/World.h"

void CWorld::SetUpFault(const Fault& fault) {
    m_kernel.At(fault.at, m_owner, [this, &fault] { Begin(fault); });
}

void CWorld::Begin(const Fault& fault) {
    m_promises.Changed();
    Tell(FaultLine(fault));
    m_lastOf[static_cast<std::size_t>(fault.kind)] = m_kernel.Now();
    if (Happen(fault)) return;
    m_conditions.Begin(fault.kind, fault.target);
    if (fault.kind == FaultKind::Outage) m_network.Kill(-1);
    if (fault.kind == FaultKind::Maintenance) m_pools[static_cast<std::size_t>(fault.target)]->CloseAll();
    if (m_manager) m_manager->PlugIn().CardsChanged();
    m_kernel.After(fault.lasts, m_owner, [this, &fault] { End(fault); });
}

void CWorld::End(const Fault& fault) {
    m_promises.Changed();
    Tell("over: " + std::string(TraitsOf(fault.kind).name));
    m_lastOf[static_cast<std::size_t>(fault.kind)] = m_kernel.Now();
    m_conditions.End(fault.kind, fault.target);
    if (m_manager) m_manager->PlugIn().CardsChanged();
}

bool CWorld::Happen(const Fault& fault) {
    CSimPool& pool = *m_pools[static_cast<std::size_t>(fault.target)];
    // Mining goes on after the fault's time, if it was to go on before.
    const auto later = [&](auto what) { m_kernel.After(fault.lasts, m_owner, what); };
    switch (fault.kind) {
        case FaultKind::HalfOpen:
            m_network.Kill(fault.target);
            return true;
        case FaultKind::Reset:
            m_network.Reset(fault.target, fault.value % 2);
            return true;
        case FaultKind::Flood:
            pool.Flood();
            return true;
        case FaultKind::Difficulty:
            pool.ChangeDifficulty(fault.value);
            return true;
        case FaultKind::Extranonce:
            pool.ChangeExtranonce(fault.value);
            return true;
        case FaultKind::ModeChange:
            pool.ChangeMode(fault.value);
            return true;
        case FaultKind::InvalidUser:
            pool.ForgetUserOnce();
            pool.CloseAll();
            return true;
        case FaultKind::StopStart:
        case FaultKind::Close:
            StopMining();
            later([this] { StartMining(); });
            return true;
        case FaultKind::Edit:
            StopMining();
            EditConfiguration(fault.value);
            later([this] { StartMining(); });
            return true;
        case FaultKind::Sleep:
            // The monotonic clock stands still meanwhile: to the program it is a moment.
            m_clock.MoveUtc(static_cast<TimeSpan>(fault.value % 36'000 + 60) * kTicksPerSecond);
            if (fault.value % 3 == 0) {
                m_network.Reset(-1, 1);
            } else {
                m_network.Kill(-1);
            }
            return true;
        case FaultKind::SetClock:
            m_clock.MoveUtc((static_cast<TimeSpan>(fault.value % 172'800) - 86'400) * kTicksPerSecond);
            return true;
        case FaultKind::PowerCut:
        case FaultKind::Kill:
            Die();
            later([this] { StartMining(); });
            return true;
        default:
            return false;
    }
}

void CWorld::EditConfiguration(std::uint32_t value) {
    // The two change places, or the backup goes or comes.
    ConfigurationEntry& entry = m_configuration;
    const bool hasBackup = !entry.secondaryPool->IsUnassigned();
    if (value % 3 == 0 && hasBackup) {
        std::swap(entry.primaryPool, entry.secondaryPool);
    } else {
        const int other = entry.primaryPool->ID == 0 ? 1 : 0;
        auto backup = hasBackup ? std::make_shared<PoolEntry>() : MakePool(other);
        backup->Algo = entry.primaryPool->Algo;
        entry.secondaryPool = std::move(backup);
    }
    for (QvGpuRecord* gpu : entry.gpus)
        gpu->assignedPool = entry.primaryPool.get();
}
