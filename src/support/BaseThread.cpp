#include "support/BaseThread.h"

#include <process.h>

CBKBaseThread::CBKBaseThread() : m_stopEvent(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

CBKBaseThread::~CBKBaseThread() {
    StopThread(INFINITE);
    if (m_thread != nullptr) CloseHandle(m_thread);
    if (m_stopEvent != nullptr) CloseHandle(m_stopEvent);
}

void CBKBaseThread::OnThreadStart(void*) {}

void CBKBaseThread::OnThreadEnd(void*, std::uint32_t) {}

bool CBKBaseThread::StartThread(void* argument) {
    if (m_stopEvent == nullptr || IsThreadAlive()) return false;
    ResetEvent(m_stopEvent);
    if (m_thread != nullptr) CloseHandle(m_thread);
    m_argument = argument;
    // Suspended at first, so that the thread finds its own id stored.
    m_thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, &Entry, this, CREATE_SUSPENDED, &m_threadId));
    if (m_thread == nullptr) return false;
    ResumeThread(m_thread);
    return true;
}

bool CBKBaseThread::StopThread(DWORD milliseconds) {
    if (m_thread == nullptr) return true;
    SetEvent(m_stopEvent);
    if (GetCurrentThreadId() == m_threadId) return false;  // would wait for itself
    return WaitForSingleObject(m_thread, milliseconds) == WAIT_OBJECT_0;
}

bool CBKBaseThread::IsThreadAlive() const {
    return m_thread != nullptr && WaitForSingleObject(m_thread, 0) == WAIT_TIMEOUT;
}

unsigned __stdcall CBKBaseThread::Entry(void* self) {
    auto& thread = *static_cast<CBKBaseThread*>(self);
    thread.OnThreadStart(thread.m_argument);
    const std::uint32_t exitCode = thread.Run(thread.m_argument);
    thread.OnThreadEnd(thread.m_argument, exitCode);
    return exitCode;
}
