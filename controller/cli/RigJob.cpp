#include "cli/RigJob.h"

#include <array>
#include <boost/asio/io_context.hpp>
#include <cstdio>
#include <memory>

#include "rig/CleanText.h"
#include "rig/ReportParser.h"

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

// Not so when it was set anew after it had expired, before its handler ran.
bool IsOver(const boost::asio::steady_timer& timer) {
    return timer.expiry() <= std::chrono::steady_clock::now();
}

class CRigTask : public IRigEvents {
  public:
    CRigTask(boost::asio::io_context& io, const RigAddress& rig, const std::string& token, std::chrono::milliseconds timeout,
             const RigJob& job)
        : m_link(std::make_shared<CRigLink>(io, rig, token, TimesFor(timeout), true, *this)),
          m_deadline(io),
          m_poll(io),
          m_grace(io),
          m_timeout(timeout),
          m_job(job) {
        m_result.rig = rig;
    }

    void Start() {
        ArmDeadline(m_timeout);
        m_link->Start();
    }
    RigResult TakeResult() { return std::move(m_result); }

    void OnLinkState(LinkState state, const std::string& reason) override {
        if (state == LinkState::Waiting && m_result.message.empty()) m_result.message = kNoAnswer;
        if (state != LinkState::Down) return;
        if (m_link->IsReplaced()) return StartAnew();
        Finish(RigEnd::Failed, reason);
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
    void BeginGrace();
    void CheckHashing();
    void ArmDeadline(std::chrono::milliseconds time);
    void AskAgain();
    std::string LateMessage() const;
    std::string NoHashMessage() const;
    void Finish(RigEnd end, const std::string& message);

    std::shared_ptr<CRigLink> m_link;
    boost::asio::steady_timer m_deadline;
    boost::asio::steady_timer m_poll;
    boost::asio::steady_timer m_grace;
    std::chrono::milliseconds m_timeout;
    const RigJob& m_job;
    RigResult m_result;
    RigPlan m_plan;
    bool m_sent = false;
    bool m_confirmed = false;
    bool m_isTold = false;     // all troubles that the rig tells behind its latest system report
    bool m_isWaiting = false;  // for hashing, until the deadline
    bool m_finished = false;
};

void CRigTask::OnReport(Report report, std::string_view line) {
    if (auto* const system = std::get_if<SystemReport>(&report)) TakeSystem(std::move(*system), line);
    if (auto* const update = std::get_if<UpdateReport>(&report)) TakeUpdate(std::move(*update), line);
    const auto* const error = std::get_if<ErrorReport>(&report);
    // More may follow.
    if (error && m_result.troubles.Apply(*error) && m_isTold) BeginGrace();
}

void CRigTask::TakeSystem(SystemReport system, std::string_view line) {
    const MiningStatus status = system.status;
    m_result.troubles.Apply(system);
    if (m_result.update && m_result.update->status != status) m_result.update.reset();
    m_result.system = std::move(system);
    BeginGrace();
    m_result.systemLine = CleanText(line, kMaxReportBytes);
    if (!m_sent) return CarryOut();
    CheckConfirmed(status, true);
}

void CRigTask::TakeUpdate(UpdateReport update, std::string_view line) {
    const MiningStatus status = update.status;
    // What stopped it may be told a moment later.
    if (m_isWaiting && status == MiningStatus::Stopped && m_isTold) BeginGrace();
    m_result.update = std::move(update);
    m_result.updateLine = CleanText(line, kMaxReportBytes);
    if (m_sent) CheckConfirmed(status, false);
}

void CRigTask::CarryOut() {
    m_sent = true;
    if (m_isWaiting) {  // after a change of controllers: the rig has been told before
        m_confirmed = true;
        return;
    }
    if (m_job.plan) m_plan = m_job.plan(m_result.rig, *m_result.system);
    if (!m_plan.error.empty()) return Finish(RigEnd::Failed, m_plan.error);
    for (const std::string& line : m_plan.lines)
        if (!m_link->Send(line)) return Finish(RigEnd::Failed, "does not take what is sent to it");
    m_confirmed = m_plan.confirm == Confirm::None;
    if (m_confirmed) return CheckComplete();
    AskAgain();
}

// What was sent last may not have been read. Every command can be sent twice.
void CRigTask::StartAnew() {
    m_sent = false;
    m_confirmed = false;
    m_isTold = false;
    m_poll.cancel();
    m_grace.cancel();
    m_result.update.reset();
    m_result.troubles.Clear();
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
    // What lasted before the start is told apart from what lasts now by a system report that knows of the start.
    const bool isMining = status == MiningStatus::Mining && (isSystem || m_job.hashWait.count() == 0);
    if (m_plan.confirm == Confirm::Mining && isMining) m_confirmed = true;
    if (m_plan.confirm == Confirm::Stopped && status == MiningStatus::Stopped) m_confirmed = true;
    CheckComplete();
}

void CRigTask::CheckComplete() {
    if (!m_confirmed) return;
    if (m_job.hashWait.count() > 0) return CheckHashing();
    if (m_job.troubles && !m_isTold) return;
    const bool mining = m_result.system && m_result.system->status == MiningStatus::Mining;
    const bool wanted = m_job.update == WantUpdate::Yes || (m_job.update == WantUpdate::WhileMining && mining);
    if (wanted && !m_result.update) return;
    const bool hasTrouble = m_job.troubles && !m_result.troubles.IsEmpty();
    Finish(hasTrouble ? RigEnd::Trouble : RigEnd::Good, m_plan.done);
}

void CRigTask::BeginGrace() {
    m_isTold = false;
    m_grace.expires_after(kTroubleGrace);
    m_grace.async_wait([this](const boost::system::error_code& error) {
        if (error || m_finished || !IsOver(m_grace)) return;
        m_isTold = true;
        m_result.troubles.Settle();
        CheckComplete();
    });
}

void CRigTask::CheckHashing() {
    if (!m_isWaiting) {
        m_isWaiting = true;
        m_poll.cancel();
        ArmDeadline(m_job.hashWait);
    }
    if (!m_isTold) return;
    const UpdateReport* const update = m_result.update ? &*m_result.update : nullptr;
    const std::string troubles = m_result.troubles.Text();
    switch (StateOf(&*m_result.system, update, m_result.troubles)) {
        case RigState::Trouble:
            return Finish(RigEnd::Trouble, "trouble: " + troubles);
        case RigState::Stopped:
            return Finish(RigEnd::Trouble, "mining has stopped again: " + (troubles.empty() ? "no reason given" : troubles));
        default:
            if (!update || !IsHashing(*update)) return;
            Finish(RigEnd::Good, m_plan.done + (troubles.empty() ? "" : ", but " + troubles));
    }
}

void CRigTask::ArmDeadline(std::chrono::milliseconds time) {
    m_deadline.expires_after(time);
    m_deadline.async_wait([this](const boost::system::error_code& error) {
        if (error || m_finished || !IsOver(m_deadline)) return;
        // A rig that says why it does not even start has answered, too.
        const bool saysWhy = m_job.hashWait.count() > 0 && !m_result.troubles.IsEmpty();
        if (!m_sent || !(m_isWaiting || saysWhy)) return Finish(RigEnd::Failed, LateMessage());
        Finish(RigEnd::Trouble, m_isWaiting ? NoHashMessage() : LateMessage() + ": " + m_result.troubles.Text());
    });
}

std::string CRigTask::NoHashMessage() const {
    std::array<char, 60> start{};
    std::snprintf(start.data(), start.size(), "does not hash after %g s ",
                  static_cast<double>(m_job.hashWait.count()) / 1000);
    std::string reason = m_result.troubles.Text();
    if (reason.empty()) reason = "no reason given; a GPU that prepares itself takes its time";
    if (!m_result.update) reason += "; it sent no update report";
    return start.data() + ("(" + reason + ")");
}

std::string CRigTask::LateMessage() const {
    if (!m_sent) return "timed out" + (m_result.message.empty() ? std::string() : ": " + m_result.message);
    if (m_plan.confirm == Confirm::Mining && !m_confirmed) return "was told to start but does not report that it mines";
    if (m_plan.confirm == Confirm::Stopped && !m_confirmed) return "was told to stop but still reports that it mines";
    if (!m_confirmed) return "no answer after the command was sent";
    return "no update report (the miner sends them while it mines)";
}

void CRigTask::Finish(RigEnd end, const std::string& message) {
    if (m_finished) return;
    m_finished = true;
    m_result.end = end;
    m_result.message = message;
    m_deadline.cancel();
    m_poll.cancel();
    m_grace.cancel();
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
