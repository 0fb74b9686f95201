// How the main dialog comes up.
#include <algorithm>
#include <memory>

#include "common/Messages.h"
#include "dialogs/DialogPlace.h"
#include "dialogs/QuorvelMinerDlg.h"
#include "dialogs/RunningInstance.h"
#include "dialogs/SystemText.h"
#include "dialogs/resource.h"
#include "gui/DialogState.h"
#include "gui/LocalInterfaces.h"
#include "toolkit/Gdi.h"

namespace {

constexpr int kStateLabels[] = {IDC_POOL_CONNECTED,  IDC_POOL_ROLE,  IDC_TOTAL_RATE,    IDC_TOTAL_SHARES,
                                IDC_GPU_RATE,        IDC_GPU_SHARES, IDC_CONTROL_STATE, IDC_MINING_STATE,
                                IDC_INTERFACE_LABEL, IDC_PORT_LABEL};
constexpr int kLargeLabels[] = {IDC_CONTROL_STATE, IDC_MINING_STATE, IDC_TOTAL_RATE,
                                IDC_TOTAL_SHARES,  IDC_GPU_RATE,     IDC_GPU_SHARES};
constexpr int kSmallLabels[] = {IDC_POOL_CONNECTED, IDC_POOL_ROLE};
constexpr int kSeparators[] = {IDC_POOL_SEPARATOR, IDC_GPU_SEPARATOR, IDC_CONTROL_SEPARATOR, IDC_MINER_SEPARATOR,
                               IDC_GRID_SEPARATOR};
constexpr int kFields[] = {IDC_POOL_NAME,    IDC_DIFFICULTY, IDC_POOL_SERVER, IDC_LAST_SHARE,   IDC_JOB,
                           IDC_POOL_MESSAGE, IDC_GPU_TYPE,   IDC_GPU_MEMORY,  IDC_MEMORY_CLOCK, IDC_COMPUTE,
                           IDC_TEMPERATURE,  IDC_FAN,        IDC_CORE_CLOCK,  IDC_HOST_NAME,    IDC_WORKER,
                           IDC_UPTIME,       IDC_PORT};
// What grows with the dialog's width; what stands to the right of it moves.
constexpr int kStretched[] = {IDC_POOL_SEPARATOR, IDC_GPU_SEPARATOR, IDC_CONTROL_SEPARATOR, IDC_MINER_SEPARATOR,
                              IDC_GRID_SEPARATOR, IDC_POOL_NAME,     IDC_POOL_SERVER,       IDC_JOB,
                              IDC_POOL_MESSAGE,   IDC_GPU_TYPE,      IDC_CONTROL_NOTE};
constexpr int kMoved[] = {IDC_DIFFICULTY_LABEL,
                          IDC_DIFFICULTY,
                          IDC_LAST_SHARE_LABEL,
                          IDC_LAST_SHARE,
                          IDC_POOL_CONNECTED,
                          IDC_POOL_ROLE,
                          IDC_TOTAL_RATE,
                          IDC_TOTAL_SHARES,
                          IDC_GPU_MEMORY_LABEL,
                          IDC_GPU_MEMORY,
                          IDC_MEMORY_CLOCK_LABEL,
                          IDC_MEMORY_CLOCK,
                          IDC_FAN_LABEL,
                          IDC_FAN,
                          IDC_CORE_CLOCK_LABEL,
                          IDC_CORE_CLOCK,
                          IDC_GPU_RATE,
                          IDC_GPU_SHARES,
                          IDC_INTERFACE_LABEL,
                          IDC_INTERFACE,
                          IDC_PORT_LABEL,
                          IDC_PORT,
                          IDC_START_LISTEN,
                          IDC_CONTROL_CHOICE_LABEL,
                          IDC_CONTROL_CHOICE,
                          IDC_HOST_NAME_LABEL,
                          IDC_HOST_NAME,
                          IDC_WORKER_LABEL,
                          IDC_WORKER,
                          IDC_START_MINING,
                          IDC_UPTIME_LABEL,
                          IDC_UPTIME,
                          IDC_MINING_CHOICE_LABEL,
                          IDC_MINING_CHOICE};

// Of the grid when the window is as low as it can be; what header, rows and border take beyond the font's height, at 96 dpi.
constexpr int kLeastRows = 3;
constexpr int kGridMargins = 29;

constexpr int kPortCharacters = 5;
constexpr std::uint64_t kShownPort = 8010;

}  // namespace

