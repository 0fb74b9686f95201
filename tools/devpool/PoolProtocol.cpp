#include "PoolProtocol.h"

#include <array>
#include <utility>

#include "HexField.h"
#include "Target.h"
#include "Text.h"
#include "common/Hex.h"

namespace {

constexpr unsigned kMaxBadLines = 8;
constexpr ReplyError kMalformed = {20, "Malformed request"};
constexpr ReplyError kNotSubscribed = {20, "Not subscribed"};
constexpr ReplyError kNotLoggedIn = {24, "Unauthorized worker"};
constexpr ReplyError kInvalidUser = {24, "Invalid user provided"};
constexpr ReplyError kUnknownMethod = {-3, "Method not found"};

constexpr unsigned Bit(Dialect dialect) {
    return 1U << static_cast<unsigned>(dialect);
}
constexpr unsigned kEthProxy = Bit(Dialect::EthProxy);
constexpr unsigned kNiceHash = Bit(Dialect::NiceHash);
constexpr unsigned kStratum = Bit(Dialect::Plain) | kNiceHash | Bit(Dialect::Host);

std::string NumberedHex(unsigned number, unsigned bytes) {
    std::array<std::uint8_t, 4> value{};
    for (unsigned i = 0; i < bytes; ++i)
        value[bytes - 1 - i] = static_cast<std::uint8_t>(number >> (8 * i));
    return HexText(std::span(value).first(bytes));
}

// The dialect that a connection's first request belongs to.
std::optional<Dialect> DialectOf(const PoolRequest& request) {
    if (request.method.starts_with("eth_")) return Dialect::EthProxy;
    if (request.method != "mining.subscribe") return std::nullopt;
    const auto& parameters = request.parameters;
    if (parameters.size() >= 2 && parameters[1] && parameters[1]->starts_with("EthereumStratum/")) return Dialect::NiceHash;
    return parameters.size() == 4 ? Dialect::Host : Dialect::Plain;
}

std::string ErrorText(const ReplyError& error) {
    return "reason=\"" + std::string(error.text) + "\" code=" + std::to_string(error.code);
}

}  // namespace

struct CPoolProtocol::Route {
    std::string_view method;
    unsigned dialects;
    void (CPoolProtocol::*handler)(const PoolRequest&, PoolTime);
};

const CPoolProtocol::Route* CPoolProtocol::FindRoute(Dialect dialect, std::string_view method) {
    static constexpr std::array<Route, 8> kRoutes = {{
        {"eth_submitLogin", kEthProxy, &CPoolProtocol::LogIn},
        {"eth_getWork", kEthProxy, &CPoolProtocol::GetWork},
        {"eth_submitWork", kEthProxy, &CPoolProtocol::Submit},
        {"eth_submitHashrate", kEthProxy | kStratum, &CPoolProtocol::ReportHashRate},
        {"mining.subscribe", kStratum, &CPoolProtocol::Subscribe},
        {"mining.extranonce.subscribe", kNiceHash, &CPoolProtocol::SubscribeExtranonce},
        {"mining.authorize", kStratum, &CPoolProtocol::LogIn},
        {"mining.submit", kStratum, &CPoolProtocol::Submit},
    }};
    for (const Route& route : kRoutes) {
        if (route.method == method && (route.dialects & Bit(dialect)) != 0) return &route;
    }
    return nullptr;
}

CPoolProtocol::CPoolProtocol(const PoolContext& context, unsigned client) : m_context(context), m_client(client) {}

Exchange CPoolProtocol::Receive(std::string_view line, PoolTime now) {
    const auto request = ParseRequest(line);
    if (!request) {
        RefuseLine({});
    } else if (SettleDialect(*request)) {
        if (const Route* const route = FindRoute(*m_dialect, request->method)) {
            (this->*route->handler)(*request, now);
        } else {
            Event("unknown method " + Printable(request->method));
            Refuse(*request, kUnknownMethod);
        }
    }
    return std::exchange(m_out, {});
}

Exchange CPoolProtocol::Announce(PoolTime now) {
    if (m_loggedIn) PushJob(now);
    return std::exchange(m_out, {});
}

