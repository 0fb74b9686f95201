#pragma once
#include <windows.h>
#include <string>

// Puts a text on the clipboard. False: there is no memory, or another program has held it for a fifth of a second, which
// this waits at most.
bool CopyTextToClipboard(HWND owner, const std::wstring& text);
