#pragma once
#include <windows.h>
#include <string>
#include <utility>

enum class TaskDialogIcon { None, Error, Warning, Information };
// SaveDiscardContinue answers with IDYES, IDNO, IDCANCEL: an editor that is left with changes.
enum class TaskDialogButtons { Ok, OkCancel, SaveDiscardContinue };

struct TaskDialogOptions {
    bool enableHyperlinks = true;  // <a href="address">text</a> in the content, opened when clicked
    bool useCommandLinks = true;   // own buttons, where there are any, look like links
};

// The system's message dialog: main instruction above the content, icon, common buttons. Systems without it show a plain
// message box instead. GUI thread.
class CTaskDialog {
  public:
    CTaskDialog(std::wstring content, std::wstring mainInstruction, std::wstring title,
                TaskDialogButtons buttons = TaskDialogButtons::Ok, TaskDialogOptions options = {})
        : m_content(std::move(content)),
          m_mainInstruction(std::move(mainInstruction)),
          m_title(std::move(title)),
          m_buttons(buttons),
          m_options(options) {}

    void SetMainIcon(TaskDialogIcon icon) { m_icon = icon; }
    // Returns when the user has closed it: IDOK or IDCANCEL, or as its buttons say. owner: disabled meanwhile; may be null.
    int DoModal(HWND owner = GetActiveWindow()) const;

  private:
    int ShowMessageBox(HWND owner) const;

    const std::wstring m_content, m_mainInstruction, m_title;
    const TaskDialogButtons m_buttons;
    const TaskDialogOptions m_options;
    TaskDialogIcon m_icon = TaskDialogIcon::None;
};

// A message with an OK button over the active window.
void ShowTaskDialog(const std::wstring& title, const std::wstring& content, TaskDialogIcon icon);

// Opens a web or mail address with the user's program for it. Loads the shell's libraries: a process that never needs them
// would double its memory with them.
void OpenAddress(HWND owner, const wchar_t* address);
