#include "config/PublishedConfiguration.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "Rig.h"

namespace {

MinerConfiguration Configuration(CRig& rig, std::uint32_t id, std::vector<QvGpuRecord*> gpus) {
    CConfigurationBuilder builder = rig.Builder();
    PoolEntry pool;
    pool.ID = id;
    pool.Port = id;
    const PoolPointer added = builder.AddPool(pool);
    builder.AddConfiguration({added, rig.unassignedPool, 0, 0, std::move(gpus)});
    return builder.configuration;
}

TEST(PublishedConfiguration, PointsGpusAtTheirPools) {
    CRig rig;
    const auto pools = [&] { return std::pair(ReadAssignedPool(rig.A()), ReadAssignedPool(rig.B())); };
    const PoolEntry* unassigned = rig.unassignedPool.get();
    EXPECT_EQ(pools(), std::pair(unassigned, unassigned));
    rig.published->Publish(Configuration(rig, 1, {&rig.A()}));
    EXPECT_EQ(pools(), std::pair(rig.published->Current()->pools[0].get(), unassigned));
    rig.published->Publish(Configuration(rig, 2, {&rig.B()}));
    EXPECT_EQ(pools(), std::pair(unassigned, rig.published->Current()->pools[0].get()));

    MinerConfiguration twice = Configuration(rig, 3, {&rig.A(), &rig.B()});
    twice.configurations.push_back({rig.unassignedPool, rig.unassignedPool, 0, 0, {&rig.A()}});
    rig.published->Publish(std::move(twice));
    EXPECT_EQ(pools(), std::pair(rig.published->Current()->pools[0].get(), rig.published->Current()->pools[0].get()));
}

TEST(PublishedConfiguration, SetsNonceSettingsOnceAndOnlyThoseGiven) {
    CRig rig;
    rig.A().NGM = 1;
    rig.A().NGTO = 2;
    MinerConfiguration configuration = Configuration(rig, 1, {&rig.A()});
    configuration.gpuSettings = {{&rig.A(), std::nullopt, 20}, {&rig.B(), 30, std::nullopt}};
    rig.published->Publish(std::move(configuration));
    EXPECT_EQ(ReadNGM(rig.A()), 1);
    EXPECT_EQ(ReadNGTO(rig.A()), 20u);
    EXPECT_EQ(ReadNGM(rig.B()), 30);

    // A controller's later setting outlives a copy of the configuration, as made for another worker name.
    ApplyGpuSetting({&rig.A(), 7, 8});
    rig.published->Publish(*rig.published->Current());
    EXPECT_EQ(ReadNGM(rig.A()), 7);
    EXPECT_EQ(ReadNGTO(rig.A()), 8u);
}

TEST(PublishedConfiguration, ReadersSeeWholeConfigurations) {
    constexpr std::uint32_t kRounds = 500;
    CRig rig;
    rig.published->Publish(Configuration(rig, 1, {&rig.A(), &rig.B()}));
    std::atomic<bool> done = false;
    std::atomic<std::uint32_t> torn = 0, reads = 0;
    const auto read = [&] {
        for (std::uint32_t newest = 0; !done || reads == 0;) {
            const ConfigurationPointer current = rig.published->Current();
            const PoolEntry& pool = *current->configurations.at(0).primaryPool;
            if (current->pools.at(0).get() != &pool || pool.Port != pool.ID || pool.ID < newest) ++torn;
            if (ReadAssignedPool(rig.A()) == nullptr) ++torn;
            newest = pool.ID;
            pool.lastError.Set({static_cast<std::int32_t>(newest), {}, -1, {}});
            ++reads;
            std::this_thread::yield();
        }
    };
    std::thread first(read), second(read);
    for (std::uint32_t id = 2; id <= kRounds; ++id)
        rig.published->Publish(Configuration(rig, id, {&rig.A(), &rig.B()}));
    done = true;
    first.join();
    second.join();
    EXPECT_EQ(torn, 0u);
    EXPECT_EQ(rig.published->Current()->pools[0]->ID, kRounds);
}

}  // namespace
