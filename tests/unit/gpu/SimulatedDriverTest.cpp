// Discovery and telemetry through the real loaders, on the simulated driver libraries in a folder of the test's own.
#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <mutex>
#include <stdexcept>

#include "fixtures/Eventually.h"
#include "fixtures/HandClock.h"
#include "fixtures/ScratchFolder.h"
#include "gpu/CudaRuntime.h"
#include "gpu/GpuTelemetry.h"
#include "gpu/ManagerMinerGpus.h"
#include "gpu/Nvml.h"
#include "gpu/TelemetryReader.h"

namespace {

namespace fs = std::filesystem;

class CSimulatedDriverTest : public testing::Test {
  protected:
    CSimulatedDriverTest() {
        fs::copy_file(QV_SIM_NVCUDA, m_folder.Path(L"nvcuda.dll"));
        fs::copy_file(QV_SIM_NVML, m_folder.Path(L"nvml.dll"));
        WriteFileBytes(IniPath(), FileBytes(fs::path(QV_SIM_INI).wstring()));
    }
    std::wstring IniPath() const { return m_folder.Path(L"SimGpus.ini"); }
    std::wstring Folder() const { return m_folder.Path(L""); }
    void Set(const std::string& section, const std::string& key, const std::string& value) {
        std::string text = FileBytes(IniPath());
        const std::size_t start = text.find("\n" + key + "=", text.find("\n[" + section + "]")) + key.size() + 2;
        text.replace(start, text.find('\n', start) - start, value);
        WriteFileBytes(IniPath(), text);
    }

    // The loaders live until the end of the test, as the program's do.
    std::span<QvGpuRecord* const> Discover() {
        m_cuda.emplace(Folder());
        m_nvml = std::make_shared<CNvml>(Folder());
        m_manager.emplace(CManagerMinerGpus::Surroundings{.cuda = *m_cuda,
                                                          .nvml = *m_nvml,
                                                          .log = m_log,
                                                          .initialPool = [] { return nullptr; },
                                                          .showError = [](const std::wstring&) { ADD_FAILURE(); }});
        EXPECT_EQ(m_manager->Init(), 0);
        EXPECT_EQ(m_manager->Gpus().size(), 2u);
        return m_manager->Gpus();
    }

    // The thread of the reader reads meanwhile.
    static std::uint32_t Read(std::uint32_t& field) { return std::atomic_ref(field).load(); }

