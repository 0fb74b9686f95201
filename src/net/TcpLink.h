#pragma once
#include "net/DataLink.h"
#include "net/SocketHandles.h"

// A link over a plain TCP socket of its own, non-blocking; requests are sent at once instead of being joined.
class CTcpLink final : public IDataLink {
  public:
    // dataEvent outlives the link.
    explicit CTcpLink(WSAEVENT dataEvent) : m_event(dataEvent) {}
    // A peer's, that was accepted; *error: 0, or why it cannot be used.
    CTcpLink(WSAEVENT dataEvent, CSocket accepted, std::uint32_t* error);

    std::uint32_t Connect(const HostAddress& address, std::uint32_t port) override;
    LinkEvents TakeEvents() override;
    LinkTransfer Receive(std::span<char> area) override;
    LinkTransfer Send(std::string_view bytes) override;

  private:
    const WSAEVENT m_event;
    CSocket m_socket;
};
