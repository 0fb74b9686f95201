#include "ethash_cuda/CudaError.h"

#include <algorithm>
#include <iterator>

namespace {

// No binary for the device, invalid PTX, unsupported PTX version, operation not supported.
constexpr CudaResult kPermanent[] = {209, 218, 222, 801};

}  // namespace

bool CCudaError::IsPermanent() const noexcept {
    return std::find(std::begin(kPermanent), std::end(kPermanent), m_result) != std::end(kPermanent);
}

void CheckCuda(const CudaDriverApi& api, CudaResult result, const char* call) {
    if (result == kCudaSuccess) return;
    const char* text = nullptr;
    if (api.GetErrorString(result, &text) != kCudaSuccess || text == nullptr) text = "unknown error";
    throw CCudaError(result, std::string(call) + ": " + text + " (" + std::to_string(result) + ")");
}
