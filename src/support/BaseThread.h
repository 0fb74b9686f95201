#pragma once
#include <windows.h>
#include <cstdint>

// A thread owner. Start and Stop are called by one owning thread; the operations run on the thread itself.
class CBKBaseThread {
  public:
    virtual ~CBKBaseThread();
    CBKBaseThread(const CBKBaseThread&) = delete;
    CBKBaseThread& operator=(const CBKBaseThread&) = delete;

    virtual std::uint32_t Run(void* argument) = 0;  // returns the thread's exit code
    virtual void OnThreadStart(void* argument);
    virtual void OnThreadEnd(void* argument, std::uint32_t exitCode);

  protected:
    CBKBaseThread();
    // Resets the stop event, closes the handle of an ended thread and starts a new one. False: no thread could be made.
    bool StartThread(void* argument);
    // Sets the stop event and waits; true when the thread has ended (or none was started).
    bool StopThread(DWORD milliseconds);
    bool IsThreadAlive() const;
    HANDLE StopEvent() const { return m_stopEvent; }

  private:
    static unsigned __stdcall Entry(void* self);

    HANDLE m_thread = nullptr;
    HANDLE m_stopEvent = nullptr;
    void* m_argument = nullptr;
    unsigned m_threadId = 0;
};
