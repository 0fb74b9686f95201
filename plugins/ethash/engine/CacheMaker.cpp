#include "ethash/engine/CacheMaker.h"

#include <chrono>
#include <new>
#include <string>
#include <utility>

#include "kit/LogText.h"

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
            m_host.Log(name + " is done in " + DecimalText(taken.count()) + " s");
        }
        m_done(std::move(cache));
    } catch (const std::bad_alloc&) {
        m_host.Log("not enough memory for " + name);
    }
}
