#include "dialogs/ConfigMiningPoolsDlg.h"

#include <algorithm>

#include "dialogs/DialogPlace.h"
#include "dialogs/resource.h"
#include "gui/UnitText.h"
#include "toolkit/MessageMap.h"

namespace {

struct FieldIds {
    PoolField field;
    int control;
    int error;
};

// In the order of the template.
constexpr FieldIds kFields[] = {
    {PoolField::Name, IDC_POOLEDIT_NAME, IDC_POOLEDIT_NAME_ERROR},
    {PoolField::Server, IDC_POOLEDIT_SERVER, IDC_POOLEDIT_SERVER_ERROR},
    {PoolField::Port, IDC_POOLEDIT_POOL_PORT, IDC_POOLEDIT_POOL_PORT_ERROR},
    {PoolField::Algorithm, IDC_POOLEDIT_ALGORITHM, IDC_POOLEDIT_ALGORITHM_ERROR},
    {PoolField::WalletUser, IDC_POOLEDIT_WALLET, IDC_POOLEDIT_WALLET_ERROR},
    {PoolField::Password, IDC_POOLEDIT_PASSWORD, IDC_POOLEDIT_PASSWORD_ERROR},
    {PoolField::WorkerOverride, IDC_POOLEDIT_OVERRIDE, IDC_POOLEDIT_OVERRIDE_ERROR},
};
constexpr int kButtons[] = {IDC_POOLEDIT_ENCRYPTED, IDC_POOL_ADD, IDC_POOL_REMOVE, IDC_POOL_UP, IDC_POOL_DOWN,
                            IDC_SHOW_PASSWORD,      IDOK,         IDCANCEL};
constexpr wchar_t kBullet = L'\x2022';

}  // namespace

CConfigMiningPoolsDlg::CConfigMiningPoolsDlg(IMainDialogHost& host, CThemeManager& themes)
    : CEditorDlg(IDD_POOLS, themes, host.Settings().ConfigMiningPoolsPos),
      m_host(host),
      m_model(host.Configuration().Current(), host.Algorithms()),
      m_list(themes.Paint()),
      m_algorithms(themes.Paint()) {}

bool CConfigMiningPoolsDlg::OnInitDialog() {
    TakeControls();
    CExDialog::OnInitDialog();
    SetUpResize();
    RestorePlace();
    if (m_host.IsRunning()) {
        SetItemText(IDC_POOLS_STATUS, L"Mining runs: changes take effect at its next start.");
    }
    FillList(m_model.Count() > 0 ? std::optional<std::size_t>(0) : std::nullopt);
    return true;
}

void CConfigMiningPoolsDlg::TakeControls() {
    m_list.SubclassDlgItem(Handle(), IDC_POOL_LIST);
    m_algorithms.SubclassDlgItem(Handle(), IDC_POOLEDIT_ALGORITHM);
    for (const int id : {IDC_POOLS_SEPARATOR, IDC_POOL_FIELDS_SEPARATOR})
        (m_separators[id] = std::make_unique<CExSeparator>(Paint()))->SubclassDlgItem(Handle(), id);
    for (const int id : kButtons)
        (m_buttons[id] = std::make_unique<CExButton>(Paint()))->SubclassDlgItem(Handle(), id);
    for (const FieldIds& field : kFields) {
        (m_errors[field.error] = std::make_unique<CExStatic>(Paint()))->SubclassDlgItem(Handle(), field.error);
        m_errors[field.error]->SetTextColor(Paint().GetColor(ThemeColor::Error));
        if (field.control == IDC_POOLEDIT_ALGORITHM) continue;
        (m_edits[field.control] = std::make_unique<CExEdit>(Paint()))->SubclassDlgItem(Handle(), field.control);
    }
    (m_edits[IDC_POOLEDIT_CERTIFICATE] = std::make_unique<CExEdit>(Paint()))
        ->SubclassDlgItem(Handle(), IDC_POOLEDIT_CERTIFICATE);
    auto& error = m_errors[IDC_POOLEDIT_CERTIFICATE_ERROR] = std::make_unique<CExStatic>(Paint());
    error->SubclassDlgItem(Handle(), IDC_POOLEDIT_CERTIFICATE_ERROR);
    error->SetTextColor(Paint().GetColor(ThemeColor::Error));
}

void CConfigMiningPoolsDlg::SetUpResize() {
    Resize().Begin(Handle());
    Resize().SetRule(IDC_POOL_LIST, ResizeRule::StretchDown());
    for (const int id : {IDC_POOL_ADD, IDC_POOL_REMOVE, IDC_POOL_UP, IDC_POOL_DOWN, IDC_POOLS_STATUS})
        Resize().SetRule(id, ResizeRule::MoveDown());
    for (const int id : {static_cast<int>(IDOK), static_cast<int>(IDCANCEL)})
        Resize().SetRule(id, ResizeRule::MoveRightDown());
    Resize().SetRule(IDC_POOL_FIELDS_SEPARATOR, ResizeRule::StretchRight());
    Resize().SetRule(IDC_POOLEDIT_CERTIFICATE, ResizeRule::StretchRight());
    Resize().SetRule(IDC_POOLEDIT_CERTIFICATE_ERROR, ResizeRule::MoveRight());
    for (const FieldIds& field : kFields) {
        if (field.control != IDC_POOLEDIT_ALGORITHM) Resize().SetRule(field.control, ResizeRule::StretchRight());
        Resize().SetRule(field.error, ResizeRule::MoveRight());
    }
}

