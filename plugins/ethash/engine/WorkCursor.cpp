#include "ethash/engine/WorkCursor.h"

#include <memory>
#include <utility>
#include <vector>

void CWorkCursor::Update() {
    if (IsCurrent()) return;
    const std::shared_ptr<const EthashWork> before = std::move(m_view.work);
    m_view = m_board.Current();
    const EthashWork* const work = m_view.work.get();
    // A new target alone does not begin the search anew.
    if (work == nullptr || (before != nullptr && before->searchId == work->searchId)) return;
    std::vector<NonceStart> starts = work->nonceStarts;
    starts.resize(m_parts);
    m_nonces = CNonceRange(work->job.nonces, work->nonceBase, starts, m_part);
    m_exhausted = false;
}

std::size_t CWorkCursor::Take(std::span<std::uint64_t> nonces) {
    const std::size_t count = m_nonces.Take(nonces);
    m_exhausted = count < nonces.size();
    return count;
}

NonceRun CWorkCursor::TakeRun(std::uint32_t count) {
    const NonceRun run = m_nonces.TakeRun(count);
    m_exhausted = run.count == 0;
    return run;
}
