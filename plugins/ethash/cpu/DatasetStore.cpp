#include "ethash/cpu/DatasetStore.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <system_error>
#include <utility>

#include "kit/LogText.h"

namespace {

using SteadyClock = std::chrono::steady_clock;

bool SameEpoch(const SharedCache& a, const SharedCache& b) {
    return a == b || (a != nullptr && b != nullptr && a->Seed() == b->Seed() && a->Epoch().epoch == b->Epoch().epoch);
}

std::string NameOf(const EthashEpoch& epoch) {
    return "the dataset of epoch " + std::to_string(epoch.epoch);
}

}  // namespace

void CSettledEpoch::Hashes(const SharedCache& cache, Time now) {
    if (!SameEpoch(cache, m_present)) m_since = now;
    m_present = cache;
}

bool CSettledEpoch::Update(const DatasetRules& rules, Time now) {
    const auto due = Due(rules);
    if (!due || now < *due) return false;
    m_settled = m_present;
    return true;
}

std::optional<CSettledEpoch::Time> CSettledEpoch::Due(const DatasetRules& rules) const {
    if (m_present == nullptr || SameEpoch(m_present, m_settled)) return std::nullopt;
    return m_since + (m_settled == nullptr ? rules.first : rules.other);
}

std::optional<std::string> WhyNoRoom(const EthashEpoch& epoch, const PhysicalMemory& memory) {
    constexpr std::uint64_t kLeftToOthers = std::uint64_t{2} << 30;
    const std::uint64_t margin = std::min(kLeftToOthers, memory.total / 4);
    if (memory.free > epoch.datasetBytes + margin) return std::nullopt;
    return NameOf(epoch) + " has no room in memory: it takes " + MegabyteText(epoch.datasetBytes) + ", " +
           MegabyteText(memory.free) + " of " + MegabyteText(memory.total) + " are free and " + MegabyteText(margin) +
           " are left to others";
}

void CDatasetStore::Enter(CDatasetUser& user) {
    const std::lock_guard door(m_door);
    {
        const std::lock_guard lock(m_lock);
        m_users.push_back(&user);
    }
    if (m_thread.joinable()) return;
    m_stopping = false;
    try {
        m_thread = std::thread([this] { Run(); });
    } catch (const std::system_error& error) {
        Log(std::string("no thread to make datasets, hashing from the light cache: ") + error.what());
    }
}

void CDatasetStore::Leave(CDatasetUser& user) {
    const std::lock_guard door(m_door);
    {
        const std::lock_guard lock(m_lock);
        std::erase(m_users, &user);
        if (!m_users.empty()) return;
        m_stopping = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) m_thread.join();
    m_refused.clear();
}

void CDatasetStore::GiveBackUnused() {
    const std::lock_guard door(m_door);
    if (m_thread.joinable()) return;
    m_complete.clear();
    m_unfinished.reset();
}

void CDatasetStore::Run() {
    MakingThreadStarted();
    m_unfinished.reset();
    std::unique_lock lock(m_lock);
    while (!m_stopping) {
        const auto now = SteadyClock::now();
        if (const SharedCache cache = NextToMake(now); cache != nullptr) {
            lock.unlock();
            Make(cache);
            lock.lock();
        } else {
            DropUnwanted(lock);
            if (!m_stopping) m_changed.wait_until(lock, NextLook(now));
        }
    }
}

SharedCache CDatasetStore::NextToMake(CSettledEpoch::Time now) {
    for (CDatasetUser* const user : m_users) {
        user->m_epoch.Update(m_rules, now);
        const SharedCache& cache = user->m_epoch.Settled();
        if (cache == nullptr || FindLocked(cache) != nullptr) continue;
        const bool refused = std::any_of(m_refused.begin(), m_refused.end(), [&](const Refusal& refusal) {
            return SameEpoch(refusal.cache, cache) && now < refusal.tryAgain;
        });
        if (!refused) return cache;
    }
    return nullptr;
}

CSettledEpoch::Time CDatasetStore::NextLook(CSettledEpoch::Time now) const {
    auto next = now + std::chrono::hours(1);
    for (const CDatasetUser* const user : m_users)
        next = std::min(next, user->m_epoch.Due(m_rules).value_or(next));
    for (const Refusal& refusal : m_refused) {
        if (refusal.tryAgain > now) next = std::min(next, refusal.tryAgain);
    }
    return next;
}

void CDatasetStore::Make(const SharedCache& cache) {
    const std::string name = NameOf(cache->Epoch());
    try {
        const std::shared_ptr<CEthashDataset> dataset = MakeRoom(cache);
        if (dataset == nullptr) return;
        Log("making " + name + " in memory (" + MegabyteText(cache->Epoch().datasetBytes) +
            "), hashing from the light cache meanwhile");
        const auto begun = SteadyClock::now();
        if (!MakeParts(*dataset, name)) {
            m_unfinished = dataset;
            return;
        }
        {
            const std::lock_guard lock(m_lock);
            m_complete.push_back(dataset);
            std::erase_if(m_refused, [&](const Refusal& refusal) { return SameEpoch(refusal.cache, cache); });
            ++m_generation;
        }
        const std::chrono::duration<double> taken = SteadyClock::now() - begun;
        Log(name + " is done in " + DecimalText(taken.count()) + " s");
    } catch (const std::bad_alloc&) {
        Refuse(cache, "the system gives no memory for " + name);
    }
}

