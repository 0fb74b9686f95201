#include "cli/Watch.h"

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <ostream>

#include "fleet/Fleet.h"
#include "show/Tables.h"
#ifdef _WIN32
#include <windows.h>
#else
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;

// Lines that are too long are cut by the terminal, not wrapped.
constexpr const char* kBegin = "\x1b[?25l\x1b[?7l\x1b[2J";
constexpr const char* kEnd = "\x1b[?7h\x1b[?25h";
constexpr const char* kHome = "\x1b[H";
constexpr const char* kClearLine = "\x1b[K";
constexpr const char* kClearRest = "\x1b[J";

std::size_t TerminalRows() {
#ifdef _WIN32
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info)) return 0;
    return static_cast<std::size_t>(info.srWindow.Bottom - info.srWindow.Top + 1);
#else
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_row : 0;
#endif
}

// Written over the last one, so that nothing flickers. rows: of the terminal, 0 when unknown; what does not fit is counted.
std::string Frame(std::string_view text, std::size_t rows) {
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    const bool fits = rows < 3 || lines < rows;
    const std::size_t shown = fits ? lines : rows - 2;
    std::string frame = kHome;
    for (std::size_t i = 0; i < shown; ++i) {
        const std::size_t end = text.find('\n');
        frame.append(text.substr(0, end)).append(kClearLine).append("\n");
        text.remove_prefix(end + 1);
    }
    if (!fits) frame += "... and " + std::to_string(lines - shown) + " more lines" + kClearLine + "\n";
    return frame + kClearRest;
}

std::string Problem(const RigView& rig) {
    if (rig.IsUp()) return rig.errors.empty() ? std::string() : rig.errors.front().text;
    if (!rig.reason.empty()) return rig.reason;
    return rig.link == LinkState::Connecting ? "connecting" : "waiting for an answer";
}

RigSight Sight(const RigView& rig) {
    return {rig.address.Text(), Problem(rig), rig.IsUp() && rig.system ? &*rig.system : nullptr, rig.Fresh(Clock::now()),
            &rig.troubles};
}

std::string SumLine(const FleetSums& sums) {
    std::string line = std::to_string(sums.up) + " of " + std::to_string(sums.rigs) + " rigs up, " +
                       std::to_string(sums.mining) + " mining, " +
                       (sums.trouble > 0 ? std::to_string(sums.trouble) + " with trouble, " : "") +
                       std::to_string(sums.all.gpus) + " GPUs";
    if (sums.all.hashRate) line += ", " + HashRateText(*sums.all.hashRate);
    return line + "\n";
}

class CWatch {
  public:
    CWatch(const Options& options, std::ostream& out, bool terminal)
        : m_fleet(m_io, options.rigs, options.token),
          m_timer(m_io),
          m_end(m_io),
          m_signals(m_io, SIGINT, SIGTERM),
          m_out(out),
          m_terminal(terminal) {
        m_signals.async_wait([this](const boost::system::error_code& error, int) {
            if (!error) Stop();
        });
        if (options.seconds <= 0) return;
        m_end.expires_after(std::chrono::milliseconds(static_cast<long>(options.seconds * 1000)));
        m_end.async_wait([this](const boost::system::error_code& error) {
            if (!error) Stop();
        });
    }

    int Run() {
        if (m_terminal) m_out << kBegin;
        m_fleet.Start();
        Tick();
        m_io.run();
        if (m_terminal) m_out << kEnd << std::flush;
        return m_exitCode;
    }

  private:
    void Draw() {
        std::vector<RigSight> sights;
        for (std::size_t i = 0; i < m_fleet.Size(); ++i)
            sights.push_back(Sight(m_fleet.Rig(i)));
        const std::string text = SumLine(m_fleet.Sums()) + StatusTable(sights);
        m_out << (m_terminal ? Frame(text, TerminalRows()) : text) << std::flush;
    }
    void Tick() {
        m_timer.expires_after(std::chrono::seconds(1));
        m_timer.async_wait([this](const boost::system::error_code& error) {
            if (error) return;
            Draw();
            if (m_out)
                Tick();
            else
                End();
        });
    }
    void Stop() {
        Draw();
        End();
    }
    void End() {
        const FleetSums sums = m_fleet.Sums();
        m_exitCode = sums.up < sums.rigs ? kExitRigFailed : sums.trouble > 0 ? kExitTrouble : kExitGood;
        m_timer.cancel();
        m_end.cancel();
        m_signals.cancel();
        m_fleet.Stop();
    }

    boost::asio::io_context m_io{1};
    CFleet m_fleet;
    boost::asio::steady_timer m_timer;
    boost::asio::steady_timer m_end;
    boost::asio::signal_set m_signals;
    std::ostream& m_out;
    bool m_terminal;
    int m_exitCode = kExitRigFailed;
};

}  // namespace

int RunWatch(const Options& options, std::ostream& out, bool terminal) {
    return CWatch(options, out, terminal).Run();
}
