#include "toolkit/Clipboard.h"

#include <cstring>
#include <memory>
#include <type_traits>

namespace {

struct GlobalMemoryDeleter {
    void operator()(HGLOBAL memory) const { GlobalFree(memory); }
};
using GlobalMemory = std::unique_ptr<std::remove_pointer_t<HGLOBAL>, GlobalMemoryDeleter>;

}  // namespace

bool CopyTextToClipboard(HWND owner, const std::wstring& text) {
    const std::size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    GlobalMemory memory(GlobalAlloc(GMEM_MOVEABLE, bytes));
    void* place = memory != nullptr ? GlobalLock(memory.get()) : nullptr;
    if (place == nullptr) return false;
    std::memcpy(place, text.c_str(), bytes);
    GlobalUnlock(memory.get());
    if (!OpenClipboard(owner)) return false;
    EmptyClipboard();
    const bool copied = SetClipboardData(CF_UNICODETEXT, memory.get()) != nullptr;
    if (copied) static_cast<void>(memory.release());  // the clipboard owns it now
    CloseClipboard();
    return copied;
}
