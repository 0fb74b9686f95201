#include "ethash/CpuWorker.h"
#include "ethash/Plugin.h"

namespace {
CPlugin g_plugin({4, L"Ethash (CPU)", L"EthashCpu", EthashVariant::Ethash, {MakeCpuWorker}});
}

extern "C" __declspec(dllexport) std::uintptr_t GetInterface(std::uintptr_t argument) {
    return g_plugin.Interface(argument);
}

extern "C" __declspec(dllexport) const wchar_t* GetUnit() {
    return L"H/s";
}
