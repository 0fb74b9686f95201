#include "mining/FeeSchedule.h"

#include <algorithm>

namespace {

std::uint64_t Remaining(std::uint64_t target, std::uint64_t done) {
    return target > done ? target - done : 0;
}

}  // namespace

std::uint64_t FeePeriodTarget(std::int32_t algorithmId) {
    return algorithmId == 5 || algorithmId == 6 ? kLongFeePeriodTarget : kFeePeriodTarget;
}

std::uint64_t FeeOwed(std::uint64_t userMined) {
    return std::min(static_cast<std::uint64_t>(static_cast<double>(userMined) * kFeeFraction), kFeeOwedCap);
}

FeeDecision DecideDuringUser(const FeeTimes& times, std::uint64_t periodTarget) {
    FeeDecision decision;
    decision.owed = FeeOwed(times.userMined);
    const std::uint64_t left =
        std::max(Remaining(periodTarget, decision.owed), Remaining(kMinUserTimeBeforeFee, times.userActive));
    decision.orderPools = left < 2 * kFeePreConnectMargin;
    decision.connectFee = left < kFeePreConnectMargin;
    decision.changeSource = left < kFeeSwitchMargin;
    return decision;
}

FeeDecision DecideDuringFee(const FeeTimes& times) {
    FeeDecision decision;
    decision.owed = FeeOwed(times.userMined);
    decision.changeSource = Remaining(decision.owed, times.feeMined) < kFeeSwitchMargin;
    return decision;
}
