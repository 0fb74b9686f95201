// What a session does with the lines of its pool.
#include <charconv>
#include <optional>
#include <system_error>
#include <utility>
#include "common/CodePage.h"
#include "common/SharedWord.h"
#include "common/TextCompare.h"
#include "pool/StratumMessage.h"
#include "pool/StratumSession.h"
#include "pool/WorkBlock.h"

namespace {

constexpr std::string_view kNotify = "mining.notify";
constexpr std::string_view kSetDifficulty = "mining.set_difficulty";
constexpr std::string_view kSetExtranonce = "mining.set_extranonce";
constexpr std::string_view kNiceHashProtocol = "EthereumStratum/1.0.0";
constexpr std::string_view kInvalidUser = "Invalid user provided";
constexpr char kRefusedWithoutReason[] = "The pool refuses the login";
constexpr std::int32_t kUnknownLoginMethod = -3;

// Null: not a list, or too short.
const JsonValue* Element(const JsonValue* list, rapidjson::SizeType index) {
    return list != nullptr && list->IsArray() && list->Size() > index ? &(*list)[index] : nullptr;
}

// A number, or one that the pool wrote as a text.
std::optional<double> NumberOf(const JsonValue& value) {
    if (value.IsNumber()) return value.GetDouble();
    if (!value.IsString()) return std::nullopt;
    const std::string_view text = JsonText(value);
    double number = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

// Such a pool knows no authorisation; what it sends under that id answers nothing.
bool LogsInAtOnce(ProtocolMode mode) {
    return mode != ProtocolMode::None && DialectOf(mode).authorize == nullptr;
}

}  // namespace

void CStratumSession::LineReceived(std::string_view line) {
    m_lastLine = m_clock.Monotonic();
    if (!m_message->Parse(line)) {
        LogOnce("A line that is no JSON object is ignored");
        return;
    }
    const CStratumMessage& message = *m_message;
    PoolError error;
    if (const JsonValue* const value = message.Error()) error = ParsePoolError(*value, m_clock.UtcNow());
    std::string_view method = message.Method();
    switch (message.Id()) {
        case kIdNone:
            if (!method.empty()) break;
            // A pool that could not even read the login answers to nothing.
            if (error.code != 0 && m_subscribeSent != 0) {
                SubscribeReply(message, error);
            } else {
                method = kNotify;  // eth-proxy pools push work as a reply to nothing
            }
            break;
        case kIdSubscribe:
            SubscribeReply(message, error);
            break;
        case kIdAuthorize:
            if (!LogsInAtOnce(ActiveMode())) AuthorizeReply(message, error);
            break;
        case kIdExtranonceSubscribe:
        case kIdReserved:
            break;
        case kIdGetWork:
            method = kNotify;
            break;
        case kIdHashRate:
            if (!message.IsResultTrue()) m_hashRateRefused = true;
            return;
        default:
            ShareReply(message, error);
            break;
    }
    const bool isWork = !method.empty() && HandleMethod(method, message);
    if (!isWork && (method.empty() || message.Method().empty())) HandlePoolError(error);
}

void CStratumSession::SubscribeReply(const CStratumMessage& message, PoolError& error) {
    const bool isAwaited = std::exchange(m_subscribeSent, 0) != 0;
    if (error.code != 0 || message.IsResultFalse()) {
        m_output.LogText("Subscribe failed. Protocol-Mode was = " + std::to_string(ModeNumber(m_access.Mode())));
        if (isAwaited) RefuseLogin(error);
        if (error.code == kUnknownLoginMethod) error = {};
        return;
    }
    DetectNiceHash(message);
    m_access.LoggedIn();
    SetActiveMode(m_access.Mode());
    // A difficulty that came on this connection before the answer holds.
    if (!m_difficultyHere) ClearTarget();
    PostWork(QV_MSG_LOGGED_IN);
    const ProtocolDialect& dialect = DialectOf(m_access.Mode());
    const bool logsInAtOnce = LogsInAtOnce(m_access.Mode());
    if (logsInAtOnce) BecomeReady();
    if (dialect.fetchesWork) m_output.SendText(GetWorkRequest());
    if (logsInAtOnce) return;
    if (dialect.wantsExtranonce) {
        TakeExtranonce(message);
        m_output.SendText(ExtranonceSubscribeRequest());
    }
    m_authorizeSent = m_clock.Monotonic();
    m_output.SendText(AuthorizeRequest(m_access.Mode(), Login()));
}

void CStratumSession::AuthorizeReply(const CStratumMessage& message, PoolError& error) {
    m_authorizeSent = 0;
    if (error.code == 0 && !message.IsResultFalse()) {
        BecomeReady();
    } else if (m_isConnected && message.Method().empty()) {
        RefuseLogin(error);
    }
}

// Ends the connection, to try again with the next protocol mode or on the next pool.
void CStratumSession::RefuseLogin(PoolError& error) {
    if (error.code == 0) {
        error.code = CodeNumber(TroubleCode::LoginRefused);
        error.time = m_clock.UtcNow();
        CopyToField(std::string_view(kRefusedWithoutReason), error.text);
        Drop(TroubleCode::LoginRefused, kRefusedWithoutReason);
    } else {
        Drop(TroubleCode::LoginRefused, std::string("Login refused: ") + error.text);
    }
    m_loginError = error.time;
}

void CStratumSession::BecomeReady() {
    m_ready = true;
    m_readySince = m_clock.Monotonic();
    if (m_jobHere) {
        BeginWork();
    } else {
        SetPhase(ConnectionPhase::WaitingForJob);
    }
}

// The session is ready and has a job.
void CStratumSession::BeginWork() {
    m_access.JobCame(m_clock.Monotonic());
    SetPhase(ConnectionPhase::Working);
    // What was said while the right protocol mode was looked for is of no interest any more.
    if (m_loginPool && m_loginError.IsSet() && m_loginPool->lastError.Get().time == m_loginError)
        m_loginPool->lastError.Set({});
    m_loginError = {};
    m_sharesMayGo = true;
    ReleaseShares();
}

void CStratumSession::DetectNiceHash(const CStratumMessage& message) {
    const JsonValue* const subscription = Element(message.Result(), 0);
    const JsonValue* const protocol = Element(subscription, 2);
    if (protocol == nullptr || subscription->Size() != 3 || !protocol->IsString()) return;
    if (!EqualIgnoringCase(JsonText(*protocol), kNiceHashProtocol)) return;
    m_access.Detected(ProtocolMode::NiceHash);
    m_output.LogText("Nicehash protocol detected. Change to Protocol-Mode = " +
                     std::to_string(ModeNumber(ProtocolMode::NiceHash)));
}

void CStratumSession::ShareReply(const CStratumMessage& message, PoolError& error) {
    // A request of the pool's that happens to have such an id answers nothing.
    if (!message.Method().empty() && message.Result() == nullptr) return;
    m_shares.Answered(message.Id());
    if (m_isDoubted) SetDoubt({});
    const std::int32_t gpu = static_cast<std::int32_t>(message.Id() >> 16) - 1;
    CMiningStatistics* const statistics = gpu >= 0 ? m_host.FindStatistics(gpu) : nullptr;
    if (statistics == nullptr) return;
    const bool isAccepted = message.IsResultTrue();
    if (!isAccepted) error.gpuIndex = gpu;
    if (statistics->paused != 0) return;
    AddShared(isAccepted ? statistics->accepted : statistics->rejected, 1);
    ++(isAccepted ? m_accepted : m_rejected);
}

// True: it brought a job. "mining.set_target" and "client.reconnect" are known and ignored, like every other method.
bool CStratumSession::HandleMethod(std::string_view method, const CStratumMessage& message) {
    if (EqualIgnoringCase(method, kNotify)) return HandleJob(message);
    if (EqualIgnoringCase(method, kSetDifficulty)) HandleDifficulty(message);
    if (EqualIgnoringCase(method, kSetExtranonce)) TakeExtranonce(message);
    return false;
}

bool CStratumSession::HandleJob(const CStratumMessage& message) {
    const JsonValue* const params = message.Params() != nullptr ? message.Params() : message.Result();
    if (!FillJob(params, m_block)) {
        if (params != nullptr && params->IsArray()) LogOnce("A job without an id is ignored");
        return false;
    }
    m_hasJob = m_block.jobId[0] != '\0';
    PostWork(QV_MSG_NEW_JOB);
    m_currentJob.Set(m_block.jobId, m_clock.UtcNow());
    if (m_isDoubted && m_jobHere && Status().doubt.code == TroubleCode::PoolSilent) SetDoubt({});
    if (!std::exchange(m_jobHere, true) && m_ready) BeginWork();
    return true;
}

void CStratumSession::HandleDifficulty(const CStratumMessage& message) {
    const JsonValue* const value = Element(message.Params(), 0);
    const std::optional<double> difficulty = value != nullptr ? NumberOf(*value) : std::nullopt;
    if (!difficulty || !(*difficulty > 0.0)) {
        LogOnce("Difficulty ignored: it is no number above 0");
        return;
    }
    m_difficultyHere = true;
    if (*difficulty == m_difficulty) return;
    m_difficulty = *difficulty;
    DifficultyToTarget(*difficulty, m_block.target);
    PostWork(QV_MSG_NEW_TARGET);
}

// From a notification, or from the answer to the subscribe.
void CStratumSession::TakeExtranonce(const CStratumMessage& message) {
    const std::string before = m_block.extranonce;
    const bool isNotification = !message.Method().empty();
    if (!FillExtranonce(isNotification ? Element(message.Params(), 0) : Element(message.Result(), 1), m_block)) return;
    // A share that was found with another extranonce is none for this connection.
    if (before != m_block.extranonce) CountStale(m_shares.ExpireAll());
    m_hasExtranonce = m_block.extranonce[0] != '\0';
    PostWork(QV_MSG_NEW_EXTRANONCE);
}

void CStratumSession::HandlePoolError(const PoolError& error) {
    if (error.code == 0 || m_paused || m_kind != StratumKind::User) return;
    if (m_loginPool) m_loginPool->lastError.Set(error);
    m_host.PoolErrorHappened(error);
    // "Method not found" and the like are recorded, no more: the pool lacks something that mining can do without.
    if (EqualIgnoringCase(error.text, kInvalidUser)) m_host.RequestStopMining(error.text);
}
