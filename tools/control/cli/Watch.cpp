#include "Watch.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <ostream>

#include "../serve/Fleet.h"
#include "Tables.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kHomeAndClear = "\x1b[H\x1b[J";
constexpr const char* kHideCursor = "\x1b[?25l\x1b[2J";
constexpr const char* kShowCursor = "\x1b[?25h";

std::string Problem(const RigView& rig) {
    if (rig.IsUp()) return rig.errors.empty() ? std::string() : rig.errors.front().text;
    if (!rig.reason.empty()) return rig.reason;
    return rig.link == LinkState::Connecting ? "connecting" : "waiting for an answer";
}

RigSight Sight(const RigView& rig) {
    return {rig.address.Text(), Problem(rig), rig.IsUp() && rig.system ? &*rig.system : nullptr, rig.Fresh(Clock::now())};
}

std::string SumLine(const FleetSums& sums) {
    std::string line = std::to_string(sums.up) + " of " + std::to_string(sums.rigs) + " rigs up, " +
                       std::to_string(sums.mining) + " mining, " + std::to_string(sums.all.gpus) + " GPUs";
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
        if (m_terminal) m_out << kHideCursor;
        m_fleet.Start();
        Tick();
        m_io.run();
        if (m_terminal) m_out << kShowCursor << std::flush;
        return m_allUp ? kExitGood : kExitRigFailed;
    }

  private:
    void Draw() {
        std::vector<RigSight> sights;
        for (std::size_t i = 0; i < m_fleet.Size(); ++i)
            sights.push_back(Sight(m_fleet.Rig(i)));
        if (m_terminal) m_out << kHomeAndClear;
        m_out << SumLine(m_fleet.Sums()) << StatusTable(sights) << std::flush;
    }
    void Tick() {
        m_timer.expires_after(std::chrono::seconds(1));
        m_timer.async_wait([this](const boost::system::error_code& error) {
            if (error) return;
            Draw();
            Tick();
        });
    }
    void Stop() {
        Draw();
        const FleetSums sums = m_fleet.Sums();
        m_allUp = sums.up == sums.rigs;
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
    bool m_allUp = false;
};

}  // namespace

int RunWatch(const Options& options, std::ostream& out, bool terminal) {
    return CWatch(options, out, terminal).Run();
}