// Null: there is none, or making has ended.
std::shared_ptr<CEthashDataset> CDatasetStore::MakeRoom(const SharedCache& cache) {
    auto why = WhyNoRoom(cache->Epoch(), m_rules.memory());
    if (why) {
        std::unique_lock lock(m_lock);
        DropUnwanted(lock);
        lock.unlock();
        why = WhyNoRoom(cache->Epoch(), m_rules.memory());
    }
    if (!why) return CEthashDataset::Allocate(cache, m_stopping);
    Refuse(cache, *why);
    return nullptr;
}

// False: making has ended before.
bool CDatasetStore::MakeParts(CEthashDataset& dataset, const std::string& name) {
    std::vector<std::jthread> helpers;
    try {
        for (unsigned i = 1; i < m_rules.threads; ++i) {
            helpers.emplace_back([&] {
                MakingThreadStarted();
                while (!m_stopping && dataset.MakePart()) {
                }
            });
        }
    } catch (const std::system_error&) {
        // With fewer threads it takes longer.
    }
    auto told = SteadyClock::now();
    while (!m_stopping && dataset.MakePart()) {
        const auto now = SteadyClock::now();
        if (now - told < m_rules.betweenProgress) continue;
        told = now;
        const std::uint64_t percent = 100 * dataset.BytesBegun() / dataset.Cache()->Epoch().datasetBytes;
        Log(name + ": " + std::to_string(percent) + " %");
    }
    helpers.clear();
    return !m_stopping;
}

void CDatasetStore::Refuse(const SharedCache& cache, const std::string& why) {
    {
        const std::lock_guard lock(m_lock);
        const auto tryAgain = SteadyClock::now() + m_rules.other;
        const auto before = std::find_if(m_refused.begin(), m_refused.end(),
                                         [&](const Refusal& refusal) { return SameEpoch(refusal.cache, cache); });
        if (before != m_refused.end()) {
            before->tryAgain = tryAgain;
            return;
        }
        m_refused.push_back({cache, tryAgain});
    }
    Log(why + "; hashing from the light cache, which is slow, and trying again every " + SecondsText(m_rules.other));
}

// Gives the lock away for the time that the memory is given back.
void CDatasetStore::DropUnwanted(std::unique_lock<std::mutex>& lock) {
    const auto unwanted = [this](const SharedCache& cache) {
        return std::none_of(m_users.begin(), m_users.end(), [&](const CDatasetUser* user) {
            return SameEpoch(user->m_epoch.Present(), cache) || SameEpoch(user->m_epoch.Settled(), cache);
        });
    };
    std::erase_if(m_refused, [&](const Refusal& refusal) { return unwanted(refusal.cache); });
    const auto first = std::partition(m_complete.begin(), m_complete.end(),
                                      [&](const Dataset& dataset) { return !unwanted(dataset->Cache()); });
    if (first == m_complete.end()) return;
    std::vector<Dataset> dropped(std::make_move_iterator(first), std::make_move_iterator(m_complete.end()));
    m_complete.erase(first, m_complete.end());
    ++m_generation;
    lock.unlock();
    dropped.clear();
    lock.lock();
}

CDatasetStore::Dataset CDatasetStore::FindLocked(const SharedCache& cache) const {
    const auto found = std::find_if(m_complete.begin(), m_complete.end(),
                                    [&](const Dataset& dataset) { return SameEpoch(dataset->Cache(), cache); });
    return found == m_complete.end() ? nullptr : *found;
}

// In the name of a session that is there: the one that began may have gone.
void CDatasetStore::Log(const std::string& line) {
    const std::lock_guard lock(m_lock);
    if (!m_users.empty()) m_users.front()->m_host.Log(line);
}

void CDatasetStore::MakingThreadStarted() {
    const std::lock_guard lock(m_lock);
    if (!m_users.empty()) m_users.front()->m_host.HashingThreadStarted();
}

CDatasetUser::CDatasetUser(CDatasetStore& store, IEngineHost& host) : m_store(store), m_host(host) {
    m_store.Enter(*this);
}

CDatasetUser::~CDatasetUser() {
    m_store.Leave(*this);
}

const CEthashDataset* CDatasetUser::Of(const SharedCache& cache) {
    if (cache == m_epoch.Present() && m_seen == m_store.m_generation.load(std::memory_order_acquire)) return m_dataset.get();
    const auto before = std::move(m_dataset);  // may be the last that keeps it: given back without the lock
    {
        const std::lock_guard lock(m_store.m_lock);
        m_epoch.Hashes(cache, SteadyClock::now());
        m_seen = m_store.m_generation;
        m_dataset = m_store.FindLocked(cache);
    }
    m_store.m_changed.notify_all();
    return m_dataset.get();
}