bool CQuorvelMinerDlg::OnInitDialog() {
    TakeControls();
    CExDialog::OnInitDialog();
    m_looks.windowChanged(Handle());
    SetFonts();
    PostMessageW(Handle(), kMessageControlState, static_cast<WPARAM>(ControlState::Offline), 0);
    SetUpSystemMenu();
    SendMessageW(Handle(), WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(m_looks.icon));
    SendMessageW(Handle(), WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(m_looks.icon));
    SetText(MainDialogTitle());
    AllowMessageFromAll(Handle(), ShowRequest());
    FillChoices();
    SendMessageW(Item(IDC_PORT), EM_LIMITTEXT, kPortCharacters, 0);
    m_edits.at(IDC_PORT)->SetNumber(kShownPort);
    FillInterfaces();
    EnableListenFields(true);
    SetItemText(IDC_HOST_NAME, m_host.HostName());
    RefreshWorker();
    CreateGrid();
    SetUpResize();
    if (const std::wstring leftOut = m_host.LeftOutPlugIns(); !leftOut.empty())
        SetItemText(IDC_MINER_SEPARATOR, L"Miner settings - " + leftOut);
    ShowState(IDC_MINING_STATE, MiningStateLook(false));
    SetItemText(IDC_START_MINING, MiningButtonText(false));
    if (!m_host.Gpus().empty()) m_grid.SetFocusedRow(0);
    TakeSettings();
    RefreshAll();
    RefreshGpuStatic();
    SetTimer(Handle(), kTimerId, kTimerPeriodMs, nullptr);
    OfferLoadMessage();
    // The system would show it only once nothing is posted any more, and the first message may bring a box to the front.
    ShowWindow(Handle(), SW_SHOW);
    PostMessageW(Handle(), kShowIconMessage, 0, 0);  // the shell takes its time
    return true;
}

void CQuorvelMinerDlg::TakeControls() {
    const auto take = [this](auto& map, const auto& ids) {
        for (const int id : ids) {
            auto& control = map[id];
            using Control = typename std::decay_t<decltype(control)>::element_type;
            control = std::make_unique<Control>(Paint());
            control->SubclassDlgItem(Handle(), id);
        }
    };
    take(m_labels, kStateLabels);
    take(m_separators, kSeparators);
    take(m_edits, kFields);
    m_interfaces.SubclassDlgItem(Handle(), IDC_INTERFACE);
    m_controlChoice.SubclassDlgItem(Handle(), IDC_CONTROL_CHOICE);
    m_miningChoice.SubclassDlgItem(Handle(), IDC_MINING_CHOICE);
    m_controlNote.SubclassDlgItem(Handle(), IDC_CONTROL_NOTE);
    m_listenButton.SubclassDlgItem(Handle(), IDC_START_LISTEN);
    m_miningButton.SubclassDlgItem(Handle(), IDC_START_MINING);
    m_poolsButton.SubclassDlgItem(Handle(), IDC_POOLS_BUTTON);
    m_workerButton.SubclassDlgItem(Handle(), IDC_WORKER_BUTTON);
}

void CQuorvelMinerDlg::SetFonts() {
    for (const int id : kLargeLabels)
        SendMessageW(Item(id), WM_SETFONT, reinterpret_cast<WPARAM>(m_looks.largeFont), TRUE);
    for (const int id : kSmallLabels) {
        SendMessageW(Item(id), WM_SETFONT, reinterpret_cast<WPARAM>(m_looks.smallFont), TRUE);
        Label(id).SetTextColor(kLightText);
    }
}

void CQuorvelMinerDlg::SetUpSystemMenu() {
    const HMENU menu = GetSystemMenu(Handle(), FALSE);
    const std::wstring about = LoadText(IDS_ABOUT);
    if (menu == nullptr || about.empty()) return;
    AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(menu, MF_STRING, kMenuPools, L"Mining &pools...");
    AppendMenuW(menu, MF_STRING, kMenuWorker, L"&Worker...");
    const HMENU themes = CreatePopupMenu();
    AppendMenuW(themes, MF_STRING, kMenuThemeDefault, L"D&efault");
    AppendMenuW(themes, MF_STRING, kMenuThemeLight, L"&Light");
    AppendMenuW(themes, MF_STRING, kMenuThemeDark, L"&Dark");
    AppendMenuW(themes, MF_STRING, kMenuThemeOffice, L"&White");
    AppendMenuW(menu, MF_POPUP, reinterpret_cast<UINT_PTR>(themes), L"&Theme");
    AppendMenuW(menu, MF_STRING, kMenuHideMinimized, L"&Hide when minimised");
    AppendMenuW(menu, MF_STRING, kMenuEventLog, L"E&vent log");
    AppendMenuW(menu, MF_STRING, kMenuDiagnostics, L"Copy &diagnostics");
    AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(menu, MF_STRING, kMenuAbout, about.c_str());
}

