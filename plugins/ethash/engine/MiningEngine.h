#pragma once
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>
#include "ethash/engine/CacheMaker.h"
#include "ethash/engine/CacheStore.h"
#include "ethash/engine/HashWorker.h"
#include "ethash/engine/JobBoard.h"
#include "kit/NonceSettings.h"
#include "kit/PluginEngine.h"

// One mining session of the family, as IPluginEngine describes it: follows the work block it is told to, has the light cache
// made and keeps the workers in work. Nothing but Stop waits for hashing or for a cache.
class CMiningEngine final : public IPluginEngine {
  public:
    // store and host outlive the engine.
    CMiningEngine(CCacheStore& store, IEngineHost& host, HashingKind hashing);
    ~CMiningEngine() override;

    void SetGpus(std::span<QvGpuRecord* const> gpus) override;
    // One worker per GPU.
    void Start() override;

    void Activate(const StratumWorkBlock* block) override;
    // In the NiceHash dialect target and extranonce hold from the next job on, so their messages change nothing by
    // themselves, and a login ends the work: the job that is still in the block is one of the connection before.
    //
    // Of the jobs before, what runs is finished and sent as long as none of the following comes: a job whose clean flag is
    // set (in EthProxy, which has none, any), another block, session, dialect, epoch or room for nonces, a login, no work.
    void Update(std::uint32_t message, const StratumWorkBlock* block) override;

    void Stop() override;

  private:
    void Follow();
    void Refuse(const ParsedJob& parsed);
    void LogOnce(const std::string& line);
    bool KnowSeed(const Hash256& seed);
    void PrepareNextEpoch();
    void SetWork(EthashWork work);
    bool PublishOrWait(EthashWork work);
    void DropWork();
    void CacheMade(const std::shared_ptr<const CEthashCache>& cache);
    bool CleansLocked(const EthashWork& work) const;
    void PublishLocked(EthashWork work);

    CCacheStore& m_store;
    IEngineHost& m_host;
    std::vector<QvGpuRecord*> m_gpus;
    const StratumWorkBlock* m_block = nullptr;
    bool m_justActivated = false;  // a login that is announced right after belongs to the replay
    bool m_stopped = false;
    std::string m_lastLine;  // the latest refusal: not repeated at each message of one job
    Hash256 m_seed{};        // the latest seed seen, as received, and its epoch when it has one
    std::optional<EthashEpoch> m_epoch;
    Hash256 m_epochSeed{};                         // that this epoch's cache is made from
    std::optional<std::uint32_t> m_preparedAfter;  // the epoch whose successor's cache was asked for last

    std::mutex m_lock;                            // guards the following: the cache maker's thread publishes, too
    std::optional<EthashWork> m_waiting;          // for its cache
    std::uint32_t m_waitingEpoch = 0;             // of that cache
    std::shared_ptr<const EthashWork> m_current;  // on the board
    std::uint64_t m_searches = 0;
    std::uint64_t m_cleanId = 0;
    CNonceSettings m_nonceSettings;  // of the GPUs that the workers were made for
    std::mt19937_64 m_random{std::random_device{}()};

    const HashingKind m_hashing;
    const std::shared_ptr<CJobBoard> m_board = std::make_shared<CJobBoard>();
    std::vector<std::unique_ptr<IHashWorker>> m_workers;
    CCacheMaker m_maker;
};
