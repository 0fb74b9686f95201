#pragma once
#include "net/SocksHandshake.h"
#include "net/TcpLink.h"

// A link that goes through a SOCKS5 proxy: it connects to the proxy, and counts as connected when that has connected to the
// server.
class CSocksLink final : public IDataLink {
  public:
    // host, port: the server's. dataEvent outlives the link.
    CSocksLink(WSAEVENT dataEvent, const ProxyAddress& proxy, const std::wstring& host, std::uint32_t port);

    // address, port: the proxy's.
    std::uint32_t Connect(const HostAddress& address, std::uint32_t port) override { return m_tcp.Connect(address, port); }
    LinkEvents TakeEvents() override;
    std::optional<LinkFailure> Failure() const override { return m_failure; }
    LinkTransfer Receive(std::span<char> area) override { return m_tcp.Receive(area); }
    LinkTransfer Send(std::string_view bytes) override { return m_tcp.Send(bytes); }

  private:
    LinkEvents Fail(std::string text, std::uint32_t code);
    bool SendAll(const std::string& text);

    enum class Phase { Connecting, Handshake, Open };

    CTcpLink m_tcp;
    CSocksHandshake m_handshake;
    Phase m_phase = Phase::Connecting;
    std::optional<LinkFailure> m_failure;
};
