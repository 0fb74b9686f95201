#include "ethash/CpuWorker.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>

#include "ethash/EthashSubmit.h"

namespace {

using SteadyClock = std::chrono::steady_clock;

// The text that a word of the work block points to; the miner may exchange the pointer at any time.
std::wstring_view TextBehind(const wchar_t* const& pointer) {
    constexpr std::size_t kLongest = 512;
    const wchar_t* const text = std::atomic_ref(const_cast<const wchar_t*&>(pointer)).load(std::memory_order_acquire);
    std::size_t length = 0;
    while (text != nullptr && length < kLongest && text[length] != L'\0')
        ++length;
    return {text, length};
}

}  // namespace

CCpuWorker::CCpuWorker(QvGpuRecord& gpu, std::uint32_t part, std::uint32_t parts, const CJobBoard& board, IEngineHost& host)
    : m_cudaId(gpu.cudaId),
      m_part(part),
      m_parts(parts),
      m_board(board),
      m_host(host),
      m_recorder(gpu.statistics),
      m_thread([this] { Run(); }) {}

CCpuWorker::~CCpuWorker() {
    m_thread.join();
}

void CCpuWorker::Run() {
    m_host.HashingThreadStarted();
    while (!m_board.IsClosed()) {
        if (m_board.Generation().load(std::memory_order_acquire) != m_view.generation) TakeWork();
        if (m_view.work != nullptr && !m_exhausted) {
            HashBatch();
        } else {
            m_recorder.Idle(SteadyClock::now());
            m_board.WaitForChange(m_view.generation, m_recorder.NextSecond());
        }
    }
    m_recorder.Idle(SteadyClock::now());
}

void CCpuWorker::TakeWork() {
    const std::shared_ptr<const EthashWork> before = std::move(m_view.work);
    m_view = m_board.Current();
    const EthashWork* const work = m_view.work.get();
    // A new target alone does not begin the search anew.
    if (work == nullptr || (before != nullptr && before->searchId == work->searchId)) return;
    m_nonces = CNonceRange(work->job.nonces, work->nonceBase, m_part, m_parts);
    m_exhausted = false;
}

void CCpuWorker::HashBatch() {
    std::array<std::uint64_t, kBatchNonces> nonces;
    std::array<EthashResult, kBatchNonces> results;
    const std::size_t count = m_nonces.Take(nonces);
    m_exhausted = count < nonces.size();
    const EthashWork& work = *m_view.work;
    const EthashAbort abort{m_board.Generation(), m_view.generation};
    if (!HashimotoBatch(*work.cache, work.job.header, std::span(nonces).first(count), results, &abort)) return;

    const Hash256 target = work.job.target;
    std::uint64_t found = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (results[i].final > target) continue;
        ++found;
        Report(nonces[i], results[i]);
    }
    m_recorder.Hashed(count, found, SteadyClock::now());
}

void CCpuWorker::Report(std::uint64_t nonce, const EthashResult& result) {
    const CJobBoard::View now = m_board.Current();
    if (now.generation != m_view.generation) {
        const bool sameSearch = now.work != nullptr && now.work->searchId == m_view.work->searchId;
        if (!sameSearch) {
            if (!m_board.IsClosed()) m_recorder.CountStale();
            return;
        }
        if (result.final > now.work->job.target) return;
    }
    if (Send(*m_view.work, nonce, result.mix)) m_recorder.ShareSent();
}

bool CCpuWorker::Send(const EthashWork& work, std::uint64_t nonce, const Hash256& mix) {
    const EthashShare share{.id = ShareId(m_cudaId, m_sequence++), .nonce = nonce, .mix = mix};
    const std::string wallet = m_host.Narrow(TextBehind(work.block->walletUser));
    const std::string worker = m_host.Narrow(TextBehind(work.block->workerName));
    return m_host.Send(work.session, SubmitLine(work.job, share, wallet, worker)) == 0;
}
