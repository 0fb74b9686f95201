#pragma once
#include <string>
#include <vector>
#include "gpu/CudaApi.h"
#include "gpu/NvmlApi.h"

class CFakeCuda final : public ICudaRuntime {
  public:
    std::vector<CudaDeviceProperties> devices;
    CudaError countError = CudaError::Success;
    CudaError propertiesError = CudaError::Success;  // of the last device
    std::string errorText = "fake error";

    CudaError GetDeviceCount(std::int32_t& count) override;
    CudaError GetDeviceProperties(std::int32_t index, CudaDeviceProperties& properties) override;
    const char* GetErrorString(CudaError) const override { return errorText.c_str(); }
};

// One card as NVML sees it; what is unset fails.
struct FakeNvmlCard {
    bool hasHandle = true;
    std::string name;
    std::optional<NvmlCapability> capability;
    std::optional<QvPciInfo> pci;
    std::optional<NvmlMemory> memory;
    std::optional<std::uint32_t> temperature;
    std::optional<NvmlUtilization> utilization;
    std::optional<std::uint32_t> coreClock;
    std::optional<std::uint32_t> memoryClock;
    std::optional<std::uint32_t> fanSpeed;
    std::optional<std::uint32_t> powerUsage;
};

// Handles point to the cards, which must not move while a record holds one.
class CFakeNvml final : public INvml {
  public:
    std::vector<FakeNvmlCard> cards;
    bool available = true;
    std::vector<std::string> calls;  // of devices, in order

    bool IsAvailable() const override { return available; }
    NvmlDevice DeviceByIndex(std::uint32_t index) override;
    void DeviceName(NvmlDevice device, std::span<char> name) override;
    std::optional<NvmlCapability> CudaComputeCapability(NvmlDevice device) override;
    std::optional<QvPciInfo> PciInfo(NvmlDevice device) override;
    std::optional<NvmlMemory> MemoryInfo(NvmlDevice device) override;
    std::optional<std::uint32_t> PowerManagementDefaultLimit(NvmlDevice device) override;
    std::optional<std::uint32_t> PowerManagementLimit(NvmlDevice device) override;
    std::optional<std::uint32_t> Temperature(NvmlDevice device) override;
    std::optional<NvmlUtilization> UtilizationRates(NvmlDevice device) override;
    std::optional<std::uint32_t> Clock(NvmlDevice device, NvmlClock clock) override;
    std::optional<std::uint32_t> FanSpeed(NvmlDevice device) override;
    std::optional<std::uint32_t> PowerUsage(NvmlDevice device) override;

  private:
    const FakeNvmlCard& Called(NvmlDevice device, const char* call);
};

CudaDeviceProperties CudaCard(const char* name, std::int32_t bus);
// With every value set.
FakeNvmlCard NvmlCard(const char* name, std::uint32_t bus);
