#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "rig/Reports.h"

// Names GPUs of a rig: all of them, one by its CUDA index or one by its UUID.
struct GpuSelector {
    enum class Kind { All, Index, Uuid };
    Kind kind = Kind::All;
    std::uint64_t index = 0;
    std::string uuid;  // 32 lower-case digits
};

// 32 lower-case digits from a UUID written with or without dashes, a "GPU-" before it and capitals.
std::optional<std::string> NormalGpuUuid(std::string_view text);

// "all", a decimal CUDA index of up to four digits or a UUID.
std::optional<GpuSelector> ParseGpuSelector(std::string_view text);
std::string SelectorText(const GpuSelector& selector);

// The UUIDs of the GPUs meant, each once, in the order named; error says which selector meets no GPU.
struct SelectedGpus {
    std::vector<std::string> uuids;
    std::string error;
};
SelectedGpus SelectGpus(const std::vector<GpuSelector>& selectors, const SystemReport& system);
