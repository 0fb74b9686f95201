#pragma once
#include <string>
#include <vector>
#include "common/CodePage.h"
#include "gpu/CudaApi.h"
#include "gpu/NvmlApi.h"

class CFakeCuda final : public ICudaRuntime {
  public:
    std::vector<CudaDeviceProperties> devices;
    CudaError countError = CudaError::Success;
    CudaError propertiesError = CudaError::Success;  // of the last device
    std::string errorText = "fake error";

    CudaError GetDeviceCount(std::int32_t& count) override {
        if (countError == CudaError::Success) count = static_cast<std::int32_t>(devices.size());
        return countError;
    }
    CudaError GetDeviceProperties(std::int32_t index, CudaDeviceProperties& properties) override {
        properties = devices.at(static_cast<std::size_t>(index));
        return static_cast<std::size_t>(index) + 1 == devices.size() ? propertiesError : CudaError::Success;
    }
    const char* GetErrorString(CudaError) const override { return errorText.c_str(); }
};

// One card as NVML sees it; what is unset fails.
struct FakeNvmlCard {
    std::string name;
    std::optional<QvPciInfo> pci;
    bool hasHandle = true;
    std::optional<NvmlCapability> capability = NvmlCapability{.major = 6, .minor = 1};
    std::optional<NvmlMemory> memory = NvmlMemory{.total = 8'589'934'592, .free = 5'000'000'000, .used = 3'589'934'592};
    std::optional<NvmlUtilization> utilization = NvmlUtilization{.gpu = 99, .memory = 40};
    std::optional<std::uint32_t> temperature = 61, coreClock = 1710, memoryClock = 9501, fanSpeed = 55, powerUsage = 1999;
    std::optional<std::uint32_t> powerLimit = 320'000;
};

// Handles point to the cards, which must not move while a record holds one.
class CFakeNvml final : public INvml {
    using Card = FakeNvmlCard;
    using Number = std::optional<std::uint32_t>;

  public:
    std::vector<Card> cards;
    bool available = true;
    std::vector<std::string> calls;  // for numbers of devices, in order

    bool IsAvailable() const override { return available; }
    void Reinitialize() override {}
    NvmlDevice DeviceByIndex(std::uint32_t index) override {
        return index < cards.size() && cards[index].hasHandle ? &cards[index] : nullptr;
    }
    void DeviceName(NvmlDevice device, std::span<char> name) override {
        if (device != nullptr) CopyToField(std::string_view(static_cast<const Card*>(device)->name), name);
    }
    std::optional<NvmlCapability> CudaComputeCapability(NvmlDevice device) override {
        return Get(device, "capability", &Card::capability);
    }
    std::optional<QvPciInfo> PciInfo(NvmlDevice device) override { return Get(device, "pci", &Card::pci); }
    std::optional<NvmlMemory> MemoryInfo(NvmlDevice device) override { return Get(device, "memory", &Card::memory); }
    Number PowerManagementDefaultLimit(NvmlDevice device) override {
        return Get(device, "default limit", &Card::powerLimit);
    }
    Number PowerManagementLimit(NvmlDevice device) override { return Get(device, "limit", &Card::powerLimit); }
    Number Temperature(NvmlDevice device) override { return Get(device, "temperature", &Card::temperature); }
    std::optional<NvmlUtilization> UtilizationRates(NvmlDevice device) override {
        return Get(device, "utilization", &Card::utilization);
    }
    Number Clock(NvmlDevice device, NvmlClock clock) override {
        if (clock == NvmlClock::Core) return Get(device, "core clock", &Card::coreClock);
        return Get(device, "memory clock", &Card::memoryClock);
    }
    Number FanSpeed(NvmlDevice device) override { return Get(device, "fan", &Card::fanSpeed); }
    Number PowerUsage(NvmlDevice device) override { return Get(device, "power", &Card::powerUsage); }

  private:
    template <typename Value>
    Value Get(NvmlDevice device, const char* call, Value Card::*field) {
        calls.emplace_back(call);
        return device != nullptr ? static_cast<const Card*>(device)->*field : Value();
    }
};

inline FakeNvmlCard NvmlCard(const char* name, std::uint32_t bus, std::uint32_t domain = 1, std::uint32_t device = 2) {
    QvPciInfo pci = {};
    pci.domain = domain;
    pci.bus = bus;
    pci.device = device;
    return {name, pci};
}
