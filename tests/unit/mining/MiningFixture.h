#pragma once
#include <gtest/gtest.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>
#include "TestPlugin.h"
#include "common/CodePage.h"
#include "fixtures/ScratchFolder.h"
#include "mining/AlgorithmEnumeration.h"
#include "mining/Mining.h"

class CFakeClock final : public IClock {
  public:
    ddt_datetime UtcNow() const noexcept override { return now; }
    TimeSpan Monotonic() const noexcept override { return now.ticks; }
    ddt_datetime now{133'000'000'000'000'000};
};

class CFakeHost final : public IStratumHost {
  public:
    CMiningStatistics* FindStatistics(std::int32_t) override { return nullptr; }
    void PoolErrorHappened(const PoolError&) override {}
    void RequestStopMining(const std::string&) override { ++stopRequests; }
    std::wstring DefaultWorkerName() override { return L"rig"; }
    std::atomic<int> stopRequests = 0;
};

class CEventList final : public IEventSink {
  public:
    void Event(EventKind kind, std::wstring_view subject, std::wstring_view text) override {
        lines.push_back(EventText(kind, subject, text));
    }
    std::vector<std::wstring> lines;  // of the GUI thread
};

inline std::shared_ptr<PoolEntry> MakePool(std::int32_t algo, const wchar_t* name, const wchar_t* server) {
    auto pool = std::make_shared<PoolEntry>();
    pool->ID = 1;
    pool->Algo = algo;
    pool->Port = 1;  // nothing listens there
    CopyToField(name, pool->Name);
    CopyToField(server, pool->Server);
    return pool;
}

inline std::vector<RecordedMessage> TakeMessages() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
        DispatchMessageW(&message);
    const HMODULE module = GetModuleHandleW(L"recorder_plugin.dll");
    if (module == nullptr) return {};
    const auto take =
        reinterpret_cast<TakeMessagesFunction>(reinterpret_cast<void*>(GetProcAddress(module, "TakeMessages")));
    std::vector<RecordedMessage> messages(100);
    messages.resize(take(messages.data(), 100));
    return messages;
}

// A mining that runs with a plug-in which records what it is told, a clock set by hand and pools that nobody serves.
class MiningTest : public testing::Test {
  protected:
    void SetUp() override {
        CEventLog events;
        EnumerateAlgorithms(NarrowToWide(QV_PLUGINS), m_stateFolder.Path("PlugIns.txt"), events, m_algorithms);
        m_gpus[0].cudaId = 0;
        m_gpus[1].cudaId = 1;
        m_gpus[0].statistics.accepted = 7;
        m_gpus[1].statistics.solHistory.values[119] = 7;
        m_context.connectionLogFolder = m_logFolder.Path("");
    }
    void TearDown() override { m_mining.Stop(); }

    MinerConfiguration Configuration(std::int32_t algo, const wchar_t* name = L"Pool") {
        ConfigurationEntry entry;
        entry.primaryPool = MakePool(algo, name, L"127.0.0.1");
        entry.secondaryPool = m_backup;
        entry.gpus = {&m_gpus[0], &m_gpus[1]};
        MinerConfiguration configuration;
        configuration.configurations = {entry};
        return configuration;
    }

    std::string LogText() const {
        std::ostringstream text;
        for (const auto& file : std::filesystem::directory_iterator(m_logFolder.Path()))
            text << std::ifstream(file.path(), std::ios::binary).rdbuf();
        return text.str();
    }

    CFakeClock m_clock;
    CFakeHost m_host;
    CAlgorithmList m_algorithms;
    CBKLogSystem m_mainLog;
    QvGpuRecord m_gpus[2] = {};
    CScratchFolder m_logFolder;
    CScratchFolder m_stateFolder;
    std::shared_ptr<PoolEntry> m_backup = MakePool(kRecorderId, L"Backup", L"127.0.0.1");
    CTroubleBoard m_troubles;
    CPlugInMessages m_plugInMessages;
    CEventList m_events;
    MiningContext m_context{m_algorithms, m_host, m_clock, m_mainLog, m_events, m_troubles, m_plugInMessages};
    CMining m_mining{m_context};
};
