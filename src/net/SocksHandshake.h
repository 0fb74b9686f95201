#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include "common/IpAddress.h"
#include "common/ProxyAddress.h"

// What is said to a SOCKS5 proxy (RFC 1928, RFC 1929) until it has connected to a server: bytes in, bytes out. A value.
class CSocksHandshake {
  public:
    // host: resolved by the proxy, unless it is an address already. At most 255 bytes.
    CSocksHandshake(const ProxyAddress& proxy, std::string host, std::optional<HostAddress> address, std::uint32_t port);

    // What is to be sent first.
    std::string Greeting() const;
    // How many bytes of the proxy's are to be given to Take next, not one more. 0: it is over.
    std::size_t Needed() const { return IsOver() ? 0 : m_needed - m_got.size(); }
    // Up to that many; what is to be sent.
    std::string Take(std::string_view bytes);

    bool IsConnected() const { return m_stage == Stage::Connected; }
    // Why it failed, for the user; empty: it has not.
    const std::string& Failure() const { return m_failure; }

  private:
    enum class Stage { Method, Login, Answer, Address, Connected, Failed };

    bool IsOver() const { return m_stage == Stage::Connected || m_stage == Stage::Failed; }
    std::string Go(Stage stage, std::size_t needed, std::string send = {});
    std::string Fail(std::string reason);
    std::string TakeMethod();
    std::string TakeAnswer();
    std::string Request() const;

    ProxyAddress m_proxy;
    std::string m_host;
    std::optional<HostAddress> m_address;
    std::uint32_t m_port;
    Stage m_stage = Stage::Method;
    std::size_t m_needed = 2;
    std::string m_got;
    std::string m_failure;
};
