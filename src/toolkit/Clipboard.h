#pragma once
#include <windows.h>
#include <string>

// Puts a text on the clipboard. False: there is no memory, or another program holds it.
bool CopyTextToClipboard(HWND owner, const std::wstring& text);
