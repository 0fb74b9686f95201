#include "serve/Router.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <charconv>

#include "common/TextCompare.h"
#include "rig/Commands.h"
#include "serve/FleetJson.h"
#include "serve/Metrics.h"
#include "serve/StaticFiles.h"
#include "serve/Token.h"

namespace {

HttpReply Plain(unsigned status, std::string text) {
    HttpReply reply;
    reply.status = status;
    reply.body = std::move(text) + "\n";
    return reply;
}

HttpReply Json(std::string text) {
    return {200, "application/json", std::move(text)};
}

std::string WithoutPort(const std::string& host) {
    const std::size_t bracket = host.rfind(']');
    const std::size_t colon = host.rfind(':');
    const bool hasPort = colon != std::string::npos && (bracket == std::string::npos || colon > bracket);
    return hasPort ? host.substr(0, colon) : host;
}

std::optional<std::size_t> Index(std::string_view text, std::size_t size) {
    std::size_t index = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
    if (error != std::errc() || end != text.data() + text.size() || index >= size) return std::nullopt;
    return index;
}

// {"name": "..."}
std::optional<std::string> NameOf(const std::string& body) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(body.data(), body.size());
    if (document.HasParseError() || !document.IsObject()) return std::nullopt;
    const rapidjson::Value& object = document;
    const auto name = object.FindMember("name");
    if (name == object.MemberEnd() || !name->value.IsString()) return std::nullopt;
    return std::string(name->value.GetString(), name->value.GetStringLength());
}

}  // namespace

CRouter::CRouter(CFleet& fleet, std::string token, std::vector<std::string> hosts)
    : m_fleet(fleet), m_token(std::move(token)), m_hosts(std::move(hosts)) {}

std::optional<HttpReply> CRouter::Refusal(const HttpRequest& request) const {
    std::string host = WithoutPort(request.host);
    std::transform(host.begin(), host.end(), host.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    if (std::find(m_hosts.begin(), m_hosts.end(), host) == m_hosts.end())
        return Plain(421, "This server is not known by that name (see --allow-host).");
    if (!request.origin.empty() && request.origin != "http://" + request.host && request.origin != "https://" + request.host)
        return Plain(403, "Pages of other origins are not answered.");
    return std::nullopt;
}

HttpReply CRouter::Answer(const HttpRequest& request) {
    if (auto refusal = Refusal(request)) return *refusal;
    const std::string_view target = request.target;
    const std::size_t mark = std::min(target.find('?'), target.size());
    const std::string_view path = target.substr(0, mark);
    if (request.method == "GET" || request.method == "HEAD")
        return Read(path, target.substr(std::min(mark + 1, target.size())));
    if (request.method == "POST") return Command(path, request);
    return Plain(405, "Only GET, HEAD and POST.");
}

HttpReply CRouter::Read(std::string_view path, std::string_view query) const {
    if (const StaticFile* const file = FindStaticFile(path)) return {200, file->contentType, std::string(file->content)};
    if (path == "/metrics") return {200, "text/plain; version=0.0.4; charset=utf-8", Metrics()};
    if (path == "/api/fleet") {
        std::vector<std::size_t> all(m_fleet.Size());
        for (std::size_t i = 0; i < all.size(); ++i)
            all[i] = i;
        return Json(FleetJson(m_fleet, 0, all));
    }
    if (path == "/api/history") {
        if (query.empty()) return Json(HistoryJson(m_fleet.History()));
        const auto rig = query.starts_with("rig=") ? Index(query.substr(4), m_fleet.Size()) : std::nullopt;
        if (rig) return Json(HistoryJson(m_fleet.Rig(*rig).history));
    }
    return Plain(404, "There is nothing here.");
}

HttpReply CRouter::Command(std::string_view path, const HttpRequest& request) {
    constexpr std::string_view kPrefix = "/api/rigs/";
    constexpr std::string_view kBearer = "Bearer ";
    const std::string_view given = request.authorization;
    if (!given.starts_with(kBearer) || !EqualSecrets(given.substr(kBearer.size()), m_token))
        return Plain(401, "Commands need the token that was shown at the first start.");
    if (!request.contentType.starts_with("application/json")) return Plain(415, "Commands are sent as application/json.");
    if (!path.starts_with(kPrefix)) return Plain(404, "There is no such command.");
    path.remove_prefix(kPrefix.size());
    const std::size_t slash = std::min(path.find('/'), path.size());
    const auto rig = Index(path.substr(0, slash), m_fleet.Size());
    if (!rig) return Plain(404, "There is no such rig.");
    return CarryOut(*rig, path.substr(slash), request.body);
}

HttpReply CRouter::CarryOut(std::size_t rig, std::string_view action, const std::string& body) {
    bool sent = false;
    if (action == "/start") {
        sent = m_fleet.StartMining(rig);
    } else if (action == "/stop") {
        sent = m_fleet.StopMining(rig);
    } else if (action == "/worker") {
        const auto name = NameOf(body);
        if (!name) return Plain(400, "The body must be an object with a \"name\".");
        const std::string mistake = WorkerNameMistake(*name);
        if (!mistake.empty()) return Plain(400, mistake);
        sent = m_fleet.SetWorker(rig, *name);
    } else {
        return Plain(404, "There is no such command.");
    }
    // Sent, not done: the rig does not answer commands, its reports show what came of it.
    return sent ? Plain(202, "Sent.") : Plain(503, "The rig is not connected.");
}

std::string CRouter::Metrics() const {
    std::vector<const RigView*> rigs;
    for (std::size_t i = 0; i < m_fleet.Size(); ++i)
        rigs.push_back(&m_fleet.Rig(i));
    return MetricsText(rigs, std::chrono::steady_clock::now());
}
