#pragma once
#include <array>
#include <span>
#include "common/Time.h"
#include "net/NetworkInterfaceSocket.h"

inline constexpr std::size_t kReceiveArea = 4096;

// What the connection's thread runs: events of the one link that is there become callbacks of the transport. What differs
// between a client and a server is in the two classes below it; only they know how a link comes about and what follows its
// end. Lives on the connection's thread for the time of that. Throws nothing; what it calls may throw std::bad_alloc, which
// costs the connection.
class _NetworkInterfaceSocket::CLoop {
  public:
    virtual ~CLoop() = default;
    // The thread's exit code.
    std::uint32_t Run();

  protected:
    enum class Step { Continue, Stopped, Failed };
    enum class Reception { Data, Nothing, TooLong, Failed };

    explicit CLoop(_NetworkInterfaceSocket& io) : m_io(io), m_framer(io.m_delimiter, io.m_lineLimit) {}
    CLoop(const CLoop&) = delete;
    CLoop& operator=(const CLoop&) = delete;

    // ---- The mode's own part
    // -----------------------------------------------------------------------------------------------
    virtual Step Begin() { return Step::Continue; }
    // Does what is due before each wait. waits is to become false when there is nothing to wait for after it.
    virtual Step Prepare(bool& waits) = 0;
    virtual std::uint32_t WaitTime() = 0;  // ms, or INFINITE
    virtual Step EventsMissing() = 0;
    virtual Step WaitFailed(std::uint32_t error) = 0;
    virtual Step OnListenEvent() { return Step::Continue; }
    virtual Step LinkConnected(std::uint32_t error) = 0;
    // It cannot be asked or read any more.
    virtual Step LinkBroken(std::uint32_t error) = 0;
    virtual Step LinkClosed(std::uint32_t error) = 0;
    virtual Step LineTooLong() = 0;
    // DropConnection was called in a callback, and there is a link.
    virtual Step Dropped(const Drop& drop) = 0;
    // The link has gone already; how long to pause. Failed: the thread is to end.
    virtual Step OutOfMemory(bool wasConnected, std::uint32_t& pause) = 0;

    // ---- For it
    // ------------------------------------------------------------------------------------------------------------
    bool HasLink() const { return m_io.m_link != nullptr; }
    void SetLink(std::unique_ptr<IDataLink> link);
    void CloseLink();
    Step Pause(std::uint32_t milliseconds);
    static TimeSpan Now();
    static TimeSpan FromNow(std::uint32_t milliseconds) { return Now() + milliseconds * kTicksPerMillisecond; }
    // INFINITE without a moment.
    static std::uint32_t MillisecondsUntil(const std::optional<TimeSpan>& moment);
    static bool IsPast(const std::optional<TimeSpan>& moment) { return moment && Now() >= *moment; }
    // Of what is done because memory ran out: it may run out there again, and the loop goes on all the same.
    template <typename Action>
    static void TryWithoutMemory(Action action) {
        try {
            action();
        } catch (const std::bad_alloc&) {
            return;
        }
    }

    _NetworkInterfaceSocket& m_io;
    CNetworkEvent m_dataEvent;
    CNetworkEvent m_listenEvent;

  private:
    Step Pass();
    Step StarvedPass();
    Step WaitForEvent();
    Step OnDataEvent();
    Step OnReadable(std::uint32_t error);
    Step OnClosed(std::uint32_t error);
    Reception Receive();
    Reception Deliver(std::span<char> bytes);

    CLineFramer m_framer;
    std::array<char, kReceiveArea> m_area;
    std::uint32_t m_receiveError = 0;  // of the reception that failed
};

// From a name to a connection, and back after it has ended.
class _NetworkInterfaceSocket::CClientLoop final : public CLoop {
  public:
    explicit CClientLoop(_NetworkInterfaceSocket& io) : CLoop(io), m_plan(io.m_limits) {}

  private:
    Step Begin() override { return Pause(m_io.StartPause()); }
    Step Prepare(bool& waits) override;
    std::uint32_t WaitTime() override;
    Step EventsMissing() override;
    Step WaitFailed(std::uint32_t error) override;
    Step LinkConnected(std::uint32_t error) override;
    Step LinkBroken(std::uint32_t error) override;
    Step LinkClosed(std::uint32_t error) override { return LinkBroken(error); }
    Step LineTooLong() override { return LinkBroken(WSAECONNABORTED); }
    Step Dropped(const Drop& drop) override;
    Step OutOfMemory(bool wasConnected, std::uint32_t& pause) override;

    Step ConnectNext();
    Step LookUp();
    Step LinkFailed(const char* text, std::uint32_t error);
    Step AddressFailed(const char* text, std::uint32_t error);
    Step AttemptFailed(const char* text, std::uint32_t error);
    Step ConnectionEnded(const char* text, std::uint32_t error);

    CConnectPlan m_plan;
};

// Listens, and takes the next peer in the place of the one before.
class _NetworkInterfaceSocket::CServerLoop final : public CLoop {
  public:
    explicit CServerLoop(_NetworkInterfaceSocket& io) : CLoop(io), m_listenAt(Now()) {}

  private:
    Step Prepare(bool& waits) override;
    std::uint32_t WaitTime() override { return MillisecondsUntil(m_listenAt); }
    Step EventsMissing() override;
    Step WaitFailed(std::uint32_t) override { return Step::Continue; }
    Step OnListenEvent() override;
    Step LinkConnected(std::uint32_t) override { return Step::Continue; }
    // The state stays "connected", and the link in place, until the next peer comes. The listening socket is kept: to
    // replace it would turn away a peer that reconnects in just that moment.
    Step LinkBroken(std::uint32_t) override { return Step::Continue; }
    Step LinkClosed(std::uint32_t) override { return Step::Continue; }
    Step LineTooLong() override;
    Step Dropped(const Drop& drop) override;
    Step OutOfMemory(bool wasConnected, std::uint32_t& pause) override;

    Step Listen();
    std::optional<std::uint32_t> FindAddress(std::uint32_t& address);
    void ListenAnew(std::uint32_t error);
    void TellListening(std::uint32_t error);
    Step AcceptPeer();

    CSocket m_listening;
    std::optional<TimeSpan> m_listenAt;  // when to listen again
    unsigned m_listenTries = 0;          // in a row that failed
    std::uint32_t m_listenError = 0;     // last told by OnError
};
