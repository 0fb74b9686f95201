#include "ethash/CacheMaker.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <new>
#include <string>
#include <utility>

namespace {

std::string MegabyteText(std::uint64_t bytes) {
    constexpr std::uint64_t kMegabyte = 1 << 20;
    return std::to_string((bytes + kMegabyte / 2) / kMegabyte) + " MB";
}

}  // namespace

CCacheMaker::CCacheMaker(CCacheStore& store, IEngineHost& host, Done done)
    : m_store(store), m_host(host), m_done(std::move(done)) {}

void CCacheMaker::Make(const EthashEpoch& epoch, const Hash256& seed) {
    if (m_running && m_seed == seed) return;
    Cancel();
    m_seed = seed;
    m_running = true;
    m_thread = std::thread([this, epoch, seed] {
        Run(epoch, seed);
        m_running = false;
    });
}

void CCacheMaker::Cancel() {
    m_cancelled = true;
    if (m_thread.joinable()) m_thread.join();
    m_cancelled = false;
}

void CCacheMaker::Run(const EthashEpoch& epoch, const Hash256& seed) {
    const std::string name = "the light cache of epoch " + std::to_string(epoch.epoch);
    try {
        auto begun = std::chrono::steady_clock::now();
        bool made = false;
        auto cache = m_store.Make(epoch, seed, m_cancelled, [&] {
            m_host.Log("making " + name + " (" + MegabyteText(epoch.cacheBytes) + ")");
            begun = std::chrono::steady_clock::now();
            made = true;
        });
        if (cache == nullptr || m_cancelled) return;
        if (made) {
            const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begun;
            char seconds[32];
            std::snprintf(seconds, sizeof seconds, "%.1f", taken.count());
            m_host.Log(name + " is done in " + seconds + " s");
        }
        m_done(std::move(cache));
    } catch (const std::bad_alloc&) {
        m_host.Log("not enough memory for " + name);
    }
}
