#include "cli/Options.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "fixtures/ScratchFolder.h"
#include "show/Tables.h"

namespace {

struct Parsed {
    std::optional<Options> options;
    int exitCode = -1;
    std::string out;
    std::string err;
};

Parsed Parse(std::vector<const char*> words) {
    words.insert(words.begin(), "quorvel-control");
    Parsed parsed;
    std::ostringstream out;
    std::ostringstream err;
    parsed.options = ParseOptions(static_cast<int>(words.size()), words.data(), out, err, parsed.exitCode);
    parsed.out = out.str();
    parsed.err = err.str();
    return parsed;
}

TEST(Options, MistakesEndWithTwo) {
    const std::vector<const char*> kCases[] = {
        {"status", "--rig", "host:0"},
        {"status", "--rig", "a b"},
        {"status", "--rig", "a:1", "--rig", "a:1"},
        {"status", "--rigs", "/does/not/exist"},
        {"status", "--token-file", "/does/not/exist"},
        {"worker", "eighteen-character"},
        {"nonce-generator"},
        {"nonce-generator", "--mode", "1", "--gpu", "first"},
        {"nonce-generator", "--setting", "-1"},
        {"export", "--rig", "a", "--rig", "b"},
        {"serve", "--listen", "host:x"},
        {"start", "--wait", "-1"},
    };
    for (const auto& words : kCases) {
        const Parsed parsed = Parse(words);
        EXPECT_FALSE(parsed.options) << (words.empty() ? "" : words[0]);
        EXPECT_EQ(parsed.exitCode, kExitUsage);
        EXPECT_FALSE(parsed.err.empty());
    }
}

TEST(Options, RigsFromLineAndFile) {
    const CScratchFolder folder;
    const std::string file = (folder.Path() / "rigs").string();
    std::ofstream(file) << "# all of them\n\nrig-a:9000  # first\r\n  [::1]:7\nrig-b";
    const Parsed parsed = Parse({"--rigs", file.c_str(), "status", "--rig", "10.0.0.1"});
    ASSERT_TRUE(parsed.options) << parsed.err;
    std::string all;
    for (const RigAddress& rig : parsed.options->rigs)
        all += rig.Text() + " ";
    EXPECT_EQ(all, "10.0.0.1:8010 rig-a:9000 [::1]:7 rig-b:8010 ");

    std::ofstream(file) << "good:1\nbad host\n";
    const Parsed bad = Parse({"--rigs", file.c_str(), "status"});
    EXPECT_NE(bad.err.find("line 2"), std::string::npos) << bad.err;
}

TEST(Options, TokenFileIsTrimmedAndNeedsAToken) {
    const CScratchFolder folder;
    const std::string file = (folder.Path() / "token").string();
    std::ofstream(file) << " s3cret\r\n";
    const Parsed parsed = Parse({"start", "--token-file", file.c_str()});
    ASSERT_TRUE(parsed.options);
    EXPECT_EQ(parsed.options->token, "s3cret");
    EXPECT_EQ(parsed.options->rigs.front().Text(), "127.0.0.1:8010");
    std::ofstream(file) << "\n";
    EXPECT_EQ(Parse({"start", "--token-file", file.c_str()}).exitCode, kExitUsage);
}

TEST(Tables, HashRates) {
    EXPECT_EQ(HashRateText(999), "999 H/s");
    EXPECT_EQ(HashRateText(61'240'000), "61.24 MH/s");
    EXPECT_EQ(HashRateText(2e18), "2000.00 PH/s");
}

TEST(Tables, ColumnsLineUpWithWideText) {
    SystemReport system;
    system.hostname = "B\xC3\xA4r";
    system.status = MiningStatus::Stopped;
    const std::string text =
        StatusTable({{"a:1", "", &system, nullptr}, {"longer-name:1", "connection refused", nullptr, nullptr}});
    std::istringstream lines(text);
    std::string title, first, second;
    std::getline(lines, title);
    std::getline(lines, first);
    std::getline(lines, second);
    EXPECT_EQ(title.find("STATE"), second.find("down"));
    EXPECT_EQ(title.find("STATE") + 1, first.find("stopped"));  // one character has two bytes
    EXPECT_NE(second.find("connection refused"), std::string::npos);
}

}  // namespace
