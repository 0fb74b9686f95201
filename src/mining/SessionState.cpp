#include "mining/SessionState.h"
#include <algorithm>
#include "common/CodePage.h"

namespace {

// A preparation that has said nothing for longer is none.
constexpr TimeSpan kPreparationMessage = 2 * kTicksPerMinute;

std::int64_t SecondsUntil(TimeSpan moment, TimeSpan now) {
    return std::max<TimeSpan>(moment - now + kTicksPerSecond - 1, 0) / kTicksPerSecond;
}

SessionPhase PhaseOf(ConnectionPhase phase) {
    switch (phase) {
        case ConnectionPhase::Resolving:
            return SessionPhase::Resolving;
        case ConnectionPhase::Idle:
        case ConnectionPhase::Connecting:
            return SessionPhase::Connecting;
        case ConnectionPhase::LoggingIn:
            return SessionPhase::LoggingIn;
        case ConnectionPhase::WaitingForJob:
            return SessionPhase::WaitingForJob;
        case ConnectionPhase::Working:
            return SessionPhase::Mining;
        case ConnectionPhase::TryingAgain:
            break;
    }
    return SessionPhase::TryingAgain;
}

// The failures of all pools since the last job, the first pool's first.
void TakeReason(const SessionFacts& facts, SessionState& state) {
    const auto& failures = facts.connection.poolFailures;
    const auto add = [&](std::size_t index) {
        if (index >= failures.size() || failures[index].text.empty()) return;
        const std::wstring text = NarrowToWide(failures[index].text);
        if (state.reason.empty()) {
            state.reason = text;
            state.code = failures[index].code;
        } else if (index < facts.poolNames.size()) {
            state.reason += L"; " + facts.poolNames[index] + L": " + text;
        }
    };
    add(facts.firstPool);
    for (std::size_t i = 0; i < failures.size(); ++i) {
        if (i != facts.firstPool) add(i);
    }
}

std::wstring WithReason(std::wstring text, const std::wstring& reason) {
    if (!reason.empty()) text.append(L": ").append(reason);
    return text;
}

// Our plug-ins begin what they say with it.
std::wstring BareReason(std::wstring_view reason) {
    constexpr std::wstring_view kPrefix = L"not hashing: ";
    if (reason.starts_with(kPrefix)) reason.remove_prefix(kPrefix.size());
    return std::wstring(reason);
}

// A reason as long as it fits into a line; the particulars behind its first colon stand where there is more room.
std::wstring Headline(std::wstring reason) {
    constexpr std::size_t kLine = 110;
    if (reason.size() > kLine) reason.resize(std::min(reason.find(L": "), kLine));
    return reason;
}

const wchar_t* ModeName(ProtocolMode mode) {
    return mode == ProtocolMode::None ? L"" : DialectOf(mode).name;
}

}  // namespace

SessionState DecideSessionState(const SessionFacts& facts, TimeSpan now) {
    SessionState state;
    if (facts.developerTime) {
        state.phase = SessionPhase::DeveloperTime;
        state.secondsLeft = SecondsUntil(facts.developerLeft, 0);
        return state;
    }
    state.phase = PhaseOf(facts.connection.phase);
    state.since = facts.connection.since;
    state.target = NarrowToWide(facts.connection.target);
    state.mode = facts.connection.mode;
    state.failures = facts.connection.failures;
    if (state.phase == SessionPhase::TryingAgain) state.secondsLeft = SecondsUntil(facts.connection.retryAt, now);
    TakeReason(facts, state);
    const ConnectionFailure& doubt = facts.connection.doubt;
    if (state.phase == SessionPhase::Mining && !doubt.text.empty()) {
        state.reason = NarrowToWide(doubt.text);
        state.code = doubt.code;
    }
    return state;
}

