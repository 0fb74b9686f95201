#include "cards/FakeCudaDriver.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <utility>

namespace {

constexpr CudaResult kInvalidValue = 1, kInvalidContext = 201, kInvalidHandle = 400, kFirstDeadly = 700;
// How much later than the call a copy of the null stream arrives.
constexpr CCardStream::Delay kStaged{5000};

CFakeCudaDriver* g_fake = nullptr;
constexpr const char* kKernels[] = {"ethash_build_dataset", "ethash_search_2", "ethash_search_4", "ethash_search_8",
                                    "ethash_random_reads"};

}  // namespace

struct FakeCudaCalls {
    using Fake = CFakeCudaDriver;

    static CudaResult CtxCreate(CudaContextObject** context, unsigned flags, CudaDevice device) {
        if (const CudaResult result = g_fake->Enter("cuCtxCreate")) return result;
        if ((flags & kCudaContextBlockingSync) == 0) g_fake->m_faults.Add("a context whose waits keep a CPU core busy");
        auto made = std::make_unique<Fake::Context>();
        made->device = device;
        made->streams.push_back(std::make_shared<CCardStream>(CCardStream::Kind::Null));
        *context = reinterpret_cast<CudaContextObject*>(made.get());
        const std::lock_guard lock(g_fake->m_lock);
        g_fake->m_current[std::this_thread::get_id()] = made.get();
        g_fake->m_contexts[*context] = std::move(made);
        return 0;
    }
    static CudaResult CtxDestroy(CudaContextObject* context) {
        Fake& fake = *g_fake;
        Fake::Context* closed = nullptr;
        {
            const std::lock_guard lock(fake.m_lock);
            const auto found = fake.m_contexts.find(context);
            if (found == fake.m_contexts.end()) return kInvalidContext;
            closed = found->second.get();
            std::erase_if(fake.m_current, [&](const auto& each) { return each.second == closed; });
        }
        for (const auto& stream : closed->streams) {
            if (!closed->dead && !stream->AreGridsKnown()) fake.m_faults.Add("a context is destroyed while a grid may run");
            stream->Wait(stream->Queued());
        }
        const std::lock_guard lock(fake.m_lock);
        fake.m_contexts.erase(context);
        return 0;
    }

    static CudaResult ModuleLoadDataEx(CudaModuleObject** module, const void* image, unsigned, CudaJitOption*, void**) {
        *module = reinterpret_cast<CudaModuleObject*>(g_fake);
        if (std::string_view(static_cast<const char*>(image)).find(".entry") == std::string_view::npos) return 218;
        return g_fake->Enter("cuModuleLoadDataEx");
    }
    static CudaResult ModuleGetFunction(CudaFunctionObject** function, CudaModuleObject*, const char* name) {
        for (const char* const& kernel : kKernels) {
            if (std::string_view(kernel) == name) {
                *function = reinterpret_cast<CudaFunctionObject*>(const_cast<const char**>(&kernel));
                return g_fake->Enter("cuModuleGetFunction");
            }
        }
        return 500;
    }

    static CudaResult MemAlloc(CudaAddress* address, std::size_t bytes) {
        if (const CudaResult result = g_fake->Enter("cuMemAlloc")) return result;
        *address = g_fake->m_memory.Allocate(bytes, false);
        return 0;
    }
    static CudaResult MemHostAlloc(void** memory, std::size_t bytes, unsigned) {
        if (const CudaResult result = g_fake->Enter("cuMemHostAlloc")) return result;
        *memory = reinterpret_cast<void*>(g_fake->m_memory.Allocate(bytes, true));
        return 0;
    }
    static CudaResult MemFree(CudaAddress address) {
        return g_fake->m_memory.Free(address, g_fake->IsDead()) ? 0 : kInvalidValue;
    }
    static CudaResult MemcpyDtoH(void* to, CudaAddress from, std::size_t bytes) {
        if (const CudaResult result = g_fake->Enter("cuMemcpyDtoH")) return result;
        const auto stream = g_fake->Find(nullptr);
        if (stream == nullptr) return kInvalidContext;
        const CardUse use{from, bytes, false, false, g_fake->Next(stream), "cuMemcpyDtoH", false};
        if (!g_fake->m_memory.Use(use)) return g_fake->Die(kFirstDeadly);
        g_fake->QueueOn(stream, false, {}, [&] { g_fake->m_memory.Read(to, from, bytes); });
        stream->Wait(use.point.place);
        return 0;
    }

