#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "ethash_kernels/EthashPtx.h"
#include "ethash_kernels/KernelParameters.h"

namespace {

TEST(Ptx, EveryKernelTakesTheParametersThatTheHostHandsOver) {
    struct Case {
        const char* name;
        std::size_t parameterBytes;
    };
    const Case cases[] = {{"ethash_build_dataset", sizeof(EthashBuildParameters)},
                          {"ethash_search_2", sizeof(EthashSearchParameters)},
                          {"ethash_search_4", sizeof(EthashSearchParameters)},
                          {"ethash_search_8", sizeof(EthashSearchParameters)}};
    const std::string_view text = EthashPtx();
    for (const Case& each : cases) {
        const std::string name = each.name;
        EXPECT_NE(text.find(".visible .entry " + name + "("), std::string_view::npos) << name;
        EXPECT_NE(text.find(name + "_param_0[" + std::to_string(each.parameterBytes) + "]"), std::string_view::npos) << name;
    }
}

// A variable there would be read from the card's memory in the middle of a hash.
TEST(Ptx, NothingLiesInLocalMemory) {
    EXPECT_EQ(std::string_view(EthashPtx()).find(".local"), std::string_view::npos);
}

}  // namespace
