#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "../support/ScratchFolder.h"
#include "FakeDrivers.h"
#include "gpu/ManagerMinerGpus.h"
#include "gpu/SMtoCores.h"

struct PoolEntry {};

namespace {

class CDiscoveryTest : public testing::Test {
  protected:
    CDiscoveryTest() {
        m_log.enabled = 1;
        m_log.showDate = m_log.showTime = 0;
        m_log.CreateLogSystem(m_folder.Path(L"log").c_str(), 0);
    }
    // Without the log's own start of each line.
    std::vector<std::string> LogLines() {
        m_log.Flush();
        std::istringstream text(FileBytes(m_folder.Path(m_folder.Files().at(0))));
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);) {
            lines.push_back(line.substr(line.find(": ") + 2, line.find('\r') - line.find(": ") - 2));
        }
        return lines;
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
    ASSERT_EQ(m_manager.Init(), 0);

    const auto gpus = m_manager.Gpus();
    ASSERT_EQ(gpus.size(), 2u);
    EXPECT_EQ(gpus[0]->cudaId, 0);
    EXPECT_STREQ(gpus[0]->name, "GeForce Nine");
    EXPECT_EQ(gpus[1]->cudaId, 1);
    EXPECT_STREQ(gpus[1]->name, "GeForce Three");

