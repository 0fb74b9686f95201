#pragma once
#include <chrono>
#include <cstdint>
#include <string>
#include "ethash/cuda/CudaError.h"
#include "ethash/kernels/KernelParameters.h"

// A card opened for hashing: its context, current on the thread that made it, and the kernels, which the driver compiles for
// the card on the way (seconds at the first time, then from its own cache). All on that one thread. Throws CCudaError.
class CCudaContext {
  public:
    // cudaId: the device's CUDA ordinal. api outlives the context. ptx: other kernels to try (empty: the embedded ones, with
    // their bounds for this card).
    CCudaContext(const CudaDriverApi& api, std::int32_t cudaId, const std::string& ptx = {});
    ~CCudaContext();
    CCudaContext(const CCudaContext&) = delete;
    CCudaContext& operator=(const CCudaContext&) = delete;

    const CudaDriverApi& Api() const { return m_api; }
    unsigned MultiProcessors() const { return m_multiProcessors; }
    std::chrono::duration<double> CompileTime() const { return m_compileTime; }

    struct Memory {
        std::uint64_t freeBytes = 0;
        std::uint64_t totalBytes = 0;
    };
    Memory GetMemory() const;

    // A kernel by its name.
    CudaFunctionObject* Function(const char* name) const;
    // Queues one grid. parameters: the kernel's only argument, copied.
    template <class Parameters>
    void Launch(CudaFunctionObject* function, unsigned blocks, unsigned threads, CudaStreamObject* stream,
                Parameters parameters) const {
        void* arguments[] = {&parameters};
        CheckCuda(m_api, m_api.LaunchKernel(function, blocks, 1, 1, threads, 1, 1, 0, stream, arguments, nullptr),
                  "cuLaunchKernel");
    }

  private:
    void Create(CudaDevice device);
    void LoadKernels(const std::string& ptx);

    const CudaDriverApi& m_api;
    unsigned m_multiProcessors = 1;
    std::chrono::duration<double> m_compileTime{};
    CudaContextObject* m_context = nullptr;
    CudaModuleObject* m_module = nullptr;
};