std::wstring SessionStateText(const SessionState& whole) {
    SessionState state = whole;
    state.reason = Headline(std::move(state.reason));
    switch (state.phase) {
        case SessionPhase::NotRunning:
            return WithReason(L"not running", state.reason);
        case SessionPhase::Resolving:
            return WithReason(L"looking up " + state.target, state.reason);
        case SessionPhase::Connecting:
            return WithReason(state.target.empty() ? std::wstring(L"connecting") : L"connecting to " + state.target,
                              state.reason);
        case SessionPhase::LoggingIn:
            return WithReason(std::wstring(L"logging in (") + ModeName(state.mode) + L") at " + state.target, state.reason);
        case SessionPhase::WaitingForJob:
            return WithReason(L"logged in at " + state.target + L", waiting for a job", state.reason);
        case SessionPhase::Mining:
            return WithReason(L"mining at " + state.target + L" (" + ModeName(state.mode) + L")", state.reason);
        case SessionPhase::DeveloperTime:
            return L"developer's time, " + std::to_wstring(state.secondsLeft) + L" s left";
        case SessionPhase::TryingAgain:
            break;
    }
    return WithReason(L"trying again in " + std::to_wstring(state.secondsLeft) + L" s", state.reason);
}

GpuActivity DecideGpuActivity(std::uint64_t hashSpeed, const PlugInMessage* message, TimeSpan now) {
    if (hashSpeed > 0) return {.kind = GpuActivity::Kind::Hashing, .percent = -1, .reason = {}};
    if (message == nullptr) return {};
    const std::wstring& text = message->text;
    GpuActivity activity{.kind = GpuActivity::Kind::NotHashing, .percent = -1, .reason = text};
    const bool isProgress = text.ends_with(L" %");
    if (isProgress) {
        const std::size_t end = text.size() - 2;
        const std::size_t begin = text.find_last_not_of(L"0123456789", end - 1) + 1;
        if (begin < end && end - begin <= 3) activity.percent = std::stoi(text.substr(begin, end - begin));
    }
    if ((isProgress || text.starts_with(L"making ")) && now - message->time <= kPreparationMessage)
        activity.kind = GpuActivity::Kind::Preparing;
    return activity;
}

std::wstring GpuActivityText(const GpuActivity& activity) {
    switch (activity.kind) {
        case GpuActivity::Kind::Hashing:
            return L"hashing";
        case GpuActivity::Kind::Preparing:
            return activity.percent < 0 ? std::wstring(L"preparing")
                                        : L"preparing (" + std::to_wstring(activity.percent) + L" %)";
        case GpuActivity::Kind::NotHashing:
            break;
    }
    return WithReason(L"not hashing", BareReason(activity.reason));
}

std::optional<Concern> ConcernOf(const SessionState& state) {
    Concern concern{.code = state.code, .gpu = -1, .text = state.reason, .isCertain = false};
    switch (state.phase) {
        case SessionPhase::DeveloperTime:
            return std::nullopt;
        case SessionPhase::Mining:
            if (state.reason.empty()) return std::nullopt;
            concern.isCertain = true;
            break;
        case SessionPhase::NotRunning:
            concern.isCertain = true;
            return concern;
        default:
            break;
    }
    if (!state.reason.empty()) {
        concern.text += L"; trying again";
        return concern;
    }
    switch (state.phase) {
        case SessionPhase::Resolving:
            concern.code = TroubleCode::HostNotFound;
            concern.text = L"No answer about the host " + state.target;
            break;
        case SessionPhase::LoggingIn:
            concern.code = TroubleCode::NoLoginAnswer;
            concern.text = L"No answer to the login";
            break;
        case SessionPhase::WaitingForJob:
            concern.code = TroubleCode::NoJob;
            concern.text = L"No job since the login";
            break;
        default:
            concern.code = TroubleCode::NotConnected;
            concern.text = L"The server does not answer";
            break;
    }
    return concern;
}

std::optional<Concern> ConcernOf(std::int32_t cudaId, const GpuActivity& activity) {
    if (activity.kind != GpuActivity::Kind::NotHashing) return std::nullopt;
    const std::wstring text = L"GPU " + std::to_wstring(cudaId) + L" is not hashing";
    return Concern{.code = TroubleCode::GpuNotHashing,
                   .gpu = cudaId,
                   .text = WithReason(text, BareReason(activity.reason)),
                   .isCertain = false};
}
