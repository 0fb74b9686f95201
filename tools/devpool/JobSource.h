#pragma once
#include <atomic>
#include <cstdint>
#include <deque>
#include <random>
#include <string>
#include <string_view>
#include <unordered_set>

#include "ethash/hash/Ethash.h"

struct PoolJob {
    std::string id;  // eight hexadecimal digits
    Hash256 header{};
    std::unordered_set<std::uint64_t> acceptedNonces;
};

// Makes jobs with random headers and remembers the latest ones. One thread.
class CJobSource {
  public:
    // heldJobs: how many replaced jobs are remembered beside the current one.
    CJobSource(const Hash256& seed, std::size_t heldJobs, std::uint64_t randomSeed);

    void Next();
    const PoolJob& Current() const { return m_jobs.front(); }
    bool IsCurrent(const PoolJob& job) const { return &job == &m_jobs.front(); }
    const Hash256& Seed() const { return m_seed; }
    std::uint64_t Made() const { return m_made; }

    // Null when the job is not remembered; valid until Next.
    PoolJob* Find(std::string_view id);
    PoolJob* FindHeader(const Hash256& header);

  private:
    Hash256 m_seed;
    std::size_t m_held;
    std::mt19937_64 m_random;
    std::uint64_t m_made = 0;
    std::deque<PoolJob> m_jobs;  // newest first, never empty
};
