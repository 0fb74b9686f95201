#pragma once
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <memory>

#include "fleet/Fleet.h"
#include "serve/HttpSession.h"

// Takes over a connection that asked for a WebSocket. Once a second the viewer is sent the rigs that have changed; by
// {"detail":[0,4]} it says of which it wants GPUs and errors too. A viewer that does not read is skipped, then dropped.
void ServeLive(boost::asio::ip::tcp::socket socket, boost::beast::http::request<boost::beast::http::string_body> request,
               CFleet& fleet, std::shared_ptr<SessionCount> count);
