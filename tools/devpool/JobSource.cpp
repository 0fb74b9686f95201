#include "JobSource.h"

#include <algorithm>
#include <array>

#include "common/Hex.h"

CJobSource::CJobSource(const Hash256& seed, std::size_t heldJobs, std::uint64_t randomSeed)
    : m_seed(seed), m_held(heldJobs), m_random(randomSeed) {
    Next();
}

void CJobSource::Next() {
    PoolJob job;
    ++m_made;
    std::array<std::uint8_t, 4> number{};
    for (std::size_t i = 0; i < number.size(); ++i)
        number[number.size() - 1 - i] = static_cast<std::uint8_t>(m_made >> (8 * i));
    job.id = HexText(number);
    for (std::uint8_t& byte : job.header)
        byte = static_cast<std::uint8_t>(m_random() >> 56);
    m_jobs.push_front(std::move(job));
    if (m_jobs.size() > m_held + 1) m_jobs.pop_back();
}

PoolJob* CJobSource::Find(std::string_view id) {
    const auto found = std::find_if(m_jobs.begin(), m_jobs.end(), [&](const PoolJob& job) { return job.id == id; });
    return found == m_jobs.end() ? nullptr : &*found;
}

PoolJob* CJobSource::FindHeader(const Hash256& header) {
    const auto found = std::find_if(m_jobs.begin(), m_jobs.end(), [&](const PoolJob& job) { return job.header == header; });
    return found == m_jobs.end() ? nullptr : &*found;
}
