#include "ethash/engine/ShareSender.h"

#include <atomic>
#include <string>
#include <string_view>

#include "ethash/job/EthashSubmit.h"

namespace {

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

void CShareSender::Found(const CJobBoard::View& seen, std::uint64_t nonce, const EthashResult& result) {
    const CJobBoard::View now = m_board.Current();
    if (now.generation != seen.generation) {
        if (now.work == nullptr || now.work->cleanId != seen.work->cleanId) {
            if (!m_board.IsClosed()) m_recorder.CountStale();
            return;
        }
        const bool sameSearch = now.work->searchId == seen.work->searchId;
        if (sameSearch && result.final > now.work->job.target) return;
    }
    if (Send(*seen.work, nonce, result.mix)) m_recorder.ShareSent();
}

bool CShareSender::Send(const EthashWork& work, std::uint64_t nonce, const Hash256& mix) {
    const EthashShare share{.id = ShareId(m_cudaId, m_sequence++), .nonce = nonce, .mix = mix};
    const std::string wallet = m_host.Narrow(TextBehind(work.block->walletUser));
    const std::string worker = m_host.Narrow(TextBehind(work.block->workerName));
    return m_host.Send(work.session, SubmitLine(work.job, share, wallet, worker)) == 0;
}
