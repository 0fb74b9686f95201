#include "ShareCheck.h"

#include "Target.h"

namespace {

struct VerdictRow {
    std::string_view name;
    ReplyError error;
};

constexpr std::array<VerdictRow, kShareVerdicts> kVerdicts = {{
    {"accepted", {0, ""}},
    {"malformed", {20, "Malformed share"}},
    {"unauthorized", {24, "Unauthorized worker"}},
    {"unknown-job", {21, "Job not found"}},
    {"stale", {21, "Job not found (stale)"}},
    {"duplicate", {22, "Duplicate share"}},
    {"bad-mix", {25, "Invalid mix"}},
    {"low-difficulty", {23, "Low difficulty share"}},
}};

const VerdictRow& RowOf(ShareVerdict verdict) {
    return kVerdicts[static_cast<std::size_t>(verdict)];
}

}  // namespace

std::string_view VerdictName(ShareVerdict verdict) {
    return RowOf(verdict).name;
}
ReplyError VerdictError(ShareVerdict verdict) {
    return RowOf(verdict).error;
}

ShareResult CShareCheck::Check(CJobSource& jobs, const ShareFields& share, const Hash256& boundary) const {
    PoolJob* const job = share.jobId ? jobs.Find(*share.jobId) : share.header ? jobs.FindHeader(*share.header) : nullptr;
    if (!job) return {ShareVerdict::UnknownJob};
    if (share.header && *share.header != job->header) return {ShareVerdict::Malformed};
    if (!jobs.IsCurrent(*job)) return {ShareVerdict::Stale};
    if (job->acceptedNonces.contains(share.nonce)) return {ShareVerdict::Duplicate};
    const EthashResult result = m_hash(job->header, share.nonce);
    const double difficulty = ExpectedHashes(result.final);
    if (share.mix && *share.mix != result.mix) return {ShareVerdict::BadMix, difficulty};
    if (result.final > boundary) return {ShareVerdict::LowDifficulty, difficulty};
    job->acceptedNonces.insert(share.nonce);
    return {ShareVerdict::Accepted, difficulty};
}
