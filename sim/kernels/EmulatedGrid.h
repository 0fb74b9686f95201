#pragma once
#include <functional>

#include "kernels/GpuEmulator.h"

// Runs the program once as every thread of a grid, one block after the other. The program uses the functions of
// EmulatedBuiltins.h. What it holds on its stack when another thread fails is never destroyed.
void RunEmulatedGrid(const std::function<void()>& program, unsigned blocks, unsigned threadsPerBlock,
                     const DatasetReadHook& beforeDatasetRead, CTurns turns);
