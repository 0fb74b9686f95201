#include "guard/GuardPolicy.h"

#include <algorithm>
#include <iterator>
#include <optional>

void CGuardPolicy::Started(TimeSpan now) {
    m_started = now;
    m_lastAnswer = now;
    m_hadWindow = false;
}

bool CGuardPolicy::IsHung(MinerAnswer answer, TimeSpan now) {
    if (answer != MinerAnswer::NoWindow) m_hadWindow = true;
    const bool starting = answer == MinerAnswer::NoWindow && !m_hadWindow && now - m_started < m_times.startUp;
    if (answer == MinerAnswer::Answers || starting) m_lastAnswer = now;
    return now - m_lastAnswer >= m_times.silence;
}

GuardDecision CGuardPolicy::Ended(bool closed, TimeSpan now) {
    if (closed) return {};
    if (now - m_started >= m_times.hour) {
        m_pause = 0;
        m_restarts.clear();
    }
    std::erase_if(m_restarts, [&](TimeSpan time) { return now - time >= m_times.hour; });
    if (m_restarts.size() >= m_times.mostRestarts) return {.step = GuardStep::GiveUp, .restarts = m_restarts.size()};
    const TimeSpan pause = m_times.pauses[m_pause];
    m_pause = std::min(m_pause + 1, std::size(m_times.pauses) - 1);
    m_restarts.push_back(now);
    return {GuardStep::Restart, pause, m_restarts.size()};
}

const wchar_t kGuardUsage[] =
    L"usage: Quorvel-Guard [--install | --remove | --help | --version]\r\n"
    L"\r\n"
    L"Starts Quorvel-Miner.exe from its own folder, or watches the one that runs, and starts it again when it crashes or "
    L"does\r\n"
    L"not answer for 60 seconds. Ends when the miner is closed. What it does is in Logs\\Quorvel-Miner_events.log.\r\n"
    L"\r\n"
    L"  --install   start the guard whenever this user logs in\r\n"
    L"  --remove    no longer\r\n"
    L"\r\n"
    L"For tests, in milliseconds: --pause-unit-ms N (1000: of the pauses of 5, 30 and 120 units before a restart),\r\n"
    L"--silence-ms N (60000: without an answer until the miner is ended).\r\n"
    L"\r\n"
    L"Exit codes: 0 the miner was closed, or done; 1 failed; 2 wrong arguments; 3 another guard runs; 4 given up after "
    L"10\r\n"
    L"restarts in an hour.\r\n";

namespace {

constexpr std::size_t kMostDigits = 7;

std::optional<TimeSpan> Milliseconds(const std::wstring& text) {
    const bool isNumber = !text.empty() && text.size() <= kMostDigits &&
                          std::ranges::all_of(text, [](wchar_t c) { return c >= L'0' && c <= L'9'; });
    if (!isNumber) return std::nullopt;
    return std::stoll(text) * kTicksPerMillisecond;
}

}  // namespace

GuardOptions ParseGuardOptions(std::span<const std::wstring> arguments) {
    const GuardOptions invalid{.command = GuardCommand::Invalid, .times = {}};
    if (arguments.size() == 1) {
        if (arguments[0] == L"--install") return {.command = GuardCommand::Install, .times = {}};
        if (arguments[0] == L"--remove") return {.command = GuardCommand::Remove, .times = {}};
        if (arguments[0] == L"--help") return {.command = GuardCommand::Help, .times = {}};
        if (arguments[0] == L"--version") return {.command = GuardCommand::Version, .times = {}};
    }
    GuardOptions options;
    for (; arguments.size() >= 2; arguments = arguments.subspan(2)) {
        const auto value = Milliseconds(arguments[1]);
        if (!value) return invalid;
        if (arguments[0] == L"--pause-unit-ms") {
            for (TimeSpan& pause : options.times.pauses)
                pause = pause / kTicksPerSecond * *value;
        } else if (arguments[0] == L"--silence-ms") {
            options.times.silence = *value;
        } else {
            return invalid;
        }
    }
    return arguments.empty() ? options : invalid;
}
