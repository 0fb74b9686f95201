#pragma once
#include <ucontext.h>

#include <cstddef>
#include <functional>
#include <memory>

// A program with a stack of its own that gives way to its starter, and goes on where it was. All on one thread.
class CFibre {
  public:
    CFibre();
    CFibre(const CFibre&) = delete;
    CFibre& operator=(const CFibre&) = delete;

    // The program is to run from its start when next resumed. It must not throw.
    void Prepare(std::function<void()> program);
    // Returns when the program suspends itself or ends; then it must not be resumed before it is prepared again.
    void Resume();
    // By the program itself.
    void Suspend();

  private:
    static void Start(unsigned low, unsigned high);
    void Run();

    std::function<void()> m_program;
    std::unique_ptr<std::byte[]> m_stack;
    ucontext_t m_own{};
    ucontext_t m_starter{};
    const void* m_starterStack = nullptr;  // as AddressSanitizer knows it
    std::size_t m_starterStackBytes = 0;
    void* m_sanitizerState = nullptr;
};
