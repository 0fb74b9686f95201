// A plug-in library. Compiled once for each, with what makes it differ (see ethash_module in CMakeLists.txt).
#include "ethash/engine/MiningEngine.h"
#include "kit/Plugin.h"
#if QV_MODULE_ON_CARDS
#include "ethash/cuda/CudaWorker.h"
#else
#include "ethash/cpu/CpuWorker.h"
#endif

namespace {

HashingKind Hashing() {
#if QV_MODULE_ON_CARDS
    return {.makeWorker = MakeCudaWorker, .preparesNextEpoch = true};
#else
    return CpuHashing();
#endif
}

CCacheStore g_caches(EthashVariant::QV_MODULE_VARIANT);
CPlugin g_plugin({.id = QV_MODULE_ID,
                  .name = QV_MODULE_TITLE,
                  .logName = QV_MODULE_NAME,
                  .makeEngine = [hashing = Hashing()](IEngineHost& host) {
                      return std::make_unique<CMiningEngine>(g_caches, host, hashing);
                  }});

}  // namespace

extern "C" __declspec(dllexport) std::uintptr_t GetInterface(std::uintptr_t argument) {
    return g_plugin.Interface(argument);
}

extern "C" __declspec(dllexport) const wchar_t* GetUnit() {
    return L"H/s";
}
