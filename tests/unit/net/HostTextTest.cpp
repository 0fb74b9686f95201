#include <gtest/gtest.h>
#include <string>
#include "net/AddressRound.h"
#include "net/HostText.h"

namespace {

TEST(HostText, PortIsTakenOff) {
    struct Case {
        const wchar_t* text;
        const wchar_t* host;
        std::uint32_t port;
    };
    const Case cases[] = {{L"pool.example", L"pool.example", 3333},
                          {L"pool.example:4444", L"pool.example", 4444},
                          {L"pool:", L"pool", 0},
                          {L"pool:99999999999999999999", L"pool", 65535},
                          {L"pool:65537x", L"pool", 1},
                          {L"pool: 80", L"pool", 80},
                          {L"[::1]:4444", L"::1", 4444},
                          {L"[::1]", L"::1", 3333},
                          {L"[::1]:", L"::1", 0},
                          {L"[::1]4444", L"[::1]4444", 3333},
                          {L"[::1", L"[::1", 3333},
                          {L"2001:db8::1", L"2001:db8::1", 3333},
                          {L"tcp://pool:1", L"tcp://pool:1", 3333},
                          {L"pool:1:2", L"pool", 1},
                          {L":5", L"", 5},
                          {L"", L"", 3333}};
    for (const Case& test : cases) {
        std::wstring text = test.text;
        EXPECT_EQ(CutPort(text, 3333), test.port);
        EXPECT_EQ(text, test.host);
    }
}

TEST(AddressRound, TakesTheAddressesInTurnAndAgainFromTheOneTakenLast) {
    const std::vector<HostAddress> addresses = {HostAddress::V4(1), HostAddress::V4(2), HostAddress::V4(3)};
    CAddressRound round;
    EXPECT_TRUE(round.IsOver());
    round.Begin(addresses);
    EXPECT_EQ(round.Share(20'000, 5000), 6666u);
    EXPECT_EQ(round.Share(12'000, 5000), 5000u);
    std::string taken;
    for (; !round.IsOver() && taken.size() < 5; taken += std::to_string(round.Take().V4Word()))
        if (taken == "12") round.Repeat();
    EXPECT_EQ(taken, "12213");
}

}  // namespace
