#pragma once
#include <array>
#include <cstdint>
#include <span>
#include <string>
#include "common/Time.h"
#include "config/AlgorithmList.h"
#include "config/MinerConfiguration.h"
#include "gui/MiningView.h"

// The GPU grid without its window: one row per GPU of the list, cells formatted when they are drawn. Portable.

// Item indices of the columns, in the order in which they stand.
enum class GpuColumn {
    Id,
    Device,
    CudaVersion,
    PoolConfig,
    Speed,
    Shares,
    LastShare,
    Stals,
    Temperature,
    Fan,
    Power,
    Efficiency,
    State  // why it does not hash
};

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

// The texts of real cards fit; what is wider than the grid is scrolled to.
inline constexpr std::array<GridColumn, 13> kGpuColumns = {{
    {GpuColumn::Id, 109, 26, 24, GridAlign::Right, false},
    {GpuColumn::Device, 102, 166, 80, GridAlign::Left, true},
    {GpuColumn::CudaVersion, 103, 78, 40, GridAlign::Right, false},
    {GpuColumn::PoolConfig, 104, 80, 60, GridAlign::Left, false},
    {GpuColumn::Speed, 105, 86, 60, GridAlign::Right, false},
    {GpuColumn::Shares, 106, 130, 70, GridAlign::Right, false},
    {GpuColumn::LastShare, 107, 74, 50, GridAlign::Right, false},
    {GpuColumn::Stals, 110, 40, 34, GridAlign::Right, false},
    {GpuColumn::Temperature, 111, 46, 40, GridAlign::Right, false},
    {GpuColumn::Fan, 112, 46, 36, GridAlign::Right, false},
    {GpuColumn::Power, 113, 52, 40, GridAlign::Right, false},
    {GpuColumn::Efficiency, 114, 88, 60, GridAlign::Right, false},
    {GpuColumn::State, 115, 180, 60, GridAlign::Left, false},
}};

enum class CellMark { None, Warning, Problem };

struct GridCell {
    std::wstring text;
    CellMark mark = CellMark::None;  // what its colour says
    std::wstring tip = {};           // what there is to say about the row
};

// What the cells are formatted from. The referents live for the duration of a call.
struct GpuGridSource {
    GpuSpan gpus;
    const MinerConfiguration& configuration;
    const PoolPointer& unassignedPool;
    const CAlgorithmList& algorithms;
    ddt_datetime now;                               // UTC
    std::span<const GpuTrouble> troubledGpus = {};  // their rows are red
    std::uint32_t warmDegrees = 75;                 // from where on a temperature is amber, then red
    std::uint32_t hotDegrees = 85;
};

// Empty outside the grid.
GridCell GpuCell(const GpuGridSource& source, std::size_t row, std::size_t column);

// What all cards come to, for the line above the grid: "6 cards, 1.24 kW, 412.8 kH/W, hottest 71 \u00B0C". Leaves out what
// no sensor says; the efficiency also where cards mine in different units. Empty without cards.
std::wstring GpuSumText(const GpuGridSource& source);
