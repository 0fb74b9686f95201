#include "dialogs/QuorvelMinerDlg.h"

#include <algorithm>
#include <utility>

#include "common/Messages.h"
#include "common/SystemTime.h"
#include "common/Version.h"
#include "dialogs/DialogPlace.h"
#include "dialogs/RunningInstance.h"
#include "dialogs/resource.h"
#include "gui/DialogState.h"
#include "gui/FieldText.h"
#include "toolkit/Gdi.h"
#include "toolkit/MessageMap.h"
#include "toolkit/TaskDialog.h"
#include "toolkit/Wnd.h"
#include "toolkit/report/ReportNotification.h"

namespace {

constexpr wchar_t kNothingToMine[] =
    L"There are no GPUs/Pool that are configured to mine! Please verify your GPU/Pool configuration first!";
constexpr wchar_t kOnlyAbsentCards[] = L"\n\nThere are configurations, but none of their cards is present.";

}  // namespace

CQuorvelMinerDlg::CQuorvelMinerDlg(IMainDialogHost& host, const Looks& looks)
    : CExDialog(IDD_MAIN, looks.themes),
      m_host(host),
      m_looks(looks),
      m_interfaces(looks.themes.Paint()),
      m_controlChoice(looks.themes.Paint()),
      m_miningChoice(looks.themes.Paint()),
      m_controlNote(looks.themes.Paint()),
      m_listenButton(looks.themes.Paint()),
      m_miningButton(looks.themes.Paint()),
      m_poolsButton(looks.themes.Paint()),
      m_workerButton(looks.themes.Paint()),
      m_portTip(looks.themes.Paint()),
      m_grid(looks.themes.Paint(), [this] { return GridSource(); }),
      m_shown(host.Configuration().Current()),
      m_unassigned(host.Configuration().UnassignedPool()) {}

LRESULT CQuorvelMinerDlg::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    using Self = CQuorvelMinerDlg;
    static constexpr std::array kMap = {
        MapMessage<WM_TIMER, &Self::OnTimer>(),
        MapMessage<WM_SYSCOMMAND, &Self::OnSysCommand>(),
        MapMessage<WM_SIZE, &Self::OnSize>(),
        MapMessage<WM_PAINT, &Self::PaintIcon>(),
        MapMessage<WM_QUERYDRAGICON, &Self::OnQueryDragIcon>(),
        MapMessage<WM_CLOSE, &Self::OnClose>(),
        MapMessage<WM_ENDSESSION, &Self::OnEndSession>(),
        MapMessage<kMessageWorker, &Self::RefreshWorker>(),
        MapMessage<kMessageControlState, &Self::OnControlState>(),
        MapMessage<kMessageRefresh, &Self::OnConfigurationReplaced>(),
        MapMessage<kMessageMining, &Self::OnMining>(),
        MapMessage<kNotifyIconMessage, &Self::OnNotifyIcon>(),
        MapMessage<kLoadMessage, &Self::OnLoadMessage>(),
        MapMessage<kShowIconMessage, &Self::ShowNotifyIcon>(),
        MapCommand<&Self::OnListenButton>(IDC_START_LISTEN, BN_CLICKED),
        MapCommand<&Self::OnMiningButton>(IDC_START_MINING, BN_CLICKED),
        MapCommand<&Self::HidePortReason>(IDC_PORT, EN_CHANGE),
        MapCommand<&Self::HidePortReason>(IDC_PORT, EN_KILLFOCUS),
        MapCommand<&Self::OnPoolsButton>(IDC_POOLS_BUTTON, BN_CLICKED),
        MapCommand<&Self::OnWorkerButton>(IDC_WORKER_BUTTON, BN_CLICKED),
        MapMessage<WM_CONTEXTMENU, &Self::OnContextMenu>(),
        MapCommand<&Self::OnInterfacesOpened>(IDC_INTERFACE, CBN_DROPDOWN),
        MapCommand<&Self::OnControlChoice>(IDC_CONTROL_CHOICE, CBN_SELCHANGE),
        MapCommand<&Self::OnMiningChoice>(IDC_MINING_CHOICE, CBN_SELCHANGE),
        MapNotify<&Self::OnSelectionChanged>(IDC_GRID, kReportFocusedRowChanged),
    };
    if (const auto result = DispatchByMap(*this, kMap, message, wParam, lParam)) return *result;
    if (message == WM_DESTROY) EndWork();
    if (message == CNotifyIcon::TaskbarCreated()) KeepNotifyIcon();
    if (message == ShowRequest()) Restore();
    return CExDialog::OnMessage(message, wParam, lParam);
}

