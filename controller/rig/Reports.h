#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

enum class MiningStatus { Unknown, Stopped, Mining };

// A member that is absent or of a wrong type is left empty: what a rig did not say is never shown as 0.
struct GpuStatic {
    std::string id;  // 32 lower-case hexadecimal digits
    std::string model;
    std::optional<std::uint64_t> cudaId;
    std::optional<std::uint64_t> cudaMajor;
    std::optional<std::uint64_t> cudaMinor;
    std::optional<std::uint64_t> totalCores;
    std::optional<std::uint64_t> memory;  // bytes
    std::optional<std::uint64_t> pciDomain;
    std::optional<std::uint64_t> pciBus;
};

struct SystemReport {
    std::string hostname;
    std::string version;
    MiningStatus status = MiningStatus::Unknown;
    std::vector<GpuStatic> gpus;
};

struct GpuDynamic {
    std::string id;
    std::string status;
    std::optional<std::uint64_t> temperature;  // degrees Celsius
    std::optional<std::uint64_t> fan;          // per cent
    std::optional<std::uint64_t> memoryUsed;   // bytes
    std::optional<std::uint64_t> coreClock;    // MHz
    std::optional<std::uint64_t> memoryClock;  // MHz
    std::optional<std::uint64_t> power;        // watts
    std::optional<std::uint64_t> hashSpeed;    // hashes per second
    std::optional<std::uint64_t> accepted;
    std::optional<std::uint64_t> stale;
    std::optional<std::uint64_t> rejected;
    std::optional<std::uint64_t> lastResult;  // 100 ns since 1601, UTC; 0: none yet
};

struct UpdateReport {
    MiningStatus status = MiningStatus::Unknown;
    std::vector<GpuDynamic> gpus;
};

struct ErrorReport {
    std::uint64_t time = 0;  // 100 ns since 1601, UTC
    std::int64_t code = 0;
    std::string text;
};

using Report = std::variant<SystemReport, UpdateReport, ErrorReport>;

// Seconds since 1970; nothing for a time before that.
std::optional<std::int64_t> UnixSeconds(std::uint64_t ticks) noexcept;
