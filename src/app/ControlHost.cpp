#include "app/ControlHost.h"

#include "common/Clock.h"
#include "common/Messages.h"

void CControlHost::Post(unsigned message, WPARAM wParam, LPARAM lParam) const {
    const HWND window = m_parts.mainWindow;
    if (window != nullptr) PostMessageW(window, message, wParam, lParam);
}

void CControlHost::ControlStateChanged(ControlState state) {
    Post(kMessageControlState, static_cast<WPARAM>(state));
}

void CControlHost::SetWorkerName(std::wstring_view name) {
    m_parts.configuration.SetDefaultWorkerName(name);
    m_parts.files.SaveForController();
    Post(kMessageWorker, 0);
}

void CControlHost::PublishConfiguration(MinerConfiguration configuration) {
    const CLineBudget::Verdict verdict = m_replacedLines.Take(SystemClock().Monotonic());
    if (verdict.write) {
        std::wstring text = L"replaced by the controller: " + std::to_wstring(configuration.pools.size()) + L" pools, " +
                            std::to_wstring(configuration.configurations.size()) + L" configurations";
        if (verdict.left != 0)
            text.append(L" (and ").append(std::to_wstring(verdict.left)).append(L" times before, not logged)");
        m_parts.events.Event(EventKind::Configuration, L"", text);
    }
    m_parts.configuration.Publish(std::move(configuration));
    m_parts.files.Superseded();
    m_parts.files.SaveForController();
    m_parts.configurationReplaced();
    Post(kMessageRefresh, 0);
}

void CControlHost::RequestMining(bool start) {
    Post(kMessageMining, start ? 1 : 0, static_cast<LPARAM>(MiningAsker::Controller));
}
