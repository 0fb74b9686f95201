#include "ethash/CpuWorker.h"
#include "ethash/Plugin.h"

namespace {
CPlugin g_plugin({2, L"Etchash (CPU)", L"EtchashCpu", EthashVariant::Etchash, {MakeCpuWorker}});
}

extern "C" __declspec(dllexport) std::uintptr_t GetInterface(std::uintptr_t argument) {
    return g_plugin.Interface(argument);
}

extern "C" __declspec(dllexport) const wchar_t* GetUnit() {
    return L"H/s";
}
