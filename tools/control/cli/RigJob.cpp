#include "RigJob.h"

#include <boost/asio/io_context.hpp>
#include <memory>

#include "../CleanText.h"
#include "../ReportParser.h"

namespace {

constexpr std::chrono::milliseconds kAskAgain{500};
// To a rig that another controller took over: one that stays connected waits longer than this.
constexpr std::chrono::milliseconds kComeBack{100};

LinkTimes TimesFor(std::chrono::milliseconds timeout) {
    LinkTimes times;
    times.connect = timeout;
    times.answer = timeout;
    times.replaced = kComeBack;
    return times;
}

class CRigTask : public IRigEvents {
  public:
    CRigTask(boost::asio::io_context& io, const RigAddress& rig, const std::string& token, std::chrono::milliseconds timeout,
             const RigJob& job)
        : m_link(std::make_shared<CRigLink>(io, rig, token, TimesFor(timeout), true, *this)),
          m_deadline(io, timeout),
          m_poll(io),
          m_job(job) {
        m_result.rig = rig;
    }

    void Start() {
        m_deadline.async_wait([this](const boost::system::error_code& error) {
            if (!error) Finish(false, LateMessage());
        });
        m_link->Start();
    }
    RigResult TakeResult() { return std::move(m_result); }

    void OnLinkState(LinkState state, const std::string& reason) override {
        if (state == LinkState::Waiting && m_result.message.empty()) m_result.message = kNoAnswer;
        if (state != LinkState::Down) return;
        if (m_link->IsReplaced()) return StartAnew();
        Finish(false, reason);
    }
    void OnReport(Report report, std::string_view line) override;
    void OnBadLine() override { m_result.message = "sent a line that is no report"; }

  private:
    void TakeSystem(SystemReport system, std::string_view line);
    void TakeUpdate(UpdateReport update, std::string_view line);
    void CarryOut();
    void StartAnew();
    void CheckConfirmed(MiningStatus status, bool isSystem);
    void CheckComplete();
    void AskAgain();
    std::string LateMessage() const;
    void Finish(bool good, const std::string& message);

    std::shared_ptr<CRigLink> m_link;
    boost::asio::steady_timer m_deadline;
    boost::asio::steady_timer m_poll;
    const RigJob& m_job;
    RigResult m_result;
    RigPlan m_plan;
    bool m_sent = false;
    bool m_confirmed = false;
    bool m_finished = false;
};

void CRigTask::OnReport(Report report, std::string_view line) {
    if (auto* const system = std::get_if<SystemReport>(&report)) TakeSystem(std::move(*system), line);
    if (auto* const update = std::get_if<UpdateReport>(&report)) TakeUpdate(std::move(*update), line);
}

void CRigTask::TakeSystem(SystemReport system, std::string_view line) {
    const MiningStatus status = system.status;
    m_result.system = std::move(system);
    m_result.systemLine = CleanText(line, kMaxReportBytes);
    if (!m_sent) return CarryOut();
    CheckConfirmed(status, true);
}

void CRigTask::TakeUpdate(UpdateReport update, std::string_view line) {
    const MiningStatus status = update.status;
    m_result.update = std::move(update);
    m_result.updateLine = CleanText(line, kMaxReportBytes);
    if (m_sent) CheckConfirmed(status, false);
}

void CRigTask::CarryOut() {
    m_sent = true;
    if (m_job.plan) m_plan = m_job.plan(m_result.rig, *m_result.system);
    if (!m_plan.error.empty()) return Finish(false, m_plan.error);
    for (const std::string& line : m_plan.lines)
        if (!m_link->Send(line)) return Finish(false, "does not take what is sent to it");
    m_confirmed = m_plan.confirm == Confirm::None;
    if (m_confirmed) return CheckComplete();
    AskAgain();
}

// What was sent last may not have been read. Every command can be sent twice.
void CRigTask::StartAnew() {
    m_sent = false;
    m_confirmed = false;
    m_poll.cancel();
    m_result.message = "another controller keeps taking the rig over";
}

// The state changes some time after the command was read, so the rig is asked until it says so.
void CRigTask::AskAgain() {
    m_link->Send(m_link->Commands().Connect());
    if (m_plan.confirm == Confirm::Read) return;
    m_poll.expires_after(kAskAgain);
    m_poll.async_wait([this](const boost::system::error_code& error) {
        if (!error && !m_finished) AskAgain();
    });
}

void CRigTask::CheckConfirmed(MiningStatus status, bool isSystem) {
    if (m_plan.confirm == Confirm::Read && isSystem) m_confirmed = true;
    if (m_plan.confirm == Confirm::Mining && status == MiningStatus::Mining) m_confirmed = true;
    if (m_plan.confirm == Confirm::Stopped && status == MiningStatus::Stopped) m_confirmed = true;
    CheckComplete();
}

void CRigTask::CheckComplete() {
    if (!m_confirmed) return;
    const bool mining = m_result.system && m_result.system->status == MiningStatus::Mining;
    const bool wanted = m_job.update == WantUpdate::Yes || (m_job.update == WantUpdate::WhileMining && mining);
    if (!wanted || m_result.update) Finish(true, m_plan.done);
}

std::string CRigTask::LateMessage() const {
    if (!m_sent) return "timed out" + (m_result.message.empty() ? std::string() : ": " + m_result.message);
    if (m_plan.confirm == Confirm::Mining && !m_confirmed) return "was told to start but does not report that it mines";
    if (m_plan.confirm == Confirm::Stopped && !m_confirmed) return "was told to stop but still reports that it mines";
    if (!m_confirmed) return "no answer after the command was sent";
    return "no update report (the miner sends them while it mines)";
}

void CRigTask::Finish(bool good, const std::string& message) {
    if (m_finished) return;
    m_finished = true;
    m_result.good = good;
    m_result.message = message;
    m_deadline.cancel();
    m_poll.cancel();
    m_link->Stop();
}

}  // namespace

std::vector<RigResult> RunOnRigs(const std::vector<RigAddress>& rigs, const std::string& token,
                                 std::chrono::milliseconds timeout, const RigJob& job) {
    boost::asio::io_context io(1);
    std::vector<std::unique_ptr<CRigTask>> tasks;
    for (const RigAddress& rig : rigs) {
        tasks.push_back(std::make_unique<CRigTask>(io, rig, token, timeout, job));
        tasks.back()->Start();
    }
    io.run();
    std::vector<RigResult> results;
    results.reserve(tasks.size());
    for (const auto& task : tasks)
        results.push_back(task->TakeResult());
    return results;
}
