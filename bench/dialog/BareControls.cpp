// The bare reference of opening: the dialog of the program's own resources, shown with nothing behind it, under the
// program's own manifest: bare_controls (with Quorvel-Miner.exe in its folder)
#include <windows.h>

namespace {

constexpr int kMainDialog = 102;
constexpr int kManifest = 1;

INT_PTR CALLBACK OnDialog(HWND window, UINT message, WPARAM, LPARAM) {
    if (message == WM_INITDIALOG) SetWindowTextW(window, L"Bare controls");
    if (message == WM_CLOSE) EndDialog(window, 0);
    return message == WM_INITDIALOG || message == WM_CLOSE;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    wchar_t* name = program;
    for (wchar_t* at = program; *at != L'\0'; ++at)
        if (*at == L'\\') name = at + 1;
    lstrcpynW(name, L"Quorvel-Miner.exe", static_cast<int>(program + MAX_PATH - name));
    const HMODULE resources = LoadLibraryExW(program, nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
    if (resources == nullptr) return 1;
    ACTCTXW manifest = {};
    manifest.cbSize = sizeof(manifest);
    manifest.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID;
    manifest.lpSource = program;
    manifest.lpResourceName = MAKEINTRESOURCEW(kManifest);
    ULONG_PTR cookie = 0;
    const HANDLE context = CreateActCtxW(&manifest);
    if (context == INVALID_HANDLE_VALUE || !ActivateActCtx(context, &cookie)) return 1;
    return static_cast<int>(DialogBoxParamW(resources, MAKEINTRESOURCEW(kMainDialog), nullptr, &OnDialog, 0));
}
