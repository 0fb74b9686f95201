#include "ethash/cuda/CudaContext.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "ethash/kernels/EthashPtx.h"

CCudaContext::CCudaContext(const CudaDriverApi& api, std::int32_t cudaId, const std::string& ptx) : m_api(api) {
    CudaDevice device = 0;
    CheckCuda(api, api.DeviceGet(&device, cudaId), "cuDeviceGet");
    std::int32_t multiProcessors = 0;
    CheckCuda(api, api.DeviceGetAttribute(&multiProcessors, CudaAttribute::MultiProcessors, device), "cuDeviceGetAttribute");
    if (multiProcessors > 0) m_multiProcessors = static_cast<unsigned>(multiProcessors);
    std::int32_t capabilityMajor = 0;
    CheckCuda(api, api.DeviceGetAttribute(&capabilityMajor, CudaAttribute::CapabilityMajor, device), "cuDeviceGetAttribute");
    Create(device);
    try {
        LoadKernels(ptx.empty() ? EthashPtxFor(capabilityMajor) : ptx);
    } catch (...) {
        api.CtxDestroy(m_context);
        throw;
    }
}

CCudaContext::~CCudaContext() {
    m_api.ModuleUnload(m_module);
    m_api.CtxDestroy(m_context);
}

void CCudaContext::Create(CudaDevice device) {
    CheckCuda(m_api, m_api.CtxCreate(&m_context, kCudaContextBlockingSync | kCudaContextMapHost, device), "cuCtxCreate");
    // A page is read as a whole. Only a wish: cards and drivers that do not know it go on as they are.
    constexpr std::size_t kPageBytes = 128;
    if (m_api.CtxSetLimit != nullptr) m_api.CtxSetLimit(CudaLimit::MaxL2FetchGranularity, kPageBytes);
}

void CCudaContext::LoadKernels(const std::string& ptx) {
    char log[2048] = {};
    CudaJitOption options[] = {CudaJitOption::ErrorLogBuffer, CudaJitOption::ErrorLogBufferBytes};
    void* values[] = {log, reinterpret_cast<void*>(sizeof log)};
    const auto begun = std::chrono::steady_clock::now();
    const CudaResult result = m_api.ModuleLoadDataEx(&m_module, ptx.c_str(), 2, options, values);
    m_compileTime = std::chrono::steady_clock::now() - begun;
    log[sizeof log - 1] = '\0';
    std::replace(std::begin(log), std::end(log), '\n', ' ');
    std::string call = "cuModuleLoadDataEx";
    if (log[0] != '\0') call += std::string(" [") + log + "]";
    CheckCuda(m_api, result, call.c_str());
}

CCudaContext::Memory CCudaContext::GetMemory() const {
    std::size_t freeBytes = 0, totalBytes = 0;
    CheckCuda(m_api, m_api.MemGetInfo(&freeBytes, &totalBytes), "cuMemGetInfo");
    return {freeBytes, totalBytes};
}

CudaFunctionObject* CCudaContext::Function(const char* name) const {
    CudaFunctionObject* function = nullptr;
    CheckCuda(m_api, m_api.ModuleGetFunction(&function, m_module, name), "cuModuleGetFunction");
    return function;
}
