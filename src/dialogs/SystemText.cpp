#include "dialogs/SystemText.h"

#include <windows.h>

std::wstring LoadText(unsigned id) {
    const wchar_t* text = nullptr;  // into the resource, not terminated
    const int length = LoadStringW(GetModuleHandleW(nullptr), id, reinterpret_cast<wchar_t*>(&text), 0);
    return length > 0 ? std::wstring(text, static_cast<std::size_t>(length)) : std::wstring();
}
