#include "world/Promises.h"
#include <algorithm>
#include <charconv>
#include "config/GpuCounters.h"

namespace {

constexpr TimeSpan kBackAtWork = 60 * kTicksPerSecond;
// A connection over which nothing comes is noticed after ten minutes of silence, and a busy second or two.
constexpr TimeSpan kDeaf = 10 * kTicksPerMinute + 25 * kTicksPerSecond;
// Longer, where the pool's protocol must be found out; in seconds.
constexpr std::int64_t kDiscovery = 60;
constexpr TimeSpan kWithoutReason = 60 * kTicksPerSecond;
constexpr TimeSpan kBetweenReasons = 15 * kTicksPerSecond;
constexpr TimeSpan kFeeTick = 31 * kTicksPerSecond;
constexpr TimeSpan kLongestFee = 240 * kTicksPerSecond;
// From when on the developer is owed a period, with a tick and the least time of the user's between two.
constexpr TimeSpan kFeeDue = 9000 * kTicksPerSecond + 2 * kFeeTick;
constexpr std::uint64_t kMostAttempts = 60;
constexpr std::size_t kMostTroubles = 2 + kMostCards;
constexpr std::size_t kMostLines = 2000;  // of a log in a minute

std::string Seconds(TimeSpan span) {
    return std::to_string(span / kTicksPerSecond) + " s";
}

}  // namespace

void CPromises::Broken(const std::string& promise, const std::string& text) {
    if (!m_failure) m_failure = Failure{promise, text, m_kernel.Now(), m_kernel.Steps()};
}

bool CPromises::IsQuiet() const {
    return m_last.isMining && !m_last.developerTime && m_kernel.Now() - m_changed > kTicksPerMinute;
}

void CPromises::Started(const std::vector<QvGpuRecord*>& gpus) {
    m_isStarted = true;
    m_gpus = gpus;
    m_books = {};
    m_isDeveloper = false;
    m_sourceSince = m_kernel.Now();
    m_userTime = 0;
    m_isWaiting = m_isDeaf = m_isIdle = false;
    m_userRefused = false;
    m_last = {};
    Changed();
}

void CPromises::Stopped() {
    CheckBooks(true);
    Died();
}

void CPromises::Died() {
    m_isStarted = false;
    Changed();
}

// ---- Shares ----------------------------------------------------------------------------------------------------------

void CPromises::ShareArrived(std::string_view nonce, int jobPool, int pool, bool hasLoggedIn) {
    std::uint64_t number = 0;
    if (nonce.size() > 1) std::from_chars(nonce.data() + 1, nonce.data() + nonce.size(), number);
    const std::string name = "share " + std::string(nonce);
    if (!hasLoggedIn) Broken("login-first", name + " came to pool " + std::to_string(pool) + " before the login");
    if (jobPool != pool)
        Broken("share-home", name + " of pool " + std::to_string(jobPool) + " came to pool " + std::to_string(pool));
    if (number >= m_arrived.size()) m_arrived.resize(number + 1024);
    if (m_arrived[number]) Broken("share-once", name + " came twice");
    m_arrived[number] = true;
    ++m_shares;
}

void CPromises::AnswerDelivered(int gpu, bool isTrue) {
    if (gpu < 0 || gpu >= kMostCards) return;
    ++(isTrue ? Book(gpu).accepted : Book(gpu).rejected);
}

// settled: no share can be waiting anywhere in the program.
void CPromises::CheckBooks(bool isSettled) {
    for (const QvGpuRecord* gpu : m_gpus) {
        const ShareBook& book = Book(gpu->cudaId);
        const GpuCounters counts = ReadGpuCounters(*gpu);
        const auto tell = [&] {
            return "GPU " + std::to_string(gpu->cudaId) + ": " + std::to_string(book.found) + " found, " +
                   std::to_string(book.sent) + " sent, answered " + std::to_string(book.accepted) + "+" +
                   std::to_string(book.rejected) + "; counted A:" + std::to_string(counts.accepted) +
                   " R:" + std::to_string(counts.rejected) + " S:" + std::to_string(counts.stale);
        };
        if (counts.accepted != book.accepted || counts.rejected != book.rejected) Broken("share-count", tell());
        if (book.sent + counts.stale > book.found) Broken("share-count", "one counted twice; " + tell());
        if (isSettled && book.sent + counts.stale < book.found) Broken("share-count", "one lost; " + tell());
    }
}

// ---- The developer's time --------------------------------------------------------------------------------------------

