#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "devpool_core/Options.h"

namespace {

struct Outcome {
    std::optional<PoolOptions> options;
    int exitCode = -1;
    std::string out;
    std::string error;
};

Outcome Parse(const std::vector<const char*>& options) {
    std::vector<const char*> arguments = {"devpool"};
    for (const char* const option : options)
        arguments.push_back(option);
    std::ostringstream out;
    std::ostringstream error;
    Outcome outcome;
    outcome.options = ParseOptions(static_cast<int>(arguments.size()), arguments.data(), out, error, outcome.exitCode);
    outcome.out = out.str();
    outcome.error = error.str();
    return outcome;
}

TEST(Options, AreReadFromTheCommandLine) {
    const Outcome outcome = Parse({"--mode",    "2",       "--difficulty", "5000",           "--interval", "0.5",
                                   "--variant", "ubqhash", "--port",       "4444",           "--shares",   "7",
                                   "--seconds", "30",      "--garbage",    "before",         "--split",    "--drop-after",
                                   "3",         "--delay", "20",           "--wallet-check", "0xabc"});
    ASSERT_TRUE(outcome.options) << outcome.error;
    const PoolOptions& options = *outcome.options;
    EXPECT_EQ(options.dialect, Dialect::NiceHash);
    EXPECT_EQ(options.difficulty, 5000);
    EXPECT_EQ(options.interval, 0.5);
    EXPECT_EQ(options.variant, EthashVariant::Ubqhash);
    EXPECT_EQ(options.port, 4444);
    EXPECT_EQ(options.shares, 7U);
    EXPECT_EQ(options.seconds, 30);
    EXPECT_EQ(options.faults.garbage, Garbage::Before);
    EXPECT_TRUE(options.faults.split);
    EXPECT_EQ(options.faults.dropAfterLines, 3U);
    EXPECT_EQ(options.faults.delayMs, 20U);
    EXPECT_EQ(options.wallet, "0xabc");
    EXPECT_FALSE(Parse({}).options->dialect);
}

TEST(Options, NameAnEpochByItsNumberOrOneOfItsBlocks) {
    const struct {
        const char* variant;
        const char* epoch;
        std::uint64_t block;
    } rows[] = {{"ethash", "2", 60'000},
                {"etchash", "194", 5'820'000},
                {"etchash", "195", 11'700'000},
                {"etchash", "300", 18'000'000},
                {"ethash", "500", 15'000'000}};
    for (const auto& row : rows) {
        const Outcome outcome = Parse({"--variant", row.variant, "--epoch", row.epoch});
        ASSERT_TRUE(outcome.options) << outcome.error;
        EXPECT_EQ(outcome.options->block, row.block);
    }
    EXPECT_EQ(Parse({"--block", "15537393"}).options->block, 15'537'393U);
}

TEST(Options, ThatAreWrongEndTheProgramWithATextThatNamesThem) {
    const std::vector<const char*> rows[] = {
        {"--mode", "4"},
        {"--difficulty", "0.5"},
        {"--difficulty", "x"},
        {"--interval", "-1"},
        {"--variant", "scrypt"},
        {"--port", "70000"},
        {"--epoch", "1", "--block", "1"},
        {"--shares", "-1"},
        {"--drop-until-mode", "9"},
        {"--unknown"},
        {"stray"},
    };
    for (const auto& row : rows) {
        const Outcome outcome = Parse(row);
        EXPECT_FALSE(outcome.options) << row[0];
        EXPECT_EQ(outcome.exitCode, 2) << row[0];
        EXPECT_NE(outcome.error.find(row[0]), std::string::npos) << outcome.error;
    }
}

TEST(Options, HelpNamesEveryOptionAndIsNoError) {
    const Outcome outcome = Parse({"--help"});
    EXPECT_FALSE(outcome.options);
    EXPECT_EQ(outcome.exitCode, 0);
    for (const char* const name : {"--listen", "--mode", "--difficulty", "--hold-jobs", "--stats", "--announce-nicehash"}) {
        EXPECT_NE(outcome.out.find(name), std::string::npos) << name;
    }
}

}  // namespace
