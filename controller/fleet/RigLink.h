#pragma once
#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "fleet/Backoff.h"
#include "rig/Commands.h"
#include "rig/Reports.h"
#include "rig/RigAddress.h"

struct LinkTimes {
    std::chrono::milliseconds connect{5000};  // to get through
    std::chrono::milliseconds answer{5000};   // to a "connect"
    std::chrono::milliseconds quiet{10000};   // silence after which the rig is asked whether it is still there
    std::chrono::milliseconds firstPause{500};
    std::chrono::milliseconds longestPause{30000};
    std::chrono::milliseconds replaced{3000};  // leave to another controller before the place is taken back
};

// A rig tells its troubles right behind its "system" report: later than this nothing more of the answer comes.
inline constexpr std::chrono::milliseconds kTroubleGrace{250};

// Why a rig that takes connections may stay silent.
inline constexpr const char* kNoAnswer = "no answer (a token missing or wrong?)";

enum class LinkState { Down, Connecting, Waiting, Up };

class IRigEvents {
  public:
    virtual ~IRigEvents() = default;
    // reason: why the link is down, empty otherwise.
    virtual void OnLinkState(LinkState state, const std::string& reason) = 0;
    virtual void OnReport(Report report, std::string_view line) = 0;
    virtual void OnBadLine() = 0;
};

// The connection to one rig: connects, introduces itself, takes reports and, if asked to, connects again with growing
// pauses. Everything runs on the one thread of the io_context. After Stop no event comes any more.
class CRigLink : public std::enable_shared_from_this<CRigLink> {
  public:
    CRigLink(boost::asio::io_context& io, RigAddress address, std::string token, const LinkTimes& times, bool reconnect,
             IRigEvents& events);

    void Start();
    void Stop();
    // False: not connected, or the rig has not taken what was sent before.
    bool Send(std::string_view line);
    const CCommands& Commands() const { return m_commands; }
    // Whether the rig itself ended the last connection, as it does when another controller comes.
    bool IsReplaced() const { return m_isReplaced; }

  private:
    using Tcp = boost::asio::ip::tcp;
    using Error = boost::system::error_code;

    void Resolve();
    void Connect(const Tcp::resolver::results_type& endpoints);
    void OnConnected(const Error& error);
    void Read();
    void OnRead(const Error& error, std::size_t bytes);
    void TakeLine(std::string_view line);
    void Write();
    void AskForReport();
    void Lose(const Error& error);
    void Fail(const std::string& reason);
    void TakeDown(const std::string& reason, std::chrono::milliseconds pause);
    void SetState(LinkState state, const std::string& reason = {});
    void Arm(std::chrono::milliseconds pause, void (CRigLink::*action)());
    void OnSilent();
    bool IsStale(unsigned generation) const { return generation != m_generation || !m_events; }

    Tcp::resolver m_resolver;
    Tcp::socket m_socket;
    boost::asio::steady_timer m_timer;
    RigAddress m_address;
    CCommands m_commands;
    LinkTimes m_times;
    bool m_reconnect;
    IRigEvents* m_events;
    CBackoff m_backoff;
    LinkState m_state = LinkState::Down;
    unsigned m_generation = 0;  // of the socket; handlers of an earlier one do nothing
    unsigned m_armed = 0;       // counts timers set: one that has expired already may be replaced before its handler runs
    unsigned m_badLines = 0;    // in a row
    std::array<char, 4096> m_buffer{};
    std::string m_pending;  // an unfinished line
    std::string m_output;   // waits for the write in progress
    bool m_writing = false;
    bool m_isReplaced = false;
};