void CQuorvelMinerDlg::OnConfigurationReplaced() {
    const int row = m_grid.FocusedRow();
    m_grid.Populate(static_cast<int>(m_host.Gpus().size()));
    m_grid.SetFocusedRow(row);
    RefreshAll();
}

bool CQuorvelMinerDlg::OnSize(WPARAM kind) {
    if (kind == SIZE_MINIMIZED) HideOrShowMinimized();
    return false;
}

LRESULT CQuorvelMinerDlg::OnQueryDragIcon() const {
    return reinterpret_cast<LRESULT>(m_looks.icon);
}

void CQuorvelMinerDlg::OnMiningButton() {
    RequestMining(!m_host.IsRunning(), MiningAsker::User);
}

void CQuorvelMinerDlg::Tell(const std::wstring& text, TaskDialogIcon icon) {
    const auto isSame = [&text](const auto& message) { return message.first == text; };
    if (std::any_of(m_messages.begin(), m_messages.end(), isSame)) return;
    m_messages.emplace_back(text, icon);
    if (m_messages.size() > 1) return;
    while (!m_messages.empty() && !m_closing) {
        const auto [shown, shownIcon] = m_messages.front();
        ShowTaskDialog(kApplicationName, shown, shownIcon);
        m_messages.erase(m_messages.begin());
    }
}

void CQuorvelMinerDlg::OnControlChoice() {
    m_host.Settings().ControlState = static_cast<std::int32_t>(m_controlChoice.ItemData());
    m_host.SaveSettings();
}

void CQuorvelMinerDlg::OnMiningChoice() {
    m_host.Settings().MiningState = static_cast<std::int32_t>(m_miningChoice.ItemData());
    m_host.SaveSettings();
}

// Whoever ends the program from outside while a message or another dialog is open does not want to answer it first; what an
// editor has not saved is lost.
void CQuorvelMinerDlg::OnClose() {
    m_closing = true;
    CancelModalWindows(Handle());
    EndDialog(IDCANCEL);
}

// The system gives little time, and the process may be gone as soon as this returns: what counts comes first.
bool CQuorvelMinerDlg::OnEndSession(bool ending) {
    if (!ending) return false;
    m_host.SaveSettings();
    m_host.SaveConfiguration();
    EndWork();
    m_host.SaveSettings();
    OnClose();
    return true;
}

void CQuorvelMinerDlg::OnTimer() {
    TakeLateFiles(m_host.RetryFiles());
    if (m_host.IsRunning()) {
        SetItemText(IDC_UPTIME, SpanText(CurrentTime(TimeMode::Utc).ticks - m_host.MiningStart().ticks));
        m_host.SendUpdateReport();
    }
    if (m_tick % kTelemetryTicks == 0) m_host.ReadTelemetry();
    if (m_tick % kSaveTicks == 0) m_host.SaveConfiguration();
    if (m_tick % kInterfaceTicks == 0) RefreshInterfaces();
    if (m_tick % kNotifyIconTicks == 0) KeepNotifyIcon();
    RefreshAll();
    RefreshControlNote();
    ++m_tick;
}

void CQuorvelMinerDlg::TakeLateFiles(const LateFiles& late) {
    if (late.configuration) {
        OnConfigurationReplaced();
        RefreshWorker();
        if (m_startIsDue) RequestMining(true, MiningAsker::ProgramStart);
    }
    if (late.settings) TakeSettings();
    if (late.configuration || late.settings) OfferLoadMessage();
}

