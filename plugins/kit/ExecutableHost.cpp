#include "kit/ExecutableHost.h"

#include <windows.h>

#include <cstdint>

#include "kit/ThisLibrary.h"

namespace {

template <class Function>
Function Service(const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(nullptr), name)));
}

}  // namespace

CExecutableHost::CExecutableHost(const wchar_t* logName)
    : m_logName(logName), m_send(Service<QvSend>("QuorvelSend")), m_log(Service<QvLog>("QuorvelLog")) {}

int CExecutableHost::Send(void* session, std::string_view line) {
    if (m_send != nullptr) return m_send(session, line.data(), static_cast<std::uint32_t>(line.size()));
    if (!m_saidNoSend.exchange(true)) Log("the program offers no QuorvelSend: shares cannot be sent");
    return static_cast<int>(ERROR_PROC_NOT_FOUND);
}

void CExecutableHost::Log(std::string_view text) {
    if (m_log == nullptr) return;
    std::wstring line = m_logName;
    line += L": ";
    line.append(text.begin(), text.end());
    m_log(line.c_str());
}

std::string CExecutableHost::Narrow(std::wstring_view text) {
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(CP_ACP, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_ACP, 0, text.data(), length, narrow.data(), size, nullptr, nullptr);
    return narrow;
}

void CExecutableHost::HashingThreadStarted() {
    // The miner's own threads go first: the dialog stays alive and a share is on its way at once.
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_BELOW_NORMAL);
}

void CExecutableHost::CardThreadStarted() {
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_ABOVE_NORMAL);
}

void CExecutableHost::KeepCodeLoaded() {
    HMODULE library = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<const wchar_t*>(&ThisLibrary), &library);
}
