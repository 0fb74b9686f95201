#pragma once
#include <winsock2.h>
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include "net/ConnectPlan.h"
#include "net/DataLink.h"
#include "net/HostLookup.h"
#include "net/LineFramer.h"
#include "net/NetworkInterfaceIO.h"
#include "net/SocketHandles.h"

// What the connection's thread does between connections.
enum class ConnectActivity { Resolving, Connecting };

// TCP client (with reconnection) or one-peer server over Windows Sockets, event-select model, one thread per object.
//
// Owner thread: StartClient, StartServer, Stop, destructor. Any thread: Send. A class that derives from this must call Stop
// in its own destructor, before its members go.
//
// The thread has no operation of unbounded length, so Stop takes effect at once: sockets are non-blocking, names are looked
// up on a thread that is left behind, and every wait, pauses included, ends with the stop event. Only a callback that blocks
// can hold it up; callbacks must not block.
//
// Nothing but Stop and an answer of OnConnectError other than kKeepTrying ends the thread. A client that cannot connect
// calls OnConnectError once per attempt, waits ReconnectPause and begins anew with a look-up. An attempt tries all addresses
// of the host in the resolver's order; while the resolver fails, those that it gave before. After a lost connection the
// address that worked comes first. A server that cannot listen says so by OnError and tries again. Where memory runs out, a
// callback's allocations included, the connection is given up and the loop goes on.
class _NetworkInterfaceSocket : public _NetworkInterfaceIO {
  public:
    // resolver outlives the process's use of it: a look-up may still run after the object has gone. The default asks the
    // system.
    explicit _NetworkInterfaceSocket(IResolver& resolver = SystemResolver());
    ~_NetworkInterfaceSocket() override;

    // Both do nothing while the thread runs.
    // hostText: see CutPort, which takes the port off it. Resolution happens on the connection's thread, so this
    // never waits for a name server.
    void StartClient(std::wstring& hostText, std::uint32_t defaultPort, std::uint32_t option);
    void StartServer(const EndpointRecord& endpoint);
    // Signals the thread and waits at most 5000 ms. True: the thread has ended.
    bool Stop();

    // One send call for the whole text; short sends are not retried. Returns 0 or the Windows Sockets error, WSAENOTCONN
    // when there is no connection. Does not block, allocates nothing; sends of several threads do not interleave. Calls
    // OnDataSent under the lock that makes senders take turns, so that no reply can be received before OnDataSent has
    // returned: it must be short, must not call Send, and takes only locks under which nobody sends.
    std::uint32_t Send(std::string_view bytes, std::uintptr_t userValue = 0);

    // Set before the thread starts.
    void SetFraming(bool on, char delimiter);
    // What a peer may send without a delimiter before the connection counts as lost (framing only).
    void SetLineLimit(std::size_t bytes) { m_lineLimit = bytes; }

    void OnDataSent(std::string_view, std::uint32_t, ddt_datetime, std::uint32_t, std::uintptr_t) override {}
    // "ReadData" with the error; "Listen" with the error, or with 0 when it works after all, once per change; "Resolve" when
    // a look-up failed and addresses found earlier are tried.
    void OnError(const char*, std::uint32_t) override {}
    // Client: "Connect failed", "Connect timed out", "Connection lost", "Out of memory", the text of DropConnection, or for
    // a failed look-up the system's text or "Host not found". That the resolver asks to try again (WSATRY_AGAIN) is reported
    // from the sixth time in a row on; until then the name is looked up again after the reconnect interval.
    std::uint32_t OnConnectError(const char*, std::uint32_t) override { return kKeepTrying; }
    // Server: a peer was accepted and is about to take the place of the one before, if any. Called for every peer, unlike
    // OnConnected, which is for changes of the state.
    virtual void OnPeerAccepted(const HostAddress&, std::uint32_t /*port*/) {}

    // All on the connection's thread; client mode only.
    // Before each look-up, target: the host; before each address, target: "1.2.3.4:4444" or "[::1]:4444".
    virtual void OnActivity(ConnectActivity, const std::string&) {}
    // Before OnConnected, of a connection that is encrypted: how, and with whom; narrow text.
    virtual void OnSecured(const std::string&) {}
    // How long to wait, in ms, before the next attempt. afterConnect: the last one was established (and lost) rather than
    // failed. The default: 0 after an established connection, 2000 otherwise.
    virtual std::uint32_t ReconnectPause(bool afterConnect);
    // The same before the first attempt of a thread.
    virtual std::uint32_t StartPause() { return 0; }
    // Called at the start of every wait of the loop while a connection is established or being established, so after every
    // event and batch of lines, but neither during a look-up nor during a pause: does what is due and returns in how many ms
    // it wants to be called again. INFINITE: not.
    virtual std::uint32_t OnTimer() { return INFINITE; }

    void OnHook1() override {}
    void OnHook2() override {}
    void OnHook3() override {}
    void OnHook4() override {}
    void OnStart() override {}
    void OnStop() override {}
    std::uint32_t IoLoop(void* argument) override;

  protected:
    // From a callback on the connection's own thread: ends this connection as soon as the callback has returned; what was
    // received behind the line of that callback is dropped unread. Client: as if the peer had ended it, OnConnectError(text,
    // code), then OnDisconnected. Server: OnDisconnected; it goes on listening. Without a connection it does nothing.
    void DropConnection(std::string text, std::uint32_t code);

    SocketLimits m_limits;  // changed before the thread starts

    // What carries the bytes of the next connection of a client; it signals dataEvent. On the connection's thread. The
    // default: a plain socket.
    virtual std::unique_ptr<IDataLink> MakeLink(WSAEVENT dataEvent);

  private:
    class CLoop;        // what the thread runs (SocketLoop.h):
    class CClientLoop;  // a client's
    class CServerLoop;  // or a server's

    bool PrepareStart();
    void Launch();

    struct Drop {
        std::string text;
        std::uint32_t code;
    };

    CWinsockSession m_winsock;
    CHostLookup m_lookUp;
    std::atomic<bool> m_stopping{false};  // the stop event, cheap to ask between two lines
    bool m_framing = false;
    char m_delimiter = '\n';
    std::size_t m_lineLimit = kMaximumPendingBytes;

    // Held by a sender from its send call until OnDataSent has returned, and by the thread while it exchanges the link, so
    // that no text is ever written to a link that has gone. The thread itself reads m_link without it. One sender at a time:
    // Wine answers the second of two simultaneous sends on a non-blocking socket with WSAEWOULDBLOCK.
    std::mutex m_dataLock;
    std::unique_ptr<IDataLink> m_link;  // null: there is no connection
    std::optional<Drop> m_drop;         // the thread's own
};