    static CudaResult StreamCreate(CudaStreamObject** stream, unsigned flags) {
        const auto kind =
            (flags & kCudaStreamNonBlocking) != 0 ? CCardStream::Kind::NonBlocking : CCardStream::Kind::Blocking;
        auto made = std::make_shared<CCardStream>(kind);
        const std::lock_guard lock(g_fake->m_lock);
        Fake::Context* const context = g_fake->CurrentLocked();
        if (context == nullptr) return kInvalidContext;
        *stream = reinterpret_cast<CudaStreamObject*>(made.get());
        context->streams.push_back(made);
        g_fake->m_streams[*stream] = std::move(made);
        return 0;
    }
    // What is queued goes on.
    static CudaResult StreamDestroy(CudaStreamObject* stream) {
        const std::lock_guard lock(g_fake->m_lock);
        return g_fake->m_streams.erase(stream) == 1 ? 0 : kInvalidHandle;
    }
    static CudaResult StreamQuery(CudaStreamObject* stream) {
        if (const CudaResult result = g_fake->Enter("cuStreamQuery")) return result;
        const auto found = g_fake->Find(stream);
        if (found == nullptr) return kInvalidHandle;
        const std::uint64_t queued = found->Queued();
        if (!found->IsIdle()) return kCudaNotReady;
        found->Know(queued);
        return 0;
    }

    static CudaResult EventCreate(CudaEventObject** event, unsigned flags) {
        *event = reinterpret_cast<CudaEventObject*>(new char);
        const std::lock_guard lock(g_fake->m_lock);
        g_fake->m_events[*event] = {(flags & kCudaEventBlockingSync) != 0, {}};
        return 0;
    }
    static CudaResult EventDestroy(CudaEventObject* event) {
        const std::lock_guard lock(g_fake->m_lock);
        if (g_fake->m_events.erase(event) == 0) return kInvalidHandle;
        delete reinterpret_cast<char*>(event);
        return 0;
    }
    static CudaResult EventRecord(CudaEventObject* event, CudaStreamObject* stream) {
        if (const CudaResult result = g_fake->Enter("cuEventRecord")) return result;
        const auto found = g_fake->Find(stream);
        const std::lock_guard lock(g_fake->m_lock);
        const auto known = g_fake->m_events.find(event);
        if (found == nullptr || known == g_fake->m_events.end()) return kInvalidHandle;
        known->second.point = {found, found->Queued()};
        return 0;
    }
    static CudaResult EventSynchronize(CudaEventObject* event) {
        while (g_fake->stuck)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (const CudaResult result = g_fake->Enter("cuEventSynchronize")) return result;
        Fake::Event known;
        {
            const std::lock_guard lock(g_fake->m_lock);
            const auto found = g_fake->m_events.find(event);
            if (found == g_fake->m_events.end()) return kInvalidHandle;
            known = found->second;
        }
        if (!known.blocks) g_fake->m_faults.Add("an event whose wait keeps a CPU core busy");
        if (known.point.stream == nullptr) return 0;
        known.point.stream->Wait(known.point.place);
        known.point.stream->Know(known.point.place);
        return 0;
    }

    static CudaResult LaunchKernel(CudaFunctionObject* function, unsigned blocks, unsigned, unsigned, unsigned threads,
                                   unsigned, unsigned, unsigned, CudaStreamObject* stream, void** parameters, void**) {
        if (const CudaResult result = g_fake->Enter("cuLaunchKernel")) return result;
        const std::string_view kernel = *reinterpret_cast<const char* const*>(function);
        return g_fake->Launch(kernel, parameters[0], blocks, threads, stream);
    }
};

