#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include "net/SocketHandles.h"

// The far end of one connection, played by the test's own thread. Every operation is bounded; what does not happen within
// five seconds reads as "nothing" (or as "not closed").
class CPeerLink {
  public:
    CPeerLink() = default;
    explicit CPeerLink(CSocket socket) : m_socket(std::move(socket)) {}
    // To a server on this machine; tried again while it does not listen yet.
    static CPeerLink To(std::uint32_t port);

    bool IsOpen() const { return m_socket.IsOpen(); }
    bool Send(std::string_view bytes);
    std::string ReadLine();  // without its line feed
    bool IsClosedByOther();  // waits for the end of the stream
    void Close() { m_socket.Close(); }
    void Reset();  // ends the connection without a proper end

  private:
    bool Fill();

    CSocket m_socket;
    std::string m_pending;
};

// A listening socket of this machine at a port that the system chose.
class CScriptedPeer {
  public:
    explicit CScriptedPeer(int backlog = 8);
    std::uint32_t Port() const { return m_port; }
    CPeerLink Accept();
    void Close() { m_listening.Close(); }

    // A port where nobody listens.
    static std::uint32_t FreePort() { return CScriptedPeer().Port(); }

  private:
    CWinsockSession m_winsock;
    CSocket m_listening;
    std::uint32_t m_port = 0;
};
