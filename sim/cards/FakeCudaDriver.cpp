#include "cards/FakeCudaDriver.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <span>
#include <thread>

#include "ethash/EthashItems.h"
#include "ethash_cuda/CudaSearch.h"
#include "ethash_kernels/KernelParameters.h"

namespace {

CFakeCudaDriver* g_fake = nullptr;
constexpr const char* kKernels[] = {"ethash_build_dataset", "ethash_search_2", "ethash_search_4", "ethash_search_8"};

template <class Handle>
Handle* NewHandle() {
    return reinterpret_cast<Handle*>(new char);
}
template <class Handle>
void DeleteHandle(Handle* handle) {
    delete reinterpret_cast<char*>(handle);
}
template <class Handle>
CudaResult Create(Handle** handle, unsigned) {
    *handle = NewHandle<Handle>();
    return 0;
}
template <class Handle>
CudaResult Destroy(Handle* handle) {
    DeleteHandle(handle);
    return 0;
}

}  // namespace

struct FakeCudaCalls {
    static CudaResult Allocate(CudaAddress* address, std::size_t bytes) {
        std::vector<std::uint64_t> memory((bytes + 79) / 8);
        const auto first = (reinterpret_cast<std::uint64_t>(memory.data()) + 63) / 64 * 64;  // as a card aligns
        const std::lock_guard lock(g_fake->m_lock);
        g_fake->m_memory[first] = std::move(memory);
        *address = first;
        return 0;
    }
    static CudaResult MemFree(CudaAddress address) {
        const std::lock_guard lock(g_fake->m_lock);
        return g_fake->m_memory.erase(address) == 1 ? 0 : 1;
    }
};