CFakeCudaDriver::CFakeCudaDriver() {
    using Calls = FakeCudaCalls;
    using Bytes = std::vector<std::uint8_t>;
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
        .DeviceGetCount = [](std::int32_t* count) -> CudaResult {
            *count = 1;
            return g_fake->Enter("cuDeviceGetCount");
        },
        .DeviceGet = [](CudaDevice* device, std::int32_t ordinal) -> CudaResult {
            *device = ordinal;
            return g_fake->Enter("cuDeviceGet");
        },
        .DeviceGetName = [](char* name, std::int32_t size, CudaDevice) -> CudaResult {
            std::snprintf(name, static_cast<std::size_t>(size), "Simulated card");
            return g_fake->Enter("cuDeviceGetName");
        },
        .DeviceGetAttribute = [](std::int32_t* value, CudaAttribute, CudaDevice) -> CudaResult {
            *value = 1;
            return g_fake->Enter("cuDeviceGetAttribute");
        },
        .CtxCreate = Calls::CtxCreate,
        .CtxDestroy = Calls::CtxDestroy,
        .CtxSetLimit = [](CudaLimit, std::size_t) -> CudaResult { return 0; },
        .ModuleLoadDataEx = Calls::ModuleLoadDataEx,
        .ModuleUnload = [](CudaModuleObject*) -> CudaResult { return 0; },
        .ModuleGetFunction = Calls::ModuleGetFunction,
        .MemGetInfo = [](std::size_t* freeBytes, std::size_t* totalBytes) -> CudaResult {
            *totalBytes = 8ULL << 30;
            *freeBytes = g_fake->freeMemory;
            return g_fake->Enter("cuMemGetInfo");
        },
        .MemAlloc = Calls::MemAlloc,
        .MemFree = Calls::MemFree,
        .MemHostAlloc = Calls::MemHostAlloc,
        .MemHostGetDevicePointer = [](CudaAddress* address, void* memory, unsigned) -> CudaResult {
            *address = reinterpret_cast<CudaAddress>(memory);
            return g_fake->Enter("cuMemHostGetDevicePointer");
        },
        .MemFreeHost = [](void* memory) -> CudaResult { return Calls::MemFree(reinterpret_cast<CudaAddress>(memory)); },
        .MemcpyHtoD = [](CudaAddress to, const void* from, std::size_t bytes) -> CudaResult {
            const auto* const first = static_cast<const std::uint8_t*>(from);
            return g_fake->Store("cuMemcpyHtoD", to, Bytes(first, first + bytes), nullptr);
        },
        .MemcpyHtoDAsync = [](CudaAddress to, const void* from, std::size_t bytes, CudaStreamObject* stream) -> CudaResult {
            const auto* const first = static_cast<const std::uint8_t*>(from);
            return g_fake->Store("cuMemcpyHtoDAsync", to, Bytes(first, first + bytes), stream);
        },
        .MemcpyDtoH = Calls::MemcpyDtoH,
        // Moves nothing: what is measured by it is time.
        .MemcpyDtoDAsync = [](CudaAddress, CudaAddress, std::size_t, CudaStreamObject*) -> CudaResult {
            return g_fake->Enter("cuMemcpyDtoDAsync");
        },
        .MemsetD8 = [](CudaAddress address, std::uint8_t value, std::size_t bytes) -> CudaResult {
            return g_fake->Store("cuMemsetD8", address, Bytes(bytes, value), nullptr);
        },
        .MemsetD8Async = [](CudaAddress address, std::uint8_t value, std::size_t bytes, CudaStreamObject* stream)
            -> CudaResult { return g_fake->Store("cuMemsetD8Async", address, Bytes(bytes, value), stream); },
        .StreamCreate = Calls::StreamCreate,
        .StreamDestroy = Calls::StreamDestroy,
        .StreamQuery = Calls::StreamQuery,
        .EventCreate = Calls::EventCreate,
        .EventDestroy = Calls::EventDestroy,
        .EventRecord = Calls::EventRecord,
        .EventSynchronize = Calls::EventSynchronize,
        .LaunchKernel = Calls::LaunchKernel};
    m_driver.api = &m_api;
    g_fake = this;
}

