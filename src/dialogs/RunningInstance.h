#pragma once
#include <windows.h>
#include <string>

// Between the program that runs and one that is started beside it. GUI thread.

// Of the main dialog.
std::wstring MainDialogTitle();

// Has the main dialog of the program that runs come to the front. For a process that is in front itself.
void ShowRunningInstance();

// The message by which it is asked to.
UINT ShowRequest();
