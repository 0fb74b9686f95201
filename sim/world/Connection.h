#pragma once
#include <optional>
#include <string>
#include "net/ConnectPlan.h"
#include "net/LineFramer.h"
#include "pool/StratumRequests.h"
#include "pool/StratumSession.h"
#include "world/Network.h"
#include "world/Promises.h"

// What a connection of the rig needs of the world around it.
struct ConnectionWorld {
    CKernel& kernel;
    const CRigClock& clock;
    CNetwork& network;
    const CConditions& conditions;
    CPromises& promises;
};

class CSimConnection;

// Where a connection's posts go: the windows.
class IConnectionWindows {
  public:
    virtual ~IConnectionWindows() = default;
    virtual void PostToPlugIn(unsigned message, CSimConnection& source) = 0;
    virtual void PostSwitch(CSimConnection& connection) = 0;
    virtual void ConnectionLog(const std::string& text) = 0;
};

// The real session over a simulated transport: what the transport's thread does is done by events of the kernel, with the
// real plan of what to connect to and the real framing of lines.
class CSimConnection final : public IPoolConnection, public IStratumOutput {
  public:
    CSimConnection(const ConnectionWorld& world, StratumKind kind, IStratumHost& host, IConnectionWindows& windows);
    ~CSimConnection() override;

    CStratumSession& Session() override { return m_session; }
    void Connect() override;
    void CloseConnection() override;
    bool IsRunning() const override { return m_running; }
    std::uint32_t SendRequest(std::string_view text) override { return SendText(text); }

    // The pool on the other side of a connection that carries bytes; null: none.
    const CWire* AliveWire() const { return m_wire && !m_wire->isDead && !m_wire->isClosed ? m_wire.get() : nullptr; }

    std::uint32_t SendText(std::string_view text) override;
    void DropConnection(const std::string& text, std::uint32_t code) override { m_drop = {text, code}; }
    void PostWork(unsigned message) override { m_windows.PostToPlugIn(message, *this); }
    void PostPoolSwitch() override { m_windows.PostSwitch(*this); }
    void LogText(const std::string& text) override { m_windows.ConnectionLog(text); }

  private:
    struct Drop {
        std::string text;
        std::uint32_t code;
    };

    void Pause(std::uint32_t milliseconds);
    void ConnectNext();
    void LookedUp(const LookUpAnswer& answer);
    void AttemptEnded(std::uint64_t attempt, std::uint32_t error, const WirePointer& wire);
    void AddressFailed(const char* text, std::uint32_t error);
    void AttemptFailed(const char* text, std::uint32_t error);
    void ConnectionEnded(const std::string& text, std::uint32_t error);
    void Receive(std::string_view bytes);
    void Tick(std::uint64_t attempt);
    void CarryOutDrop();
    void CloseLink();

    const ConnectionWorld m_world;
    IConnectionWindows& m_windows;
    CKernel::Owner m_owner = 0;
    bool m_running = false;
    std::wstring m_host;
    std::optional<CConnectPlan> m_plan;
    CLineFramer m_framer{'\n'};
    std::uint64_t m_attempt = 0;  // what belongs to an earlier one is of no interest
    WirePointer m_wire;
    std::optional<Drop> m_drop;
    CStratumSession m_session;
};