    CScratchFolder m_folder;  // first: a library's file can be removed only when it is no longer loaded
    CBKLogSystem m_log;
    std::optional<CCudaRuntime> m_cuda;
    std::shared_ptr<CNvml> m_nvml;
    std::optional<CManagerMinerGpus> m_manager;
};

TEST_F(CSimulatedDriverTest, FindsTheSampleCardsAndFollowsTheFile) {
    const auto gpus = Discover();
    QvGpuRecord& gpu = *gpus[0];
    EXPECT_EQ(gpu.cudaId, 0);
    EXPECT_STREQ(gpu.name, "Simulated RTX 3080");
    EXPECT_EQ(std::pair(gpu.uuid[0], gpu.uuid[15]), (std::pair<std::uint8_t, std::uint8_t>(0x3F, 0x38)));
    EXPECT_EQ((std::array{gpu.ccMajor, gpu.ccMinor, gpu.totalCores, gpu.warpSize, gpu.maxThreadsPerMultiProc}),
              (std::array{8, 6, 68 * 64, 32, 1536}));
    EXPECT_STREQ(gpu.pci.busId, "00000000:0A:00.0");
    EXPECT_EQ((std::array<std::uint64_t, 8>{gpu.memoryTotal, gpu.memoryUsed, gpu.temperature, gpu.fanSpeed, gpu.coreClock,
                                            gpu.memoryClock, gpu.powerUsage, gpu.gpuUtilization}),
              (std::array<std::uint64_t, 8>{10'737'418'240, 5'142'216'704, 61, 55, 1710, 9501, 228, 99}));
    EXPECT_EQ(gpu.telemetryState, 2u);
    EXPECT_STREQ(gpus[1]->name, "Simulated GTX 1070");
    EXPECT_EQ(gpus[1]->totalCores, 15 * 128);

    Set("Gpu0", "Temperature", "83  ; turned up by hand");
    Set("Gpu0", "FanSpeed", "fail");
    UpdateTelemetry(gpu, *m_nvml);
    EXPECT_EQ((std::array{gpu.temperature, gpu.fanSpeed, gpu.telemetryState}), (std::array{83u, 55u, 2u}));
    Set("Gpu0", "PowerUsage", "fail");
    Set("Gpu0", "FanSpeed", "90");
    UpdateTelemetry(gpu, *m_nvml);
    EXPECT_EQ((std::array{gpu.fanSpeed, gpu.powerUsage, gpu.telemetryState}), (std::array{90u, 228u, 1u}));
}

TEST_F(CSimulatedDriverTest, DriverStateBecomesRuntimeCode) {
    constexpr std::tuple<const char*, const char*, std::int32_t, std::int32_t, const char*> rows[] = {
        {"10000", "0", 0, 2, "no error"},
        {"9020", "0", 35, -1, "CUDA driver version is insufficient for CUDA runtime version"},
        {"fail", "0", 999, -1, "unknown error"},
        {"12040", "100", 0, 0, "no error"},
        {"12040", "3", 3, -1, "initialization error"},
        {"12040", "54321", 54321, -1, "unrecognized error code"},
    };
    CCudaRuntime cuda(Folder());
    for (const auto& [version, initError, code, expectedCount, text] : rows) {
        Set("Driver", "Version", version);
        Set("Driver", "InitError", initError);
        std::int32_t count = -1;
        const CudaError error = cuda.GetDeviceCount(count);
        EXPECT_EQ(static_cast<std::int32_t>(error), code) << version << ' ' << initError;
        EXPECT_EQ(count, expectedCount);
        EXPECT_STREQ(cuda.GetErrorString(error), text);
    }
}

// Without the file the libraries beside the executable are not looked at; with the file no others are.
TEST_F(CSimulatedDriverTest, LibrariesAreTakenFromTheRightFolderOnly) {
    for (const bool simulated : {true, false}) {
        if (!simulated) fs::remove(IniPath());
        const CCudaRuntime cuda(Folder());
        const CNvml nvml(Folder());
        EXPECT_EQ(GetModuleHandleW(m_folder.Path(L"nvcuda.dll").c_str()) != nullptr, simulated);
        EXPECT_EQ(GetModuleHandleW(m_folder.Path(L"nvml.dll").c_str()) != nullptr, simulated);
    }
    WriteFileBytes(IniPath(), "[Driver]\nVersion=12040\nInitError=0\n");
    fs::remove(m_folder.Path(L"nvcuda.dll"));
    fs::remove(m_folder.Path(L"nvml.dll"));
    std::int32_t count = -1;
    CCudaRuntime cuda(Folder());
    EXPECT_EQ(cuda.GetDeviceCount(count), CudaError::InsufficientDriver);
    CudaDeviceProperties properties;
    EXPECT_EQ(cuda.GetDeviceProperties(0, properties), CudaError::InsufficientDriver);
    CNvml nvml(Folder());
    EXPECT_FALSE(nvml.IsAvailable());
    EXPECT_EQ(nvml.DeviceByIndex(0), nullptr);
}

TEST_F(CSimulatedDriverTest, FailingCallsReachTheirCaller) {
    Set("Gpu1", "NvmlIndex", "fail");
    Set("Gpu0", "Name", std::string(70, 'n'));  // too long for NVML's 64 bytes
    const auto gpus = Discover();
    EXPECT_STREQ(gpus[0]->name, "");
    EXPECT_EQ(std::pair(gpus[1]->cudaId, gpus[1]->nvmlDevice), std::pair(1, NvmlDevice(nullptr)));
    EXPECT_STREQ(gpus[1]->name, "Simulated GTX 1070");

    CudaDeviceProperties properties;
    for (const char* key : {"Name", "Uuid", "PciBus", "MultiProcessors"}) {
        WriteFileBytes(IniPath(), FileBytes(fs::path(QV_SIM_INI).wstring()));
        Set("Gpu1", key, "fail");
        EXPECT_EQ(m_cuda->GetErrorString(m_cuda->GetDeviceProperties(1, properties)), std::string("unknown error")) << key;
    }
    EXPECT_EQ(m_cuda->GetErrorString(m_cuda->GetDeviceProperties(2, properties)), std::string("invalid device ordinal"));
    EXPECT_EQ(m_cuda->GetDeviceProperties(0, properties), CudaError::Success);
    EXPECT_STREQ(properties.name, "Simulated RTX 3080");
    EXPECT_EQ(properties.totalGlobalMem, 10'737'418'240u);
    EXPECT_EQ(properties.pciBusID, 10);
}

// ---- The reader, on threads of its own -----------------------------------------------------------------------------------

class CTelemetryReaderTest : public CSimulatedDriverTest {
  protected:
    void Start() {
        m_reader.emplace(Discover(), m_nvml, m_clock, [this](const QvGpuRecord& gpu, SensorState state) {
            const std::lock_guard lock(m_lock);
            m_changes.emplace_back(gpu.cudaId, state);
        });
    }
    ~CTelemetryReaderTest() override {
        m_reader.reset();
        WriteFileBytes(IniPath(), FileBytes(fs::path(QV_SIM_INI).wstring()));
        EXPECT_TRUE(Eventually([&] { return m_nvml.use_count() == 1; })) << "a thread is still in the library";
    }
    // Asks for rounds, so long apart on the reader's clock.
    bool RoundsUntil(const std::function<bool()>& condition, TimeSpan apart = 0) {
        return Eventually([&] {
            m_reader->Request();
            m_clock.ticks += apart;
            return condition();
        });
    }
    SensorState State(std::size_t index) const { return m_reader->State(index).state; }
    std::vector<std::pair<std::int32_t, SensorState>> Changes() {
        const std::lock_guard lock(m_lock);
        return m_changes;
    }

    std::mutex m_lock;
    std::vector<std::pair<std::int32_t, SensorState>> m_changes;
    CHandSetClock m_clock;
    std::optional<CTelemetryReader> m_reader;
};

TEST_F(CTelemetryReaderTest, ACardThatHangsStopsNeitherTheOthersNorTheEnd) {
    using enum SensorState;
    Start();
    QvGpuRecord& hanging = *m_manager->Gpus()[0];
    QvGpuRecord& other = *m_manager->Gpus()[1];
    for (const std::uint32_t temperature : {70U, 80U}) {
        Set("Gpu0", "Utilization", "hang");
        ASSERT_TRUE(RoundsUntil([&] { return State(0) == Silent; }, kTicksPerSecond / 10));
        Set("Gpu1", "Temperature", std::to_string(temperature));
        Set("Gpu0", "Temperature", std::to_string(temperature));
        ASSERT_TRUE(RoundsUntil([&] { return Read(other.temperature) == temperature; }));
        EXPECT_EQ(Read(hanging.temperature), temperature == 70 ? 61U : 70U);
        EXPECT_EQ(State(0), Silent);
        if (temperature == 80) break;
        Set("Gpu0", "Utilization", "42");
        ASSERT_TRUE(RoundsUntil([&] { return Read(hanging.gpuUtilization) == 42 && Read(hanging.temperature) == 70; }));
        EXPECT_EQ(State(0), Answering);
    }
    EXPECT_EQ(Changes(), (decltype(m_changes){{0, Silent}, {0, Answering}, {0, Silent}}));
    const auto begun = std::chrono::steady_clock::now();
    m_reader.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(5));
    Set("Gpu0", "Utilization", "43");
    EXPECT_TRUE(Eventually([&] { return m_nvml.use_count() == 1; }));
    EXPECT_EQ(hanging.gpuUtilization, 42U) << "written after the end";
}

TEST_F(CTelemetryReaderTest, ALostCardIsReadAgainByANewHandleAndALostDriverAfterARestart) {
    using enum SensorState;
    Start();
    QvGpuRecord& gpu = *m_manager->Gpus()[0];
    void* const handle = gpu.nvmlDevice;
    const auto device = std::atomic_ref(gpu.nvmlDevice);
    device = reinterpret_cast<void*>(std::uintptr_t{77});  // no card's
    Set("Gpu0", "FanSpeed", "91");
    ASSERT_TRUE(RoundsUntil([&] { return Read(gpu.fanSpeed) == 91 && State(0) == Answering; }));
    EXPECT_EQ(device.load(), handle);
    EXPECT_EQ(Changes(), (decltype(m_changes){{0, Lost}, {0, Answering}}));

    const HMODULE library = GetModuleHandleW(m_folder.Path(L"nvml.dll").c_str());
    const auto shutDown = reinterpret_cast<int (*)()>(reinterpret_cast<void*>(GetProcAddress(library, "nvmlShutdown")));
    ASSERT_TRUE(shutDown);
    ASSERT_EQ(shutDown(), 0);
    Set("Gpu0", "FanSpeed", "92");
    ASSERT_TRUE(RoundsUntil([&] { return Read(gpu.fanSpeed) == 92 && State(1) == Answering; }));
    EXPECT_EQ(Changes().size(), 6U);
}

}  // namespace