// False when the request got its answer here.
bool CPoolProtocol::SettleDialect(const PoolRequest& request) {
    if (m_dialect) return true;
    const auto spoken = DialectOf(request);
    const PoolOptions& options = m_context.options;
    if (!spoken) {
        if (options.dialect) {
            Drop("its first request is no subscription");
        } else {
            Refuse(request, kNotSubscribed);
        }
        return false;
    }
    const std::string name(DialectName(*spoken));
    if (static_cast<int>(*spoken) < options.faults.dropUntilMode) {
        Drop("it speaks mode " + name + ", lower modes than " + std::to_string(options.faults.dropUntilMode) +
             " are dropped");
        return false;
    }
    if (options.dialect && *options.dialect != *spoken) {
        Drop("it speaks mode " + name + ", not " + std::string(DialectName(*options.dialect)));
        return false;
    }
    m_dialect = options.faults.announceNiceHash && *spoken != Dialect::EthProxy ? Dialect::NiceHash : *spoken;
    m_boundary = m_dialect == Dialect::NiceHash ? BoundaryOfStratumDifficulty(StratumDifficultyOf(options.difficulty))
                                                : BoundaryOfDifficulty(options.difficulty);
    return true;
}

void CPoolProtocol::Event(const std::string& text) {
    m_out.events.push_back("client " + std::to_string(m_client) + " " + text);
}

void CPoolProtocol::Drop(const std::string& reason) {
    Event("dropped: " + reason);
    m_out.drop = true;
}

void CPoolProtocol::Reply(const PoolRequest& request, std::string_view result) {
    m_out.lines.push_back(ResultReply(*m_dialect, request.id, result));
}

void CPoolProtocol::Refuse(const PoolRequest& request, const ReplyError& error) {
    m_out.lines.push_back(ErrorReply(m_dialect.value_or(Dialect::Plain), request.id, error));
}

void CPoolProtocol::RefuseLine(const PoolRequest& request) {
    ++m_badLines;
    if (m_badLines >= kMaxBadLines || (!m_dialect && m_context.options.dialect)) {
        Drop("malformed request");
        return;
    }
    Event("sent a malformed request");
    Refuse(request, kMalformed);
}

void CPoolProtocol::Subscribe(const PoolRequest& request, PoolTime) {
    m_subscribed = true;
    const auto& parameters = request.parameters;
    const std::string client = parameters.empty() ? "-" : Printable(parameters[0].value_or("-"));
    Event("subscribed mode=" + std::string(DialectName(*m_dialect)) + " as " + client);
    const std::string session = NumberedHex(m_client, 4);
    if (m_dialect == Dialect::NiceHash) {
        m_extranonce = NumberedHex(m_client, m_context.options.extranonceBytes);
        Reply(request, NiceHashSubscription(session, m_extranonce));
    } else if (m_dialect == Dialect::Plain) {
        Reply(request, "[\"" + session + "\"]");
    } else {
        Reply(request, "true");
    }
}

void CPoolProtocol::SubscribeExtranonce(const PoolRequest& request, PoolTime) {
    if (!m_subscribed) return Refuse(request, kNotSubscribed);
    Reply(request, "true");
}

bool CPoolProtocol::UserAllowed(std::string_view user) const {
    const PoolOptions& options = m_context.options;
    if (options.faults.refuseUser) return false;
    if (options.wallet.empty() || user == options.wallet) return true;
    const bool withWorker = m_dialect == Dialect::Plain || m_dialect == Dialect::NiceHash;
    return withWorker && user.starts_with(options.wallet + ".");
}

void CPoolProtocol::LogIn(const PoolRequest& request, PoolTime now) {
    const bool stratum = m_dialect != Dialect::EthProxy;
    if (stratum && !m_subscribed) return Refuse(request, kNotSubscribed);
    if (request.parameters.empty() || !request.parameters[0]) return RefuseLine(request);
    m_user = *request.parameters[0];
    const std::string worker = request.worker.empty() ? "" : " worker=" + Printable(request.worker);
    const std::string who = "mode=" + std::string(DialectName(*m_dialect)) + " user=" + Printable(m_user) + worker;
    m_loggedIn = UserAllowed(m_user);
    if (!m_loggedIn) {
        Event("refused " + who + " " + ErrorText(kInvalidUser));
        return Refuse(request, kInvalidUser);
    }
    Event("logged in " + who);
    Reply(request, "true");
    if (m_dialect == Dialect::NiceHash) {
        m_out.lines.push_back(DifficultyLine(StratumDifficultyOf(m_context.options.difficulty)));
    }
    // In mode 0 the client fetches its first job itself.
    if (stratum) PushJob(now);
}

