#pragma once
#include <windows.h>

// Cancels what is modal in the calling thread: dialogs, message boxes, menus, moving and sizing, all but the dialog besides.
// The calls that show them return once their messages are dispatched, so a program that is told to end does not wait for an
// answer.
void CancelModalWindows(HWND besides);
