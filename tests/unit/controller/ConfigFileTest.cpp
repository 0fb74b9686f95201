#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "rig/Commands.h"
#include "rig/ConfigFile.h"

namespace {

const std::string kPool = R"({"id":1,"name":"A","server":"pool.example","port":4444,"algo":2,"wallet":"w"})";
const std::string kConfig = R"({"primary-poolid":1,"secondary-poolid":1,"gpus":"all"})";

std::string File(const std::string& pools, const std::string& configs) {
    return R"({"pools":[)" + pools + R"(],"config":[)" + configs + "]}";
}

// kPool with one member's value replaced.
std::string PoolWith(const std::string& old, const std::string& replacement) {
    std::string pool = kPool;
    pool.replace(pool.find(old), old.size(), replacement);
    return pool;
}

std::string ConfigWith(const std::string& gpus) {
    return R"({"primary-poolid":1,"secondary-poolid":1,"gpus":)" + gpus + "}";
}

SystemReport TwoGpus() {
    SystemReport system;
    system.gpus.resize(2);
    system.gpus[0].id = std::string(31, '0') + "a";
    system.gpus[0].cudaId = 0;
    system.gpus[1].id = std::string(31, '0') + "b";
    system.gpus[1].cudaId = 1;
    return system;
}

TEST(ConfigFile, EachMistakeIsNamedWithItsPlace) {
    const struct {
        std::string text;
        const char* mistake;
    } kCases[] = {
        {"", "line 1, column 1: "},
        {"{\n  \"pools\": [,]\n}", "line 2, column 13: "},
        {"[]", "file: must be an object"},
        {R"({"config":[)" + kConfig + "]}", "pools: missing"},
        {R"({"Pools":[],"pools":[)" + kPool + R"(],"config":[)" + kConfig + "]}", "file.Pools: unknown member"},
        {File(kPool + ",7", kConfig), "pools[1]: must be an object"},
        {File(PoolWith("\"port\":4444", "\"port\":0"), kConfig), "pools[0].port: must be a whole number from 1 to 65535"},
        {File(PoolWith("\"port\":4444", "\"port\":4294967297"), kConfig), "pools[0].port: must be"},
        {File(PoolWith("\"id\":1", "\"id\":-1"), kConfig), "pools[0].id: must be"},
        {File(PoolWith("pool.example\",\"port\":4444", "stratum+udp://pool.example:1\""), kConfig),
         "pools[0].server: stratum+udp:// is not supported"},
        {File(PoolWith("\"port\":4444,", ""), kConfig), "pools[0].port: missing"},
        {File(PoolWith("\"algo\":2", "\"algo\":\"etchas\""), kConfig),
         "pools[0].algo: \"etchas\" is no algorithm; known: \"etchash\" (1), \"etchash-cpu\" (2)"},
        {File(PoolWith("\"w\"", "\"\""), kConfig), "pools[0].wallet: must not be empty"},
        {File(PoolWith("\"w\"", "\"a b\""), kConfig), "pools[0].wallet: must not hold blanks"},
        {File(PoolWith("\"w\"", "\"w\\u0007\""), kConfig), "pools[0].wallet: only printable"},
        {File(PoolWith("\"w\"", "\"0x...\""), kConfig), "pools[0].wallet: still a sample's"},
        {File(PoolWith("\"w\"", "\"w\",\"password\":\"********\""), kConfig), "pools[0].password: only the mask"},
        {File(PoolWith("pool.example", ""), kConfig), "pools[0].server: must not be empty"},
        {File(PoolWith("\"w\"", "7"), kConfig), "pools[0].wallet: must be a text"},
        {File(PoolWith("\"A\"", "\"" + std::string(64, 'n') + "\""), kConfig), "pools[0].name: longer than 63"},
        {File(PoolWith("\"A\"", "\"B\xC3\xA4r\""), kConfig), "pools[0].name: only printable ASCII"},
        {File(PoolWith("\"A\"", "\"A\",\"pasword\":\"x\""), kConfig), "pools[0].pasword: unknown member"},
        {File(PoolWith("\"A\"", "\"A\",\"port\":1"), kConfig), "pools[0].port: stands twice"},
        {File(kPool + "," + kPool, kConfig), "pools[1].id: already used by pools[0]"},
        {File(kPool, R"({"primary-poolid":3,"secondary-poolid":1,"gpus":"all"})"),
         "config[0].primary-poolid: no pool has the id 3"},
        {File(kPool, ConfigWith("[]")), "config[0].gpus: must be"},
        {File(kPool, ConfigWith("[0,\"GPU-123\"]")), "config[0].gpus[1]: must be"},
        {File(kPool, ConfigWith("[0,-1]")), "config[0].gpus[1]: must be"},
    };
    for (const auto& [text, mistake] : kCases) {
        const ConfigReading reading = ReadConfigFile(text);
        ASSERT_EQ(reading.mistakes.size(), 1u) << text << (reading.mistakes.empty() ? "" : reading.mistakes.back());
        EXPECT_TRUE(reading.mistakes.front().starts_with(mistake)) << reading.mistakes.front() << "\nexpected " << mistake;
    }
}

TEST(ConfigFile, SeveralMistakesAreAllNamed) {
    EXPECT_EQ(ReadConfigFile(R"({"pools":[{"id":"x"}],"config":[{}]})").mistakes.size(), 9u);
}

TEST(ConfigFile, WhatIsWrittenReadsBackTheSame) {
    const std::string pasted =
        PoolWith("\"id\":1,\"name\":\"A\",\"server\":\"pool.example\"",
                 R"("id":2,"name":"B","server":" stratum+tcp://[2001:db8::1]:77/ ","workeroverride":"r")");
    const ConfigReading first = ReadConfigFile("\xEF\xBB\xBF" + File(kPool + "," + pasted, kConfig));
    ASSERT_TRUE(first.mistakes.empty()) << first.mistakes.front();
    EXPECT_EQ(first.file.pools[1].server, "2001:db8::1");
    EXPECT_EQ(first.file.pools[1].port, 77);
    EXPECT_EQ(first.file.pools[1].workerOverride, "r");
    const std::string text = ConfigFileText(first.file, "said \"so\"");
    EXPECT_NE(text.find("\"algo\": \"etchash-cpu\""), std::string::npos) << text;
    const ConfigReading again = ReadConfigFile(text);
    ASSERT_TRUE(again.mistakes.empty()) << again.mistakes.front();
    EXPECT_EQ(ConfigFileText(again.file, "said \"so\""), text);
}

TEST(ConfigFile, NobodyMinesToTheSample) {
    EXPECT_EQ(ReadConfigFile(ConfigFileText(SampleConfigFile(), "")).mistakes.size(), 4u);
    EXPECT_EQ(SampleConfigFile().pools[0].algo, 1);
}

TEST(ConfigFile, GpusAreLookedUpOnTheRig) {
    const std::string b = std::string(31, '0') + "b";
    const struct {
        std::string configs;
        std::vector<std::vector<std::string>> gpus;
        const char* error;
    } kCases[] = {
        {ConfigWith("\"all\""), {{std::string(31, '0') + "a", b}}, ""},
        {ConfigWith("[1]"), {{b}}, ""},
        {ConfigWith("[\"1\",\"GPU-00000000-0000-0000-0000-00000000000B\"]"), {{b}}, ""},
        {ConfigWith("[2]"), {}, "config[0].gpus: the rig has no GPU 2"},
        {ConfigWith("[0]") + "," + ConfigWith("[1]"), {{std::string(31, '0') + "a"}, {b}}, ""},
        {ConfigWith("[1]") + "," + ConfigWith("\"all\""),
         {},
         "config[1].gpus: GPU 0000000000000000000000000000000b already"},
    };
    for (const auto& [configs, gpus, error] : kCases) {
        const ConfigReading reading = ReadConfigFile(File(kPool, configs));
        ASSERT_TRUE(reading.mistakes.empty()) << reading.mistakes.front();
        const ResolvedConfig resolved = ResolveConfig(reading.file, TwoGpus());
        EXPECT_TRUE(resolved.error.starts_with(error) && resolved.error.empty() == (*error == '\0')) << resolved.error;
        if (!resolved.error.empty()) continue;
        EXPECT_EQ(resolved.gpus, gpus) << configs;
    }
    EXPECT_EQ(ResolveConfig(SampleConfigFile(), SystemReport{}).error, "config[0].gpus: the rig reports no GPU");
}

TEST(Commands, ConfigurationLine) {
    const ConfigReading reading = ReadConfigFile(File(PoolWith("\"w\"", R"("w\"\\")"), ConfigWith("[1]")));
    const std::string line = CCommands("se\"cret").Configuration(reading.file, {{"0123"}});
    EXPECT_EQ(
        line,
        R"({"cmd":"configuration","params":{"token":"se\"cret","pools":[{"id":1,"name":"A","server":"pool.example","port":4444,)"
        R"("algo":2,"wallet":"w\"\\"}],"config":[{"primary-poolid":1,"secondary-poolid":1,"gpus":["0123"]}]}})"
        "\n");
}

}  // namespace
