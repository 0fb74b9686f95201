#include "net/SocksHandshake.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace std::string_literals;

struct Conversation {
    std::string said;  // by us, all of it
    std::string failure;
    bool isConnected = false;
    std::size_t taken = 0;  // of what the proxy said
};

Conversation Talk(const ProxyAddress& proxy, std::optional<HostAddress> address, const std::string& answers) {
    CSocksHandshake handshake(proxy, "pool.example", address, 0x1234);
    Conversation talk;
    talk.said = handshake.Greeting();
    while (handshake.Needed() > 0 && talk.taken < answers.size()) {
        const std::size_t size = std::min<std::size_t>({handshake.Needed(), answers.size() - talk.taken, 2});
        talk.said += handshake.Take(std::string_view(answers).substr(talk.taken, size));
        talk.taken += size;
    }
    talk.failure = handshake.Failure();
    talk.isConnected = handshake.IsConnected();
    return talk;
}

TEST(SocksHandshake, AsksForTheServerByNameOrAddress) {
    const ProxyAddress kOpen{.host = "proxy"};
    ProxyAddress kLogin{.host = "proxy"};
    kLogin.user = "ann";
    kLogin.password = "x";
    HostAddress v6;
    v6.isV6 = true;
    v6.bytes[15] = 1;
    const std::string kByName = "\5\1\0\3\14pool.example\x12\x34"s;
    const std::string kDone = "\5\0\0\1\1\2\3\4\0\7"s;
    const struct {
        const ProxyAddress& proxy;
        std::optional<HostAddress> address;
        std::string answers, said;
    } kCases[] = {
        {kOpen, {}, "\5\0"s + kDone, "\5\1\0"s + kByName},
        {kOpen, HostAddress::V4(0x0100007F), "\5\0"s + kDone, "\5\1\0\5\1\0\1\x7F\0\0\1\x12\x34"s},
        {kOpen, v6, "\5\0\5\0\0\4"s + std::string(18, 'a'), "\5\1\0\5\1\0\4"s + std::string(15, '\0') + "\1\x12\x34"s},
        {kOpen, {}, "\5\0\5\0\0\3\3abc\0\0"s, "\5\1\0"s + kByName},
        {kLogin, {}, "\5\0"s + kDone, "\5\2\0\2"s + kByName},
        {kLogin, {}, "\5\2\1\0"s + kDone, "\5\2\0\2\1\3ann\1x"s + kByName},
    };
    for (const auto& test : kCases) {
        const Conversation talk = Talk(test.proxy, test.address, test.answers + "{\"the server's\"}");
        EXPECT_TRUE(talk.isConnected) << talk.failure;
        EXPECT_EQ(talk.said, test.said);
        EXPECT_EQ(talk.taken, test.answers.size()) << "what is behind it is the server's";
    }
}

TEST(SocksHandshake, SaysWhyItFailed) {
    ProxyAddress open{.host = "proxy"};
    ProxyAddress login = open;
    login.user = "ann";
    const std::pair<std::string, const char*> kCases[] = {
        {"HTTP/1.1 400", "does not speak SOCKS5"}, {"\5\xFF"s, "wants a user and a password"},
        {"\5\2"s, "wants a user and a password"},  {"\5\0HTTP/1.1"s, "does not speak SOCKS5"},
        {"\5\0\5\2\0\1\0"s, "does not allow"},     {"\5\0\5\5\0\1\0"s, "was refused by the pool's server"},
        {"\5\0\5\x63\0\1\0"s, "failed (99)"},      {"\5\0\5\0\0\2\0"s, "does not speak SOCKS5"},
    };
    for (const auto& [answers, reason] : kCases) {
        const Conversation talk = Talk(open, {}, answers);
        EXPECT_FALSE(talk.isConnected);
        EXPECT_NE(talk.failure.find(reason), std::string::npos) << talk.failure << ", not " << reason;
    }
    EXPECT_EQ(Talk(login, {}, "\5\2\1\1"s).failure, "The proxy refuses its user or password");
    EXPECT_EQ(Talk(open, {}, "\5\0\5"s).failure, "") << "more may come";
}

}  // namespace