LRESULT CConfigMiningPoolsDlg::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    using Self = CConfigMiningPoolsDlg;
    static constexpr std::array kMap = {
        MapCommand<&Self::OnPoolSelected>(IDC_POOL_LIST, LBN_SELCHANGE),
        MapCommand<&Self::OnFieldChanged>(kAnyId, EN_CHANGE),
        MapCommand<&Self::OnFieldChanged>(IDC_POOLEDIT_ALGORITHM, CBN_SELCHANGE),
        MapCommand<&Self::OnServerLeft>(IDC_POOLEDIT_SERVER, EN_KILLFOCUS),
        MapCommand<&Self::OnEncrypted>(IDC_POOLEDIT_ENCRYPTED, BN_CLICKED),
        MapCommand<&Self::AddPool>(IDC_POOL_ADD, BN_CLICKED),
        MapCommand<&Self::RemovePool>(IDC_POOL_REMOVE, BN_CLICKED),
        MapCommand<&Self::MovePoolUp>(IDC_POOL_UP, BN_CLICKED),
        MapCommand<&Self::MovePoolDown>(IDC_POOL_DOWN, BN_CLICKED),
        MapCommand<&Self::OnShowPassword>(IDC_SHOW_PASSWORD, BN_CLICKED),
    };
    if (const auto result = DispatchByMap(*this, kMap, message, wParam, lParam)) return *result;
    return CEditorDlg::OnMessage(message, wParam, lParam);
}

void CConfigMiningPoolsDlg::OnPoolSelected() {
    SelectPool(m_list.Selected());
}

void CConfigMiningPoolsDlg::OnShowPassword() {
    const bool show = IsDlgButtonChecked(Handle(), IDC_SHOW_PASSWORD) == BST_CHECKED;
    SendMessageW(Item(IDC_POOLEDIT_PASSWORD), EM_SETPASSWORDCHAR, show ? 0 : kBullet, 0);
    InvalidateRect(Item(IDC_POOLEDIT_PASSWORD), nullptr, TRUE);
}

void CConfigMiningPoolsDlg::FillList(std::optional<std::size_t> selected) {
    m_list.Clear();
    for (std::size_t i = 0; i < m_model.Count(); ++i)
        m_list.Add(PoolText(m_model.Pool(i), m_host.Algorithms()));
    if (m_isNew) m_list.Add(L"New pool");
    m_current = selected;
    if (m_isNew) {
        m_list.Select(static_cast<int>(m_model.Count()));
    } else if (selected) {
        m_list.Select(static_cast<int>(*selected));
    }
    FillFields();
}

void CConfigMiningPoolsDlg::FillFields() {
    m_filling = true;
    const bool any = m_isNew || m_current;
    const PoolDraft draft = m_current ? MakePoolDraft(m_model.Pool(*m_current)) : any ? m_model.NewDraft() : PoolDraft();
    for (const FieldIds& field : kFields) {
        if (field.field != PoolField::Algorithm) SetItemText(field.control, draft[field.field]);
    }
    FillAlgorithms(draft.algorithm);
    ShowEncryption(draft);
    for (const FieldIds& field : kFields)
        EnableItem(field.control, any);
    EnableItem(IDC_POOLEDIT_ENCRYPTED, any);
    m_filling = false;
    ShowReasons({});
    EnableButtons();
}

void CConfigMiningPoolsDlg::FillAlgorithms(std::int32_t selected) {
    const auto data = [](std::int32_t id) { return static_cast<std::uint64_t>(static_cast<std::uint32_t>(id)); };
    m_algorithms.Clear();
    for (const auto& entry : m_host.Algorithms().Entries())
        m_algorithms.AddItem(AlgorithmText(entry->record.id, m_host.Algorithms()), data(entry->record.id));
    if (!m_isNew && !m_current) return;
    if (m_algorithms.SelectByData(data(selected)) == 0) return;
    m_algorithms.AddItem(AlgorithmText(selected, m_host.Algorithms()), data(selected));
    m_algorithms.SelectByData(data(selected));
}

PoolDraft CConfigMiningPoolsDlg::Draft() const {
    PoolDraft draft;
    for (const FieldIds& field : kFields) {
        if (field.field != PoolField::Algorithm) draft[field.field] = ItemText(field.control);
    }
    draft.algorithm = static_cast<std::int32_t>(m_algorithms.ItemData());
    draft.isEncrypted = IsDlgButtonChecked(Handle(), IDC_POOLEDIT_ENCRYPTED) == BST_CHECKED;
    draft.certificate = ItemText(IDC_POOLEDIT_CERTIFICATE);
    return draft;
}

bool CConfigMiningPoolsDlg::HasChanges() const {
    if (m_model.IsChanged()) return true;
    if (m_isNew) return Draft() != m_model.NewDraft();
    return m_current && Draft() != MakePoolDraft(m_model.Pool(*m_current));
}

