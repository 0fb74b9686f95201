#include "net/SocksHandshake.h"

#include <utility>

namespace {

constexpr char kVersion = 5;
constexpr char kNoLogin = 0;
constexpr char kUserAndPassword = 2;
constexpr char kLoginVersion = 1;
constexpr char kConnect = 1;
constexpr char kIpv4 = 1;
constexpr char kName = 3;
constexpr char kIpv6 = 4;
constexpr std::size_t kMethodBytes = 2;
constexpr std::size_t kAnswerBytes = 5;  // to the first byte of the address, which of a name is its length
constexpr char kNoProxy[] = "The proxy does not speak SOCKS5";

std::string AnswerText(char code) {
    constexpr const char* kTexts[] = {"failed",
                                      "does not allow the connection",
                                      "has no route to the network of the pool's server",
                                      "has no route to the pool's server or does not find it",
                                      "was refused by the pool's server",
                                      "gave up waiting for the pool's server",
                                      "makes no connections",
                                      "does not take this kind of address"};
    const auto index = static_cast<std::size_t>(static_cast<unsigned char>(code)) - 1;
    if (index < std::size(kTexts)) return std::string("The proxy ") + kTexts[index];
    return "The proxy failed (" + std::to_string(index + 1) + ")";
}

std::string Counted(std::string_view text) {
    return std::string(1, static_cast<char>(text.size())).append(text);
}

}  // namespace

CSocksHandshake::CSocksHandshake(const ProxyAddress& proxy, std::string host, std::optional<HostAddress> address,
                                 std::uint32_t port)
    : m_proxy(proxy), m_host(std::move(host)), m_address(address), m_port(port) {}

std::string CSocksHandshake::Greeting() const {
    if (m_proxy.user.empty()) return {kVersion, 1, kNoLogin};
    return {kVersion, 2, kNoLogin, kUserAndPassword};
}

std::string CSocksHandshake::Take(std::string_view bytes) {
    m_got += bytes;
    if (IsOver() || m_got.size() < m_needed) return {};
    switch (m_stage) {
        case Stage::Method:
            return TakeMethod();
        case Stage::Login:
            return m_got[1] == 0 ? Go(Stage::Answer, kAnswerBytes, Request())
                                 : Fail("The proxy refuses its user or password");
        case Stage::Answer:
            return TakeAnswer();
        default:
            return Go(Stage::Connected, 0);
    }
}

std::string CSocksHandshake::TakeMethod() {
    if (m_got[0] != kVersion) return Fail(kNoProxy);
    if (m_got[1] == kNoLogin) return Go(Stage::Answer, kAnswerBytes, Request());
    if (m_got[1] != kUserAndPassword || m_proxy.user.empty())
        return Fail("The proxy wants a user and a password, or another way to log in");
    return Go(Stage::Login, kMethodBytes, std::string(1, kLoginVersion) + Counted(m_proxy.user) + Counted(m_proxy.password));
}

std::string CSocksHandshake::TakeAnswer() {
    if (m_got[0] != kVersion) return Fail(kNoProxy);
    if (m_got[1] != 0) return Fail(AnswerText(m_got[1]));
    // Where the proxy connects from, which is of no use here; of an address one byte was taken already.
    constexpr std::size_t kPortBytes = 2;
    switch (m_got[3]) {
        case kIpv4:
            return Go(Stage::Address, 4 - 1 + kPortBytes);
        case kIpv6:
            return Go(Stage::Address, 16 - 1 + kPortBytes);
        case kName:
            return Go(Stage::Address, static_cast<unsigned char>(m_got[4]) + kPortBytes);
        default:
            return Fail(kNoProxy);
    }
}

std::string CSocksHandshake::Request() const {
    std::string request = {kVersion, kConnect, 0};
    if (m_address) {
        request += m_address->isV6 ? kIpv6 : kIpv4;
        request.append(reinterpret_cast<const char*>(m_address->bytes.data()), m_address->isV6 ? 16 : 4);
    } else {
        request += kName;
        request += Counted(m_host);
    }
    return request.append({static_cast<char>(m_port >> 8), static_cast<char>(m_port & 0xFF)});
}

std::string CSocksHandshake::Go(Stage stage, std::size_t needed, std::string send) {
    m_stage = stage;
    m_needed = needed;
    m_got.clear();
    return send;
}

std::string CSocksHandshake::Fail(std::string reason) {
    m_failure = std::move(reason);
    return Go(Stage::Failed, 0);
}
