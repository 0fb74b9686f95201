#pragma once
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>
#include "ethash/hash/EthashDataset.h"
#include "kit/EngineHost.h"

// Datasets in memory for the workers that hash on the CPU.

using SharedCache = std::shared_ptr<const CEthashCache>;

struct DatasetRules {
    // How long work stays with an epoch before its dataset is made. The first time as long as it takes to make one on a
    // small machine, which halves the speed meanwhile: what ends soon is not slowed down. With one at hand longer than any
    // period of the developer's fee.
    std::chrono::milliseconds first = std::chrono::seconds(30);
    std::chrono::milliseconds other = std::chrono::minutes(5);
    std::chrono::milliseconds betweenProgress = std::chrono::seconds(10);
    std::function<PhysicalMemory()> memory = MachineMemory;
    unsigned threads = std::thread::hardware_concurrency();
};

// Which epoch a worker has settled on, by what it hashes. Pure; the epochs are told by their caches.
class CSettledEpoch {
  public:
    using Time = std::chrono::steady_clock::time_point;

    void Hashes(const SharedCache& cache, Time now);
    // True: it has settled on another epoch than before.
    bool Update(const DatasetRules& rules, Time now);
    // When Update may next be true.
    std::optional<Time> Due(const DatasetRules& rules) const;

    const SharedCache& Present() const { return m_present; }
    const SharedCache& Settled() const { return m_settled; }

  private:
    SharedCache m_present;
    SharedCache m_settled;  // null: on none yet
    Time m_since;
};

// Whether a dataset has room: free memory must exceed it by 2 GB, or by a quarter of a smaller machine's memory. The text
// says the numbers when it has none. Pure.
std::optional<std::string> WhyNoRoom(const EthashEpoch& epoch, const PhysicalMemory& memory);

class CDatasetUser;

// The datasets of one loaded library, shared by the workers of all its sessions.
//
// One is made when a worker has settled on its epoch, by a thread per processor, while hashing goes on from the light cache.
// It stays until nobody hashes its epoch, nobody is settled on it and no other is to be made; sooner when the other has no
// room beside it. One that has no room at all is said once and tried again every five minutes. When the last worker leaves,
// making ends within milliseconds and no thread is left behind.
class CDatasetStore {
  public:
    explicit CDatasetStore(DatasetRules rules = {}) : m_rules(std::move(rules)) {}

    // Gives all memory back when there are no workers, which takes the system tenths of a second for each gigabyte: nothing
    // that a stop should wait for.
    void GiveBackUnused();

  private:
    friend class CDatasetUser;
    using Dataset = std::shared_ptr<const CEthashDataset>;
    struct Refusal {
        SharedCache cache;
        CSettledEpoch::Time tryAgain;
    };

    void Enter(CDatasetUser& user);
    void Leave(CDatasetUser& user);
    void Run();
    SharedCache NextToMake(CSettledEpoch::Time now);
    CSettledEpoch::Time NextLook(CSettledEpoch::Time now) const;
    void Make(const SharedCache& cache);
    std::shared_ptr<CEthashDataset> MakeRoom(const SharedCache& cache);
    bool MakeParts(CEthashDataset& dataset, const std::string& name);
    void Refuse(const SharedCache& cache, const std::string& why);
    void DropUnwanted(std::unique_lock<std::mutex>& lock);
    Dataset FindLocked(const SharedCache& cache) const;
    void Log(const std::string& line);
    void MakingThreadStarted();

    const DatasetRules m_rules;
    std::mutex m_door;     // one enters or leaves at a time; taken before m_lock
    std::thread m_thread;  // while there are users
    Dataset m_unfinished;  // of the thread that has ended: its memory is still to be given back

    std::mutex m_lock;  // guards the following
    std::condition_variable m_changed;
    std::vector<CDatasetUser*> m_users;
    std::vector<Dataset> m_complete;
    std::vector<Refusal> m_refused;
    std::atomic<bool> m_stopping{false};
    std::atomic<std::uint64_t> m_generation{1};  // changes with m_complete
};

// A worker's place in the store. One thread, but for its construction and destruction.
class CDatasetUser {
  public:
    // store and host outlive the user.
    CDatasetUser(CDatasetStore& store, IEngineHost& host);
    // Ends the making if nobody else is there.
    ~CDatasetUser();
    CDatasetUser(const CDatasetUser&) = delete;
    CDatasetUser& operator=(const CDatasetUser&) = delete;

    // Tells that the worker hashes this epoch now. Its dataset, valid until the next call, when it is in memory, else null.
    // Cheap while nothing changes.
    const CEthashDataset* Of(const SharedCache& cache);

  private:
    friend class CDatasetStore;

    CDatasetStore& m_store;
    IEngineHost& m_host;
    CSettledEpoch m_epoch;  // guarded by the store's lock, but for Present, which only this thread changes
    std::shared_ptr<const CEthashDataset> m_dataset;
    std::uint64_t m_seen = 0;  // the store's generation
};
