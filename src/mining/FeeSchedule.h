#pragma once
#include <cstdint>

// The developer-fee schedule: 1 % of the user's mining time, as a pure function of counters. All times in 100-ns ticks.

inline constexpr double kFeeFraction = 0.01;
inline constexpr std::uint64_t kFeePeriodTarget = 900'000'000;         // 90 s
inline constexpr std::uint64_t kLongFeePeriodTarget = 1'800'000'000;   // 180 s
inline constexpr std::uint64_t kMinUserTimeBeforeFee = 9'000'000'000;  // 15 min
inline constexpr std::uint64_t kFeeOwedCap = 2'400'000'000;            // 240 s: the longest fee period
inline constexpr std::uint64_t kFeePreConnectMargin = 300'000'000;     // 30 s
inline constexpr std::uint64_t kFeeSwitchMargin = 10'000'000;          // 1 s

// The fee owed before a fee period starts; longer for algorithm ids 5 and 6.
std::uint64_t FeePeriodTarget(std::int32_t algorithmId);

struct FeeTimes {
    std::uint64_t userMined = 0;   // since the last fee period
    std::uint64_t userActive = 0;  // since the user session last became the work source
    std::uint64_t feeMined = 0;    // in this fee period
};

struct FeeDecision {
    std::uint64_t owed = 0;
    bool orderPools = false;  // the fee session will be connected soon: time to measure which pool is near
    bool connectFee = false;  // the fee session shall be connected by now
    bool changeSource = false;
};

std::uint64_t FeeOwed(std::uint64_t userMined);
// While the user session feeds the plug-in.
FeeDecision DecideDuringUser(const FeeTimes& times, std::uint64_t periodTarget);
// While the fee session feeds the plug-in.
FeeDecision DecideDuringFee(const FeeTimes& times);
