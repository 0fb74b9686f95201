#include "common/PoolAddress.h"

#include <gtest/gtest.h>

#include <string>

#include "common/AlgorithmNames.h"
#include "common/ProxyAddress.h"

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
        {"stratums://0xAB.rig@pool.example:1", "", 0, "the wallet belongs in its own field"},
        {"ethproxy://pool.example:1", "", 0, "ethproxy://"},
        {"ssl://pool.example:1#sha256=12", "", 0, "fingerprint"},
        {"ssl://pool.example:1#unsafe", "", 0, "insecure"},
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

TEST(PoolAddress, SchemeAndFragmentSayHowItIsReached) {
    const std::string digits(64, 'a');
    const struct {
        std::string text;
        std::string url;  // as the house writes it
        AddressProtocol protocol;
        bool isEncrypted;
    } kCases[] = {
        {"pool.example:1", "pool.example:1", AddressProtocol::Any, false},
        {"stratum+tcp://[::1]:1", "[::1]:1", AddressProtocol::Any, false},
        {"ethproxy+tcp://pool.example", "ethproxy+tcp://pool.example", AddressProtocol::EthProxy, false},
        {"stratum1+ssl://pool.example:1/x", "stratum1+ssl://pool.example:1", AddressProtocol::Plain, true},
        {"Stratum2+TLS://pool.example:1", "stratum2+ssl://pool.example:1", AddressProtocol::NiceHash, true},
        {"tls://2001:db8::1", "stratum+ssl://[2001:db8::1]", AddressProtocol::Any, true},
        {"stratums://pool.example#Insecure", "stratum+ssl://pool.example#insecure", AddressProtocol::Any, true},
        {"ssl://pool.example:1#sha256=AA:" + digits.substr(2), "stratum+ssl://pool.example:1#sha256=" + digits,
         AddressProtocol::Any, true},
        {"tcp://pool.example#insecure", "pool.example", AddressProtocol::Any, false},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(test.text);
        const PoolAddress address = ParsePoolAddress(test.text);
        EXPECT_EQ(address.reason, "");
        EXPECT_EQ(address.protocol, test.protocol);
        EXPECT_EQ(address.encryption.isEncrypted, test.isEncrypted);
        EXPECT_EQ(PoolAddressUrl(address), test.url);
        EXPECT_EQ(ParsePoolAddress(test.url).encryption, address.encryption);
    }
}

TEST(PoolAddress, PortIsCutOffAText) {
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

TEST(ProxyAddress, IsTakenApart) {
    const struct {
        std::string text, host, user, password, reason;
        std::uint32_t port = 1080;
    } kCases[] = {
        {"", "", "", "", ""},
        {"proxy.example", "proxy.example", "", "", ""},
        {"socks5://proxy.example:9050", "proxy.example", "", "", "", 9050},
        {"socks5://u:p:q@x@[::1]:1", "::1", "u", "p:q@x", "", 1},
        {"u@10.0.0.1", "10.0.0.1", "u", "", ""},
        {"http://proxy.example", "", "", "", "socks5://"},
        {"socks5://:p@proxy.example", "", "", "", "no user"},
        {"socks5://proxy.example:0", "", "", "", "port"},
        {"socks5://", "", "", "", "missing"},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(test.text);
        const ProxyAddress proxy = ParseProxyAddress(test.text);
        EXPECT_EQ(proxy.host, test.host);
        EXPECT_EQ(proxy.port, test.port);
        EXPECT_EQ(proxy.user, test.user);
        EXPECT_EQ(proxy.password, test.password);
        EXPECT_EQ(proxy.reason.empty(), test.reason.empty());
        EXPECT_NE(proxy.reason.find(test.reason), std::string::npos) << proxy.reason;
        EXPECT_EQ(proxy.IsWanted(), !test.text.empty()) << "what cannot be used is no reason to go past it";
    }
}

TEST(AlgorithmNames, AreFoundByNameInAnyCaseAndById) {
    EXPECT_EQ(AlgorithmName(12), "ubqhash-cpu");
    EXPECT_EQ(AlgorithmName(5), "");
    EXPECT_EQ(AlgorithmId("EtcHash"), 1);
    EXPECT_EQ(AlgorithmId("etchash-"), std::nullopt);
}

}  // namespace
