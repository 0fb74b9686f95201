#include "ethash/CpuWorker.h"
#include "ethash/Plugin.h"

namespace {
CPlugin g_plugin({12, L"Ubqhash (CPU)", L"UbqhashCpu", EthashVariant::Ubqhash, {MakeCpuWorker}});
}

extern "C" __declspec(dllexport) std::uintptr_t GetInterface(std::uintptr_t argument) {
    return g_plugin.Interface(argument);
}

extern "C" __declspec(dllexport) const wchar_t* GetUnit() {
    return L"H/s";
}