CFakeCudaDriver::CFakeCudaDriver() {
    using Calls = FakeCudaCalls;
    m_api = {
        .Init = [](unsigned) -> CudaResult { return g_fake->Enter("cuInit"); },
        .DriverGetVersion = [](std::int32_t* version) -> CudaResult {
            *version = 12040;
            return 0;
        },
        .GetErrorString = [](CudaResult, const char** text) -> CudaResult {
            *text = "as told";
            return 0;
        },
        .DeviceGetCount = nullptr,
        .DeviceGet = [](CudaDevice* device, std::int32_t ordinal) -> CudaResult {
            *device = ordinal;
            return g_fake->Enter("cuDeviceGet");
        },
        .DeviceGetName = nullptr,
        .DeviceGetAttribute = [](std::int32_t* value, CudaAttribute, CudaDevice) -> CudaResult {
            *value = 1;
            return g_fake->Enter("cuDeviceGetAttribute");
        },
        .CtxCreate = [](CudaContextObject** context, unsigned, CudaDevice) -> CudaResult {
            if (const CudaResult result = g_fake->Enter("cuCtxCreate")) return result;
            *context = NewHandle<CudaContextObject>();
            const std::lock_guard lock(g_fake->m_lock);
            g_fake->m_contexts.insert(*context);
            return 0;
        },
        .CtxDestroy = [](CudaContextObject* context) -> CudaResult {
            const std::lock_guard lock(g_fake->m_lock);
            if (g_fake->m_contexts.erase(context) == 0) return 201;
            DeleteHandle(context);
            return 0;
        },
        .CtxSetLimit = nullptr,
        .ModuleLoadDataEx = [](CudaModuleObject** module, const void* image, unsigned, CudaJitOption*,
                               void**) -> CudaResult {
            *module = reinterpret_cast<CudaModuleObject*>(g_fake);
            if (std::string_view(static_cast<const char*>(image)).find(".entry") == std::string_view::npos) return 218;
            return g_fake->Enter("cuModuleLoadDataEx");
        },
        .ModuleUnload = [](CudaModuleObject*) -> CudaResult { return 0; },
        .ModuleGetFunction = [](CudaFunctionObject** function, CudaModuleObject*, const char* name) -> CudaResult {
            for (const char* const& kernel : kKernels) {
                if (std::string_view(kernel) == name) {
                    *function = reinterpret_cast<CudaFunctionObject*>(const_cast<const char**>(&kernel));
                    return g_fake->Enter("cuModuleGetFunction");
                }
            }
            return 500;
        },
        .MemGetInfo = [](std::size_t* freeBytes, std::size_t* totalBytes) -> CudaResult {
            *totalBytes = 8ULL << 30;
            *freeBytes = g_fake->freeMemory;
            return g_fake->Enter("cuMemGetInfo");
        },
        .MemAlloc = [](CudaAddress* address, std::size_t bytes) -> CudaResult {
            if (const CudaResult result = g_fake->Enter("cuMemAlloc")) return result;
            return Calls::Allocate(address, bytes);
        },
        .MemFree = Calls::MemFree,
        .MemHostAlloc = [](void** memory, std::size_t bytes, unsigned) -> CudaResult {
            CudaAddress address = 0;
            const CudaResult result = g_fake->Enter("cuMemHostAlloc");
            if (result == 0) Calls::Allocate(&address, bytes);
            *memory = reinterpret_cast<void*>(address);
            return result;
        },
        .MemHostGetDevicePointer = [](CudaAddress* address, void* memory, unsigned) -> CudaResult {
            *address = reinterpret_cast<CudaAddress>(memory);
            return g_fake->Enter("cuMemHostGetDevicePointer");
        },
        .MemFreeHost = [](void* memory) -> CudaResult { return Calls::MemFree(reinterpret_cast<CudaAddress>(memory)); },
        .MemcpyHtoD = [](CudaAddress to, const void* from, std::size_t bytes) -> CudaResult {
            std::memcpy(reinterpret_cast<void*>(to), from, bytes);
            return g_fake->Enter("cuMemcpyHtoD");
        },
        .MemcpyHtoDAsync = [](CudaAddress to, const void* from, std::size_t bytes, CudaStreamObject*) -> CudaResult {
            std::memcpy(reinterpret_cast<void*>(to), from, bytes);
            return g_fake->Enter("cuMemcpyHtoDAsync");
        },
        .MemcpyDtoH = [](void* to, CudaAddress from, std::size_t bytes) -> CudaResult {
            std::memcpy(to, reinterpret_cast<const void*>(from), bytes);
            return g_fake->Enter("cuMemcpyDtoH");
        },
        .MemcpyDtoDAsync = nullptr,
        .MemsetD8 = [](CudaAddress address, std::uint8_t value, std::size_t bytes) -> CudaResult {
            std::memset(reinterpret_cast<void*>(address), value, bytes);
            return g_fake->Enter("cuMemsetD8");
        },
        .MemsetD8Async = [](CudaAddress address, std::uint8_t value, std::size_t bytes, CudaStreamObject*) -> CudaResult {
            std::memset(reinterpret_cast<void*>(address), value, bytes);
            return g_fake->Enter("cuMemsetD8Async");
        },
        .StreamCreate = Create<CudaStreamObject>,
        .StreamDestroy = Destroy<CudaStreamObject>,
        .StreamQuery = [](CudaStreamObject*) -> CudaResult { return g_fake->Enter("cuStreamQuery"); },
        .EventCreate = Create<CudaEventObject>,
        .EventDestroy = Destroy<CudaEventObject>,
        .EventRecord = [](CudaEventObject*, CudaStreamObject*) -> CudaResult { return 0; },
        .EventSynchronize = [](CudaEventObject*) -> CudaResult {
            while (g_fake->stuck)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            return g_fake->Enter("cuEventSynchronize");
        },
        .LaunchKernel = [](CudaFunctionObject* function, unsigned blocks, unsigned, unsigned, unsigned threads, unsigned,
                           unsigned, unsigned, CudaStreamObject*, void** parameters, void**) -> CudaResult {
            if (const CudaResult result = g_fake->Enter("cuLaunchKernel")) return result;
            const std::string_view kernel = *reinterpret_cast<const char* const*>(function);
            if (g_fake->run) {
                g_fake->run(kernel, parameters[0], blocks, threads);
            } else {
                g_fake->RunOnCpu(kernel, parameters[0], blocks);
            }
            return 0;
        }};
    m_driver.api = &m_api;
    g_fake = this;
}

