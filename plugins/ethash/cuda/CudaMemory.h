#pragma once
#include <cstddef>
#include <new>
#include <utility>
#include "ethash/cuda/CudaError.h"

// Memory of the card. On the thread whose current context it was made in, and gone before that context.
class CCudaMemory {
  public:
    CCudaMemory() = default;
    CCudaMemory(const CudaDriverApi& api, std::size_t bytes) : m_api(&api) {
        CheckCuda(api, api.MemAlloc(&m_address, bytes), "cuMemAlloc");
    }
    ~CCudaMemory() {
        if (m_address != 0) m_api->MemFree(m_address);
    }
    CCudaMemory(CCudaMemory&& other) noexcept : m_api(other.m_api), m_address(std::exchange(other.m_address, 0)) {}
    CCudaMemory& operator=(CCudaMemory&& other) noexcept {
        std::swap(m_api, other.m_api);
        std::swap(m_address, other.m_address);
        return *this;
    }

    CudaAddress Address() const { return m_address; }

  private:
    const CudaDriverApi* m_api = nullptr;
    CudaAddress m_address = 0;
};

// One value in page-locked host memory that the card sees, too. As CCudaMemory otherwise.
template <class Value>
class CMappedValue {
  public:
    explicit CMappedValue(const CudaDriverApi& api) : m_api(api) {
        void* memory = nullptr;
        CheckCuda(api, api.MemHostAlloc(&memory, sizeof(Value), kCudaHostMapped), "cuMemHostAlloc");
        m_value = new (memory) Value{};
        const CudaResult result = api.MemHostGetDevicePointer(&m_address, memory, 0);
        if (result != kCudaSuccess) api.MemFreeHost(memory);
        CheckCuda(api, result, "cuMemHostGetDevicePointer");
    }
    ~CMappedValue() { m_api.MemFreeHost(m_value); }
    CMappedValue(const CMappedValue&) = delete;
    CMappedValue& operator=(const CMappedValue&) = delete;

    Value& Host() const { return *m_value; }
    // The card's address of it.
    CudaAddress Address() const { return m_address; }

  private:
    const CudaDriverApi& m_api;
    Value* m_value = nullptr;
    CudaAddress m_address = 0;
};
