#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "ethash/kernels/EthashPtx.h"

namespace {

// A variable there would be read from the card's memory in the middle of a hash.
TEST(Ptx, NothingLiesInLocalMemory) {
    EXPECT_EQ(std::string_view(EthashPtx()).find(".local"), std::string_view::npos);
}

// The one number that differs, as the text between two kernels' definitions has it.
TEST(Ptx, ABoundIsSetOfItsKernelOnly) {
    const std::string original = EthashPtx();
    const char* const kernels[] = {"ethash_search_2", "ethash_search_4", "ethash_search_8"};
    for (const char* const kernel : kernels) {
        std::string changed = original;
        ASSERT_TRUE(SetMinBlocks(changed, kernel, 77));
        const std::size_t bound = changed.find(".minnctapersm 77\n");
        ASSERT_NE(bound, std::string::npos);
        const std::size_t head = changed.rfind(".entry ", bound);
        EXPECT_EQ(changed.compare(head + 7, std::string(kernel).size() + 1, std::string(kernel) + "("), 0) << kernel;
        EXPECT_EQ(changed.size(), original.size() + 1);
        EXPECT_EQ(original.compare(0, bound, changed, 0, bound), 0);
    }
    std::string unbound = ".entry a(\n)\n.minnctapersm 3\n{\n}\n.entry ethash_search_2(\n)\n{\n}\n";
    const std::string before = unbound;
    EXPECT_FALSE(SetMinBlocks(unbound, "ethash_search_2", 5));
    EXPECT_FALSE(SetMinBlocks(unbound, "ethash_search_4", 5));
    EXPECT_EQ(unbound, before);
}

TEST(Ptx, CardsThatWouldSpillGetOtherBounds) {
    EXPECT_EQ(EthashPtxFor(7), EthashPtx());
    std::string expected = EthashPtx();
    SetMinBlocks(expected, "ethash_search_4", 4);
    SetMinBlocks(expected, "ethash_search_8", 3);
    EXPECT_EQ(EthashPtxFor(6), expected);
    EXPECT_NE(expected, EthashPtx());
}

}  // namespace
