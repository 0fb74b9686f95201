#pragma once
#include <map>
#include <memory>
#include "dialogs/EditorDlg.h"
#include "dialogs/ExControls.h"
#include "dialogs/MainDialogHost.h"
#include "gui/ConfigurationEditModel.h"
#include "toolkit/ListBox.h"

// "Worker...": the default worker name and the configurations, which say on which pools each GPU mines. Nothing is in force
// before Save, which publishes and saves all of it at once.
class CConfigWorkerDlg final : public CEditorDlg {
  public:
    CConfigWorkerDlg(IMainDialogHost& host, CThemeManager& themes);

  protected:
    bool OnInitDialog() override;
    void OnOK() override;
    bool HasChanges() const override { return m_model.IsChanged(); }
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

  private:
    void TakeControls();
    void SetUpResize();
    void OnNameChanged();
    void OnConfigurationSelected();
    void OnPrimarySelected();
    void OnBackupSelected();
    void FillList(int selected);
    void RefreshLabels();
    void FillFields();
    void FillPrimary();
    void FillBackup();
    void FillGpus();
    std::wstring GpuLabel(const QvGpuRecord& gpu) const;
    void OnGpuChecked();
    void AddConfiguration();
    void RemoveConfiguration();
    void ShowReasons();

    bool HasCurrent() const { return m_current >= 0; }
    std::size_t Current() const { return static_cast<std::size_t>(m_current); }

    IMainDialogHost& m_host;
    CConfigurationEditModel m_model;
    int m_current = -1;
    bool m_filling = false;
    CExEdit m_name;
    CXTPListBox m_list, m_gpus;
    CExComboBox m_primary, m_backup;
    std::map<int, std::unique_ptr<CExButton>> m_buttons;
    std::map<int, std::unique_ptr<CExStatic>> m_errors;
    std::map<int, std::unique_ptr<CExSeparator>> m_separators;
};