    const QvGpuRecord& gpu = *gpus[0];
    EXPECT_EQ(gpu.nvmlDevice, &m_nvml.cards[1]);
    EXPECT_EQ(gpu.ccMajor, 6) << "NVML's answer, not CUDA's";
    EXPECT_EQ(gpu.ccMinor, 1);
    EXPECT_EQ(gpu.multiProcessors, 39);
    EXPECT_EQ(gpu.coresPerMultiProc, 128);
    EXPECT_EQ(gpu.totalCores, 39 * 128);
    EXPECT_EQ(gpu.warpSize, 32);
    EXPECT_EQ(gpu.maxThreadsPerMultiProc, 1024);
    EXPECT_TRUE(std::equal(m_cuda.devices[0].uuid.begin(), m_cuda.devices[0].uuid.end(), gpu.uuid));
    EXPECT_EQ(gpu.uuid[QV_UUID_BYTES], 0);
    EXPECT_EQ(gpu.pci.bus, 9u);
    EXPECT_EQ(gpu.memoryTotal, 8'589'934'592u);
    EXPECT_EQ(gpu.temperature, 61u);
    EXPECT_EQ(gpu.telemetryState, 2u);
    EXPECT_EQ(gpu.assignedPool, &m_pool);
    for (const QvGridWords& words : gpu.gridWords) {
        EXPECT_EQ(words.limit, 512u);
        EXPECT_EQ(words.count, 0u);
    }
    EXPECT_EQ(gpu.gridCountA, 3u);
    EXPECT_EQ(gpu.gridCountB, 20u);
    EXPECT_EQ(gpu.statistics.accepted, 0u);
    EXPECT_EQ(LogLines(), (std::vector<std::string>{
                              "Get CUDA devices", "CUDA-Device 1: UUID:a3a4a5a6a7a8a9aaabacadaeafb0b1b2  -  GeForce Three",
                              "CUDA-Device 0: UUID:a9aaabacadaeafb0b1b2b3b4b5b6b7b8  -  GeForce Nine"}));
}

// Another domain, bus or device number is another card.
TEST_F(CDiscoveryTest, NvmlDeviceWithoutCudaTwinComesFirst) {
    m_cuda.devices = {CudaCard("a", 1), CudaCard("b", 2), CudaCard("c", 3), CudaCard("d", 4)};
    m_nvml.cards = {NvmlCard("twin", 1), NvmlCard("other bus", 7), NvmlCard("other domain", 3), NvmlCard("other device", 4)};
    m_nvml.cards[2].pci->domain = 0;
    m_nvml.cards[3].pci->device = 0;
    ASSERT_EQ(m_manager.Init(), 0);

    std::vector<std::pair<std::int32_t, std::string>> found;
    for (const QvGpuRecord* gpu : m_manager.Gpus())
        found.emplace_back(gpu->cudaId, gpu->name);
    EXPECT_EQ(found, (decltype(found){{-1, "other bus"}, {-1, "other domain"}, {-1, "other device"}, {0, "twin"}}));
    const QvGpuRecord& alone = *m_manager.Gpus().front();
    EXPECT_EQ(alone.multiProcessors, 1);
    EXPECT_EQ(alone.totalCores, 128);
    EXPECT_EQ(alone.warpSize, 1);
    EXPECT_EQ(alone.maxThreadsPerMultiProc, 1);
    EXPECT_EQ(alone.assignedPool, &m_pool);
}

TEST_F(CDiscoveryTest, NvmlThatFailsForOneDeviceLeavesItsDefaults) {
    m_cuda.devices = {CudaCard("a", 1), CudaCard("b", 2)};
    m_nvml.cards = {NvmlCard("a", 1), NvmlCard("b", 2)};
    m_nvml.cards[0].hasHandle = false;
    m_nvml.cards[1].memory.reset();
    ASSERT_EQ(m_manager.Init(), 0);
    ASSERT_EQ(m_manager.Gpus().size(), 2u);
    const QvGpuRecord& lost = *m_manager.Gpus()[0];
    EXPECT_EQ(lost.cudaId, -1);
    EXPECT_EQ(lost.nvmlDevice, nullptr);
    EXPECT_STREQ(lost.name, "");
    EXPECT_EQ(lost.coresPerMultiProc, 64);
    EXPECT_EQ(lost.telemetryState, 1u);
    EXPECT_EQ(m_manager.Gpus()[1]->cudaId, 1);
    EXPECT_EQ(m_manager.Gpus()[1]->memoryTotal, 0u);
}

TEST_F(CDiscoveryTest, WithoutNvmlTheRecordsHoldWhatCudaKnows) {
    m_cuda.devices = {CudaCard("cuda zero", 9), CudaCard("cuda one", 3)};
    m_nvml.available = false;
    ASSERT_EQ(m_manager.Init(), 0);
    ASSERT_EQ(m_manager.Gpus().size(), 2u);
    const QvGpuRecord& gpu = *m_manager.Gpus()[0];
    EXPECT_EQ(gpu.cudaId, 0);
    EXPECT_STREQ(gpu.name, "cuda zero");
    EXPECT_EQ(gpu.ccMajor, 7);
    EXPECT_EQ(gpu.ccMinor, 5);
    EXPECT_EQ(gpu.totalCores, 39 * 64);
    EXPECT_EQ(gpu.memoryTotal, 6'000'000'000u);
    EXPECT_EQ(gpu.pci.domain, 1u);
    EXPECT_EQ(gpu.pci.bus, 9u);
    EXPECT_STREQ(gpu.pci.busId, "00000001:09:02.0");
    EXPECT_EQ(gpu.telemetryState, 1u);
    EXPECT_TRUE(LogLines().at(1).starts_with("NVML is not available"));
}

TEST_F(CDiscoveryTest, MachineWithoutDevicesIsNoError) {
    m_nvml.available = false;
    EXPECT_EQ(m_manager.Init(), 0);
    EXPECT_TRUE(m_manager.Gpus().empty());
    EXPECT_TRUE(m_errors.empty());
    EXPECT_EQ(LogLines(), std::vector<std::string>{"Get CUDA devices"});
}

TEST_F(CDiscoveryTest, CountErrorIsShownAndEndsDiscovery) {
    const std::wstring page = L"https://www.nvidia.com/Download/index.aspx";
    const std::pair<std::int32_t, std::wstring> rows[] = {
        {35, L"Quorvel-Miner requires Driver version 411.31 or later! Please update your driver (<a href=\"" + page +
                 L"\">" + page + L"</a>)"},
        {999, L"CUDA error 'fake error'. Cannot continue!"},
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
    const std::string tail = "' in func 'CManagerMinerGpus::Init' line 79";
    const std::pair<std::string, std::string> rows[] = {
        {"invalid device ordinal", "CUDA error 'invalid device ordinal" + tail},
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
        EXPECT_TRUE(m_manager.Gpus().empty());
    }
    EXPECT_TRUE(m_errors.empty());
}

TEST(SMtoCoresTest, UnknownCapabilityGetsTheDefaultAndALine) {
    struct Row {
        std::int32_t major, minor, cores;
        std::string output;
    };
    const Row rows[] = {
        {3, 0, 192, ""},
        {3, 7, 192, ""},
        {5, 3, 128, ""},
        {6, 0, 64, ""},
        {6, 2, 128, ""},
        {7, 5, 64, ""},
        {8, 0, 64, "MapSMtoCores for SM 8.0 is undefined.  Default to use 64 Cores/SM\n"},
        {2, 1, 64, "MapSMtoCores for SM 2.1 is undefined.  Default to use 64 Cores/SM\n"},
    };
    for (const Row& row : rows) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(MapSMtoCores(row.major, row.minor), row.cores) << row.major << '.' << row.minor;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), row.output);
    }
}

}  // namespace
