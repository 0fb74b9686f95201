#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include "common/Time.h"
#include "config/AlgorithmList.h"
#include "config/MinerConfiguration.h"

// The GPU grid without its window: one row per GPU of the list, cells formatted when they are drawn. Portable.

// Item indices of the columns, in the order in which they stand.
enum class GpuColumn { Id, Device, CudaVersion, PoolConfig, Speed, Shares, LastShare, Stals };

enum class GridAlign { Left, Right };

struct GridColumn {
    GpuColumn column;
    std::uint16_t headerId;  // in the string table
    int width;               // pixels at 96 dpi
    int minWidth;
    GridAlign align;
    bool stretches;
};

inline constexpr std::uint16_t kEmptyGridTextId = 108;

// Together as wide as the grid in the dialog as it opens, less a scroll bar.
inline constexpr std::array<GridColumn, 8> kGpuColumns = {{
    {GpuColumn::Id, 109, 30, 24, GridAlign::Right, false},
    {GpuColumn::Device, 102, 158, 80, GridAlign::Left, true},
    {GpuColumn::CudaVersion, 103, 76, 40, GridAlign::Right, false},
    {GpuColumn::PoolConfig, 104, 112, 60, GridAlign::Left, true},
    {GpuColumn::Speed, 105, 96, 60, GridAlign::Right, false},
    {GpuColumn::Shares, 106, 124, 70, GridAlign::Right, false},
    {GpuColumn::LastShare, 107, 78, 50, GridAlign::Right, false},
    {GpuColumn::Stals, 110, 42, 34, GridAlign::Right, false},
}};

struct GridCell {
    std::wstring text;
    std::optional<std::uint32_t> textColor;  // COLORREF; the row's own when absent
};

// What the cells are formatted from. The referents live for the duration of a call.
struct GpuGridSource {
    GpuSpan gpus;
    const MinerConfiguration& configuration;
    const PoolPointer& unassignedPool;
    const CAlgorithmList& algorithms;
    ddt_datetime now;                                 // UTC
    std::span<const std::int32_t> troubledGpus = {};  // CUDA ids of those with trouble: their rows are red
};

// Empty outside the grid.
GridCell GpuCell(const GpuGridSource& source, std::size_t row, std::size_t column);
