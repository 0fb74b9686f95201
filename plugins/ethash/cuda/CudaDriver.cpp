#include "ethash/cuda/CudaDriver.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

// CUDA 9.0, which came with 384.81: the first to read PTX of version 6.0.
constexpr std::int32_t kLowestDriverVersion = 9000;

#ifdef _WIN32
HMODULE LoadDriverLibrary() {
    if (HMODULE const loaded = GetModuleHandleW(L"nvcuda.dll"); loaded != nullptr) return loaded;
    return LoadLibraryExW(L"nvcuda.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
}
void* Symbol(HMODULE library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(library, name));
}
#else
void* LoadDriverLibrary() {
    return dlopen("libcuda.so.1", RTLD_NOW | RTLD_LOCAL);
}
void* Symbol(void* library, const char* name) {
    return dlsym(library, name);
}
#endif

class CSymbols {
  public:
    explicit CSymbols(decltype(LoadDriverLibrary()) library) : m_library(library) {}

    template <class Function>
    CSymbols& operator()(Function& function, const char* name) {
        function = reinterpret_cast<Function>(Symbol(m_library, name));
        if (function == nullptr && m_missing == nullptr) m_missing = name;
        return *this;
    }
    // The first name that was not found; null when all were.
    const char* Missing() const { return m_missing; }

  private:
    decltype(LoadDriverLibrary()) m_library;
    const char* m_missing = nullptr;
};

const char* FindAll(decltype(LoadDriverLibrary()) library, CudaDriverApi& api) {
    CSymbols find(library);
    find(api.Init, "cuInit")(api.DriverGetVersion, "cuDriverGetVersion")(api.GetErrorString, "cuGetErrorString");
    find(api.DeviceGetCount, "cuDeviceGetCount")(api.DeviceGet, "cuDeviceGet")(api.DeviceGetName, "cuDeviceGetName");
    find(api.DeviceGetAttribute, "cuDeviceGetAttribute");
    find(api.CtxCreate, "cuCtxCreate_v2")(api.CtxDestroy, "cuCtxDestroy_v2");
    find(api.ModuleLoadDataEx, "cuModuleLoadDataEx")(api.ModuleUnload, "cuModuleUnload");
    find(api.ModuleGetFunction, "cuModuleGetFunction")(api.MemGetInfo, "cuMemGetInfo_v2");
    find(api.MemAlloc, "cuMemAlloc_v2")(api.MemFree, "cuMemFree_v2");
    find(api.MemHostAlloc, "cuMemHostAlloc")(api.MemHostGetDevicePointer, "cuMemHostGetDevicePointer_v2");
    find(api.MemFreeHost, "cuMemFreeHost")(api.MemcpyHtoD, "cuMemcpyHtoD_v2")(api.MemcpyDtoH, "cuMemcpyDtoH_v2");
    find(api.MemcpyHtoDAsync, "cuMemcpyHtoDAsync_v2")(api.MemsetD8Async, "cuMemsetD8Async");
    find(api.MemcpyDtoDAsync, "cuMemcpyDtoDAsync_v2")(api.MemsetD8, "cuMemsetD8_v2");
    find(api.StreamCreate, "cuStreamCreate")(api.StreamDestroy, "cuStreamDestroy_v2")(api.StreamQuery, "cuStreamQuery");
    find(api.EventCreate, "cuEventCreate")(api.EventDestroy, "cuEventDestroy_v2");
    find(api.EventRecord, "cuEventRecord")(api.EventSynchronize, "cuEventSynchronize");
    find(api.LaunchKernel, "cuLaunchKernel");
    CSymbols findOptional(library);
    findOptional(api.CtxSetLimit, "cuCtxSetLimit");
    return find.Missing();
}

CudaDriver Load(CudaDriverApi& api) {
    const auto library = LoadDriverLibrary();
    if (library == nullptr) return {nullptr, "there is no NVIDIA driver"};
    if (const char* const missing = FindAll(library, api); missing != nullptr) {
        return {nullptr, std::string("the NVIDIA driver is too old: it has no ") + missing};
    }
    std::int32_t version = 0;
    if (api.DriverGetVersion(&version) != kCudaSuccess || version < kLowestDriverVersion) {
        return {nullptr, "the NVIDIA driver is too old: 384.81 or later is needed"};
    }
    const CudaResult result = api.Init(0);
    if (result == kCudaSuccess) return {&api, {}};
    const char* text = nullptr;
    if (api.GetErrorString(result, &text) != kCudaSuccess || text == nullptr) text = "unknown error";
    return {nullptr, std::string("the NVIDIA driver does not start: ") + text};
}

}  // namespace

const CudaDriver& InstalledCudaDriver() {
    static CudaDriverApi api{};
    static const CudaDriver driver = Load(api);
    return driver;
}
