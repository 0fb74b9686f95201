#pragma once
#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "ShareCheck.h"

struct HashRateReport {
    unsigned client = 0;
    double reported = 0;  // hashes per second, as the client says
    double derived = 0;   // hashes per second, from the client's accepted shares
    std::uint64_t shares = 0;
    double seconds = 0;  // since the client's first job
};

// What all clients did. One thread.
class CStatistics {
  public:
    void CountClient() { ++m_clients; }
    void CountShare(int gpu, ShareVerdict verdict);
    void AddReport(const HashRateReport& report);

    std::uint64_t Accepted() const { return Count(ShareVerdict::Accepted); }
    std::uint64_t Rejected() const;
    std::uint64_t Count(ShareVerdict verdict) const { return m_counts[static_cast<std::size_t>(verdict)]; }

    // "accepted 3 rejected 1".
    std::string Totals() const;
    std::string Summary(double seconds) const;
    // jobs: how many were made; seconds: how long the pool ran.
    std::string Json(std::uint64_t jobs, double seconds, double difficulty) const;

  private:
    struct Gpu {
        std::uint64_t accepted = 0;
        std::uint64_t rejected = 0;
    };
    std::uint64_t m_clients = 0;
    std::array<std::uint64_t, kShareVerdicts> m_counts{};
    std::map<int, Gpu> m_gpus;              // -1: shares whose id names no GPU
    std::vector<HashRateReport> m_reports;  // the first thousand
};
