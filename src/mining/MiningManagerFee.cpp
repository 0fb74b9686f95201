// The manager's part in the developer fee: what the schedule decides is done here.
#include "mining/FeeSchedule.h"
#include "mining/MiningManager.h"

namespace {

std::wstring ShortSpan(std::uint64_t ticks) {
    return SpanText(static_cast<TimeSpan>(ticks));
}

}  // namespace

CMiningManager::PoolRole CMiningManager::CurrentRole() const {
    if (m_mode == Mode::Fee) return m_feeSession.CurrentPoolIndex() == 0 ? PoolRole::Fee : PoolRole::FeeBackup;
    return m_userSession.CurrentPoolIndex() == 0 ? PoolRole::Primary : PoolRole::Backup;
}

void CMiningManager::StepFeeSchedule() {
    const FeeTimes times = {static_cast<std::uint64_t>(m_userSession.minedTime),
                            static_cast<std::uint64_t>(m_userSession.activeTime),
                            static_cast<std::uint64_t>(m_feeSession.minedTime)};
    if (m_mode == Mode::Fee) {
        const FeeDecision decision = DecideDuringFee(times);
        if (decision.changeSource) {
            EndFeePeriod(decision.owed);
        } else {
            Revive(m_feeSession);
        }
        return;
    }
    const FeeDecision decision = DecideDuringUser(times, m_feePeriodTarget);
    if (decision.orderPools && m_context.ping) m_feePoolOrder.Start(m_feePools, m_context.ping);
    if (decision.connectFee) ConnectFeeSession();
    if (decision.changeSource) BeginFeePeriod(decision.owed);
}

void CMiningManager::ConnectFeeSession() {
    m_feeWanted = true;
    if (m_feeSession.CurrentPoolIndex() != 0) {
        m_feeSession.SetCurrentPoolIndex(0);
        PostMessageW(Handle(), kMessageReconnect, reinterpret_cast<WPARAM>(&m_feeSession), 0);
    }
    if (m_feeSession.IsRunning()) return;
    if (auto ordered = m_feePoolOrder.Take()) m_feeSession.SetPoolList(std::move(*ordered));
    m_feeSession.Connect();
}

void CMiningManager::BeginFeePeriod(std::uint64_t owed) {
    AccountTime(m_userSession);
    m_userSession.Pause();
    m_log.LogLine(L"Developer fee: begins, %s owed for %s mined", ShortSpan(owed).c_str(),
                  SpanText(m_userSession.minedTime).c_str());
    m_context.events.Event(EventKind::Fee, m_pools[0]->Name, L"developer's time begins: " + ShortSpan(owed));
    m_feeSession.Activate();
    m_mode = Mode::Fee;
}

void CMiningManager::EndFeePeriod(std::uint64_t owed) {
    AccountTime(m_feeSession);
    m_feeSession.Pause();
    m_log.LogLine(L"Developer fee: ends, %s mined of %s owed", SpanText(m_feeSession.minedTime).c_str(),
                  ShortSpan(owed).c_str());
    m_context.events.Event(EventKind::Fee, m_pools[0]->Name,
                           L"developer's time ends after " + SpanText(m_feeSession.minedTime));
    if (m_userSession.CurrentPoolIndex() != 0) {
        m_userSession.SetCurrentPoolIndex(0);
        PostMessageW(Handle(), kMessageReconnect, reinterpret_cast<WPARAM>(&m_userSession), 0);
    }
    m_userSession.Activate();
    m_mode = Mode::User;
    m_feeWanted = false;
    m_feeSession.CloseConnection();
    m_userSession.minedTime = 0;
    m_feeSession.minedTime = 0;
}

void CMiningManager::LogTotals() {
    if (HasFailed()) return;
    const AnswerCounts fee = m_feeSession.Answers();
    const std::wstring counts =
        L" (shares A:" + std::to_wstring(fee.accepted) + L" R:" + std::to_wstring(fee.rejected) + L")";
    const std::wstring text = L"Mined " + SpanText(m_userTime) + L" for " + m_pools[0]->Name + L" and " +
                              SpanText(m_feeTime) + L" for the developer" + counts;
    m_log.LogLine(L"%s", text.c_str());
    m_context.mainLog.LogFormat(LOG_SEVERITY_NORMAL, L"%s", text.c_str());
}
