#include "kernels/Fibre.h"

#include <cstdint>
#include <stdexcept>
#include <utility>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/asan_interface.h>
#include <sanitizer/common_interface_defs.h>
#endif

namespace {

constexpr std::size_t kStackBytes = 128 * 1024;

// AddressSanitizer must be told about each change of the stack.
#ifdef __SANITIZE_ADDRESS__
void StartSwitch(void** state, const void* stack, std::size_t bytes) {
    __sanitizer_start_switch_fiber(state, stack, bytes);
}
void FinishSwitch(void* state, const void** stack, std::size_t* bytes) {
    __sanitizer_finish_switch_fiber(state, stack, bytes);
}
void ForgetStack(const void* stack, std::size_t bytes) {
    __asan_unpoison_memory_region(stack, bytes);
}
#else
void StartSwitch(void**, const void*, std::size_t) {}
void FinishSwitch(void*, const void**, std::size_t*) {}
void ForgetStack(const void*, std::size_t) {}
#endif

}  // namespace

CFibre::CFibre() : m_stack(new std::byte[kStackBytes]) {}

void CFibre::Prepare(std::function<void()> program) {
    m_program = std::move(program);
    ForgetStack(m_stack.get(), kStackBytes);
    if (getcontext(&m_own) != 0) throw std::runtime_error("getcontext");
    m_own.uc_stack.ss_sp = m_stack.get();
    m_own.uc_stack.ss_size = kStackBytes;
    m_own.uc_link = nullptr;
    const auto address = reinterpret_cast<std::uintptr_t>(this);
    makecontext(&m_own, reinterpret_cast<void (*)()>(&CFibre::Start), 2, static_cast<unsigned>(address),
                static_cast<unsigned>(address >> 32));
}

void CFibre::Resume() {
    void* state = nullptr;
    StartSwitch(&state, m_stack.get(), kStackBytes);
    swapcontext(&m_starter, &m_own);
    FinishSwitch(state, nullptr, nullptr);
}

void CFibre::Suspend() {
    StartSwitch(&m_sanitizerState, m_starterStack, m_starterStackBytes);
    swapcontext(&m_own, &m_starter);
    FinishSwitch(m_sanitizerState, &m_starterStack, &m_starterStackBytes);
}

// makecontext passes ints only.
void CFibre::Start(unsigned low, unsigned high) {
    reinterpret_cast<CFibre*>(std::uintptr_t{high} << 32 | low)->Run();
}

void CFibre::Run() {
    FinishSwitch(nullptr, &m_starterStack, &m_starterStackBytes);
    m_program();
    StartSwitch(nullptr, m_starterStack, m_starterStackBytes);
    setcontext(&m_starter);
}
