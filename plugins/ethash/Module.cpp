// A plug-in library. Compiled once for each, with what makes it differ (see ethash_module in CMakeLists.txt).
#include "ethash/Plugin.h"
#if QV_MODULE_ON_CARDS
#include "ethash_cuda/CudaWorker.h"
#else
#include "ethash/CpuWorker.h"
#endif

namespace {

HashingKind Hashing() {
#if QV_MODULE_ON_CARDS
    return {.makeWorker = MakeCudaWorker, .preparesNextEpoch = true};
#else
    return CpuHashing();
#endif
}

CPlugin g_plugin({.id = QV_MODULE_ID,
                  .name = QV_MODULE_TITLE,
                  .logName = QV_MODULE_NAME,
                  .variant = EthashVariant::QV_MODULE_VARIANT,
                  .hashing = Hashing()});

}  // namespace

extern "C" __declspec(dllexport) std::uintptr_t GetInterface(std::uintptr_t argument) {
    return g_plugin.Interface(argument);
}

extern "C" __declspec(dllexport) const wchar_t* GetUnit() {
    return L"H/s";
}