// Posted, so that the channel listens meanwhile. Not where a rig goes to work by itself: nobody may be there to answer.
void CQuorvelMinerDlg::OfferLoadMessage() {
    if (m_host.Resumes() || m_host.IsRunning() || ShouldStartMining(m_host.Settings())) return;
    PostMessageW(Handle(), kLoadMessage, 0, 0);
}

void CQuorvelMinerDlg::OnLoadMessage() {
    const std::wstring message = m_host.LoadMessage();
    if (message.empty() || message == m_shownLoadMessage) return;
    m_shownLoadMessage = message;
    Tell(message, TaskDialogIcon::Warning);
}

void CQuorvelMinerDlg::EndWork() {
    m_host.MiningAsked(MiningAsker::ProgramEnd);
    KillTimer(Handle(), kTimerId);
    HidePortReason();
    m_looks.windowChanged(nullptr);
    m_notifyIcon.Remove();
    m_host.CloseControl();
    m_host.StopMining();
    KeepDialogPlace(Handle(), m_host.Settings().WindowPos);
}

void CQuorvelMinerDlg::RequestMining(bool start, MiningAsker asker) {
    PostMessageW(Handle(), kMessageMining, start ? 1 : 0, static_cast<LPARAM>(asker));
}

void CQuorvelMinerDlg::OnMining(WPARAM wanted, LPARAM asker) {
    const bool start = wanted == 1;
    if (m_closing || start == m_host.IsRunning()) return;
    m_host.MiningAsked(static_cast<MiningAsker>(asker));
    m_startIsDue = false;
    if (start) {
        if (!StartMining(static_cast<MiningAsker>(asker))) return;
        m_notices.MiningStarted();
    } else {
        if (static_cast<MiningAsker>(asker) == MiningAsker::Pool) m_notices.MiningStopped();
        StopMining();
    }
    m_host.SendUpdateReport();
}

// False: nothing is configured, and whoever asked was told.
bool CQuorvelMinerDlg::StartMining(MiningAsker asker) {
    if (m_host.Configuration().Current()->configurations.empty()) {
        m_startIsDue = asker == MiningAsker::ProgramStart;
        m_host.NothingToMine();
        TellNothingToMine(asker);
        return false;
    }
    if (m_host.StartMining() != 0) return true;
    m_host.Settings().LastMiningState = 1;
    m_host.SaveSettings();  // for whoever takes the place of a program that crashes
    m_selectedGpu = nullptr;
    OnSelectionChanged();
    m_health = m_host.Health();
    ShowState(IDC_MINING_STATE, MiningStateLook(true, m_health));
    SetItemText(IDC_START_MINING, MiningButtonText(true));
    RefreshAll();
    return true;
}

void CQuorvelMinerDlg::TellNothingToMine(MiningAsker asker) {
    const std::wstring trouble = m_host.StandingMessage().text;
    // The channel tells the controller; and a file that cannot be read yet may be by the time that somebody comes to answer.
    if (asker == MiningAsker::Controller || (asker == MiningAsker::ProgramStart && !trouble.empty())) return;
    std::wstring text = kNothingToMine;
    if (!m_host.Configuration().Current()->absentConfigurations.empty()) text += kOnlyAbsentCards;
    Tell(trouble.empty() ? text : text + L"\n\n" + trouble, TaskDialogIcon::Information);
}

void CQuorvelMinerDlg::StopMining() {
    SetItemText(IDC_UPTIME, L"");
    m_health = MiningHealth::Good;
    ShowState(IDC_MINING_STATE, MiningStateLook(false));
    SetItemText(IDC_START_MINING, MiningButtonText(false));
    m_host.Settings().LastMiningState = 0;
    m_host.SaveSettings();
    m_host.StopMining();
    RefreshAll();
}

void CQuorvelMinerDlg::OnControlState(WPARAM wParam) {
    const auto state = static_cast<std::uint32_t>(wParam);
    if (state == m_controlState) return;
    m_controlState = state;
    Label(IDC_CONTROL_STATE).ResetBackgroundColor();
    ShowState(IDC_CONTROL_STATE, ControlStateLook(state, Label(IDC_CONTROL_STATE).BackgroundColor()));
    UpdateNotifyIcon();
}

