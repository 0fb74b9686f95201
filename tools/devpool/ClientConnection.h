#pragma once
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "PoolProtocol.h"

// One client's socket: frames lines, feeds its protocol, sends what comes of it with the configured faults. Kept alive by
// its pending operations; every call on the io_context's thread.
class CClientConnection : public std::enable_shared_from_this<CClientConnection> {
  public:
    struct Callbacks {
        std::function<void(const std::string&)> event;
        std::function<void()> lineHandled;  // after the answers to a line were queued
        std::function<void(unsigned)> closed;
    };

    CClientConnection(boost::asio::ip::tcp::socket socket, const PoolContext& context, unsigned client, Callbacks callbacks);

    void Start();
    // Sends the current job when the client has logged in; tells whether it was.
    bool Announce();
    // Reads no more, and closes when everything queued was sent or could not be sent for some seconds.
    void Finish();
    void Close(const std::string& reason);

  private:
    void Read();
    void OnRead(const boost::system::error_code& error, std::size_t size);
    void HandleLine(std::size_t size);
    void Apply(const Exchange& exchange);
    void Queue(std::string line);
    void Pump();
    void Write();
    void OnWritten(const boost::system::error_code& error, std::size_t size);

    boost::asio::ip::tcp::socket m_socket;
    boost::asio::steady_timer m_delay;
    boost::asio::steady_timer m_finishTimer;
    const FaultOptions& m_faults;
    CPoolProtocol m_protocol;
    const unsigned m_client;
    Callbacks m_callbacks;
    std::string m_input;
    std::deque<std::string> m_output;
    std::size_t m_queuedBytes = 0;
    std::size_t m_sentOfLine = 0;
    std::size_t m_garbageSent = 0;
    unsigned m_linesRead = 0;
    bool m_sending = false;
    bool m_finishing = false;
    bool m_closed = false;
};
