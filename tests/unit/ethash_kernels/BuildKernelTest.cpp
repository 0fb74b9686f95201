#include <cstring>

#include "SmallEpoch.h"

namespace {

struct Case {
    std::uint64_t rows;
    unsigned firstItem, itemCount, blocks, threads;
};

class BuildKernel : public testing::TestWithParam<Case> {};

// The items asked for are right, and no other is touched.
TEST_P(BuildKernel, MakesTheItemsOfTheDefinition) {
    const Case& each = GetParam();
    const auto cache = SmallCache(each.rows, 1009);
    EthashItem untouched;
    std::memset(&untouched, 0xa5, sizeof untouched);
    for (const auto& [order, turns] : kAllTurns) {
        SCOPED_TRACE(order);
        std::vector<EthashItem> dataset(each.firstItem + each.itemCount + 70, untouched);
        const EthashBuildParameters parameters{.cache = cache->Words().data(),
                                               .dataset = dataset.data(),
                                               .cacheRows = Divisor(each.rows),
                                               .firstItem = each.firstItem,
                                               .itemCount = each.itemCount};
        EmulateKernel("ethash_build_dataset", &parameters, each.blocks, each.threads, {}, turns);
        for (unsigned i = 0; i < dataset.size(); ++i) {
            const bool made = i >= each.firstItem && i - each.firstItem < each.itemCount;
            const EthashItem expected = made ? DatasetItem(*cache, i) : untouched;
            ASSERT_EQ(std::memcmp(&dataset[i], &expected, sizeof expected), 0) << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Grids, BuildKernel,
                         testing::Values(Case{101, 0, 64, 2, 32}, Case{101, 7, 1, 1, 32}, Case{1021, 33, 45, 1, 64},
                                         Case{257, 1, 97, 2, 96}, Case{2, 500, 31, 1, 32}));

}  // namespace
