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

// Where tls-pools.sh has put somebody before the peer who decrypts: QV_TLS_FRONT holds his port and the peer's.
struct TlsFront {
    std::uint32_t port = 0;  // 0: nobody is there
    std::uint32_t peerPort = 0;
    static TlsFront FromEnvironment();
};

// A listening socket of this machine at a port that the system chose, or behind the one who decrypts.
class CScriptedPeer {
  public:
    explicit CScriptedPeer(int backlog = 8, TlsFront front = TlsFront::FromEnvironment());
    // Where to connect to.
    std::uint32_t Port() const { return m_front.port != 0 ? m_front.port : m_port; }
    bool IsEncrypted() const { return m_front.port != 0; }
    CPeerLink Accept();
    bool HasVisitor() const;  // now
    void Close() { m_listening.Close(); }

    // A port where nobody listens.
    static std::uint32_t FreePort() { return CScriptedPeer(1, {}).Port(); }

  private:
    CWinsockSession m_winsock;
    CSocket m_listening;
    const TlsFront m_front;
    std::uint32_t m_port = 0;
};
