#include "common/PoolAddress.h"

#include <gtest/gtest.h>

#include "common/AlgorithmNames.h"

namespace {

TEST(PoolAddress, IsTakenApartAsPeoplePasteIt) {
    constexpr struct {
        std::string_view text;
        std::string_view host;
        std::uint32_t port;  // 0: none
        std::string_view reason;
    } kCases[] = {
        {" pool.example\r\n", "pool.example", 0, ""},
        {"pool.example:4444", "pool.example", 4444, ""},
        {"STRATUM+TCP://pool.example:65535/", "pool.example", 65535, ""},
        {"ethproxy+tcp://pool.example/path:1?a@b", "pool.example", 0, ""},
        {"tcp://[2001:db8::1]:1#x", "2001:db8::1", 1, ""},
        {"[fe80::1%eth0]", "fe80::1%eth0", 0, ""},
        {"2001:db8::1", "2001:db8::1", 0, ""},
        {"::ffff:10.0.0.1", "::ffff:10.0.0.1", 0, ""},
        {"stratum1+ssl://pool.example:1", "", 0, "encrypted"},
        {"TLS://pool.example:1", "", 0, "encrypted"},
        {"stratums://0xAB.rig@pool.example:1", "", 0, "encrypted"},
        {"https://pool.example", "", 0, "https://"},
        {"stratum+udp://pool.example", "", 0, "stratum+udp://"},
        {"a b://pool.example", "", 0, "scheme"},
        {"://pool.example", "", 0, "scheme"},
        {"stratum+tcp://0xAB.rig@pool.example:1", "", 0, "the wallet belongs in its own field"},
        {"0xAB@pool.example:1", "", 0, "the wallet belongs in its own field"},
        {"pool.example:", "", 0, "not a number"},
        {"pool.example:-1", "", 0, "not a number"},
        {"pool.example:80:90", "", 0, "not a number"},
        {"pool.example:0", "", 0, "1 to 65535"},
        {"pool.example:65536", "", 0, "1 to 65535"},
        {"pool.example:99999999999999999999", "", 0, "1 to 65535"},
        {"", "", 0, "missing"},
        {" :4444", "", 0, "missing"},
        {"stratum+tcp:///path", "", 0, "missing"},
        {"pool example:1", "", 0, "blanks"},
        {"pool\x01.example", "", 0, "control"},
        {"[2001:db8::1", "", 0, "closing bracket"},
        {"[2001:db8::1]80", "", 0, "behind the closing bracket"},
        {"[pool.example]:80", "", 0, "IPv6"},
        {"pool]:80", "", 0, "IPv6"},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(test.text);
        const PoolAddress address = ParsePoolAddress(test.text);
        EXPECT_EQ(address.host, test.host);
        EXPECT_EQ(address.port.value_or(0), test.port);
        EXPECT_EQ(address.reason.empty(), test.reason.empty());
        EXPECT_NE(address.reason.find(test.reason), std::string::npos) << address.reason;
    }
}

TEST(AlgorithmNames, AreFoundByNameInAnyCaseAndById) {
    EXPECT_EQ(AlgorithmName(12), "ubqhash-cpu");
    EXPECT_EQ(AlgorithmName(5), "");
    EXPECT_EQ(AlgorithmId("EtcHash"), 1);
    EXPECT_EQ(AlgorithmId("etchash-"), std::nullopt);
}

}  // namespace
