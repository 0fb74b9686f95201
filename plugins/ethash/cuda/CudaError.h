#pragma once
#include <stdexcept>
#include <string>
#include "ethash/cuda/CudaDriverApi.h"

// A call of the driver that failed. The text names the call and gives the driver's reason.
class CCudaError : public std::runtime_error {
  public:
    CCudaError(CudaResult result, const std::string& text) : std::runtime_error(text), m_result(result) {}
    CudaResult Result() const noexcept { return m_result; }
    // What a person can do about a driver that cannot run this code at all: trying again would not help. Null: it may.
    const char* Advice() const noexcept;

  private:
    CudaResult m_result;
};

// Throws CCudaError unless the result is success. call: the function's name.
void CheckCuda(const CudaDriverApi& api, CudaResult result, const char* call);
