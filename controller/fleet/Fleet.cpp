#include "fleet/Fleet.h"

#include <algorithm>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kSampleEvery{1};
// The connections of a large fleet are opened over this time, not all in one instant.
constexpr std::chrono::milliseconds kOpenPerRig{4};

std::int64_t UnixNow() {
    using namespace std::chrono;
    return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

}  // namespace

class CFleet::CRig : public IRigEvents {
  public:
    CRig(boost::asio::io_context& io, const RigAddress& address, const std::string& token, const LinkTimes& times,
         std::uint64_t& revision)
        : m_link(std::make_shared<CRigLink>(io, address, token, times, true, *this)), m_delay(io), m_revision(revision) {
        m_view.address = address;
    }

    void Start(std::chrono::milliseconds delay) {
        m_delay.expires_after(delay);
        m_delay.async_wait([this](const boost::system::error_code& error) {
            if (!error) m_link->Start();
        });
    }
    void Stop() {
        m_delay.cancel();
        m_link->Stop();
    }
    RigView& View() { return m_view; }
    // Old figures are not shown as if they were so now, nor is trouble that the rig no longer tells.
    void DropWhatIsOld() {
        const Clock::time_point now = Clock::now();
        if (m_isAnswering && now - m_systemTime >= kTroubleGrace) {
            m_isAnswering = false;
            m_view.troubles.Settle();
            Changed();
        }
        if (!m_view.update || m_view.Fresh(now)) return;
        m_view.update.reset();
        Changed();
    }
    CRigLink& Link() { return *m_link; }

    void OnLinkState(LinkState state, const std::string& reason) override {
        m_view.link = state;
        if (!reason.empty() || state == LinkState::Up) m_view.reason = reason;
        if (state == LinkState::Up) ++m_view.connects;
        if (state == LinkState::Down) {
            m_view.update.reset();
            m_view.troubles.Clear();
        }
        Changed();
    }

    void OnReport(Report report, std::string_view) override {
        ++m_view.reports;
        if (auto* const system = std::get_if<SystemReport>(&report)) {
            const bool changed = m_view.update && m_view.update->status != system->status;
            if (changed) m_view.update.reset();
            m_view.troubles.Apply(*system);
            m_view.system = std::move(*system);
            m_systemTime = Clock::now();
            m_isAnswering = true;
        } else if (auto* const update = std::get_if<UpdateReport>(&report)) {
            m_view.update = std::move(*update);
            m_view.updateTime = Clock::now();
        } else if (auto* const error = std::get_if<ErrorReport>(&report); error && !m_view.troubles.Apply(*error)) {
            ++m_view.errorCount;
            m_view.errors.push_front(std::move(*error));
            if (m_view.errors.size() > kKeptErrors) m_view.errors.pop_back();
        }
        Changed();
    }

    void OnBadLine() override {
        ++m_view.badLines;
        Changed();
    }

  private:
    void Changed() { m_view.revision = ++m_revision; }

    RigView m_view;
    std::shared_ptr<CRigLink> m_link;
    boost::asio::steady_timer m_delay;
    std::uint64_t& m_revision;
    Clock::time_point m_systemTime;
    bool m_isAnswering = false;  // what follows the latest system report may not all be here yet
};

CFleet::CFleet(boost::asio::io_context& io, const std::vector<RigAddress>& rigs, const std::string& token,
               const LinkTimes& times)
    : m_timer(io) {
    for (const RigAddress& rig : rigs)
        m_rigs.push_back(std::make_unique<CRig>(io, rig, token, times, m_revision));
}

CFleet::~CFleet() {
    try {
        Stop();
    } catch (const boost::system::system_error&) {
        // A timer that cannot be cancelled is destroyed next and calls nobody either.
        m_rigs.clear();
    }
}

void CFleet::Start() {
    for (std::size_t i = 0; i < m_rigs.size(); ++i)
        m_rigs[i]->Start(kOpenPerRig * i);
    Sample();
}

void CFleet::Stop() {
    m_timer.cancel();
    for (const auto& rig : m_rigs)
        rig->Stop();
}

const RigView& CFleet::Rig(std::size_t index) const {
    return m_rigs.at(index)->View();
}

FleetSums CFleet::Sums() const {
    std::vector<const RigView*> views;
    for (const auto& rig : m_rigs)
        views.push_back(&rig->View());
    return SumsOf(views, Clock::now());
}

void CFleet::Sample() {
    const std::int64_t now = UnixNow();
    for (const auto& rig : m_rigs) {
        rig->DropWhatIsOld();
        const RigSums sums = SumsOf(rig->View(), Clock::now());
        rig->View().history.Add(now, sums.hashRate, sums.temperature);
    }
    const FleetSums sums = Sums();
    m_history.Add(now, sums.all.hashRate, sums.all.temperature);
    m_timer.expires_after(kSampleEvery);
    m_timer.async_wait([this](const boost::system::error_code& error) {
        if (!error) Sample();
    });
}

bool CFleet::StartMining(std::size_t index) {
    CRigLink& link = m_rigs.at(index)->Link();
    return link.Send(link.Commands().StartMining());
}

bool CFleet::StopMining(std::size_t index) {
    CRigLink& link = m_rigs.at(index)->Link();
    return link.Send(link.Commands().StopMining());
}

bool CFleet::SetWorker(std::size_t index, std::string_view name) {
    CRigLink& link = m_rigs.at(index)->Link();
    return link.Send(link.Commands().Worker(name));
}
