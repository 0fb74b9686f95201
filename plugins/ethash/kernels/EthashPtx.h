#pragma once
#include <string>
#include <string_view>

// The kernels of EthashKernels.cu as the text that a driver compiles for its card; it ends with a zero.
const char* EthashPtx() noexcept;

// The same for cards of that compute capability: with the bounds of KernelParameters.h in it. The text and not a second set
// of kernels, which every card's driver would have to compile.
std::string EthashPtxFor(int capabilityMajor);

// Sets how many blocks of a kernel a multiprocessor is to hold. False: the text has no such kernel, or none with that bound.
bool SetMinBlocks(std::string& ptx, std::string_view kernel, unsigned blocks);
