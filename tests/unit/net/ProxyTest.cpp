#include <gtest/gtest.h>
#include <string>
#include "RecordingConnection.h"
#include "ScriptedPeer.h"
#include "net/SocksLink.h"

namespace {

using namespace std::string_literals;

class CProxied final : public _NetworkInterfaceSocket {
  public:
    explicit CProxied(std::uint32_t port) {
        m_limits.attempt = m_limits.address = 1000;
        SetFraming(true, '\n');
        std::wstring host = L"127.0.0.1";
        StartClient(host, port, 0);
    }
    ~CProxied() override { Stop(); }
    std::string Told() {
        const std::lock_guard lock(m_lock);
        return m_told;
    }

  private:
    std::unique_ptr<IDataLink> MakeLink(WSAEVENT event) override {
        return std::make_unique<CSocksLink>(event, ProxyAddress{.host = "proxy"}, L"pool.example", 4444);
    }
    void OnConnected(std::uint32_t) override { Send("hello\n"); }
    void OnDisconnected(std::uint32_t) override {}
    void OnDataReceived(char* data, std::uint32_t, ddt_datetime, std::uint32_t) override { Tell(data); }
    std::uint32_t OnConnectError(const char* text, std::uint32_t) override {
        Tell(text);
        return kKeepTrying;
    }
    std::uint32_t ReconnectPause(bool) override { return 60'000; }
    void Tell(const std::string& text) {
        const std::lock_guard lock(m_lock);
        m_told += text;
    }
    std::mutex m_lock;
    std::string m_told;
};

TEST(Proxy, CarriesTheConnectionOrSaysWhyNot) {
    const struct {
        std::string answers;  // all of it sent at once
        bool closes;
        const char* told;
    } kCases[] = {
        {"\5\0\5\0\0\1\1\2\3\4\0\7first\n"s, false, "first\n"},
        {"\5\0\5\5\0\1\0"s, false, "The proxy was refused by the pool's server"},
        {"\5\0\5"s, true, "The proxy closed the connection"},
        {"\5\0\5"s, false, "The proxy does not answer"},
    };
    for (const auto& test : kCases) {
        CScriptedPeer proxy;
        CProxied connection(proxy.Port());
        CPeerLink link = proxy.Accept();
        ASSERT_TRUE(link.Send(test.answers));
        if (test.closes) link.Close();
        EXPECT_TRUE(Eventually([&] { return connection.Told() == test.told; }))
            << connection.Told() << ", not " << test.told;
        if (test.told == "first\n"s) {
            EXPECT_TRUE(link.ReadLine().ends_with("hello"));
        }
    }
}

}  // namespace
