#include "dialogs/ConfigWorkerDlg.h"

#include <algorithm>

#include "dialogs/DialogPlace.h"
#include "dialogs/resource.h"
#include "gui/GpuText.h"
#include "gui/UnitText.h"
#include "toolkit/MessageMap.h"

namespace {

struct ErrorLabel {
    ConfigurationField field;
    int id;
};

constexpr ErrorLabel kErrors[] = {{ConfigurationField::WorkerName, IDC_WORKER_NAME_ERROR},
                                  {ConfigurationField::PrimaryPool, IDC_PRIMARY_ERROR},
                                  {ConfigurationField::BackupPool, IDC_BACKUP_ERROR},
                                  {ConfigurationField::Gpus, IDC_GPU_LIST_ERROR}};
constexpr int kButtons[] = {IDC_CONFIGURATION_ADD, IDC_CONFIGURATION_REMOVE, IDOK, IDCANCEL};

}  // namespace

CConfigWorkerDlg::CConfigWorkerDlg(IMainDialogHost& host, CThemeManager& themes)
    : CEditorDlg(IDD_WORKER, themes, host.Settings().ConfigWorkerPos),
      m_host(host),
      m_model(host.Configuration().Current(), host.Gpus()),
      m_name(themes.Paint()),
      m_list(themes.Paint()),
      m_gpus(themes.Paint(), CXTPListBox::Kind::Checks),
      m_primary(themes.Paint()),
      m_backup(themes.Paint()) {}

bool CConfigWorkerDlg::OnInitDialog() {
    TakeControls();
    CExDialog::OnInitDialog();
    SetUpResize();
    RestorePlace();
    m_filling = true;
    SetItemText(IDC_WORKER_NAME, m_model.WorkerName());
    m_filling = false;
    if (m_model.PoolCount() == 0) {
        SetItemText(IDC_WORKER_STATUS, L"There are no pools yet: make them under \"Mining pools...\" first.");
    } else if (m_host.IsRunning()) {
        SetItemText(IDC_WORKER_STATUS, L"Mining runs: changes take effect at its next start.");
    }
    FillList(m_model.Count() > 0 ? 0 : -1);
    return true;
}

void CConfigWorkerDlg::TakeControls() {
    m_name.SubclassDlgItem(Handle(), IDC_WORKER_NAME);
    m_list.SubclassDlgItem(Handle(), IDC_CONFIGURATION_LIST);
    m_gpus.SubclassDlgItem(Handle(), IDC_GPU_LIST);
    m_primary.SubclassDlgItem(Handle(), IDC_PRIMARY);
    m_backup.SubclassDlgItem(Handle(), IDC_BACKUP);
    for (const int id : kButtons)
        (m_buttons[id] = std::make_unique<CExButton>(Paint()))->SubclassDlgItem(Handle(), id);
    for (const int id : {IDC_CONFIGURATIONS_SEPARATOR, IDC_CONFIGURATION_FIELDS_SEPARATOR})
        (m_separators[id] = std::make_unique<CExSeparator>(Paint()))->SubclassDlgItem(Handle(), id);
    for (const ErrorLabel& label : kErrors) {
        (m_errors[label.id] = std::make_unique<CExStatic>(Paint()))->SubclassDlgItem(Handle(), label.id);
        m_errors[label.id]->SetTextColor(Paint().GetColor(ThemeColor::Error));
    }
}

void CConfigWorkerDlg::SetUpResize() {
    Resize().Begin(Handle());
    Resize().SetRule(IDC_CONFIGURATION_LIST, ResizeRule::StretchDown());
    Resize().SetRule(IDC_GPU_LIST, ResizeRule::StretchBoth());
    for (const int id : {IDC_CONFIGURATION_ADD, IDC_CONFIGURATION_REMOVE, IDC_WORKER_STATUS, IDC_GPU_LIST_ERROR})
        Resize().SetRule(id, ResizeRule::MoveDown());
    for (const int id : {static_cast<int>(IDOK), static_cast<int>(IDCANCEL)})
        Resize().SetRule(id, ResizeRule::MoveRightDown());
    Resize().SetRule(IDC_CONFIGURATION_FIELDS_SEPARATOR, ResizeRule::StretchRight());
    for (const int id : {IDC_WORKER_NAME_ERROR, IDC_PRIMARY_ERROR, IDC_BACKUP_ERROR})
        Resize().SetRule(id, ResizeRule::StretchRight());
}

