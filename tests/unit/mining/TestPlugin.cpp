#include "TestPlugin.h"

#include <vector>

#include "quorvel/plugin.h"

#ifndef NO_EXPORT
namespace {

#ifdef RECORDER
std::vector<RecordedMessage> recorded;

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message >= QV_MSG_SET_OWNER && message <= QV_MSG_ACTIVATE) {
        recorded.push_back({message, wParam, lParam});
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

uintptr_t MakeWindow() {
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = &OnMessage;
    windowClass.lpszClassName = L"RecorderPlugin";
    RegisterClassW(&windowClass);
    return reinterpret_cast<uintptr_t>(
        CreateWindowExW(0, L"RecorderPlugin", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr));
}

const QvDescriptor kDescriptor = {kRecorderId, L"Recorder", L""};
#else
uintptr_t MakeWindow() {
    return 0;
}
const QvDescriptor kDescriptor = {kNullWindowId, L"Null window", L""};
#endif

}  // namespace

extern "C" {

#ifdef RECORDER
__declspec(dllexport) unsigned TakeMessages(RecordedMessage* messages, unsigned capacity);
unsigned TakeMessages(RecordedMessage* messages, unsigned capacity) {
    const auto count = static_cast<unsigned>(recorded.size());
    for (unsigned i = 0; i < count && i < capacity; ++i)
        messages[i] = recorded[i];
    recorded.clear();
    return count;
}

__declspec(dllexport) const wchar_t* GetUnit(void);
const wchar_t* GetUnit(void) {
    return L"Sol/s";
}
#endif

#ifdef LATER_ABI
__declspec(dllexport) uint32_t GetAbiVersion(void);
uint32_t GetAbiVersion(void) {
    return QV_ABI_VERSION + 1;
}
#endif

__declspec(dllexport) uintptr_t GetInterface(uintptr_t argument);
uintptr_t GetInterface(uintptr_t argument) {
    if (argument == QV_INTERFACE_WINDOW) return MakeWindow();
#ifdef NULL_DESCRIPTOR
    static_cast<void>(kDescriptor);
    return 0;
#else
    return reinterpret_cast<uintptr_t>(&kDescriptor);
#endif
}

}  // extern "C"
#endif

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) {
    return TRUE;
}
