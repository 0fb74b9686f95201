#include <map>

#include "SmallEpoch.h"

namespace {

std::uint32_t Mixed(std::uint32_t a, std::uint32_t b) {
    return a * 0x01000193 ^ b;
}

// The chains of one group of lanes by their definition: its lanes' sums, and how often each page was read.
std::vector<std::uint32_t> SumsOfGroup(const std::vector<std::uint32_t>& memory, unsigned group, unsigned steps,
                                       std::uint32_t seed, std::map<std::uint64_t, unsigned>& reads) {
    std::vector<std::uint32_t> result(8, 0);
    for (unsigned chain = 0; chain < 4; ++chain) {
        std::vector<std::uint32_t> sums(8);
        for (unsigned lane = 0; lane < 8; ++lane)
            sums[lane] = Mixed(seed, (group * 8 + lane) * 4 + chain) * 0x9e3779b1;
        for (unsigned step = 0; step < steps; ++step) {
            const std::uint64_t page = sums[step % 8] % (memory.size() / 32);
            ++reads[page];
            for (unsigned word = 0; word < 32; ++word)
                sums[word / 4] = Mixed(sums[word / 4], memory[page * 32 + word]);
        }
        for (unsigned lane = 0; lane < 8; ++lane)
            result[lane] = Mixed(result[lane], sums[lane]);
    }
    return result;
}

TEST(ReadsKernel, ReadsWholePagesByChainsThatDependOnThem) {
    constexpr unsigned kBlocks = 2, kSteps = 9, kPages = 211;
    std::vector<std::uint32_t> memory(32 * kPages);
    for (std::size_t i = 0; i < memory.size(); ++i)
        memory[i] = Mixed(static_cast<std::uint32_t>(i), 0x12345) * 2654435761U;
    std::map<std::uint64_t, unsigned> expectedReads;
    std::vector<std::uint32_t> expected;
    for (unsigned group = 0; group < kBlocks * kEthashSearchThreads / 8; ++group) {
        for (const std::uint32_t sum : SumsOfGroup(memory, group, kSteps, 99, expectedReads))
            expected.push_back(sum);
    }
    for (const auto& [order, turns] : kAllTurns) {
        SCOPED_TRACE(order);
        std::vector<std::uint32_t> sums(expected.size());
        const EthashReadsParameters parameters{memory.data(), sums.data(), Divisor(kPages), kSteps, 99};
        std::map<std::uint64_t, unsigned> bytes;
        const auto count = [&](const void* address, std::size_t size) {
            const auto offset = static_cast<const std::byte*>(address) - reinterpret_cast<const std::byte*>(memory.data());
            bytes[static_cast<std::uint64_t>(offset) / 128] += static_cast<unsigned>(size);
        };
        EmulateKernel("ethash_random_reads", &parameters, kBlocks, kEthashSearchThreads, count, turns);
        EXPECT_EQ(sums, expected);
        for (const auto& [page, times] : expectedReads)
            EXPECT_EQ(bytes[page], 128 * times) << page;
    }
}

}  // namespace
