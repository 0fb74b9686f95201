#include "ethash/Plugin.h"
#include "ethash_cuda/CudaWorker.h"

namespace {
CPlugin g_plugin({1, L"Etchash", L"Etchash", EthashVariant::Etchash, {MakeCudaWorker, true}});
}

extern "C" __declspec(dllexport) std::uintptr_t GetInterface(std::uintptr_t argument) {
    return g_plugin.Interface(argument);
}

extern "C" __declspec(dllexport) const wchar_t* GetUnit() {
    return L"H/s";
}
