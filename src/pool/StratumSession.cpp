#include "pool/StratumSession.h"
#include <algorithm>
#include <iterator>
#include <utility>
#include "common/CodePage.h"
#include "common/SharedWord.h"
#include "net/DataLink.h"
#include "pool/StratumMessage.h"
#include "pool/StratumRequests.h"
#include "pool/WorkBlock.h"

namespace {

constexpr std::uint32_t kTickMilliseconds = 1000;
constexpr std::uint32_t kNoTick = 0xFFFFFFFF;
constexpr char kNoProtocol[] = "No protocol mode works with this pool";

// Windows Sockets codes, which this portable code gets from the transport and gives back to it.
constexpr std::uint32_t kAccessDenied = 10013;
constexpr std::uint32_t kNetworkDown = 10050;
constexpr std::uint32_t kNetworkUnreachable = 10051;
constexpr std::uint32_t kConnectionAborted = 10053;
constexpr std::uint32_t kNotConnected = 10057;
constexpr std::uint32_t kTimedOut = 10060;
constexpr std::uint32_t kConnectionRefused = 10061;
constexpr std::uint32_t kHostUnreachable = 10065;
constexpr std::uint32_t kFirstResolverCode = 11001;
constexpr std::uint32_t kLastResolverCode = 11004;

// Algorithms whose pools never speak eth-proxy.
constexpr bool StartsPlain(std::int32_t algorithm) {
    return algorithm == 7 || algorithm == 8;
}

ProtocolMode FirstModeOf(const PoolEntry& pool) {
    const AddressProtocol named = TargetOf(pool).protocol;
    if (named != AddressProtocol::Any) return static_cast<ProtocolMode>(named);
    return StartsPlain(pool.Algo) ? ProtocolMode::Plain : ProtocolMode::EthProxy;
}

std::uint32_t Milliseconds(TimeSpan span) {
    return static_cast<std::uint32_t>(std::max<TimeSpan>(span + kTicksPerMillisecond - 1, 0) / kTicksPerMillisecond);
}

// Why no connection came about.
ConnectionFailure FailureOf(std::string_view text, std::uint32_t code, const PoolTarget& target, const ProxyAddress& proxy) {
    if (!target.reason.empty()) return {TroubleCode::NotConnected, "The server's address cannot be used: " + target.reason};
    if (!proxy.reason.empty())
        return {TroubleCode::NotConnected, "The proxy in the settings cannot be used: " + proxy.reason};
    if ((code & kTrustFailure) != 0) return {TroubleCode::NotTrusted, std::string(text)};
    if ((code & kProxyFailure) != 0) return {TroubleCode::NotConnected, std::string(text)};
    const bool hasProxy = proxy.IsWanted();
    if (code >= kFirstResolverCode && code <= kLastResolverCode) {
        return {TroubleCode::HostNotFound, hasProxy ? "Proxy not found: " + Utf8ToNarrow(proxy.host, nullptr)
                                                    : "Host not found: " + WideToNarrow(target.host)};
    }
    if (hasProxy) return {TroubleCode::NotConnected, "The proxy cannot be reached (" + std::to_string(code) + ")"};
    switch (code) {
        case kConnectionRefused:
            return {TroubleCode::NotConnected, "Connection refused"};
        case kTimedOut:
            return {TroubleCode::NotConnected, "The server does not answer"};
        case kNetworkDown:
        case kNetworkUnreachable:
        case kHostUnreachable:
            return {TroubleCode::NotConnected, "No route to the server"};
        case kAccessDenied:
            return {TroubleCode::NotConnected, "This PC does not allow the connection (a firewall?)"};
        default:
            return {TroubleCode::NotConnected, std::string(text) + " (" + std::to_string(code) + ")"};
    }
}

}  // namespace

CStratumSession::CStratumSession(StratumKind kind, IStratumHost& host, IStratumOutput& output, const IClock& clock,
                                 void* backPointer)
    : m_kind(kind),
      m_host(host),
      m_output(output),
      m_clock(clock),
      m_hashRateId(MakeClientId()),
      m_message(std::make_unique<CStratumMessage>()) {
    ClearWork(m_block);
    SetActiveMode(ProtocolMode::None);
    m_block.prefixFlag = 1;
    m_block.workerName = m_block.walletUser = m_block.password = L"";  // nobody else knows the block yet
    m_block.session = backPointer;
}

CStratumSession::~CStratumSession() = default;

void CStratumSession::SetPools(std::vector<PoolPointer> pools) {
    // The earlier pools live until the work block has let go of them.
    const std::vector<PoolPointer> earlier = std::exchange(m_pools, std::move(pools));
    m_poolIndex = 0;
    std::vector<ProtocolMode> firstModes;
    for (const PoolPointer& pool : m_pools)
        firstModes.push_back(FirstModeOf(*pool));
    m_access.SetPools(firstModes, m_clock.Monotonic());
    {
        const std::lock_guard lock(m_statusLock);
        m_status.poolFailures.assign(m_pools.size(), {});
    }
    Reset();
}