void CQuorvelMinerDlg::OnListenButton() {
    RuntimeSettings& settings = m_host.Settings();
    if (m_host.IsControlOpen()) {
        settings.LastControlState = 0;
        m_host.SaveSettings();
        StopListening();
        return;
    }
    const PortResult port = ParsePort(ItemText(IDC_PORT));
    if (!port.reason.empty()) {
        ShowPortReason(port.reason);
        return;
    }
    // An empty list, where the system does not tell, leaves the address.
    if (m_interfaces.Selected() >= 0) settings.HostIP = static_cast<std::uint32_t>(m_interfaces.ItemData());
    settings.HostPort = port.port;
    m_host.SaveSettings();
    const std::wstring refusal = StartListening();
    if (!refusal.empty()) Tell(refusal, TaskDialogIcon::Error);
}

// At the field, until it is changed or left.
void CQuorvelMinerDlg::ShowPortReason(const std::wstring& reason) {
    RECT place = {};
    SetFocus(Item(IDC_PORT));
    SendMessageW(Item(IDC_PORT), EM_SETSEL, 0, -1);
    GetWindowRect(Item(IDC_PORT), &place);
    m_portTip.Show(Handle(), reason, FontOf(Item(IDC_PORT)), place);
    MessageBeep(MB_ICONWARNING);
}

// Why the channel does not open; empty: it listens, or goes on trying to.
std::wstring CQuorvelMinerDlg::StartListening() {
    const auto post = [this](ControlState state) {
        PostMessageW(Handle(), kMessageControlState, static_cast<WPARAM>(state), 0);
    };
    post(ControlState::Listening);  // first: the channel itself posts that it cannot
    m_listenRefusal = m_host.OpenControl();
    RefreshControlNote();
    if (!m_listenRefusal.empty()) {
        post(ControlState::Offline);
        return m_listenRefusal;
    }
    if (std::exchange(m_host.Settings().LastControlState, 1) != 1) m_host.SaveSettings();
    SetItemText(IDC_START_LISTEN, ListenButtonText(true));
    EnableListenFields(false);
    return {};
}

void CQuorvelMinerDlg::StopListening() {
    m_host.CloseControl();
    PostMessageW(Handle(), kMessageControlState, static_cast<WPARAM>(ControlState::Offline), 0);
    SetItemText(IDC_START_LISTEN, ListenButtonText(false));
    EnableListenFields(true);
    RefreshControlNote();
}

void CQuorvelMinerDlg::EnableListenFields(bool enable) {
    for (const int id : {IDC_INTERFACE_LABEL, IDC_PORT_LABEL, IDC_PORT})
        EnableItem(id, enable);
    // A list of one is no choice.
    EnableItem(IDC_INTERFACE, enable && m_interfaces.Count() >= 2);
}

// There may be no choice any more.
void CQuorvelMinerDlg::OnInterfacesOpened() {
    FillInterfaces();
    EnableListenFields(!m_host.IsControlOpen());
}

// A list of one cannot be opened, and one that is open must not change under the mouse.
void CQuorvelMinerDlg::RefreshInterfaces() {
    if (m_host.IsControlOpen() || SendMessageW(m_interfaces.Handle(), CB_GETDROPPEDSTATE, 0, 0) != 0) return;
    FillInterfaces();
    EnableListenFields(true);
}

void CQuorvelMinerDlg::OnSelectionChanged() {
    SelectGpu(m_grid.FocusedRow());
}

bool CQuorvelMinerDlg::PaintIcon() {
    if (!IsIconic(Handle())) return false;
    const CPaintDC paint(Handle());
    RECT client = {};
    GetClientRect(Handle(), &client);
    const int width = GetSystemMetrics(SM_CXICON);
    const int height = GetSystemMetrics(SM_CYICON);
    DrawIcon(paint.Get(), (client.right - width + 1) / 2, (client.bottom - height + 1) / 2, m_looks.icon);
    return true;
}
