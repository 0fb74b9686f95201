#pragma once
#include <map>
#include <memory>
#include <optional>
#include "dialogs/EditorDlg.h"
#include "dialogs/ExControls.h"
#include "dialogs/MainDialogHost.h"
#include "gui/PoolEditModel.h"
#include "toolkit/ListBox.h"

// "Mining pools...": add, edit, remove and order the pools. Nothing is in force before Save, which publishes and saves all
// of it at once.
class CConfigMiningPoolsDlg final : public CEditorDlg {
  public:
    CConfigMiningPoolsDlg(IMainDialogHost& host, CThemeManager& themes);

  protected:
    bool OnInitDialog() override;
    void OnOK() override;
    bool HasChanges() const override;
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

  private:
    void TakeControls();
    void SetUpResize();
    void OnPoolSelected();
    void OnShowPassword();
    void FillList(std::optional<std::size_t> selected);
    void FillFields();
    void FillAlgorithms(std::int32_t selected);
    PoolDraft Draft() const;
    void OnFieldChanged();
    void OnServerLeft();
    void OnEncrypted();
    void ShowAddress(const PoolDraft& draft);
    void ShowEncryption(const PoolDraft& draft);
    void ShowReasons(const PoolFieldReasons& reasons);
    // Takes the fields over into the model. False: they have reasons, which are shown; the first such field has the focus.
    bool TakeFields();
    void AddPool();
    void RemovePool();
    void MovePoolUp() { MovePool(-1); }
    void MovePoolDown() { MovePool(1); }
    void MovePool(int step);
    void SelectPool(int item);
    void EnableButtons();

    IMainDialogHost& m_host;
    CPoolEditModel m_model;
    // The pool in the fields; nothing: a new one that is not in the list yet, or none at all.
    std::optional<std::size_t> m_current;
    bool m_isNew = false;
    bool m_filling = false;
    CXTPListBox m_list;
    CExComboBox m_algorithms;
    std::map<int, std::unique_ptr<CExEdit>> m_edits;
    std::map<int, std::unique_ptr<CExButton>> m_buttons;
    std::map<int, std::unique_ptr<CExStatic>> m_errors;
    std::map<int, std::unique_ptr<CExSeparator>> m_separators;
};
