#pragma once
#include <windows.h>
#include <string>

enum class TaskDialogIcon { Error, Information };

// A message with an OK button over the active window: title, content with clickable links, icon. GUI thread; returns when
// the user has closed it. Systems without the themed dialog show a plain message box instead.
void ShowTaskDialog(const std::wstring& title, const std::wstring& content, TaskDialogIcon icon);

// Opens a web or mail address with the user's program for it. Loads the shell's libraries: a process that never needs them
// would double its memory with them.
void OpenAddress(HWND owner, const wchar_t* address);
