// A plug-in that records what it is told and hands it on to EtchashCpu.dll in its own folder, which mines.
#include <windows.h>

#include <string>
#include <vector>

#include "ForwardingPlugin.h"
#include "quorvel/plugin.h"

namespace {

HMODULE miner;
HWND minerWindow;
std::vector<ForwardedMessage> recorded;
int self;  // its address tells the library from others

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message < QV_MSG_SET_OWNER || message > QV_MSG_ACTIVATE) return DefWindowProcW(window, message, wParam, lParam);
    recorded.push_back({message, wParam});
    if (message != QV_MSG_STOP) return PostMessageW(minerWindow, message, wParam, lParam), 0;
    SendMessageW(minerWindow, message, wParam, lParam);
    FreeLibrary(miner);
    return 0;
}

void LoadMiner() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&self), &module);
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(module, path, MAX_PATH);
    std::wstring library = path;
    library.resize(library.find_last_of(L'\\') + 1);
    miner = LoadLibraryW((library + L"EtchashCpu.dll").c_str());
    const auto getInterface =
        reinterpret_cast<QvGetInterface>(reinterpret_cast<void*>(GetProcAddress(miner, "GetInterface")));
    minerWindow = reinterpret_cast<HWND>(getInterface(QV_INTERFACE_WINDOW));
}

uintptr_t MakeWindow() {
    LoadMiner();
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = &OnMessage;
    windowClass.lpszClassName = L"ForwardingPlugin";
    RegisterClassW(&windowClass);
    return reinterpret_cast<uintptr_t>(
        CreateWindowExW(0, L"ForwardingPlugin", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr));
}

const QvDescriptor kDescriptor = {kForwardingId, L"Forwarding", L""};

}  // namespace

extern "C" {

__declspec(dllexport) unsigned TakeForwarded(ForwardedMessage* messages, unsigned capacity);
unsigned TakeForwarded(ForwardedMessage* messages, unsigned capacity) {
    const auto count = static_cast<unsigned>(recorded.size());
    for (unsigned i = 0; i < count && i < capacity; ++i)
        messages[i] = recorded[i];
    recorded.clear();
    return count;
}

__declspec(dllexport) uintptr_t GetInterface(uintptr_t argument);
uintptr_t GetInterface(uintptr_t argument) {
    return argument == QV_INTERFACE_WINDOW ? MakeWindow() : reinterpret_cast<uintptr_t>(&kDescriptor);
}

}  // extern "C"
