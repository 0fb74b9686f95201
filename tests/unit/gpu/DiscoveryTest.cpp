#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <regex>
#include <stdexcept>

#include "FakeDrivers.h"
#include "fixtures/ScratchFolder.h"
#include "gpu/ManagerMinerGpus.h"

struct PoolEntry {};

namespace {

CudaDeviceProperties CudaCard(const char* name, std::int32_t bus) {
    CudaDeviceProperties card{.totalGlobalMem = 6'000'000'000, .major = 7, .minor = 5};
    CopyToField(std::string_view(name), card.name);
    std::iota(card.uuid.begin(), card.uuid.end(), static_cast<std::uint8_t>(0xA0 + bus));
    card.multiProcessorCount = 30 + bus;
    card.warpSize = 32;
    card.maxThreadsPerMultiProcessor = 1024;
    card.pciDomainID = 1;
    card.pciBusID = bus;
    card.pciDeviceID = 2;
    return card;
}

// SMs, cores of each, all cores, threads of a warp and of an SM.
std::array<std::int32_t, 5> Processors(const QvGpuRecord& gpu) {
    return {gpu.multiProcessors, gpu.coresPerMultiProc, gpu.totalCores, gpu.warpSize, gpu.maxThreadsPerMultiProc};
}

class CDiscoveryTest : public testing::Test {
  protected:
    CDiscoveryTest() {
        m_log.enabled = 1;
        m_log.showDate = m_log.showTime = 0;
        m_log.CreateLogSystem(m_folder.Path(L"log").c_str(), 0);
    }
    // Without the log's own start of each line.
    std::string Log() {
        m_log.Flush();
        const std::string bytes = FileBytes(m_folder.Path(m_folder.Files().at(0)));
        return std::regex_replace(bytes, std::regex("[^\n]*?: (.*)\r\n"), "$1\n");
    }

    CScratchFolder m_folder;
    CBKLogSystem m_log;
    CFakeCuda m_cuda;
    CFakeNvml m_nvml;
    PoolEntry m_pool;
    std::vector<std::wstring> m_errors;
    CManagerMinerGpus m_manager{{.cuda = m_cuda,
                                 .nvml = m_nvml,
                                 .log = m_log,
                                 .initialPool = [this] { return &m_pool; },
                                 .showError = [this](const std::wstring& text) { m_errors.push_back(text); }}};
};

TEST_F(CDiscoveryTest, MatchesByPciAddressAndSortsByCudaId) {
    m_cuda.devices = {CudaCard("cuda zero", 9), CudaCard("cuda one", 3)};
    m_nvml.cards = {NvmlCard("GeForce Three", 3), NvmlCard("GeForce Nine", 9)};
    m_nvml.cards[0].memory.reset();
    ASSERT_EQ(m_manager.Init(), 0);
    const auto gpus = m_manager.Gpus();
    ASSERT_EQ(gpus.size(), 2u);
    EXPECT_EQ(gpus[1]->cudaId, 1);
    EXPECT_EQ(gpus[1]->memoryTotal, 0u);
    const QvGpuRecord& gpu = *gpus[0];
    EXPECT_EQ(gpu.cudaId, 0);
    EXPECT_EQ(gpu.nvmlDevice, &m_nvml.cards[1]);
    EXPECT_EQ(gpu.ccMajor * 10 + gpu.ccMinor, 61) << "NVML's answer, not CUDA's";
    EXPECT_EQ(Processors(gpu), (std::array{39, 128, 39 * 128, 32, 1024}));
    EXPECT_EQ(gpu.uuid[QV_UUID_BYTES], 0);
    EXPECT_EQ(gpu.pci.bus, 9u);
    EXPECT_EQ(gpu.memoryTotal, 8'589'934'592u);
    EXPECT_EQ(gpu.temperature, 61u);
    for (const char* limit : {"default limit", "limit"})
        EXPECT_EQ(std::ranges::count(m_nvml.calls, limit), 2) << limit;
    EXPECT_EQ(gpu.telemetryState, 2u);
    EXPECT_EQ(gpu.assignedPool, &m_pool);
    for (const QvGridWords& words : gpu.gridWords)
        EXPECT_EQ(std::pair(words.limit, words.count), std::pair(512u, 0u));
    EXPECT_EQ(std::pair(gpu.gridCountA, gpu.gridCountB), std::pair(3u, 20u));
    EXPECT_EQ(Log(),
              "Get CUDA devices\nCUDA-Device 1: UUID:a3a4a5a6a7a8a9aaabacadaeafb0b1b2  -  GeForce Three\n"
              "CUDA-Device 0: UUID:a9aaabacadaeafb0b1b2b3b4b5b6b7b8  -  GeForce Nine\n");
}

// Another domain, bus or device number is another card; one that NVML cannot open or place is none.
TEST_F(CDiscoveryTest, EveryCudaDeviceHasARecordWhateverNvmlKnows) {
    m_cuda.devices = {CudaCard("a", 1), CudaCard("b", 2), CudaCard("c", 3),
                      CudaCard("d", 4), CudaCard("e", 5), CudaCard("at nought", 0)};
    m_cuda.devices[5].pciDomainID = m_cuda.devices[5].pciDeviceID = 0;
    m_nvml.cards = {NvmlCard("twin", 1), NvmlCard("bus", 7),  NvmlCard("domain", 3, 0), NvmlCard("device", 4, 1, 0),
                    NvmlCard("lost", 5), NvmlCard("mute", 9), NvmlCard("beyond", 2)};
    m_nvml.cards[4].hasHandle = false;
    m_nvml.cards[5].pci.reset();
    ASSERT_EQ(m_manager.Init(), 0);
    std::vector<std::tuple<std::int32_t, std::string, NvmlDevice>> found;
    for (const QvGpuRecord* gpu : m_manager.Gpus())
        found.emplace_back(gpu->cudaId, gpu->name, gpu->nvmlDevice);
    std::vector<FakeNvmlCard>& cards = m_nvml.cards;
    ASSERT_EQ(found, (decltype(found){{-1, "bus", &cards[1]},
                                      {-1, "domain", &cards[2]},
                                      {-1, "device", &cards[3]},
                                      {0, "twin", &cards[0]},
                                      {1, "beyond", &cards[6]},
                                      {2, "c", nullptr},
                                      {3, "d", nullptr},
                                      {4, "e", nullptr},
                                      {5, "at nought", nullptr}}));
    EXPECT_EQ(Processors(*m_manager.Gpus()[0]), (std::array{1, 128, 128, 1, 1}));
    EXPECT_EQ(m_manager.Gpus()[4]->uuid[0], 0xA2);
    EXPECT_NE(Log().find("\nGPU 4 is used without telemetry: NVML knows no device at 00000001:05:02.0\n"),
              std::string::npos);
}

TEST_F(CDiscoveryTest, WithoutNvmlTheRecordsHoldWhatCudaKnows) {
    m_nvml.available = false;
    EXPECT_EQ(m_manager.Init(), 0) << "no devices is no error";
    EXPECT_TRUE(m_manager.Gpus().empty() && m_errors.empty());
    EXPECT_EQ(Log(), "Get CUDA devices\n");

    m_cuda.devices = {CudaCard("cuda zero", 9), CudaCard("cuda one", 3)};
    ASSERT_EQ(m_manager.Init(), 0);
    ASSERT_EQ(m_manager.Gpus().size(), 2u);
    const QvGpuRecord& gpu = *m_manager.Gpus()[0];
    EXPECT_EQ(gpu.cudaId, 0);
    EXPECT_STREQ(gpu.name, "cuda zero");
    EXPECT_EQ(gpu.ccMajor * 10 + gpu.ccMinor, 75);
    EXPECT_EQ(gpu.totalCores, 39 * 64);
    EXPECT_EQ(gpu.memoryTotal, 6'000'000'000u);
    EXPECT_EQ(std::pair(gpu.pci.domain, gpu.pci.bus), std::pair(1u, 9u));
    EXPECT_STREQ(gpu.pci.busId, "00000001:09:02.0");
    EXPECT_EQ(gpu.telemetryState, 1u);
    EXPECT_NE(Log().find("\nNVML is not available"), std::string::npos);
}

TEST_F(CDiscoveryTest, CountErrorIsShownAndEndsDiscovery) {
    const std::wstring page = L"https://www.nvidia.com/Download/index.aspx";
    const std::pair<std::int32_t, std::wstring> rows[] = {
        {35, L"Quorvel-Miner requires Driver version 411.31 or later! Please update your driver (<a href=\"" + page +
                 L"\">" + page + L"</a>)"},
        {3, L"CUDA error 'fake error'. Cannot continue!"},
    };
    m_cuda.devices = {CudaCard("never asked", 1)};
    for (const auto& [code, text] : rows) {
        m_errors.clear();
        m_cuda.countError = static_cast<CudaError>(code);
        EXPECT_EQ(m_manager.Init(), 41) << code;
        EXPECT_EQ(m_errors, std::vector{text});
        EXPECT_TRUE(m_manager.Gpus().empty());
    }
}

TEST_F(CDiscoveryTest, PropertiesErrorThrowsItsText) {
    const std::pair<std::string, std::string> rows[] = {
        {"invalid device", "CUDA error 'invalid device' in func 'CManagerMinerGpus::Init' line 79"},
        {std::string(600, 'x'), "CUDA error '" + std::string(499, 'x')},  // 511 characters
    };
    m_cuda.devices = {CudaCard("good", 1), CudaCard("bad", 2)};
    m_cuda.propertiesError = static_cast<CudaError>(101);
    for (const auto& [error, text] : rows) {
        m_cuda.errorText = error;
        try {
            m_manager.Init();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::runtime_error& thrown) {
            EXPECT_EQ(thrown.what(), text);
        }
        EXPECT_TRUE(m_manager.Gpus().empty() && m_errors.empty());
    }
}

TEST(SMtoCoresTest, UnknownCapabilityGetsTheDefaultAndALine) {
    constexpr std::array<std::int32_t, 3> rows[] = {{3, 0, 192}, {3, 7, 192}, {5, 3, 128}, {6, 0, 64},
                                                    {6, 2, 128}, {7, 5, 64},  {8, 0, 64},  {2, 1, 64}};
    testing::internal::CaptureStdout();
    for (const auto& [major, minor, cores] : rows)
        EXPECT_EQ(MapSMtoCores(major, minor), cores) << major << '.' << minor;
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "MapSMtoCores for SM 8.0 is undefined.  Default to use 64 Cores/SM\n"
              "MapSMtoCores for SM 2.1 is undefined.  Default to use 64 Cores/SM\n");
}

}  // namespace