void CStratumSession::Reset() {
    m_ready = m_sharesMayGo = m_isClosed = m_isConnected = false;
    ClearWork(m_block);
    m_currentJob.Clear();
    m_hasJob = m_hasExtranonce = false;
    ClearTarget();
    SetActiveMode(ProtocolMode::None);
    if (m_poolIndex != m_loginIndex) SetDoubt({});
    m_access.TakePool(m_poolIndex, m_clock.Monotonic());
    SetPhase(ConnectionPhase::Idle);

    const PoolPointer pool = CurrentPool();
    WriteShared(m_block.walletUser, pool ? pool->WalletUser : L"", std::memory_order_release);
    WriteShared(m_block.password, pool ? pool->Password : L"", std::memory_order_release);
    m_loginPool = pool;
    m_loginIndex = m_poolIndex;
    TakeWorkerName();
    if (!pool) return;
    m_target = TargetOf(*pool);
    m_proxy = m_host.Proxy();
}

// ---- The connection ------------------------------------------------------------------------------------------------------

void CStratumSession::Resolving(std::string_view host) {
    SetPhase(ConnectionPhase::Resolving, std::string(host));
}

void CStratumSession::Connecting(std::string_view address) {
    if (!m_proxy.IsWanted()) return SetPhase(ConnectionPhase::Connecting, std::string(address));
    SetPhase(ConnectionPhase::Connecting, WideToNarrow(m_target.host) + ":" + std::to_string(m_target.port) +
                                              " through the proxy " + std::string(address));
}

void CStratumSession::Secured(std::string_view how) {
    m_output.LogText(std::string(how));
}

void CStratumSession::Connected() {
    const TimeSpan now = m_clock.Monotonic();
    m_ready = m_sharesMayGo = false;
    m_isConnected = true;
    m_dropping = m_jobHere = m_difficultyHere = false;
    m_lastRemark.clear();
    m_shares.ForgetSent();
    m_access.Connected(now);
    m_subscribeSent = m_lastLine = now;
    m_authorizeSent = m_readySince = 0;
    SetPhase(ConnectionPhase::LoggingIn);
    TakeWorkerName();
    m_output.SendText(SubscribeRequest(m_access.Mode(), Login()));
}

void CStratumSession::Disconnected() {
    m_ready = m_sharesMayGo = false;
    if (!std::exchange(m_isConnected, false)) return;
    // Trying the modes on the only pool is no loss that anybody has to read of.
    const bool isDiscovery = ActiveMode() == ProtocolMode::None && m_pools.size() < 2;
    if (!isDiscovery) m_output.LogText("Disconnected");
    CarryOut(m_access.ConnectionLost(m_clock.Monotonic()));
}

void CStratumSession::Closed() {
    m_ready = m_sharesMayGo = m_isConnected = false;
    m_isClosed = true;
    CountStale(m_shares.ExpireAll());
    SetPhase(ConnectionPhase::Idle);
}

void CStratumSession::ConnectError(std::string_view text, std::uint32_t code) {
    const auto log = [&](std::string_view said) {
        m_output.LogText("Connect error: " + std::string(said) + "(" + std::to_string(static_cast<std::int32_t>(code)) +
                         ")");
    };
    if (!m_isConnected) {
        ConnectionFailure failure = FailureOf(text, code, m_target, m_proxy);
        const bool isUsable = m_target.reason.empty() && m_proxy.reason.empty();
        log(isUsable ? text : failure.text);
        SetFailure(failure.code, std::move(failure.text));
        CarryOut(m_access.ConnectFailed(m_clock.Monotonic()));
        return;
    }
    log(text);
    if (m_dropping) return;
    std::string when = "Connection lost";
    if (!m_sharesMayGo) {
        const bool isBefore = m_subscribeSent != 0;
        const bool isSilent = isBefore && m_lastLine == m_subscribeSent;
        when = std::string("The pool closed the connection ") + (isBefore ? "before" : "after") + " the login";
        if (isSilent && !m_target.encryption.isEncrypted) when += " (may this be its port for TLS?)";
    }
    SetFailure(TroubleCode::ConnectionLost, std::move(when));
}

