#pragma once
#include <atomic>
#include <string>
#include "gpu/DriverLibrary.h"
#include "gpu/NvmlApi.h"

// NVML of the installed driver, initialised as long as this object lives.
class CNvml final : public INvml {
  public:
    // executableFolder: searched only when it holds a SimGpus.ini.
    explicit CNvml(const std::wstring& executableFolder);
    ~CNvml() override;

    bool IsAvailable() const override { return m_initialized; }
    void Reinitialize() override;
    // Of the driver, as people know it ("537.13"); empty: unknown.
    std::wstring DriverVersion() const;
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
    using Result = std::int32_t;  // nvmlReturn_t: 0 is success
    using ReadNumber = Result(NvmlDevice device, std::uint32_t* value);

    void FindFunctions();
    void Initialize();
    void ShutDown();

    CDriverLibrary m_library;
    std::atomic<bool> m_initialized = false;
    // Each may be missing.
    Result (*m_init)() = nullptr;
    Result (*m_shutdown)() = nullptr;
    Result (*m_driverVersion)(char* version, std::uint32_t length) = nullptr;
    Result (*m_handleByIndex)(std::uint32_t index, NvmlDevice* device) = nullptr;
    Result (*m_name)(NvmlDevice device, char* name, std::uint32_t length) = nullptr;
    Result (*m_computeCapability)(NvmlDevice device, std::int32_t* major, std::int32_t* minor) = nullptr;
    Result (*m_pciInfo)(NvmlDevice device, QvPciInfo* pci) = nullptr;
    Result (*m_memoryInfo)(NvmlDevice device, NvmlMemory* memory) = nullptr;
    ReadNumber* m_powerDefaultLimit = nullptr;
    ReadNumber* m_powerLimit = nullptr;
    Result (*m_temperature)(NvmlDevice device, std::uint32_t sensor, std::uint32_t* degrees) = nullptr;
    Result (*m_utilizationRates)(NvmlDevice device, NvmlUtilization* rates) = nullptr;
    Result (*m_clock)(NvmlDevice device, std::uint32_t clock, std::uint32_t id, std::uint32_t* megahertz) = nullptr;
    ReadNumber* m_fanSpeed = nullptr;
    ReadNumber* m_powerUsage = nullptr;
};