CFakeCudaDriver::~CFakeCudaDriver() {
    m_contexts.clear();  // their threads use the rest
    m_streams.clear();
    m_searchStreams.clear();
    g_fake = nullptr;
}

CudaResult CFakeCudaDriver::Enter(const char* function) {
    const std::lock_guard lock(m_lock);
    ++m_calls[function];
    const auto failing = m_failing.find(function);
    const CudaResult result = failing == m_failing.end() ? 0 : failing->second;
    Context* const context = CurrentLocked();
    if (result >= kFirstDeadly && context != nullptr) context->dead = true;
    return result;
}

CFakeCudaDriver::Context* CFakeCudaDriver::CurrentLocked() const {
    const auto found = m_current.find(std::this_thread::get_id());
    return found == m_current.end() ? nullptr : found->second;
}

bool CFakeCudaDriver::IsDead() const {
    const std::lock_guard lock(m_lock);
    const Context* const context = CurrentLocked();
    return context != nullptr && context->dead;
}

CudaResult CFakeCudaDriver::Die(CudaResult result) {
    const std::lock_guard lock(m_lock);
    if (Context* const context = CurrentLocked()) context->dead = true;
    return result;
}

CFakeCudaDriver::StreamPointer CFakeCudaDriver::Find(CudaStreamObject* stream) const {
    const std::lock_guard lock(m_lock);
    if (stream == nullptr) {
        const Context* const context = CurrentLocked();
        return context == nullptr ? nullptr : context->streams.front();
    }
    const auto found = m_streams.find(stream);
    return found == m_streams.end() ? nullptr : found->second;
}

std::vector<CCardStream::Point> CFakeCudaDriver::After(const CCardStream& stream) const {
    using enum CCardStream::Kind;
    const std::lock_guard lock(m_lock);
    const Context* const context = CurrentLocked();
    if (context == nullptr || stream.KindOf() == NonBlocking) return {};
    const auto other = stream.KindOf() == Null ? Blocking : Null;
    std::vector<CCardStream::Point> points;
    for (const StreamPointer& each : context->streams) {
        if (each->KindOf() == other) points.push_back({each, each->Queued()});
    }
    return points;
}

void CFakeCudaDriver::QueueOn(const StreamPointer& stream, bool isGrid, CCardStream::Delay delay,
                              std::function<void()> work) {
    stream->Queue(std::move(work), isGrid, delay, After(*stream));
}

CudaResult CFakeCudaDriver::Store(const char* function, CudaAddress to, std::vector<std::uint8_t> bytes,
                                  CudaStreamObject* stream) {
    if (const CudaResult result = Enter(function)) return result;
    const StreamPointer found = Find(stream);
    if (found == nullptr) return kInvalidHandle;
    if (!m_memory.Use({to, bytes.size(), true, false, Next(found), function})) return Die(kFirstDeadly);
    QueueOn(found, false, stream == nullptr ? kStaged : CCardStream::Delay{},
            [this, to, bytes = std::move(bytes)] { m_memory.Write(to, bytes.data(), bytes.size()); });
    return 0;
}

void CFakeCudaDriver::Knows(std::shared_ptr<const CEthashCache> cache) {
    const std::lock_guard lock(m_lock);
    m_caches.push_back(std::move(cache));
}

void CFakeCudaDriver::Fail(const std::string& function, CudaResult result) {
    const std::lock_guard lock(m_lock);
    m_failing[function] = result;
}

CudaDevice CFakeCudaDriver::CurrentDevice() const {
    const std::lock_guard lock(m_lock);
    const Context* const context = CurrentLocked();
    return context == nullptr ? 0 : context->device;
}

std::size_t CFakeCudaDriver::Contexts() const {
    const std::lock_guard lock(m_lock);
    return m_contexts.size();
}

unsigned CFakeCudaDriver::Calls(const std::string& function) const {
    const std::lock_guard lock(m_lock);
    const auto found = m_calls.find(function);
    return found == m_calls.end() ? 0 : found->second;
}

std::size_t CFakeCudaDriver::SearchStreams() const {
    const std::lock_guard lock(m_lock);
    return m_searchStreams.size();
}
