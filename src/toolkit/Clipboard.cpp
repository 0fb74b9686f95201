#include "toolkit/Clipboard.h"

#include <cstring>
#include <memory>
#include <type_traits>

namespace {

struct GlobalMemoryDeleter {
    void operator()(HGLOBAL memory) const { GlobalFree(memory); }
};
using GlobalMemory = std::unique_ptr<std::remove_pointer_t<HGLOBAL>, GlobalMemoryDeleter>;

// Other programs look into the clipboard at any time, for a moment each.
bool OpenClipboardWithPatience(HWND owner) {
    constexpr int kTries = 10;
    constexpr DWORD kPauseMilliseconds = 20;
    for (int tried = 1; !OpenClipboard(owner); ++tried) {
        if (tried == kTries) return false;
        Sleep(kPauseMilliseconds);
    }
    return true;
}

}  // namespace

bool CopyTextToClipboard(HWND owner, const std::wstring& text) {
    const std::size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    GlobalMemory memory(GlobalAlloc(GMEM_MOVEABLE, bytes));
    void* place = memory != nullptr ? GlobalLock(memory.get()) : nullptr;
    if (place == nullptr) return false;
    std::memcpy(place, text.c_str(), bytes);
    GlobalUnlock(memory.get());
    if (!OpenClipboardWithPatience(owner)) return false;
    EmptyClipboard();
    const bool copied = SetClipboardData(CF_UNICODETEXT, memory.get()) != nullptr;
    if (copied) static_cast<void>(memory.release());  // the clipboard owns it now
    CloseClipboard();
    return copied;
}