LRESULT CConfigWorkerDlg::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    using Self = CConfigWorkerDlg;
    static constexpr std::array kMap = {
        MapCommand<&Self::OnNameChanged>(IDC_WORKER_NAME, EN_CHANGE),
        MapCommand<&Self::OnConfigurationSelected>(IDC_CONFIGURATION_LIST, LBN_SELCHANGE),
        MapCommand<&Self::OnPrimarySelected>(IDC_PRIMARY, CBN_SELCHANGE),
        MapCommand<&Self::OnBackupSelected>(IDC_BACKUP, CBN_SELCHANGE),
        MapCommand<&Self::OnGpuChecked>(IDC_GPU_LIST, CXTPListBox::kItemChecked),
        MapCommand<&Self::AddConfiguration>(IDC_CONFIGURATION_ADD, BN_CLICKED),
        MapCommand<&Self::RemoveConfiguration>(IDC_CONFIGURATION_REMOVE, BN_CLICKED),
    };
    if (const auto result = DispatchByMap(*this, kMap, message, wParam, lParam)) return *result;
    return CEditorDlg::OnMessage(message, wParam, lParam);
}

void CConfigWorkerDlg::OnNameChanged() {
    if (m_filling) return;
    m_model.SetWorkerName(ItemText(IDC_WORKER_NAME));
    ShowReasons();
}

void CConfigWorkerDlg::OnConfigurationSelected() {
    m_current = m_list.Selected();
    FillFields();
}

void CConfigWorkerDlg::OnPrimarySelected() {
    if (!HasCurrent()) return;
    m_model.SetPrimaryPool(Current(), static_cast<std::uint32_t>(m_primary.ItemData()));
    FillBackup();
    ShowReasons();
}

void CConfigWorkerDlg::OnBackupSelected() {
    if (!HasCurrent()) return;
    m_model.SetBackupPool(Current(), static_cast<std::uint32_t>(m_backup.ItemData()));
    ShowReasons();
}

void CConfigWorkerDlg::FillList(int selected) {
    m_current = selected;
    RefreshLabels();
    FillFields();
}

void CConfigWorkerDlg::RefreshLabels() {
    m_list.Clear();
    for (std::size_t i = 0; i < m_model.Count(); ++i)
        m_list.Add(m_model.Label(i));
    m_list.Select(m_current);
}

void CConfigWorkerDlg::FillFields() {
    FillPrimary();
    FillBackup();
    FillGpus();
    for (const int id : {IDC_PRIMARY, IDC_BACKUP, IDC_GPU_LIST, IDC_CONFIGURATION_REMOVE})
        EnableItem(id, HasCurrent());
    EnableItem(IDC_CONFIGURATION_ADD, m_model.PoolCount() > 0);
    ShowReasons();
}

void CConfigWorkerDlg::FillPrimary() {
    m_primary.Clear();
    if (!HasCurrent()) return;
    for (std::size_t i = 0; i < m_model.PoolCount(); ++i)
        m_primary.AddItem(PoolText(m_model.Pool(i), m_host.Algorithms()), m_model.Pool(i).ID);
    m_primary.SelectByData(m_model.Entry(Current()).primaryPoolId);
}

void CConfigWorkerDlg::FillBackup() {
    m_backup.Clear();
    if (!HasCurrent()) return;
    m_backup.AddItem(L"(none)", kUnassignedPoolId);
    for (const std::uint32_t id : m_model.BackupChoices(Current()))
        m_backup.AddItem(PoolText(*m_model.FindPool(id), m_host.Algorithms()), id);
    const std::uint32_t chosen = m_model.Entry(Current()).secondaryPoolId;
    if (m_backup.SelectByData(chosen) == 0) return;
    // What the file holds is shown, right or wrong.
    const PoolEntry* const pool = m_model.FindPool(chosen);
    if (pool != nullptr) m_backup.AddItem(PoolText(*pool, m_host.Algorithms()), chosen);
    m_backup.SelectByData(pool != nullptr ? chosen : kUnassignedPoolId);
}

