#pragma once
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// How the simulated miner behaves towards a controller.
enum class Manner {
    Good,
    NeverAnswers,
    ClosesAtOnce,
    Garbage,      // lines that are no reports, before the good ones
    OnlyGarbage,  // and nothing else
    EndlessLine,
    HalfLines,    // every report in two pieces
    QuotedError,  // an errorinfo with unescaped quotes before each update
    NeverStarts,  // reads "start-mining" and does not mine
    DropsFirst,   // closes the first connection after its report, then is good
};

// told: the update report behind which it is told, 0: it lasts from the beginning. Code -1013 stops the mining, too.
struct FakeTrouble {
    int code = 0;
    std::string text;
    unsigned told = 0;
};

struct FakeSettings {
    Manner manner = Manner::Good;
    int gpus = 2;
    bool mining = false;
    std::string token;  // not empty: lines without it are not obeyed
    std::string hostname = "FAKE";
    std::chrono::milliseconds interval{50};  // between update reports
    std::vector<FakeTrouble> troubles{};
    unsigned hashesFrom = 0;  // the first update report with a hash rate
};

std::string FakeUuid(int rig, int gpu);

// A simulated miner on a port of its own choice: speaks the control channel's protocol, mines nothing, its figures are made
// up. All but Received and Port belong to the thread of the io_context.
class CFakeMiner {
  public:
    CFakeMiner(boost::asio::io_context& io, FakeSettings settings, int number = 0);
    ~CFakeMiner();

    std::uint16_t Port() const { return m_acceptor.local_endpoint().port(); }
    std::vector<std::string> Received() const;  // complete lines, from any thread
    void EndTroubles();

  private:
    class CSession;
    void Accept();
    void Obey(const std::string& line, CSession& session);
    std::string SystemLine() const;
    std::string UpdateLine();
    std::string TroublesBegun();  // with the latest update report
    const char* Status() const { return m_mining ? "mining" : "stopped"; }

    boost::asio::ip::tcp::acceptor m_acceptor;
    FakeSettings m_settings;
    int m_number;
    bool m_mining;
    unsigned m_ticks = 0;
    unsigned m_connections = 0;
    std::weak_ptr<CSession> m_session;
    mutable std::mutex m_lock;
    std::vector<std::string> m_received;
};
