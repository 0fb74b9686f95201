#pragma once
#include <windows.h>

// The library that this code is linked into.
inline HMODULE ThisLibrary() noexcept {
    HMODULE library = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&ThisLibrary), &library);
    return library;
}
