#include "serve/Serve.h"

#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <ostream>

#include "serve/Router.h"
#include "serve/Token.h"
#include "serve/WebServer.h"

namespace {

namespace asio = boost::asio;
using Tcp = asio::ip::tcp;

Tcp::endpoint Resolve(asio::io_context& io, const RigAddress& listen) {
    Tcp::resolver resolver(io);
    return resolver.resolve(listen.host, std::to_string(listen.port), Tcp::resolver::passive).begin()->endpoint();
}

std::vector<std::string> Hosts(const ServeRequest& request, const asio::ip::address& address) {
    std::vector<std::string> hosts = {"localhost", "127.0.0.1", "[::1]"};
    const std::string own = address.to_string();
    if (!address.is_unspecified()) hosts.push_back(address.is_v6() ? "[" + own + "]" : own);
    for (std::string host : request.hosts) {
        for (char& c : host)
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
        hosts.push_back(host);
    }
    return hosts;
}

void ShowToken(const WebToken& token, const CStateFolder& state, std::ostream& out) {
    if (token.fresh)
        out << "token for commands from the page (shown this once): " << token.text << "\nkept in "
            << state.TokenFile().string() << std::endl;
    else
        out << "commands from the page need the token in " << state.TokenFile().string() << " (--new-token makes another)"
            << std::endl;
}

}  // namespace

bool RunServe(const ServeRequest& request, std::ostream& out, std::ostream& err) {
    asio::io_context io(1);
    const CStateFolder state(request.stateFolder);
    const WebToken token = LoadWebToken(state, request.newToken);
    const Tcp::endpoint endpoint = Resolve(io, request.listen);
    CFleet fleet(io, request.rigs, request.token);
    CRouter router(fleet, token.text, Hosts(request, endpoint.address()));
    CWebServer server(io, endpoint, fleet, router);
    ShowToken(token, state, out);
    if (!endpoint.address().is_loopback())
        err << "note: others in the network can read the page, and see the token when it is used: there is no encryption\n";
    out << "serving " << request.rigs.size() << " rig(s) on http://" << RigAddress{request.listen.host, server.Port()}.Text()
        << "/" << std::endl;
    if (!out) return false;  // nobody would know where the page is

    const auto stop = [&](const boost::system::error_code& error) {
        if (!error) io.stop();
    };
    asio::signal_set signals(io, SIGINT, SIGTERM);
    signals.async_wait([&](const boost::system::error_code& error, int) { stop(error); });
    asio::steady_timer end(io);
    if (request.seconds > 0) {
        end.expires_after(std::chrono::milliseconds(static_cast<long>(request.seconds * 1000)));
        end.async_wait(stop);
    }
    fleet.Start();
    io.run();
    server.Stop();
    fleet.Stop();
    out << "ended" << std::endl;
    return true;
}
