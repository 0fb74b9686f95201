#include "gui/dialogs/QuorvelMinerDlg.h"

#include "common/Messages.h"
#include "common/SystemTime.h"
#include "common/Version.h"
#include "gui/DialogState.h"
#include "gui/PortText.h"
#include "gui/dialogs/DialogPlace.h"
#include "gui/dialogs/RunningInstance.h"
#include "gui/dialogs/resource.h"
#include "toolkit/MessageMap.h"
#include "toolkit/ModalWindows.h"
#include "toolkit/TaskDialog.h"
#include "toolkit/report/ReportNotification.h"

namespace {

constexpr wchar_t kNothingToMine[] =
    L"There are no GPUs/Pool that are configured to mine! Please verify your GPU/Pool configuration first!";

const std::wstring kControlCaption = L"MinerControl connection settings";

}  // namespace

CQuorvelMinerDlg::CQuorvelMinerDlg(IMainDialogHost& host, const Looks& looks)
    : CExDialog(IDD_MAIN, looks.themes),
      m_host(host),
      m_looks(looks),
      m_interfaces(looks.themes.Paint()),
      m_controlChoice(looks.themes.Paint()),
      m_miningChoice(looks.themes.Paint()),
      m_listenButton(looks.themes.Paint()),
      m_miningButton(looks.themes.Paint()),
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
        MapCommand<&Self::OnListenButton>(IDC_START_LISTEN, BN_CLICKED),
        MapCommand<&Self::OnMiningButton>(IDC_START_MINING, BN_CLICKED),
        MapCommand<&Self::OnControlChoice>(IDC_CONTROL_CHOICE, CBN_SELCHANGE),
        MapCommand<&Self::OnMiningChoice>(IDC_MINING_CHOICE, CBN_SELCHANGE),
        MapNotify<&Self::OnSelectionChanged>(IDC_GRID, kReportFocusedRowChanged),
    };
    if (const auto result = DispatchByMap(*this, kMap, message, wParam, lParam)) return *result;
    if (message == WM_DESTROY) EndWork();
    if (message == CNotifyIcon::TaskbarCreated()) m_notifyIcon.ShowAgain();
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
    if (kind == SIZE_MINIMIZED && m_host.Settings().HideMinimized != 0) ShowWindow(Handle(), SW_HIDE);
    return false;
}

LRESULT CQuorvelMinerDlg::OnQueryDragIcon() const {
    return reinterpret_cast<LRESULT>(m_looks.icon);
}

void CQuorvelMinerDlg::OnMiningButton() {
    m_host.MiningAsked(MiningAsker::User);
    PostMessageW(Handle(), kMessageMining, m_host.IsRunning() ? 0 : 1, 0);
}

void CQuorvelMinerDlg::OnControlChoice() {
    m_host.Settings().ControlState = static_cast<std::int32_t>(m_controlChoice.ItemData());
    m_host.SaveSettings();
}

void CQuorvelMinerDlg::OnMiningChoice() {
    m_host.Settings().MiningState = static_cast<std::int32_t>(m_miningChoice.ItemData());
    m_host.SaveSettings();
}

// Whoever closes the program while a message or another dialog is open does not want to answer it first; what an editor
// has not saved is lost, as with its Cancel.
void CQuorvelMinerDlg::OnClose() {
    m_closing = true;
    CancelModalWindows(Handle());
    EndDialog(IDCANCEL);
}

// The process may be gone as soon as this returns.
bool CQuorvelMinerDlg::OnEndSession(bool ending) {
    if (!ending) return false;
    EndWork();
    m_host.SaveSettings();
    m_host.SaveConfiguration();
    OnClose();
    return true;
}

void CQuorvelMinerDlg::OnTimer() {
    if (m_host.IsRunning()) {
        SetItemText(IDC_UPTIME, SpanText(CurrentTime(TimeMode::Utc).ticks - m_host.MiningStart().ticks));
        m_host.SendUpdateReport();
    }
    if (m_tick % kTelemetryTicks == 0) m_host.ReadTelemetry();
    if (m_tick % kSaveTicks == 0) m_host.SaveConfiguration();
    RefreshAll();
    ++m_tick;
}

void CQuorvelMinerDlg::EndWork() {
    m_host.MiningAsked(MiningAsker::ProgramEnd);
    KillTimer(Handle(), kTimerId);
    m_looks.windowChanged(nullptr);
    m_notifyIcon.Remove();
    m_host.CloseControl();
    m_host.StopMining();
    KeepDialogPlace(Handle(), m_host.Settings().WindowPos);
}

void CQuorvelMinerDlg::OnMining(WPARAM wanted) {
    const bool start = wanted == 1;
    if (m_closing || start == m_host.IsRunning()) return;
    if (start) {
        if (!StartMining()) return;
    } else {
        StopMining();
    }
    m_host.SendUpdateReport();
}

// False: nothing is configured, and the user was told.
bool CQuorvelMinerDlg::StartMining() {
    if (m_host.Configuration().Current()->configurations.empty()) {
        m_host.NothingToMine();
        ShowTaskDialog(kApplicationName, kNothingToMine, TaskDialogIcon::Information);
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
        ShowTaskDialog(kApplicationName, port.reason, TaskDialogIcon::Error);
        SetFocus(Item(IDC_PORT));
        return;
    }
    settings.HostIP = static_cast<std::uint32_t>(m_interfaces.ItemData());
    settings.HostPort = port.port;
    settings.LastControlState = 1;
    m_host.SaveSettings();
    StartListening();
}

void CQuorvelMinerDlg::StartListening() {
    m_host.OpenControl();
    PostMessageW(Handle(), kMessageControlState, static_cast<WPARAM>(ControlState::Listening), 0);
    SetItemText(IDC_START_LISTEN, ListenButtonText(true));
    EnableListenFields(false);
    const DialogNote note = m_host.ControlNote();
    SetItemText(IDC_CONTROL_SEPARATOR, note.text.empty() ? kControlCaption : kControlCaption + L" - " + note.text);
}

void CQuorvelMinerDlg::StopListening() {
    m_host.CloseControl();
    PostMessageW(Handle(), kMessageControlState, static_cast<WPARAM>(ControlState::Offline), 0);
    SetItemText(IDC_START_LISTEN, ListenButtonText(false));
    EnableListenFields(true);
    SetItemText(IDC_CONTROL_SEPARATOR, kControlCaption);
}

void CQuorvelMinerDlg::EnableListenFields(bool enable) {
    for (const int id : {IDC_INTERFACE_LABEL, IDC_PORT_LABEL, IDC_PORT})
        EnableItem(id, enable);
    // A list of one is no choice.
    EnableItem(IDC_INTERFACE, enable && m_interfaces.Count() >= 2);
}

void CQuorvelMinerDlg::OnSelectionChanged() {
    SelectGpu(m_grid.FocusedRow());
}

bool CQuorvelMinerDlg::PaintIcon() {
    if (!IsIconic(Handle())) return false;
    PAINTSTRUCT paint = {};
    const HDC device = BeginPaint(Handle(), &paint);
    RECT client = {};
    GetClientRect(Handle(), &client);
    const int width = GetSystemMetrics(SM_CXICON);
    const int height = GetSystemMetrics(SM_CYICON);
    DrawIcon(device, (client.right - width + 1) / 2, (client.bottom - height + 1) / 2, m_looks.icon);
    EndPaint(Handle(), &paint);
    return true;
}
