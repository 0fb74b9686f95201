#include "ethash/cuda/CudaError.h"

namespace {

struct LastingError {
    CudaResult result;
    const char* advice;
};
constexpr const char* kUpdate = "a newer driver is needed for this card and these kernels";
constexpr LastingError kLasting[] = {
    {34, "the CUDA library is a stub without a driver: install the NVIDIA driver"},
    {200, "the driver does not take the kernels: update it"},
    {209, kUpdate},
    {218, "the driver does not understand the kernels: update it"},
    {221, "the driver's JIT compiler library is missing: reinstall the driver"},
    {222, kUpdate},
    {223,
     "the driver's JIT compiler is switched off: remove CUDA_DISABLE_PTX_JIT and CUDA_DISABLE_JIT from the environment"},
    {500, "the kernels are not what the program expects: reinstall it"},
    {801, "the card or its driver does not support this"},
    {803, "the driver was changed while it was in use: restart the PC"},
    {804, "the CUDA library is newer than the driver supports on this card: reinstall the driver"},
};

}  // namespace

const char* CCudaError::Advice() const noexcept {
    for (const LastingError& each : kLasting) {
        if (each.result == m_result) return each.advice;
    }
    return nullptr;
}

void CheckCuda(const CudaDriverApi& api, CudaResult result, const char* call) {
    if (result == kCudaSuccess) return;
    const char* text = nullptr;
    if (api.GetErrorString(result, &text) != kCudaSuccess || text == nullptr) text = "unknown error";
    throw CCudaError(result, std::string(call) + ": " + text + " (" + std::to_string(result) + ")");
}
