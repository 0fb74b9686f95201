#pragma once
#include <windows.h>
#include <new>
#include <utility>

// A heap of its own for many small objects of one kind. One thread.
class CPrivateHeap {
  public:
    CPrivateHeap();  // throws std::bad_alloc
    ~CPrivateHeap() { HeapDestroy(m_heap); }
    CPrivateHeap(const CPrivateHeap&) = delete;
    CPrivateHeap& operator=(const CPrivateHeap&) = delete;

    template <typename T, typename... Arguments>
    T* Make(Arguments&&... arguments) {
        void* const memory = Allocate(sizeof(T));
        return new (memory) T(std::forward<Arguments>(arguments)...);
    }
    template <typename T>
    void Destroy(T* object) {
        if (object == nullptr) return;
        object->~T();
        HeapFree(m_heap, 0, object);
    }

  private:
    void* Allocate(std::size_t size);

    HANDLE m_heap;
};
