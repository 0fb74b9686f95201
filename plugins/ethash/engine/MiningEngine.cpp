#include "ethash/engine/MiningEngine.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

// A job id as a pool sent it, fit for a log line.
std::string Printable(std::string_view text) {
    constexpr std::size_t kLongest = 40;
    std::string printable(text.substr(0, kLongest));
    std::replace_if(
        printable.begin(), printable.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return printable;
}

}  // namespace

CMiningEngine::CMiningEngine(CCacheStore& store, IEngineHost& host, HashingKind hashing)
    : m_store(store),
      m_host(host),
      m_hashing(std::move(hashing)),
      m_maker(store, host, [this](const auto& cache) { CacheMade(cache); }) {}

CMiningEngine::~CMiningEngine() {
    Stop();
    if (m_hashing.afterStop) m_hashing.afterStop();
}

void CMiningEngine::SetGpus(std::span<QvGpuRecord* const> gpus) {
    m_gpus.clear();
    for (QvGpuRecord* gpu : gpus) {
        // Without a CUDA index no share of it could be told from the miner's own requests.
        if (gpu != nullptr && gpu->cudaId >= 0) m_gpus.push_back(gpu);
    }
}

void CMiningEngine::Start() {
    if (m_stopped || !m_workers.empty()) return;
    {
        const std::lock_guard lock(m_lock);
        m_nonceSettings = CNonceSettings(m_gpus);
    }
    const auto parts = static_cast<std::uint32_t>(m_gpus.size());
    for (std::uint32_t part = 0; part < parts; ++part) {
        m_workers.push_back(m_hashing.makeWorker({*m_gpus[part], part, parts}, m_board, m_host));
    }
}

void CMiningEngine::Activate(const StratumWorkBlock* block) {
    m_block = block;
    m_justActivated = true;
    Follow();
}

void CMiningEngine::Update(std::uint32_t message, const StratumWorkBlock* block) {
    if (block != m_block) return;
    const bool isReplay = std::exchange(m_justActivated, false);
    const bool isNiceHash = block != nullptr && block->protocolMode == static_cast<std::int32_t>(EthashDialect::NiceHash);
    const bool isLogin = message == QV_MSG_LOGGED_IN && !isReplay;
    if (isLogin) {
        const std::lock_guard lock(m_lock);
        ++m_cleanId;
    }
    if (!isNiceHash || message == QV_MSG_NEW_JOB) {
        Follow();
    } else if (isLogin) {
        DropWork();
    }
}

void CMiningEngine::Stop() {
    m_stopped = true;
    m_block = nullptr;
    m_board->Close();
    m_workers.clear();
    m_maker.Cancel();
    m_gpus.clear();
}

void CMiningEngine::Follow() {
    if (m_stopped) return;
    if (m_block == nullptr) {
        DropWork();
        return;
    }
    StratumWorkBlock copy;
    std::memcpy(&copy, m_block, sizeof copy);
    ParsedJob parsed = ParseEthashJob(copy);
    if (parsed.state == JobState::Ready && !KnowSeed(parsed.job.seed)) {
        parsed.state = JobState::Malformed;
        parsed.problem = "the seed belongs to no epoch";
    }
    if (parsed.state != JobState::Ready) {
        DropWork();
        Refuse(parsed);
        return;
    }
    m_lastLine.clear();
    SetWork({.job = std::move(parsed.job),
             .block = m_block,
             .session = copy.session,
             .cache = nullptr,
             .nonceBase = 0,
             .searchId = 0,
             .cleanId = 0});
}

void CMiningEngine::Refuse(const ParsedJob& parsed) {
    if (parsed.state == JobState::NotSpoken) LogOnce("the pool speaks a protocol that this algorithm does not: not hashing");
    if (parsed.state != JobState::Malformed) return;
    LogOnce("job \"" + Printable(parsed.job.jobId) + "\" refused: " + parsed.problem);
}

void CMiningEngine::LogOnce(const std::string& line) {
    if (line == m_lastLine) return;
    m_lastLine = line;
    m_host.Log(line);
}

bool CMiningEngine::KnowSeed(const Hash256& seed) {
    if (!m_epoch || seed != m_seed) {
        m_seed = seed;
        m_epoch = EpochOfSeed(m_store.Variant(), seed);
        if (m_epoch) m_epochSeed = SeedOfIndex(m_epoch->seedIndex);
    }
    return m_epoch.has_value();
}

void CMiningEngine::SetWork(EthashWork work) {
    if (PublishOrWait(std::move(work))) {
        if (m_hashing.preparesNextEpoch) PrepareNextEpoch();
    } else {
        m_maker.Make(*m_epoch, m_epochSeed);
    }
}

// True: published. Takes the lock for itself: the maker, which is asked for a missing cache next, waits for its thread,
// which may be about to take it.
bool CMiningEngine::PublishOrWait(EthashWork work) {
    const std::lock_guard lock(m_lock);
    work.cache = m_store.Find(*m_epoch, m_epochSeed);
    if (work.cache != nullptr) {
        m_waiting.reset();
        PublishLocked(std::move(work));
        return true;
    }
    m_waiting = std::move(work);
    m_waitingEpoch = m_epoch->epoch;
    if (m_current != nullptr) m_board->Publish(nullptr);
    m_current = nullptr;
    return false;
}

void CMiningEngine::PrepareNextEpoch() {
    if (m_preparedAfter == m_epoch->epoch) return;
    m_preparedAfter = m_epoch->epoch;
    const auto [epoch, seed] = NextEpoch(m_store.Variant(), *m_epoch, m_epochSeed);
    m_maker.Make(epoch, seed);
}

void CMiningEngine::DropWork() {
    const std::lock_guard lock(m_lock);
    m_waiting.reset();
    if (m_current != nullptr) m_board->Publish(nullptr);
    m_current = nullptr;
}

void CMiningEngine::CacheMade(const std::shared_ptr<const CEthashCache>& cache) {
    const std::lock_guard lock(m_lock);
    if (!m_waiting || m_waitingEpoch != cache->Epoch().epoch) return;
    EthashWork work = *std::exchange(m_waiting, std::nullopt);
    work.cache = cache;
    PublishLocked(std::move(work));
}

bool CMiningEngine::CleansLocked(const EthashWork& work) const {
    const EthashWork* const current = m_current.get();
    return current == nullptr || work.job.cleans || current->block != work.block || current->session != work.session ||
           current->job.dialect != work.job.dialect || current->job.nonces != work.job.nonces ||
           current->cache->Epoch().epoch != work.cache->Epoch().epoch;
}

void CMiningEngine::PublishLocked(EthashWork work) {
    const EthashWork* const current = m_current.get();
    const bool sameSearch = current != nullptr && current->block == work.block && current->session == work.session &&
                            current->job.IsSameWork(work.job);
    if (sameSearch && current->job.target == work.job.target) return;  // the replay of what is being hashed
    if (!sameSearch && CleansLocked(work)) ++m_cleanId;
    work.cleanId = m_cleanId;
    work.searchId = sameSearch ? current->searchId : ++m_searches;
    work.nonceBase = sameSearch ? current->nonceBase : m_random();
    work.nonceStarts = sameSearch ? current->nonceStarts : m_nonceSettings.Read(m_host);
    m_current = std::make_shared<const EthashWork>(std::move(work));
    m_board->Publish(m_current);
}