void CQuorvelMinerDlg::FillChoices() {
    const auto fill = [](CExComboBox& list, const auto& texts) {
        for (std::size_t i = 0; i < std::size(texts); ++i)
            list.AddItem(texts[i], i);
    };
    fill(m_controlChoice, kControlChoices);
    fill(m_miningChoice, kMiningChoices);
}

// What is selected stays so, as long as it is there.
void CQuorvelMinerDlg::FillInterfaces() {
    std::vector<LocalInterface> interfaces = LocalInterfaces();
    if (interfaces == m_listedInterfaces) return;
    m_listedInterfaces = std::move(interfaces);
    const std::uint32_t stored = m_host.Settings().HostIP;
    const std::uint64_t selected = m_interfaces.Selected() >= 0 ? m_interfaces.ItemData() : stored;
    m_interfaces.Clear();
    for (const LocalInterface& entry : m_listedInterfaces)
        m_interfaces.AddItem(entry.text, entry.address);
    if (m_interfaces.SelectByData(selected) != 0 && m_interfaces.SelectByData(stored) != 0) m_interfaces.Select(0);
}

void CQuorvelMinerDlg::CreateGrid() {
    RECT place = {};
    GetWindowRect(Item(IDC_GRID_PLACE), &place);
    MapWindowPoints(nullptr, Handle(), reinterpret_cast<POINT*>(&place), 2);
    m_grid.Create(Handle(), IDC_GRID, place, WS_CHILD | WS_VISIBLE | WS_BORDER | WS_TABSTOP);
    SendMessageW(m_grid.Handle(), WM_SETFONT, reinterpret_cast<WPARAM>(m_looks.gridFont), FALSE);
    m_grid.SetUpColumns();
    m_grid.Populate(static_cast<int>(m_host.Gpus().size()));
}

void CQuorvelMinerDlg::SetUpResize() {
    Resize().Begin(Handle());
    for (const int id : kStretched)
        Resize().SetRule(id, ResizeRule::StretchRight());
    for (const int id : kMoved)
        Resize().SetRule(id, ResizeRule::MoveRight());
    Resize().SetRule(m_grid.Handle(), ResizeRule::StretchBoth());
    RECT grid = {};
    GetWindowRect(m_grid.Handle(), &grid);
    const int least = (kLeastRows + 1) * FontHeight(m_grid.Handle(), m_looks.gridFont) + ScaleForDpi(kGridMargins);
    Resize().AllowLower(std::max(static_cast<int>(grid.bottom - grid.top) - least, 0));
}

// On a low screen the grid gives way, and scrolls.
void CQuorvelMinerDlg::FitOnScreen() {
    MONITORINFO screen = {};
    screen.cbSize = sizeof(screen);
    RECT window = {};
    if (!GetMonitorInfoW(MonitorFromWindow(Handle(), MONITOR_DEFAULTTONEAREST), &screen)) return;
    if (!GetWindowRect(Handle(), &window) || IsZoomed(Handle())) return;
    const LONG room = screen.rcWork.bottom - screen.rcWork.top;
    const LONG height = window.bottom - window.top;
    if (height <= room) return;
    SetWindowPos(Handle(), nullptr, window.left, screen.rcWork.top, window.right - window.left, room,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

// Also when their file could be read only later.
void CQuorvelMinerDlg::TakeSettings() {
    const RuntimeSettings& settings = m_host.Settings();
    const auto select = [](CExComboBox& list, std::int32_t setting) {
        const auto index = StartChoiceIndex(setting);
        list.Select(index ? static_cast<int>(*index) : -1);
    };
    select(m_controlChoice, settings.ControlState);
    select(m_miningChoice, settings.MiningState);
    m_interfaces.SelectByData(settings.HostIP);
    CheckHideMinimized();
    StartAsChosen();
    ChooseTheme(settings.Theme);
    RestoreDialogPlace(Handle(), settings.WindowPos);
    FitOnScreen();
}

void CQuorvelMinerDlg::StartAsChosen() {
    const RuntimeSettings& settings = m_host.Settings();
    // Posted: what it may have to say must not keep the dialog from showing and the channel from listening.
    const bool resume = m_host.Resumes();
    if (ShouldStartMining(settings, resume)) RequestMining(true, MiningAsker::ProgramStart);
    // What refuses to listen stands in the note.
    if (ShouldListen(settings, resume) && !m_host.IsControlOpen()) StartListening();
}