void CStratumSession::CarryOut(const CPoolAccess::Verdict& verdict) {
    if (verdict.changePool) {
        const std::uint32_t next = m_poolIndex + 1;
        m_poolIndex = next < m_pools.size() ? next : 0;
        m_output.PostPoolSwitch();
    }
    // A developer's pool that does not work is no reason to stop the user's mining.
    if (verdict.giveUp && m_kind == StratumKind::User) {
        PoolError error{.code = CodeNumber(TroubleCode::NoProtocol), .time = m_clock.UtcNow(), .gpuIndex = -1, .text = {}};
        CopyToField(std::string_view(kNoProtocol), error.text);
        if (m_loginPool) m_loginPool->lastError.Set(error);
        m_host.RequestStopMining(kNoProtocol);
    }
}

std::uint32_t CStratumSession::RetryDelay() {
    const TimeSpan now = m_clock.Monotonic();
    const TimeSpan due = m_access.NextAttempt();
    CountStale(m_shares.Expire(now));
    if (due <= now) return 0;
    m_output.LogText("Trying again in " + std::to_string((due - now + kTicksPerSecond - 1) / kTicksPerSecond) + " s (" +
                     std::to_string(m_access.Failures()) + " in a row failed)");
    SetPhase(ConnectionPhase::TryingAgain);
    const std::lock_guard lock(m_statusLock);
    m_status.retryAt = due;
    return Milliseconds(due - now);
}

std::uint32_t CStratumSession::Tick() {
    if (!m_isConnected) return kNoTick;
    const TimeSpan now = m_clock.Monotonic();
    CountStale(m_shares.Expire(now));
    if (!m_dropping) CheckDeadlines(now);
    return kTickMilliseconds;
}

void CStratumSession::CheckDeadlines(TimeSpan now) {
    const auto isOver = [now](TimeSpan since, TimeSpan limit) { return since != 0 && now - since >= limit; };
    if (isOver(m_subscribeSent, kSubscribeTime) || isOver(m_authorizeSent, kAuthorizeTime)) {
        Drop(TroubleCode::NoLoginAnswer, "No answer to the login");
    } else if (!m_jobHere && isOver(m_readySince, kJobTime)) {
        Drop(TroubleCode::NoJob, "No job for " + std::to_string(kJobTime / kTicksPerMinute) + " minutes");
    } else if (isOver(m_lastLine, kSilenceTime)) {
        Drop(TroubleCode::PoolSilent,
             "The pool has been silent for " + std::to_string(kSilenceTime / kTicksPerMinute) + " minutes");
    } else if (m_shares.AreUnanswered(now)) {
        Drop(TroubleCode::SharesUnanswered, "The pool does not answer shares");
    }
}

void CStratumSession::Drop(TroubleCode code, const std::string& text) {
    if (m_dropping || !m_isConnected) return;
    m_dropping = true;
    m_ready = m_sharesMayGo = false;
    SetFailure(code, text);
    if (code == TroubleCode::SharesUnanswered || code == TroubleCode::PoolSilent) {
        // Once may be the fault of the connection, twice is the pool's.
        if (m_isDoubted) m_access.WasWorthless();
        SetDoubt({code, text});
    }
    m_output.DropConnection(text, code == TroubleCode::LoginRefused ? kConnectionAborted : kTimedOut);
}

// ---- What others see -----------------------------------------------------------------------------------------------------

ConnectionStatus CStratumSession::Status() const {
    const std::lock_guard lock(m_statusLock);
    return m_status;
}

void CStratumSession::SetPhase(ConnectionPhase phase, std::string target) {
    const TimeSpan now = m_clock.Monotonic();
    const std::lock_guard lock(m_statusLock);
    if (m_status.phase != phase) m_status.since = now;
    m_status.phase = phase;
    m_status.mode = m_access.Mode();
    m_status.failures = m_access.Failures();
    if (phase == ConnectionPhase::Resolving || phase == ConnectionPhase::Connecting) m_status.target = std::move(target);
    if (phase == ConnectionPhase::Working) m_status.poolFailures.assign(m_status.poolFailures.size(), {});
}

void CStratumSession::SetFailure(TroubleCode code, std::string text) {
    const std::lock_guard lock(m_statusLock);
    if (m_loginIndex < m_status.poolFailures.size()) m_status.poolFailures[m_loginIndex] = {code, std::move(text)};
}

void CStratumSession::SetDoubt(ConnectionFailure doubt) {
    m_isDoubted = !doubt.text.empty();
    const std::lock_guard lock(m_statusLock);
    m_status.doubt = std::move(doubt);
}

void CStratumSession::LogOnce(const std::string& text) {
    if (text == m_lastRemark) return;
    m_lastRemark = text;
    m_output.LogText(text);
}

// ---- Shares --------------------------------------------------------------------------------------------------------------

