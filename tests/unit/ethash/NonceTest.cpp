#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

#include "FakeHost.h"
#include "WorkBlocks.h"
#include "ethash/cpu/CpuWorker.h"
#include "ethash/engine/MiningEngine.h"

namespace {

NonceStart At(std::uint64_t offset) {
    return {true, offset};
}

// A rig's ranges in a space of 8 bits, where every nonce can be counted.
TEST(NonceRange, OfARigBeginWhereTheyShouldNeverOverlapAndCoverTheSpace) {
    constexpr std::uint64_t kByte = std::uint64_t{1} << 56;  // of an offset: one nonce of 256
    const NonceStart loose{};
    const struct {
        const char* what;
        std::vector<NonceStart> starts;
        std::vector<int> first;  // of each GPU, as far as it matters; -1: it gets none
    } rows[] = {{"one", {loose}, {250}},
                {"parts from the base on", {loose, loose}, {250, 122}},
                {"parts of unequal size", std::vector<NonceStart>(7), {250, 30, 66}},
                {"more than there are nonces", std::vector<NonceStart>(257), {250, 251}},
                {"each from its offset on, in any order", {At(200 * kByte), At(0), At(100 * kByte + 7)}, {200, 0, 100}},
                {"beside those without", {loose, At(5 * kByte), loose}, {250, 5, 122}},
                {"an offset on the base", {loose, At(250 * kByte)}, {251, 250}},
                {"one offset for all", {At(9 * kByte), At(10 * kByte), At(9 * kByte), At(9 * kByte)}, {9, 10, 11, 12}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        std::set<std::uint64_t> single, inRuns;
        for (std::size_t gpu = 0; gpu < row.starts.size(); ++gpu) {
            CNonceRange range({0xab00000000000000, 8}, 250, row.starts, gpu), other = range;
            std::uint64_t nonces[5];
            bool isFirst = true;
            while (const std::size_t count = range.Take(nonces)) {
                if (isFirst && gpu < row.first.size()) {
                    EXPECT_EQ(nonces[0], 0xab00000000000000 + static_cast<std::uint64_t>(row.first[gpu])) << gpu;
                }
                isFirst = false;
                for (const std::uint64_t nonce : std::span(nonces).first(count))
                    EXPECT_TRUE(single.insert(nonce).second) << nonce;
            }
            for (NonceRun run = other.TakeRun(40); run.count != 0; run = other.TakeRun(40)) {
                EXPECT_LE(run.count, 40u);
                for (std::uint32_t i = 0; i < run.count; ++i)
                    EXPECT_TRUE(inRuns.insert(run.first + i).second) << run.first + i;
            }
        }
        EXPECT_EQ(single.size(), 256u);
        EXPECT_EQ(inRuns, single);
        EXPECT_EQ(*single.begin() >> 8, 0xab000000000000u);
        EXPECT_EQ(*single.rbegin() >> 8, 0xab000000000000u);
    }
}

TEST(NonceRange, TheWholeSpaceOf64Bits) {
    const std::uint64_t base = 0xfffffffffffffff0;
    std::vector<NonceStart> starts(2);
    std::uint64_t first[3], second[3];
    ASSERT_EQ(CNonceRange({0, 64}, base, starts, 0).Take(first), 3u);
    ASSERT_EQ(CNonceRange({0, 64}, base, starts, 1).Take(second), 3u);
    EXPECT_EQ(first[0], base);
    EXPECT_EQ(second[0] - first[0], 0x8000000000000000u);
    starts = {At(~0ULL)};
    CNonceRange whole({0, 64}, base, starts, 0);
    EXPECT_EQ(whole.TakeRun(10).count, 1u);
    EXPECT_EQ(whole.TakeRun(~0U).count, ~0U);
}

// Two rigs behind one worker get the same jobs with the whole space of nonces.
class Rigs : public testing::Test {
  protected:
    struct Rig {
        explicit Rig(CCacheStore& store) : engine(store, host, {MakeCpuWorker}) {
            QvGpuRecord* const list[] = {&gpus[0], &gpus[1]};
            gpus[1].cudaId = 1;
            engine.SetGpus(list);
        }
        QvGpuRecord gpus[2]{};
        CFakeHost host;
        CMiningEngine engine;
    };

    void NewJob(std::uint8_t number) {
        SetSlot(m_block.jobId, "0x" + HeaderText(number));
        for (Rig& rig : m_rigs)
            rig.engine.Update(QV_MSG_NEW_JOB, &m_block);
    }
    static bool IsOf(const SentShare& share, std::uint8_t job) { return share.Parameter(1) == "0x" + HeaderText(job); }

    // How far from its rig's NGTO each nonce of a job is; every GPU has sent many.
    std::uint64_t FarthestNonce(std::uint8_t job) {
        std::uint64_t farthest = 0;
        for (Rig& rig : m_rigs) {
            for (const std::uint32_t gpu : {1u, 2u}) {
                EXPECT_TRUE(rig.host.collector.WaitForShares(
                    20, [&](const SentShare& share) { return IsOf(share, job) && share.Id() >> 16 == gpu; }));
            }
            for (const SentShare& share : rig.host.collector.Shares()) {
                if (!IsOf(share, job)) continue;
                const std::uint64_t ngto = rig.gpus[(share.Id() >> 16) - 1].NGTO;
                farthest = std::max(farthest, share.Nonce(0) - ngto);
            }
        }
        return farthest;
    }

    CCacheStore m_store{EthashVariant::Ethash};
    StratumWorkBlock m_block = EthProxyBlock(HeaderText(1), std::string(64, '0'), std::string(64, 'f'));
    Rig m_rigs[2] = {Rig(m_store), Rig(m_store)};
};

TEST_F(Rigs, NeverSendOneNonceTwiceOnceEachHasAnOffsetOfItsOwn) {
    for (std::size_t rig = 0; rig < 2; ++rig) {
        for (QvGpuRecord& gpu : m_rigs[rig].gpus) {
            gpu.NGM = 1;
            gpu.NGTO = rig << 62;  // one for both of its GPUs
        }
        m_rigs[rig].engine.Start();
        m_rigs[rig].engine.Activate(&m_block);
    }
    EXPECT_LT(FarthestNonce(1), std::uint64_t{1} << 57);
    // A change while it mines holds from the next job on.
    for (Rig& rig : m_rigs) {
        for (QvGpuRecord& gpu : rig.gpus)
            std::atomic_ref(gpu.NGTO).store(gpu.NGTO + (std::uint64_t{1} << 60) + (&gpu - rig.gpus == 0 ? 0 : 1ULL << 59));
    }
    NewJob(2);
    EXPECT_LT(FarthestNonce(2), std::uint64_t{1} << 30);
    for (Rig& rig : m_rigs) {
        rig.engine.Stop();
        for (const std::string& line : rig.host.collector.Log())
            EXPECT_NE(line.find("light cache"), line.npos) << line;
    }
}

TEST_F(Rigs, SayOnceWhatIsNoUseAndMineAllTheSame) {
    Rig& rig = m_rigs[0];
    rig.gpus[0].NGM = -3;
    rig.gpus[1].NGM = 1;
    rig.engine.Start();
    rig.engine.Activate(&m_block);
    const auto count = [&] { return rig.host.collector.Log().size() - 2; };  // without those of the cache
    ASSERT_TRUE(rig.host.collector.WaitForShares(1, [](const SentShare& share) { return share.Id() >> 16 == 1; }));
    EXPECT_TRUE(rig.host.collector.WaitForLog("GPU 0: NGM -3 is unknown and counts as 0"));
    EXPECT_EQ(count(), 1u);
    std::atomic_ref(rig.gpus[0].NGTO).store(250);
    NewJob(2);
    EXPECT_EQ(count(), 1u);
    std::atomic_ref(rig.gpus[0].NGM).store(1);
    NewJob(3);
    EXPECT_TRUE(rig.host.collector.WaitForLog("GPU 1: NGTO 0 leaves less than a 65536th of the nonces"));
    EXPECT_EQ(count(), 2u);
}

}  // namespace
