#include "dialogs/PrivateHeap.h"

namespace {

// Windows 2000 and older have no such function.
void UseLowFragmentation(HANDLE heap) {
    using Function = BOOL(WINAPI*)(HANDLE, HEAP_INFORMATION_CLASS, PVOID, SIZE_T);
    const HMODULE kernel = GetModuleHandleW(L"KERNEL32.DLL");
    if (kernel == nullptr) return;
    const auto set = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(kernel, "HeapSetInformation")));
    ULONG lowFragmentation = 2;
    if (set != nullptr) set(heap, HeapCompatibilityInformation, &lowFragmentation, sizeof(lowFragmentation));
}

}  // namespace

CPrivateHeap::CPrivateHeap() : m_heap(HeapCreate(0, 0, 0)) {
    if (m_heap == nullptr) throw std::bad_alloc();
    UseLowFragmentation(m_heap);
}

void* CPrivateHeap::Allocate(std::size_t size) {
    void* const memory = HeapAlloc(m_heap, 0, size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}
