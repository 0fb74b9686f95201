// What the main dialog's groups and grid show.
#include "common/SystemTime.h"
#include "dialogs/QuorvelMinerDlg.h"
#include "dialogs/resource.h"
#include "gui/DialogState.h"
#include "gui/GpuGroup.h"
#include "gui/LocalTimeText.h"

namespace {

const std::wstring kPoolCaption = L"Selected Pool information";
const std::wstring kGridCaption = L"Available GPUs";

// Dark or light, whichever stands out more on the colour.
COLORREF ReadableText(COLORREF background) {
    constexpr COLORREF kDarkText = RGB(0x14, 0x14, 0x14);
    return ContrastRatio(kDarkText, background) > ContrastRatio(kLightText, background) ? kDarkText : kLightText;
}

}  // namespace

void CQuorvelMinerDlg::ShowState(int id, const LabelLook& look) {
    SetItemText(id, look.text);
    CExStatic& label = Label(id);
    label.SetBackgroundColor(look.background);
    label.SetTextColor(ReadableText(look.background));
    UpdateNotifyIcon();
}

GpuGridSource CQuorvelMinerDlg::GridSource() const {
    const RuntimeSettings& settings = m_host.Settings();
    return {m_host.Gpus(), *m_shown,       m_unassigned,         m_host.Algorithms(),
            m_now,         m_troubledGpus, settings.WarmDegrees, settings.HotDegrees};
}

void CQuorvelMinerDlg::RefreshAll() {
    m_shown = m_host.Configuration().Current();
    m_now = CurrentTime(TimeMode::Utc);
    m_troubledGpus = m_host.TroubledGpus();
    RefreshHealth();
    m_grid.Refresh();
    const std::wstring sum = GpuSumText(GridSource());
    SetItemText(IDC_GRID_SEPARATOR, sum.empty() ? kGridCaption : kGridCaption + L" - " + sum);
    RefreshPoolGroup();
    RefreshGpuLive();
    UpdateNotifyIcon();
}

void CQuorvelMinerDlg::RefreshHealth() {
    const MiningHealth health = m_host.Health();
    if (health == m_health) return;
    m_health = health;
    ShowState(IDC_MINING_STATE, MiningStateLook(m_host.IsRunning(), health));
}

void CQuorvelMinerDlg::RefreshControlNote() {
    DialogNote note = m_host.ControlNote();
    // A channel that is off is safe.
    if (!m_host.IsControlOpen() && !note.isProblem) note = {m_listenRefusal, true};
    m_controlNote.Show(note.text, note.isProblem);
}

void CQuorvelMinerDlg::RefreshPoolGroup() {
    const PoolGroup group = MakePoolGroup(GridSource(), m_selectedGpu, m_host, &LocalTimeText, m_host.StandingMessage());
    SetItemText(IDC_POOL_NAME, group.name);
    SetItemText(IDC_POOL_SERVER, group.server);
    SetItemText(IDC_DIFFICULTY, group.difficulty);
    SetItemText(IDC_LAST_SHARE, group.lastShare);
    SetItemText(IDC_TOTAL_RATE, group.hashRate);
    SetItemText(IDC_TOTAL_SHARES, group.shares);
    SetItemText(IDC_JOB, group.job);
    SetItemText(IDC_POOL_MESSAGE, group.message);
    SetItemText(IDC_POOL_SEPARATOR, group.state.empty() ? kPoolCaption : kPoolCaption + L" - " + group.state);
    SetItemText(IDC_POOL_CONNECTED, group.connection.text);
    Label(IDC_POOL_CONNECTED).SetBackgroundColor(group.connection.background);
    if (!group.hasSession) {
        SetItemText(IDC_POOL_ROLE, L"");
        Label(IDC_POOL_ROLE).ResetBackgroundColor();
    }
    if (!group.role) return;
    SetItemText(IDC_POOL_ROLE, group.role->text);
    Label(IDC_POOL_ROLE).SetBackgroundColor(group.role->background);
}

void CQuorvelMinerDlg::RefreshGpuStatic() {
    const GpuStaticGroup group = MakeGpuStaticGroup(m_selectedGpu);
    SetItemText(IDC_GPU_TYPE, group.type);
    SetItemText(IDC_COMPUTE, group.cudaComp);
}

void CQuorvelMinerDlg::RefreshGpuLive() {
    std::wstring unit;
    if (m_selectedGpu != nullptr) unit = PoolUnit(*FindGpuPool(*m_shown, *m_selectedGpu, m_unassigned), m_host.Algorithms());
    const GpuLiveGroup group = MakeGpuLiveGroup(m_selectedGpu, unit);
    SetItemText(IDC_TEMPERATURE, group.temperature);
    SetItemText(IDC_FAN, group.fan);
    SetItemText(IDC_CORE_CLOCK, group.coreClock);
    SetItemText(IDC_MEMORY_CLOCK, group.memoryClock);
    SetItemText(IDC_GPU_MEMORY, group.availableMemory);
    SetItemText(IDC_GPU_RATE, group.hashRate);
    SetItemText(IDC_GPU_SHARES, group.shares);
}

void CQuorvelMinerDlg::RefreshWorker() {
    SetItemText(IDC_WORKER, m_host.Configuration().Current()->DefaultWorkerName);
}

void CQuorvelMinerDlg::SelectGpu(int row) {
    const GpuSpan gpus = m_host.Gpus();
    const bool inside = row >= 0 && static_cast<std::size_t>(row) < gpus.size();
    QvGpuRecord* const selected = inside ? gpus[static_cast<std::size_t>(row)] : nullptr;
    if (selected == m_selectedGpu) return;
    m_selectedGpu = selected;
    RefreshAll();
    RefreshGpuStatic();
}