CFakeCudaDriver::~CFakeCudaDriver() {
    g_fake = nullptr;
}

void CFakeCudaDriver::Knows(std::shared_ptr<const CEthashCache> cache) {
    const std::lock_guard lock(m_lock);
    m_caches.push_back(std::move(cache));
}

void CFakeCudaDriver::Fail(const std::string& function, CudaResult result) {
    const std::lock_guard lock(m_lock);
    m_failing[function] = result;
}

std::size_t CFakeCudaDriver::Contexts() const {
    const std::lock_guard lock(m_lock);
    return m_contexts.size();
}

std::size_t CFakeCudaDriver::Allocations() const {
    const std::lock_guard lock(m_lock);
    return m_memory.size();
}

unsigned CFakeCudaDriver::Calls(const std::string& function) const {
    const std::lock_guard lock(m_lock);
    const auto found = m_calls.find(function);
    return found == m_calls.end() ? 0 : found->second;
}

CudaResult CFakeCudaDriver::Enter(const char* function) {
    const std::lock_guard lock(m_lock);
    ++m_calls[function];
    const auto failing = m_failing.find(function);
    return failing == m_failing.end() ? 0 : failing->second;
}

std::shared_ptr<const CEthashCache> CFakeCudaDriver::CacheOfRows(unsigned rows) {
    const std::lock_guard lock(m_lock);
    const auto found = std::find_if(m_caches.begin(), m_caches.end(),
                                    [&](const auto& cache) { return cache->Epoch().cacheBytes / 64 == rows; });
    return found == m_caches.end() ? nullptr : *found;
}

void CFakeCudaDriver::RunOnCpu(std::string_view kernel, const void* parameters, unsigned blocks) {
    if (kernel == "ethash_build_dataset") {
        const auto& build = *static_cast<const EthashBuildParameters*>(parameters);
        const auto cache = CacheOfRows(build.cacheRows.value);
        for (unsigned i = 0; i < build.itemCount; ++i) {
            EthashItem item = DatasetItem(*cache, build.firstItem + i);
            if (spoiledBuilds > 0) item.words[3] ^= 0x10000;
            std::memcpy(static_cast<char*>(build.dataset) + (std::size_t{build.firstItem} + i) * 64, &item, sizeof item);
        }
        if (spoiledBuilds > 0) --spoiledBuilds;
        return;
    }
    const auto& search = *static_cast<const EthashSearchParameters*>(parameters);
    EthashSearchResults& results = *search.results;
    if (*search.generationWord != search.generation) {
        results.skippedBlocks = blocks;
        return;
    }
    std::shared_ptr<const CEthashCache> cache;
    {
        const std::lock_guard lock(m_lock);
        for (const auto& each : m_caches) {
            if (each->Epoch().datasetBytes / 128 == search.pages.value) cache = each;
        }
    }
    Hash256 header;
    std::memcpy(header.data(), search.header, header.size());
    for (unsigned i = 0; i < search.nonceCount; ++i) {
        const std::uint64_t nonce = search.firstNonce + i;
        EthashResult result;
        HashimotoBatch(*cache, header, std::span(&nonce, 1), std::span(&result, 1));
        const bool reported = wrongSolutions ? TopOf(result.final) > search.target : TopOf(result.final) <= search.target;
        if (!reported) continue;
        if (results.solutionCount < kEthashMaxSolutions) results.nonces[results.solutionCount] = nonce;
        ++results.solutionCount;
    }
}
