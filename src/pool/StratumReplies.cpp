// What a session does with the lines of its pool.
#include "common/CodePage.h"
#include "pool/PoolErrorParser.h"
#include "pool/ShareTarget.h"
#include "pool/StratumMessage.h"
#include "pool/StratumSession.h"
#include "pool/TextCompare.h"
#include "pool/WorkBlock.h"

namespace {

constexpr std::string_view kNotify = "mining.notify";
constexpr std::string_view kSetDifficulty = "mining.set_difficulty";
constexpr std::string_view kSetExtranonce = "mining.set_extranonce";
constexpr std::string_view kNiceHashProtocol = "EthereumStratum/1.0.0";
constexpr std::string_view kInvalidUser = "Invalid user provided";
constexpr std::int32_t kUnknownLoginMethod = -3;

// Null: not a list, or too short.
const JsonValue* Element(const JsonValue* list, rapidjson::SizeType index) {
    return list != nullptr && list->IsArray() && list->Size() > index ? &(*list)[index] : nullptr;
}

void Increment(std::uint64_t& counter) {
    std::atomic_ref(counter).fetch_add(1, std::memory_order_relaxed);
}

}  // namespace

void CStratumSession::LineReceived(std::string_view line) {
    if (!m_message->Parse(line)) return;
    const CStratumMessage& message = *m_message;
    PoolError error;
    if (const JsonValue* const value = message.Error()) error = ParsePoolError(*value, m_clock.UtcNow());
    std::string_view method = message.Method();
    switch (message.Id()) {
        case kIdNone:
            if (method.empty()) method = kNotify;  // eth-proxy pools push work as a reply to nothing
            break;
        case kIdSubscribe:
            SubscribeReply(message, error);
            break;
        case kIdAuthorize:
            if (ActiveMode() != ProtocolMode::EthProxy) m_ready = true;  // a refusal takes the way of every pool error
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
    if (method.empty()) {
        HandlePoolError(error);
    } else {
        HandleMethod(method, message);
    }
}

void CStratumSession::SubscribeReply(const CStratumMessage& message, PoolError& error) {
    if (error.code != 0) {
        m_output.LogText("Subscribe failed. Protocol-Mode was = " + std::to_string(ModeNumber(m_triedMode)));
        if (error.code == kUnknownLoginMethod) error = {};
        return;
    }
    DetectNiceHash(message);
    SetActiveMode(m_triedMode);
    ClearTarget();
    PostWork(QV_MSG_LOGGED_IN);
    if (m_triedMode == ProtocolMode::EthProxy) {
        m_ready = true;
        m_output.SendText(GetWorkRequest());
        return;
    }
    if (m_triedMode == ProtocolMode::NiceHash) {
        if (FillExtranonce(Element(message.Result(), 1), m_block)) AnnounceExtranonce();
        m_output.SendText(ExtranonceSubscribeRequest());
    }
    m_output.SendText(AuthorizeRequest(m_triedMode, Login()));
}

void CStratumSession::DetectNiceHash(const CStratumMessage& message) {
    const JsonValue* const subscription = Element(message.Result(), 0);
    const JsonValue* const protocol = Element(subscription, 2);
    if (protocol == nullptr || subscription->Size() != 3 || !protocol->IsString()) return;
    if (!EqualIgnoringCase(JsonText(*protocol), kNiceHashProtocol)) return;
    m_triedMode = ProtocolMode::NiceHash;
    m_output.LogText("Nicehash protocol detected. Change to Protocol-Mode = " + std::to_string(ModeNumber(m_triedMode)));
}

void CStratumSession::ShareReply(const CStratumMessage& message, PoolError& error) {
    // A request of the pool's that happens to have such an id answers nothing.
    if (!message.Method().empty() && message.Result() == nullptr) return;
    const std::int32_t gpu = static_cast<std::int32_t>(message.Id() >> 16) - 1;
    CMiningStatistics* const statistics = gpu >= 0 ? m_host.FindStatistics(gpu) : nullptr;
    if (statistics == nullptr) return;
    const bool isAccepted = message.IsResultTrue();
    if (!isAccepted) error.gpuIndex = gpu;
    if (statistics->paused != 0) return;
    Increment(isAccepted ? statistics->accepted : statistics->rejected);
    ++(isAccepted ? m_accepted : m_rejected);
}

// "mining.set_target" and "client.reconnect" are known and ignored, like every other method.
void CStratumSession::HandleMethod(std::string_view method, const CStratumMessage& message) {
    if (EqualIgnoringCase(method, kNotify)) {
        HandleJob(message);
    } else if (EqualIgnoringCase(method, kSetDifficulty)) {
        HandleDifficulty(message);
    } else if (EqualIgnoringCase(method, kSetExtranonce)) {
        if (FillExtranonce(Element(message.Params(), 0), m_block)) AnnounceExtranonce();
    }
}

void CStratumSession::HandleJob(const CStratumMessage& message) {
    const JsonValue* const params = message.Params() != nullptr ? message.Params() : message.Result();
    if (!FillJob(params, m_block)) return;
    m_hasJob = m_block.jobId[0] != '\0';
    PostWork(QV_MSG_NEW_JOB);
    m_currentJob.Set(m_block.jobId, m_clock.UtcNow());
}

void CStratumSession::HandleDifficulty(const CStratumMessage& message) {
    const JsonValue* const value = Element(message.Params(), 0);
    if (value == nullptr || !value->IsNumber()) return;
    const double difficulty = value->GetDouble();
    if (difficulty == m_difficulty) return;
    if (!(difficulty > 0.0)) {
        m_output.LogText("Difficulty ignored: it is not above 0");
        return;
    }
    m_difficulty = difficulty;
    DifficultyToTarget(difficulty, m_block.target);
    PostWork(QV_MSG_NEW_TARGET);
}

void CStratumSession::AnnounceExtranonce() {
    m_hasExtranonce = m_block.extranonce[0] != '\0';
    PostWork(QV_MSG_NEW_EXTRANONCE);
}

void CStratumSession::HandlePoolError(const PoolError& error) {
    if (error.code == 0 || m_paused || m_kind != StratumKind::User) return;
    if (m_loginPool) m_loginPool->lastError.Set(error);
    m_host.PoolErrorHappened(error);
    // "Method not found" and the like are recorded, no more: the pool lacks something that mining can do without.
    if (EqualIgnoringCase(error.text, kInvalidUser)) m_host.RequestStopMining();
}
