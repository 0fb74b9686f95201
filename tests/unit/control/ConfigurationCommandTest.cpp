// The "configuration" command: what it keeps, what it leaves out and when it does nothing.
#include <gtest/gtest.h>
#include "RecordingHost.h"
#include "control/ControlCommands.h"

namespace {

std::string Pool(const std::string& id, const std::string& more = {}) {
    return R"({"id":)" + id + R"(,"name":"n","server":"s","port":1,"algo":2,"wallet":"w")" + more + "}";
}

std::string Binding(const std::string& primary, const std::string& secondary, const std::string& gpus) {
    return R"({"primary-poolid":)" + primary + R"(,"secondary-poolid":)" + secondary + R"(,"gpus":[)" + gpus + "]}";
}

class ConfigurationCommand : public testing::Test {
  protected:
    CommandResult Execute(const std::string& pools, const std::string& bindings) {
        return ExecuteParams("\"pools\":" + pools + ",\"config\":" + bindings);
    }
    CommandResult ExecuteParams(const std::string& params) {
        return CControlCommands(host, {}).Execute(R"({"cmd":"configuration","params":{)" + params + "}}");
    }
    ConfigurationPointer Current() const { return host.Current(); }

    CRecordingHost host;
};

TEST_F(ConfigurationCommand, ReplacesEverythingButTheWorkerNameAndTheGpusOwnSettings) {
    ApplyGpuSetting({&host.A(), 4, 5});
    ASSERT_EQ(Execute("[" + Pool("9") + "]", "[]"), CommandResult::Done);
    ASSERT_EQ(Execute("[" + Pool("1") +
                          R"(,{"id":4294967295,"name":"Größe","server":"pool.example","port":4444,"algo":77,)"
                          R"("wallet":"0xwallet","password":"x","workeroverride":"over"}])",
                      "[" + Binding("4294967295", "1", "\"" + kGpuB + "\"") + "]"),
              CommandResult::Done);
    EXPECT_EQ(host.Take(), (std::vector<std::string>{"configuration", "configuration"}));

    const ConfigurationPointer now = Current();
    EXPECT_STREQ(now->DefaultWorkerName, L"host");
    ASSERT_EQ(now->pools.size(), 2u);
    const PoolEntry& pool = *now->pools[1];
    EXPECT_EQ(pool.ID, 4294967295u);
    EXPECT_STREQ(pool.Name, L"Gr\u00F6\u00DFe");
    EXPECT_STREQ(pool.Server, L"pool.example");
    EXPECT_EQ(pool.Port, 4444u);
    EXPECT_EQ(pool.Algo, 77);
    EXPECT_STREQ(pool.algorithm->name, L"Unknown");
    EXPECT_STREQ(pool.WalletUser, L"0xwallet");
    EXPECT_STREQ(pool.Password, L"x");
    EXPECT_STREQ(pool.WorkerOverride, L"over");
    EXPECT_STREQ(now->pools[0]->Password, L"");

    ASSERT_EQ(now->configurations.size(), 1u);
    EXPECT_EQ(now->configurations[0].secondaryPool, now->pools[0]);
    EXPECT_EQ(now->configurations[0].GpuAttributs, 0u);
    EXPECT_EQ(ReadAssignedPool(host.B()), &pool);
    EXPECT_EQ(ReadAssignedPool(host.A()), host.unassignedPool.get());
    EXPECT_EQ(ReadNGM(host.A()), 4);
}

TEST_F(ConfigurationCommand, LeavesOutWhatIsIncomplete) {
    const std::string a = "\"" + kGpuA + "\"", b = "\"" + kGpuB + "\"", absent = "\"" + std::string(32, '0') + "\"";
    struct {
        std::string pools, bindings;
        std::size_t poolCount;
        std::vector<std::size_t> gpuCounts;  // of each configuration
    } const cases[] = {
        {"[]", "[]", 0, {}},
        {"[]", "[" + Binding("1", "1", a) + "]", 0, {}},
        {"[" + Pool("1") + "]", "[" + Binding("1", "3", a) + "," + Binding("3", "1", a) + "]", 1, {}},
        {"[" + Pool("1") + "]", "[" + Binding("1", "-1", a) + "]", 1, {}},
        {"[" + Pool("1") + "," + Pool("1", R"(,"password":"second")") + "," + Pool("-1") + "]", "[]", 2, {}},
        {"[" + Pool("1") + "," + Pool("4294967296") + "," + Pool("1.5") + "," + Pool("\"2\"") + ",7,null,[]]", "[]", 1, {}},
        {R"([{"name":"n","server":"s","port":1,"algo":2,"wallet":"w"},)" + Pool("1") + "]", "[]", 1, {}},
        {R"([{"id":2,"server":"s","port":1,"algo":2,"wallet":"w"},)" + Pool("1") + "]", "[]", 1, {}},
        {R"([{"id":2,"name":"n","server":5,"port":1,"algo":2,"wallet":"w"},)" + Pool("1") + "]", "[]", 1, {}},
        {R"([{"id":2,"name":"n","server":"s","port":-1,"algo":2,"wallet":"w"},)" + Pool("1") + "]", "[]", 1, {}},
        {R"([{"id":2,"name":"n","server":"s","port":1,"algo":2147483648,"wallet":"w"},)" + Pool("1") + "]", "[]", 1, {}},
        {R"([{"id":2,"name":"n","server":"s","port":1,"algo":2},)" + Pool("1") + "]", "[]", 1, {}},
        {"[" + Pool("1", R"(,"password":5,"workeroverride":null)") + "]", "[]", 1, {}},
        {"[" + Pool("1") + "]", "[" + Binding("1", "1", a + "," + absent + ",5,\"\"," + b + "," + a) + "]", 1, {2}},
        {"[" + Pool("1") + "]",
         "[" + Binding("1", "7", b) + "," + Binding("1", "1", a) + "," + Binding("1", "1", a) + "," +
             Binding("1", "1", a + "," + b) + "]",
         1,
         {1, 1}},
        {"[" + Pool("1") + "]", "[" + Binding("1", "1", absent) + "," + Binding("1", "1", "") + ",1]", 1, {}},
        {"[" + Pool("1") + "]", "[" + Binding("1", "1", a) + R"(,{"primary-poolid":1,"secondary-poolid":1}])", 1, {1}},
        {"[" + Pool("1") + "]", R"([{"primary-poolid":1,"secondary-poolid":1,"gpus":)" + a + "}]", 1, {}},
    };
    for (const auto& [pools, bindings, poolCount, gpuCounts] : cases) {
        ASSERT_EQ(Execute(pools, bindings), CommandResult::Done) << pools << bindings;
        std::vector<std::size_t> counts;
        for (const ConfigurationEntry& entry : Current()->configurations)
            counts.push_back(entry.gpus.size());
        EXPECT_EQ(Current()->pools.size(), poolCount) << pools;
        EXPECT_EQ(counts, gpuCounts) << bindings;
        EXPECT_TRUE(poolCount == 0 || Current()->pools[0]->Password[0] == L'\0') << "of two with one ID the first counts";
    }
}

TEST_F(ConfigurationCommand, CutsTextsToTheirFields) {
    const std::string nines(1000, '9');
    const std::string umlauts = [] {
        std::string text;
        for (int i = 0; i < 400; ++i)
            text += "ü";
        return text;
    }();
    ASSERT_EQ(Execute(R"([{"id":1,"name":")" + umlauts + R"(","server":")" + nines + R"(","port":1,"algo":2,"wallet":")" +
                          nines + R"(","password":")" + nines + R"(","workeroverride":")" + umlauts + "\"}]",
                      "[]"),
              CommandResult::Done);
    const PoolEntry& pool = *Current()->pools[0];
    EXPECT_EQ(std::wstring(pool.Name), std::wstring(63, L'\u00FC'));
    EXPECT_EQ(std::wstring(pool.Server), std::wstring(259, L'9'));
    EXPECT_EQ(std::wstring(pool.WalletUser), std::wstring(259, L'9'));
    EXPECT_EQ(std::wstring(pool.Password), std::wstring(63, L'9'));
    EXPECT_EQ(std::wstring(pool.WorkerOverride), std::wstring(31, L'\u00FC'));
}

TEST_F(ConfigurationCommand, WhatIsUnusableAsAWholeLeavesTheOldOneInForce) {
    ASSERT_EQ(Execute("[" + Pool("1") + "]", "[" + Binding("1", "1", "\"" + kGpuA + "\"") + "]"), CommandResult::Done);
    host.Take();
    const ConfigurationPointer before = Current();
    EXPECT_EQ(Execute("[{}]", "[]"), CommandResult::Unusable);
    EXPECT_EQ(Execute("[" + Pool("4294967296") + ",1]", "[]"), CommandResult::Unusable);
    for (const std::string params :
         {R"("pools":[])", R"("config":[])", R"("pools":{},"config":[])", R"("pools":[],"config":1)",
          R"("Pools":[],"config":[])", R"("pools":null,"pools":[],"config":[])"}) {
        EXPECT_EQ(ExecuteParams(params), CommandResult::Ignored) << params;
    }
    EXPECT_EQ(Current(), before);
    EXPECT_EQ(ReadAssignedPool(host.A()), before->pools[0].get());
    EXPECT_TRUE(host.Take().empty());
}

}  // namespace
