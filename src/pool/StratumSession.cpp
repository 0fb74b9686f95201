#include "pool/StratumSession.h"
#include <algorithm>
#include <iterator>
#include <utility>
#include "pool/ClientId.h"
#include "pool/StratumMessage.h"
#include "pool/WorkBlock.h"

namespace {

constexpr std::uint32_t kConnectErrorsBeforeSwitch = 4;
constexpr std::uint32_t kDisconnectsBeforeSwitch = 4;
constexpr TimeSpan kDisconnectMemory = 2 * kTicksPerMinute;

// Algorithms whose pools never speak eth-proxy.
constexpr bool StartsPlain(std::int32_t algorithm) {
    return algorithm == 7 || algorithm == 8;
}

// A word of the work block that other threads read while it is written.
template <typename T>
T LoadWord(const T& word) {
    return std::atomic_ref(const_cast<T&>(word)).load(std::memory_order_acquire);
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
    m_block.workerName = m_block.walletUser = m_block.password = L"";
    m_block.session = backPointer;
}

CStratumSession::~CStratumSession() = default;

void CStratumSession::SetPools(std::vector<PoolPointer> pools) {
    // The earlier pools live until the work block has let go of them.
    const std::vector<PoolPointer> earlier = std::exchange(m_pools, std::move(pools));
    m_poolIndex = 0;
    Reset();
}

void CStratumSession::Reset() {
    m_ready = false;
    m_connectErrors = 0;
    ClearWork(m_block);
    m_currentJob.Clear();
    m_hasJob = false;
    m_hasExtranonce = false;
    ClearTarget();
    SetActiveMode(ProtocolMode::None);
    m_triedMode = ProtocolMode::EthProxy;

    const PoolPointer pool = CurrentPool();
    m_block.walletUser = pool ? pool->WalletUser : L"";
    m_block.password = pool ? pool->Password : L"";
    m_loginPool = pool;
    TakeWorkerName();
    if (!pool) return;
    m_serverName.assign(std::begin(pool->Server), std::find(std::begin(pool->Server), std::end(pool->Server), L'\0'));
    m_serverName.resize(std::min(m_serverName.size(), m_serverName.find(L':')));
    if (StartsPlain(pool->Algo)) m_triedMode = ProtocolMode::Plain;
}

void CStratumSession::Connected() {
    m_ready = false;
    m_connectErrors = 0;
    const ddt_datetime now = m_clock.UtcNow();
    if (now.ticks - m_lastConnect.ticks > kDisconnectMemory) {
        m_lastConnect = now;
        m_disconnects = 0;
    }
    TakeWorkerName();
    m_output.SendText(SubscribeRequest(m_triedMode, Login()));
}

void CStratumSession::Disconnected() {
    m_ready = false;
    const bool isUnsettled = ActiveMode() == ProtocolMode::None;
    if (isUnsettled && m_connectErrors == 0) {
        // A developer's pool that does not work is no reason to stop the user's mining.
        if (m_triedMode == ProtocolMode::Host && m_kind == StratumKind::User) m_host.RequestStopMining();
        m_triedMode = NextMode(m_triedMode);
        return;
    }
    // Where there is a backup pool the loss was reported as a connect error before. It counts towards the change of pools
    // then, and the next login on this pool tries another mode all the same.
    if (isUnsettled) m_triedMode = NextMode(m_triedMode);
    m_output.LogText("Disconnected");
    if (++m_disconnects < kDisconnectsBeforeSwitch) return;
    m_disconnects = 0;
    SwitchPool();
}

void CStratumSession::Closed() {
    m_ready = false;
}

void CStratumSession::ConnectError(std::string_view text, std::uint32_t code) {
    m_output.LogText("Connect error: " + std::string(text) + "(" + std::to_string(static_cast<std::int32_t>(code)) + ")");
    if (m_pools.size() < 2) return;
    // Only the fourth: the count goes on until a connection or a reset clears it.
    if (++m_connectErrors == kConnectErrorsBeforeSwitch) SwitchPool();
}

void CStratumSession::SwitchPool() {
    const std::uint32_t next = m_poolIndex + 1;
    m_poolIndex = next < m_pools.size() ? next : 0;
    m_output.PostPoolSwitch();
}

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
    return LoadWord(m_block.prefixFlag) != 0;
}

std::wstring CStratumSession::HashRateId() const {
    return m_hashRateRefused ? std::wstring() : m_hashRateId;
}

ProtocolMode CStratumSession::ActiveMode() const {
    return static_cast<ProtocolMode>(LoadWord(m_block.protocolMode));
}

void CStratumSession::SetActiveMode(ProtocolMode mode) {
    std::atomic_ref(m_block.protocolMode).store(ModeNumber(mode), std::memory_order_release);
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
    return {m_block.workerName, m_block.walletUser, m_block.password, m_serverName, m_loginPool ? m_loginPool->Port : 0};
}

// At each login, so that shares go out under the name that has logged in.
void CStratumSession::TakeWorkerName() {
    const bool isOverridden = m_loginPool && m_loginPool->WorkerOverride[0] != L'\0';
    const wchar_t* const name = KeepText(isOverridden ? m_loginPool->WorkerOverride : m_host.DefaultWorkerName());
    std::atomic_ref(m_block.workerName).store(name, std::memory_order_release);
}

const wchar_t* CStratumSession::KeepText(std::wstring text) {
    const auto isSame = [&text](const auto& kept) { return *kept == text; };
    const auto found = std::find_if(m_keptTexts.begin(), m_keptTexts.end(), isSame);
    if (found != m_keptTexts.end()) return (*found)->c_str();
    return m_keptTexts.emplace_back(std::make_unique<const std::wstring>(std::move(text)))->c_str();
}
