#include "devpool_core/Options.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

namespace {

TEST(Options, AreTakenOrRefusedWithATextThatNamesThem) {
    const struct {
        std::vector<const char*> arguments;
        std::uint64_t block = 0;  // 0: refused
    } rows[] = {{{"--variant", "ethash", "--epoch", "2"}, 60'000},
                {{"--algorithm", "etchash", "--epoch", "194"}, 5'820'000},
                {{"--variant", "etchash", "--epoch", "195"}, 11'700'000},
                {{"--block", "15537393"}, 15'537'393},
                {{"--algorithm", "scrypt"}},
                {{"--epoch", "1", "--block", "1"}}};
    for (const auto& row : rows) {
        std::vector<const char*> arguments = row.arguments;
        arguments.insert(arguments.begin(), "devpool");
        std::ostringstream out, error;
        int exitCode = -1;
        const auto options = ParseOptions(static_cast<int>(arguments.size()), arguments.data(), out, error, exitCode);
        EXPECT_EQ(options ? options->block : 0, row.block) << error.str();
        if (options) continue;
        EXPECT_EQ(exitCode, 2) << arguments[1];
        EXPECT_NE(error.str().find(arguments[1]), std::string::npos) << error.str();
    }
}

}  // namespace
