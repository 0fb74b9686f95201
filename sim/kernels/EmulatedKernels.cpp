#define QV_EMULATED
#include <cstring>
#include <string>

#include "ethash/kernels/EthashKernels.cu"
#include "kernels/EmulatedGrid.h"

namespace {

template <class Parameters>
void Run(void (*kernel)(Parameters), const void* parameters, unsigned blocks, unsigned threadsPerBlock,
         const DatasetReadHook& beforeDatasetRead, CTurns turns) {
    Parameters copy;
    std::memcpy(&copy, parameters, sizeof copy);
    RunEmulatedGrid([&] { kernel(copy); }, blocks, threadsPerBlock, beforeDatasetRead, turns);
}

}  // namespace

void EmulateKernel(std::string_view name, const void* parameters, unsigned blocks, unsigned threadsPerBlock,
                   const DatasetReadHook& beforeDatasetRead, CTurns turns) {
    if (name == "ethash_build_dataset") {
        if (threadsPerBlock > 256) throw std::invalid_argument("threads in a block of the build");
        return Run(ethash_build_dataset, parameters, blocks, threadsPerBlock, beforeDatasetRead, turns);
    }
    if (threadsPerBlock != kEthashSearchThreads) throw std::invalid_argument("threads in a block of a search");
    if (name == "ethash_search_2")
        return Run(ethash_search_2, parameters, blocks, threadsPerBlock, beforeDatasetRead, turns);
    if (name == "ethash_search_4")
        return Run(ethash_search_4, parameters, blocks, threadsPerBlock, beforeDatasetRead, turns);
    if (name == "ethash_search_8")
        return Run(ethash_search_8, parameters, blocks, threadsPerBlock, beforeDatasetRead, turns);
    if (name == "ethash_random_reads")
        return Run(ethash_random_reads, parameters, blocks, threadsPerBlock, beforeDatasetRead, turns);
    throw std::invalid_argument("no kernel " + std::string(name));
}