std::uint32_t CStratumSession::SubmitShare(std::string_view request) {
    const TimeSpan now = m_clock.Monotonic();
    const std::uint32_t id = CShareDesk::RequestId(request);
    if (m_sharesMayGo) {
        m_shares.Sent(id, now);
        if (m_output.SendText(request) == 0) return 0;
        m_shares.Answered(id);
    }
    if (!m_shares.Hold(request, now)) {
        CountStale({CShareDesk::GpuOf(id)});
        return kNotConnected;
    }
    // The login may have been completed meanwhile.
    if (m_sharesMayGo) ReleaseShares();
    // Or nothing is on its way any more: the plug-in has not yet heard of another source.
    if (m_isClosed) CountStale(m_shares.ExpireAll());
    return 0;
}

void CStratumSession::ReleaseShares() {
    if (!m_shares.HoldsAny()) return;
    const TimeSpan now = m_clock.Monotonic();
    for (const std::string& request : m_shares.TakeSendable(m_currentJob.Get().id, now)) {
        const std::uint32_t id = CShareDesk::RequestId(request);
        m_shares.Sent(id, now);
        if (m_output.SendText(request) == 0) continue;
        m_shares.Answered(id);
        CountStale({CShareDesk::GpuOf(id)});
    }
}

void CStratumSession::CountStale(const std::vector<std::int32_t>& gpus) {
    if (gpus.empty()) return;
    m_output.LogText(std::to_string(gpus.size()) + " share(s) held back could not be sent in time; counted as stale");
    for (const std::int32_t gpu : gpus) {
        CMiningStatistics* const statistics = gpu >= 0 ? m_host.FindStatistics(gpu) : nullptr;
        if (statistics != nullptr) AddShared(statistics->stale, 1);
    }
}

// ---- The plug-in's work --------------------------------------------------------------------------------------------------

void CStratumSession::Activate() {
    // The I/O thread writes the block, marks what it wrote and only then takes this lock to announce it. So a job either was
    // marked before and is replayed here, or it is announced afterwards, when the session is no longer paused: the newest
    // one is always announced at least once, and never before the plug-in was told of this block.
    const std::lock_guard lock(m_postLock);
    m_output.PostWork(QV_MSG_ACTIVATE);
    m_paused = false;
    if (ActiveMode() == ProtocolMode::None) return;
    m_output.PostWork(QV_MSG_LOGGED_IN);
    if (m_hasJob) m_output.PostWork(QV_MSG_NEW_JOB);
    m_output.PostWork(QV_MSG_NEW_TARGET);
    if (m_hasExtranonce) m_output.PostWork(QV_MSG_NEW_EXTRANONCE);
}

void CStratumSession::Pause() {
    const std::lock_guard lock(m_postLock);
    m_paused = true;
}

void CStratumSession::PostWork(unsigned message) {
    const std::lock_guard lock(m_postLock);
    if (!m_paused) m_output.PostWork(message);
}

bool CStratumSession::PrefixFlag() const {
    return ReadShared(m_block.prefixFlag, std::memory_order_acquire) != 0;
}

std::wstring CStratumSession::HashRateId() const {
    return m_hashRateRefused ? std::wstring() : m_hashRateId;
}

ProtocolMode CStratumSession::ActiveMode() const {
    return static_cast<ProtocolMode>(ReadShared(m_block.protocolMode, std::memory_order_acquire));
}

void CStratumSession::SetActiveMode(ProtocolMode mode) {
    WriteShared(m_block.protocolMode, ModeNumber(mode), std::memory_order_release);
}

void CStratumSession::ClearTarget() {
    std::fill(std::begin(m_block.target), std::end(m_block.target), std::uint8_t{0});
    // The stored difficulty is that of the target: without one, the next difficulty is new, whatever it is.
    m_difficulty = 0.0;
}

PoolPointer CStratumSession::CurrentPool() const {
    const std::uint32_t index = m_poolIndex;
    return index < m_pools.size() ? m_pools[index] : nullptr;
}

LoginFields CStratumSession::Login() const {
    return {m_block.workerName, m_block.walletUser, m_block.password, m_target.host, m_loginPool ? m_target.shownPort : 0};
}

// At each login, so that shares go out under the name that has logged in.
void CStratumSession::TakeWorkerName() {
    const bool isOverridden = m_loginPool && m_loginPool->WorkerOverride[0] != L'\0';
    const wchar_t* const name = KeepText(isOverridden ? m_loginPool->WorkerOverride : m_host.DefaultWorkerName());
    WriteShared(m_block.workerName, name, std::memory_order_release);
}

const wchar_t* CStratumSession::KeepText(std::wstring text) {
    const auto isSame = [&text](const auto& kept) { return *kept == text; };
    const auto found = std::find_if(m_keptTexts.begin(), m_keptTexts.end(), isSame);
    if (found != m_keptTexts.end()) return (*found)->c_str();
    return m_keptTexts.emplace_back(std::make_unique<const std::wstring>(std::move(text)))->c_str();
}
