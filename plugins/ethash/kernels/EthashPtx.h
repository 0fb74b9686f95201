#pragma once

// The kernels of EthashKernels.cu as the text that a driver compiles for its card; it ends with a zero.
const char* EthashPtx() noexcept;
