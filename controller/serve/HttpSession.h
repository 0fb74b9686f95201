#pragma once
#include <boost/asio/ip/tcp.hpp>
#include <functional>
#include <memory>

#include "serve/Router.h"

// Hooks of the server that its sessions need; they outlive no session.
struct SessionCount {
    std::size_t open = 0;
    std::size_t live = 0;  // of these, with a WebSocket
};

inline constexpr std::size_t kMaxSessions = 256;
inline constexpr std::size_t kMaxLiveSessions = 32;

// Serves one connection until it ends: requests one after another, or a WebSocket with the live table. All bounded: header,
// body, time.
void ServeHttp(boost::asio::ip::tcp::socket socket, CFleet& fleet, CRouter& router, std::shared_ptr<SessionCount> count);