void CPoolProtocol::NoteWork(PoolTime now) {
    if (!m_firstWork) m_firstWork = now;
}

void CPoolProtocol::PushJob(PoolTime now) {
    NoteWork(now);
    m_out.lines.push_back(JobLine(*m_dialect, m_context.jobs.Current(), m_context.jobs.Seed(), m_boundary));
}

void CPoolProtocol::GetWork(const PoolRequest& request, PoolTime now) {
    if (!m_loggedIn) return Refuse(request, kNotLoggedIn);
    NoteWork(now);
    Reply(request, WorkArray(m_context.jobs.Current(), m_context.jobs.Seed(), m_boundary));
}

ShareResult CPoolProtocol::Judge(const std::optional<ShareFields>& share) const {
    if (!m_loggedIn) return {ShareVerdict::Unauthorized};
    if (!share) return {ShareVerdict::Malformed};
    if (share->user && *share->user != m_user) return {ShareVerdict::Unauthorized};
    return m_context.check.Check(m_context.jobs, *share, m_boundary);
}

void CPoolProtocol::Submit(const PoolRequest& request, PoolTime) {
    const auto share = ReadShare(*m_dialect, request, m_extranonce);
    const ShareResult result = Judge(share);
    m_context.statistics.CountShare(request.gpu, result.verdict);
    if (result.verdict == ShareVerdict::Accepted) {
        ++m_accepted;
        Reply(request, "true");
    } else {
        Refuse(request, VerdictError(result.verdict));
    }
    ShareEvent(request, share, result);
}

void CPoolProtocol::ShareEvent(const PoolRequest& request, const std::optional<ShareFields>& share,
                               const ShareResult& result) {
    const bool accepted = result.verdict == ShareVerdict::Accepted;
    std::string text = accepted ? "share accepted" : "share rejected " + std::string(VerdictName(result.verdict));
    text += " client=" + std::to_string(m_client);
    text += " gpu=" + (request.gpu < 0 ? "none" : std::to_string(request.gpu));
    if (share) {
        const std::string header = share->header ? HexText(std::span(*share->header).first(4)) : "-";
        text += " job=" + (share->jobId ? Printable(*share->jobId) : header);
        text += " nonce=" + NumberedHex(static_cast<unsigned>(share->nonce >> 32), 4) +
                NumberedHex(static_cast<unsigned>(share->nonce), 4);
    }
    if (result.difficulty > 0) text += " diff=" + NumberText(result.difficulty, 0);
    if (!accepted) text += " " + ErrorText(VerdictError(result.verdict));
    m_out.events.push_back(text + " | " + m_context.statistics.Totals());
}

void CPoolProtocol::ReportHashRate(const PoolRequest& request, PoolTime now) {
    if (!m_loggedIn) return Refuse(request, kNotLoggedIn);
    const bool complete = request.parameters.size() == 2 && request.parameters[0] && request.parameters[1];
    const auto rate = complete ? ReadHexNumber(*request.parameters[0]) : std::nullopt;
    if (!rate) return RefuseLine(request);
    HashRateReport report{.client = m_client, .reported = *rate, .shares = m_accepted};
    if (m_firstWork) report.seconds = std::chrono::duration<double>(now - *m_firstWork).count();
    if (report.seconds > 0) {
        report.derived = static_cast<double>(m_accepted) * ExpectedHashes(m_boundary) / report.seconds;
    }
    m_context.statistics.AddReport(report);
    m_out.events.push_back("hashrate client=" + std::to_string(m_client) + " reported=" + RateText(report.reported) +
                           " derived=" + RateText(report.derived) + " from " + std::to_string(m_accepted) + " shares in " +
                           NumberText(report.seconds, 1) + " s");
    Reply(request, "true");
}
