#include <gtest/gtest.h>
#include <string>
#include "net/ConnectPlan.h"

namespace {

TEST(ConnectPlan, TriesEachAddressInItsTimeAndBeginsAgainWithTheOneThatWorked) {
    CConnectPlan plan({});
    std::string did;  // L looked up, a digit: the address tried, r: not found and not told yet, f: the attempt has failed
    const auto lookUp = [&](std::uint32_t error, bool timedOut, std::vector<HostAddress> found) {
        EXPECT_TRUE(plan.NeedsLookUp());
        const auto notFound = plan.LookedUp({error, timedOut, std::move(found)});
        did += !notFound ? 'L' : *notFound == CConnectPlan::NotFound::Again ? 'r' : 'f';
    };
    const auto next = [&] { did += std::to_string(plan.Next(0).V4Word()); };
    const auto fail = [&] { did += plan.AddressFailed() ? "f" : ""; };

    lookUp(0, false, {HostAddress::V4(1), HostAddress::V4(2), HostAddress::V4(3)});
    next();
    EXPECT_EQ(plan.Deadline(), 6666 * kTicksPerMillisecond) << "a third of the attempt";
    fail();
    next();
    plan.Connected();
    EXPECT_FALSE(plan.Deadline());
    plan.Lost();
    for (int i = 0; i < 3; ++i) {
        next();
        fail();
    }
    EXPECT_EQ(did, "L12213f");
    plan.GiveUp();

    did.clear();
    for (int i = 0; i < 6; ++i)
        lookUp(kResolverTryAgain, false, {});
    lookUp(11001, false, {});
    lookUp(kResolverTryAgain, false, {});
    lookUp(kResolverTryAgain, true, {});
    lookUp(kResolverTryAgain, true, std::vector<HostAddress>(9));  // known from before
    EXPECT_EQ(did, "rrrrrffrfL");
    next();
    EXPECT_EQ(plan.Deadline(), 5000 * kTicksPerMillisecond) << "not less";
}

}  // namespace
