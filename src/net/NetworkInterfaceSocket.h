#pragma once
#include <winsock2.h>
#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include "net/LineFramer.h"
#include "net/NetworkInterfaceIO.h"
#include "net/Resolver.h"
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
class _NetworkInterfaceSocket : public _NetworkInterfaceIO {
  public:
    // resolver outlives the process's use of it: a look-up may still run after the object has gone. The default asks the
    // system.
    explicit _NetworkInterfaceSocket(IResolver& resolver = SystemResolver());
    ~_NetworkInterfaceSocket() override;

    // Both do nothing while the thread runs.
    // hostText: "host" or "host:port"; cut at the colon in place. Resolution happens on the connection's thread, so this
    // never waits for a name server.
    void StartClient(std::wstring& hostText, std::uint32_t defaultPort, std::uint32_t option);
    void StartServer(const EndpointRecord& endpoint);
    // Signals the thread and waits at most 5000 ms. True: the thread has ended.
    bool Stop();

    // One send call for the whole text; short sends are not retried. Returns 0 or the Windows Sockets error, WSAENOTCONN
    // when there is no connection. Does not block, allocates nothing; sends of several threads do not interleave.
    std::uint32_t Send(std::string_view bytes, std::uintptr_t userValue = 0);

    // Set before the thread starts.
    void SetFraming(bool on, char delimiter);
    // What a peer may send without a delimiter before the connection counts as lost (framing only).
    void SetLineLimit(std::size_t bytes) { m_lineLimit = bytes; }

    void OnDataSent(std::string_view, std::uint32_t, ddt_datetime, std::uint32_t, std::uintptr_t) override {}
    // "ReadData" with the error; "Listen" with the error, or with 0 when it works after all.
    void OnError(const char*, std::uint32_t) override {}
    std::uint32_t OnConnectError(const char*, std::uint32_t) override { return kKeepTrying; }
    // Server: a peer was accepted and is about to take the place of the one before, if any. Called for every peer, unlike
    // OnConnected, which is for changes of the state.
    virtual void OnPeerAccepted() {}

    // All on the connection's thread; client mode only.
    // target: the host, or the address being tried as "1.2.3.4:4444" or "[::1]:4444".
    virtual void OnActivity(ConnectActivity, const std::string&) {}
    // How long to wait, in ms, before the next attempt. afterConnect: the last one was established (and lost) rather than
    // failed. The default: 0 after an established connection, 2000 otherwise.
    virtual std::uint32_t ReconnectPause(bool afterConnect);
    // Called at the start of every wait of the loop while a connection is established or being established, so after every
    // event and batch of lines: does what is due and returns in how many ms it wants to be called again. INFINITE: not.
    virtual std::uint32_t OnTimer() { return INFINITE; }

    void OnHook1() override {}
    void OnHook2() override {}
    void OnHook3() override {}
    void OnHook4() override {}
    void OnStart() override {}
    void OnStop() override {}
    std::uint32_t IoLoop(void* argument) override;

  protected:
    // From a callback on the connection's own thread: ends this connection as soon as the callback has returned, as if the
    // peer had: OnConnectError(text, code), then OnDisconnected. Client mode only; without a connection it does nothing.
    void DropConnection(std::string text, std::uint32_t code);

  private:
    struct Loop;  // what the loop holds while it runs
    enum class Step { Continue, Stopped, Failed };
    enum class Reception { Data, Nothing, TooLong };

    bool PrepareStart();
    void Launch();
    void SetDataSocket(CSocket socket);
    void CloseDataSocket(Loop& loop);

    // The loop's steps, on the connection's thread.
    Step RunLoop(Loop& loop);
    Step Pass(Loop& loop);
    Step ResolveHost(Loop& loop);
    Step Connect(Loop& loop);
    Step WaitForEvent(Loop& loop);
    Step WaitTimedOut(Loop& loop);
    Step Pause(std::uint32_t milliseconds);

    Step OnDataEvent(Loop& loop);
    Step OnConnectEvent(Loop& loop, std::uint32_t error);
    Step OnCloseEvent(Loop& loop, std::uint32_t error);
    Step ConnectionLost(Loop& loop, const char* text, std::uint32_t error);
    Step Dropped(Loop& loop);
    Step LineTooLong(Loop& loop);
    Reception Receive(Loop& loop, bool reportErrors);
    Reception Deliver(Loop& loop, std::span<char> bytes);

    Step OnListenEvent(Loop& loop);
    Step Listen(Loop& loop);
    void AcceptPeer(Loop& loop);

    struct Drop {
        std::string text;
        std::uint32_t code;
    };

    CWinsockSession m_winsock;
    IResolver& m_resolver;
    std::atomic<bool> m_stopping{false};  // the stop event, cheap to ask between two lines
    bool m_framing = false;
    char m_delimiter = '\n';
    std::size_t m_lineLimit = kMaximumPendingBytes;

    // Held by a sender during its send call and by the thread while it exchanges the socket, so that no text is ever written
    // to a handle that was closed and given to something else meanwhile. The thread itself reads m_data without it. One
    // sender at a time: Wine answers the second of two simultaneous sends on a non-blocking socket with WSAEWOULDBLOCK.
    std::mutex m_dataLock;
    CSocket m_data;
    CSocket m_listening;
    std::optional<Drop> m_drop;  // the thread's own
};
