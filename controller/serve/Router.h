#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fleet/Fleet.h"

struct HttpRequest {
    std::string method;
    std::string target;
    std::string host;
    std::string origin;  // empty: none was sent
    std::string authorization;
    std::string contentType;
    std::string body;
};

struct HttpReply {
    unsigned status = 200;
    std::string contentType = "text/plain; charset=utf-8";
    std::string body;
};

// What is answered to a request, without the transport: static files, the live data, the metrics and the commands.
class CRouter {
  public:
    // hosts: the names without port under which this server may be asked for.
    CRouter(CFleet& fleet, std::string token, std::vector<std::string> hosts);

    // A page elsewhere whose name was made to lead here gets nothing, and neither does a page of another origin.
    std::optional<HttpReply> Refusal(const HttpRequest& request) const;
    HttpReply Answer(const HttpRequest& request);

  private:
    HttpReply Read(std::string_view path, std::string_view query) const;
    HttpReply Command(std::string_view path, const HttpRequest& request);
    HttpReply CarryOut(std::size_t rig, std::string_view action, const std::string& body);
    std::string Metrics() const;

    CFleet& m_fleet;
    std::string m_token;
    std::vector<std::string> m_hosts;
};