std::wstring CConfigWorkerDlg::GpuLabel(const QvGpuRecord& gpu) const {
    std::wstring text = L"GPU#" + std::to_wstring(gpu.cudaId) + L"  " + GpuName(gpu);
    const auto owner = m_model.OwnerOf(gpu);
    if (owner && *owner != Current()) text += L"  (configuration " + std::to_wstring(*owner + 1) + L")";
    return text;
}

void CConfigWorkerDlg::FillGpus() {
    const int selected = m_gpus.Selected();
    m_gpus.Clear();
    if (!HasCurrent()) return;
    int item = 0;
    for (const QvGpuRecord* gpu : m_model.Gpus()) {
        m_gpus.Add(GpuLabel(*gpu));
        m_gpus.SetChecked(item++, m_model.IsChecked(Current(), *gpu));
    }
    for (const AbsentGpu& gpu : m_model.Entry(Current()).absentGpus) {
        m_gpus.Add(AbsentGpuLabel(gpu));
        m_gpus.SetChecked(item++, true);
    }
    m_gpus.Select(std::min(selected, item - 1));
}

void CConfigWorkerDlg::OnGpuChecked() {
    const int item = m_gpus.Selected();
    if (!HasCurrent() || item < 0) return;
    const auto index = static_cast<std::size_t>(item);
    const GpuSpan present = m_model.Gpus();
    if (index < present.size()) {
        m_model.SetChecked(Current(), *present[index], m_gpus.IsChecked(item));
    } else {
        m_model.RemoveAbsent(Current(), index - present.size());
    }
    // The list stays as it is under the pointer, with what the other configurations lost.
    for (std::size_t i = 0; i < present.size(); ++i) {
        const int row = static_cast<int>(i);
        m_gpus.SetItemText(row, GpuLabel(*present[i]));
        m_gpus.SetChecked(row, m_model.IsChecked(Current(), *present[i]));
    }
    if (index >= present.size()) m_gpus.Remove(item);
    for (std::size_t i = 0; i < m_model.Count(); ++i)
        m_list.SetItemText(static_cast<int>(i), m_model.Label(i));
    ShowReasons();
}

void CConfigWorkerDlg::AddConfiguration() {
    if (m_model.PoolCount() == 0) return;
    const std::size_t index = m_model.Add(m_model.Pool(0).ID);
    // The GPUs that mine nowhere are what the new one is for.
    for (QvGpuRecord* gpu : m_model.Gpus()) {
        if (!m_model.OwnerOf(*gpu)) m_model.SetChecked(index, *gpu, true);
    }
    FillList(static_cast<int>(index));
}

void CConfigWorkerDlg::RemoveConfiguration() {
    if (!HasCurrent()) return;
    m_model.Remove(Current());
    FillList(std::min(m_current, static_cast<int>(m_model.Count()) - 1));
}

void CConfigWorkerDlg::ShowReasons() {
    const std::vector<ConfigurationReason> reasons = m_model.Check();
    for (const ErrorLabel& label : kErrors) {
        const auto found = std::find_if(reasons.begin(), reasons.end(), [&](const ConfigurationReason& reason) {
            return reason.field == label.field && (!reason.entry || (HasCurrent() && *reason.entry == Current()));
        });
        SetItemText(label.id, found == reasons.end() ? std::wstring() : found->text);
    }
}

void CConfigWorkerDlg::OnOK() {
    if (!m_model.IsChanged()) return EndDialog(IDOK);
    ConfigurationBuild build = m_model.Build(m_host.Configuration().MakeBuilder());
    if (!build.configuration) {
        // The first wrong configuration comes into view.
        const auto& reason = build.reasons.front();
        if (reason.entry) FillList(static_cast<int>(*reason.entry));
        ShowReasons();
        MessageBeep(MB_ICONWARNING);
        return;
    }
    const bool isBased = m_model.IsBasedOn(m_host.Configuration().Current());
    if (PublishConfiguration(Handle(), m_host, isBased, std::move(*build.configuration))) EndDialog(IDOK);
}