void CConfigMiningPoolsDlg::OnFieldChanged() {
    if (!m_filling) ShowReasons(m_model.Check(Draft(), m_current));
}

// What was pasted stands where it belongs before the user goes on. A server that he did not touch stays as the file has it.
void CConfigMiningPoolsDlg::OnServerLeft() {
    const PoolDraft draft = Draft();
    if (m_current && draft[PoolField::Server] == m_model.Pool(*m_current).Server) return;
    ShowAddress(TidyPoolDraft(draft));
}

void CConfigMiningPoolsDlg::OnEncrypted() {
    const PoolDraft draft = Draft();
    ShowAddress(WithEncryption(draft, draft.isEncrypted));
    OnFieldChanged();
}

void CConfigMiningPoolsDlg::ShowAddress(const PoolDraft& draft) {
    SetItemText(IDC_POOLEDIT_SERVER, draft[PoolField::Server]);
    SetItemText(IDC_POOLEDIT_POOL_PORT, draft[PoolField::Port]);
    ShowEncryption(draft);
}

void CConfigMiningPoolsDlg::ShowEncryption(const PoolDraft& draft) {
    CheckDlgButton(Handle(), IDC_POOLEDIT_ENCRYPTED, draft.isEncrypted ? BST_CHECKED : BST_UNCHECKED);
    SetItemText(IDC_POOLEDIT_CERTIFICATE, draft.certificate);
    EnableItem(IDC_POOLEDIT_CERTIFICATE, draft.isEncrypted);
}

void CConfigMiningPoolsDlg::ShowReasons(const PoolFieldReasons& reasons) {
    for (const FieldIds& field : kFields) {
        const auto found = std::ranges::find_if(
            reasons, [&](const auto& reason) { return reason.field == field.field && !reason.isOfCertificate; });
        SetItemText(field.error, found == reasons.end() ? std::wstring() : found->text);
    }
    const auto found = std::ranges::find(reasons, true, &PoolFieldReason::isOfCertificate);
    SetItemText(IDC_POOLEDIT_CERTIFICATE_ERROR, found == reasons.end() ? std::wstring() : found->text);
}

bool CConfigMiningPoolsDlg::TakeFields() {
    if (!m_isNew && !m_current) return true;
    const PoolFieldReasons reasons = m_isNew ? m_model.Add(Draft()) : m_model.Edit(*m_current, Draft());
    ShowReasons(reasons);
    if (reasons.empty()) {
        if (m_isNew) m_current = m_model.Count() - 1;
        m_isNew = false;
        return true;
    }
    const auto* first = std::find_if(std::begin(kFields), std::end(kFields),
                                     [&](const FieldIds& field) { return field.field == reasons.front().field; });
    SetFocus(Item(reasons.front().isOfCertificate ? IDC_POOLEDIT_CERTIFICATE : first->control));
    return false;
}

void CConfigMiningPoolsDlg::SelectPool(int item) {
    if (TakeFields()) {
        if (item >= 0) FillList(static_cast<std::size_t>(item));
        return;
    }
    // The fields must be right, or their pool removed, before another one is looked at.
    m_list.Select(m_isNew ? static_cast<int>(m_model.Count()) : static_cast<int>(*m_current));
}

void CConfigMiningPoolsDlg::AddPool() {
    if (!TakeFields()) return;
    m_isNew = true;
    FillList(std::nullopt);
    SetFocus(Item(IDC_POOLEDIT_NAME));
}

void CConfigMiningPoolsDlg::RemovePool() {
    std::size_t next = m_model.Count();
    if (m_isNew) {
        m_isNew = false;
    } else if (m_current) {
        const std::wstring effect = m_model.RemovalText(*m_current);
        if (!effect.empty()) {
            const std::wstring question = effect + L"\n\nRemove the pool?";
            if (!AskWhether(Handle(), question)) return;
        }
        next = *m_current;
        m_model.Remove(*m_current);
    }
    const bool any = m_model.Count() > 0;
    FillList(any ? std::optional(std::min(next, m_model.Count() - 1)) : std::nullopt);
    SetFocus(m_list.Handle());
}

void CConfigMiningPoolsDlg::MovePool(int step) {
    if (!m_current || !TakeFields()) return;
    // Above the first it wraps to a place that the model refuses.
    const std::size_t target = *m_current + static_cast<std::size_t>(static_cast<std::ptrdiff_t>(step));
    if (m_model.Move(*m_current, target)) FillList(target);
}

void CConfigMiningPoolsDlg::EnableButtons() {
    const bool listed = m_current.has_value();
    EnableItem(IDC_POOL_REMOVE, listed || m_isNew);
    EnableItem(IDC_POOL_UP, listed && *m_current > 0);
    EnableItem(IDC_POOL_DOWN, listed && *m_current + 1 < m_model.Count());
}

void CConfigMiningPoolsDlg::OnOK() {
    if (!TakeFields()) return;
    if (m_model.IsChanged() && !PublishEdited(Handle(), m_host, m_model)) return;
    EndDialog(IDOK);
}