void CPromises::SourceIs(bool isDeveloper) {
    if (isDeveloper == m_isDeveloper) return;
    const TimeSpan span = m_kernel.Now() - m_sourceSince;
    if (m_isDeveloper) {
        const TimeSpan owed = std::min(m_userTime / 100, kLongestFee);
        if (span < owed - kFeeTick)
            Broken("fee", "the developer's time ended after " + Seconds(span) + " of " + Seconds(owed));
        m_userTime = 0;
    } else {
        m_userTime += span;
    }
    m_isDeveloper = isDeveloper;
    m_sourceSince = m_kernel.Now();
    Changed();
}

void CPromises::CheckFee(const Situation& now) {
    const TimeSpan span = m_kernel.Now() - m_sourceSince;
    // A window that is busy takes its timers later.
    if (now.isBusy) m_busyUntil = m_kernel.Now() + 2 * kFeeTick;
    const TimeSpan late = m_kernel.Now() < m_busyUntil ? kFeeTick : 0;
    if (m_isDeveloper) {
        const TimeSpan owed = std::min(m_userTime / 100, kLongestFee);
        if (span > owed + kFeeTick + late)
            Broken("fee", "the developer's time lasts for " + Seconds(span) + " of " + Seconds(owed));
    } else if (m_userTime + span > kFeeDue + late) {
        Broken("fee", "no developer's time after " + Seconds(m_userTime + span));
    }
}

// ---- Mining ----------------------------------------------------------------------------------------------------------

void CPromises::Look(const Situation& now) {
    const TimeSpan moment = m_kernel.Now();
    if (!m_isStarted) return;
    if (m_last.isMining) m_totalMined += moment - m_looked;
    m_looked = moment;
    const bool wasMining = m_last.isMining;
    if (now.isMining != wasMining) Changed();
    CheckMining(now);
    CheckReason(now);
    CheckFee(now);
    CheckBooks(wasMining && now.isMining && moment - m_changed > 10 * kTicksPerSecond);
    if (now.troubles > kMostTroubles) Broken("bounded", std::to_string(now.troubles) + " troubles stand");
    m_last = now;
}

void CPromises::CheckMining(const Situation& now) {
    const TimeSpan moment = m_kernel.Now();
    if (now.hasStopped) {
        if (now.everMined && !m_userRefused) Broken("mines-again", "stopped by itself though a pool had settled");
        m_isWaiting = m_isDeaf = false;
        return;
    }
    if (!now.wantsMining || now.isMining || now.developerTime) {
        if (m_isWaiting) m_longestWait = std::max(m_longestWait, moment - m_waitsSince);
        m_isWaiting = m_isDeaf = false;
        m_allowance = now.allowance;
        return;
    }
    m_allowance = std::max({m_allowance, now.allowance, now.isKnown ? 0 : kDiscovery});
    if (now.believesMining) {
        if (!std::exchange(m_isDeaf, true)) m_deafSince = moment;
        if (moment - m_deafSince > kDeaf)
            Broken("mines-again", "deaf for " + Seconds(moment - m_deafSince) + ": " + now.state);
        m_isWaiting = false;
        return;
    }
    m_isDeaf = false;
    if (!now.canMine) {
        m_isWaiting = false;
        return;
    }
    if (!std::exchange(m_isWaiting, true)) m_waitsSince = moment;
    if (moment - m_waitsSince > kBackAtWork + m_allowance * kTicksPerSecond)
        Broken("mines-again", "could mine for " + Seconds(moment - m_waitsSince) + ": " + now.state);
}

void CPromises::CheckReason(const Situation& now) {
    const TimeSpan moment = m_kernel.Now();
    if (!now.wantsMining || now.isMining || now.developerTime || now.believesMining) {
        m_isIdle = false;
        return;
    }
    if (!std::exchange(m_isIdle, true)) m_idleSince = m_reasonAt = moment;
    // One reason may take the place of another, which becomes trouble when it has lasted for ten seconds.
    if (now.hasReason) m_reasonAt = moment;
    if (moment - std::max(m_idleSince + kWithoutReason, m_reasonAt) > kBetweenReasons)
        Broken("reason", "nothing says why it does not mine: " + now.state);
}

void CPromises::Attempts(const std::array<std::uint64_t, kPools>& attempts) {
    for (std::size_t pool = 0; pool < attempts.size(); ++pool) {
        const std::uint64_t inMinute = attempts[pool] - m_attempts[pool];
        if (inMinute > kMostAttempts)
            Broken("bounded", std::to_string(inMinute) + " attempts in a minute to connect to pool " + std::to_string(pool));
    }
    m_attempts = attempts;
    if (m_linesAtMinute != 0 && m_last.logLines > m_linesAtMinute + kMostLines)
        Broken("bounded", std::to_string(m_last.logLines - m_linesAtMinute) + " lines in the log in a minute");
    m_linesAtMinute = std::max(m_linesAtMinute, m_last.logLines);
}
