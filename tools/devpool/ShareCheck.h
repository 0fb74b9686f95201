#pragma once
#include <array>
#include <atomic>
#include <functional>
#include <utility>

#include "JobSource.h"
#include "Reply.h"
#include "ShareFields.h"
#include "ethash/hash/Ethash.h"

enum class ShareVerdict { Accepted, Malformed, Unauthorized, UnknownJob, Stale, Duplicate, BadMix, LowDifficulty };
inline constexpr std::size_t kShareVerdicts = 8;

// The word for a verdict in event lines and in the JSON summary.
std::string_view VerdictName(ShareVerdict verdict);
// What the client is told; not for Accepted.
ReplyError VerdictError(ShareVerdict verdict);

struct ShareResult {
    ShareVerdict verdict = ShareVerdict::Malformed;
    double difficulty = 0;  // of the hash that was found; 0 when the share was not hashed
};

// Gives hash and mix of a nonce.
using ShareHash = std::function<EthashResult(const Hash256& header, std::uint64_t nonce)>;

// Verifies shares by hashing them, from a light cache a millisecond or more each. One thread.
class CShareCheck {
  public:
    explicit CShareCheck(ShareHash hash) : m_hash(std::move(hash)) {}
    // An accepted share is remembered in its job, so that the same nonce is a duplicate from then on.
    ShareResult Check(CJobSource& jobs, const ShareFields& share, const Hash256& boundary) const;

  private:
    ShareHash m_hash;
};
