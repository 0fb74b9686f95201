#include "pool/PoolAccess.h"

#include <gtest/gtest.h>

#include <map>

#include "common/CodePage.h"

namespace {

using Times = std::vector<std::uint32_t>;

PoolPointer MakePool(const wchar_t* server) {
    auto pool = std::make_shared<PoolEntry>();
    CopyToField(server, pool->Server);
    return pool;
}

// Answers from a list for each server; a 0, or the end of the list, is no reply.
class CScriptedPings {
  public:
    std::map<std::wstring, Times> times;
    std::map<std::wstring, std::size_t> asked;

    PingFunction Function() {
        return [this](const PoolEntry& pool, std::uint32_t& roundTrip) {
            const Times& list = times[pool.Server];
            const std::size_t index = asked[pool.Server]++;
            if (index >= list.size() || list[index] == 0) return false;
            roundTrip = list[index];
            return true;
        };
    }
};

TEST(PoolOrderTest, ScoreIsTheSumOfTheMiddleThree) {
    struct Case {
        Times times;
        std::uint32_t score;
        std::size_t asked;
    };
    const Case cases[] = {
        {{10, 20, 30, 40, 50}, 90, 5},
        {{50, 10, 40, 20, 30}, 90, 5},
        {{7, 7, 7, 7, 7}, 21, 5},
        {{10, 0, 30, 40, 50}, kUnreachableScore, 2},
        {{}, kUnreachableScore, 1},
        {{400'000, 400'000, 400'000, 1, 500'000}, kUnreachableScore, 5},
        {{4'294'967'295, 4'294'967'295, 4'294'967'295, 4'294'967'295, 4'294'967'295}, kUnreachableScore, 5},
    };
    for (const Case& value : cases) {
        CScriptedPings pings;
        pings.times[L"p"] = value.times;
        EXPECT_EQ(LatencyScore(*MakePool(L"p"), pings.Function()), value.score);
        EXPECT_EQ(pings.asked[L"p"], value.asked) << "a failed ping ends the series";
    }
}

TEST(PoolOrderTest, NearestFirstUnreachableLast) {
    CScriptedPings pings;
    pings.times[L"far"] = Times(5, 200);
    pings.times[L"near"] = Times(5, 3);
    pings.times[L"middle"] = Times(5, 40);
    const auto ordered =
        OrderByLatency({MakePool(L"dead"), MakePool(L"far"), MakePool(L"near"), MakePool(L"middle")}, pings.Function());
    std::vector<std::wstring> servers;
    for (const PoolPointer& pool : ordered)
        servers.emplace_back(pool->Server);
    EXPECT_EQ(servers, (std::vector<std::wstring>{L"near", L"middle", L"far", L"dead"}));
    EXPECT_TRUE(OrderByLatency({}, pings.Function()).empty());
}

}  // namespace
