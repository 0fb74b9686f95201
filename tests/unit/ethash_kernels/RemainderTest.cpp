#define QV_EMULATED
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>

#include "ethash_kernels/DeviceMath.h"

namespace {

TEST(Remainder, ByReciprocalIsExact) {
    const unsigned divisors[] = {2,         3,         101,        0x7fff,     0x8000,     0x8001,     262139,     8388593,
                                 0x1000001, 142541021, 0x7fffffff, 0x80000000, 0x80000001, 3221225473, 4294967291, UINT_MAX};
    for (const unsigned divisor : divisors) {
        const EthashDivisor given{divisor, static_cast<unsigned>((std::uint64_t{1} << 32) / divisor)};
        const auto check = [&](unsigned number) { ASSERT_EQ(Remainder(number, given), number % divisor) << number; };
        SCOPED_TRACE(divisor);
        const unsigned quotient = UINT_MAX / divisor;
        for (const unsigned factor : {1u, quotient / 2, quotient - (quotient > 1 ? 1 : 0), quotient}) {
            for (unsigned offset = 0; offset < 3; ++offset) {
                check(factor * divisor - 1 + offset);
                check(UINT_MAX - offset);
                check(offset);
            }
        }
        for (unsigned i = 0, number = 1; i < 20'000; ++i, number = number * 1664525 + 1013904223)
            check(number);
    }
}

}  // namespace
