#pragma once
#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>
#include "common/CodePage.h"
#include "common/Hex.h"
#include "config/AlgorithmList.h"
#include "config/PublishedConfiguration.h"
#include "control/ControlHost.h"

inline const std::string kGpuA = "000102030405060708090a0b0c0d0e0f";
inline const std::string kGpuB = "ffeeddccbbaa99887766554433221100";

// Two GPUs, and a program around the channel that has them and writes down what it is asked for:
//     "state <number>", "worker <name>", "configuration", "mining <0 or 1>", "log <text>"
class CRecordingHost final : public IControlHost {
  public:
    CRecordingHost() {
        HexDecode(kGpuA, A().uuid);
        HexDecode(kGpuB, B().uuid);
    }
    void ControlStateChanged(ControlState state) override {
        Record("state " + std::to_string(static_cast<std::uint32_t>(state)));
    }
    void SetWorkerName(std::wstring_view name) override { Record("worker " + WideToUtf8(name)); }
    CConfigurationBuilder MakeBuilder() override {
        CConfigurationBuilder builder(m_algorithms, m_gpus, unassignedPool);
        CopyToField(std::wstring_view(L"host"), builder.configuration.DefaultWorkerName);
        return builder;
    }
    void PublishConfiguration(MinerConfiguration configuration) override {
        m_published.Publish(std::move(configuration));
        Record("configuration");
    }
    void RequestMining(bool start) override { Record(start ? "mining 1" : "mining 0"); }
    bool IsMining() const override { return true; }
    GpuSpan Gpus() const override { return manyGpus.empty() ? GpuSpan(m_gpus) : GpuSpan(manyGpus); }
    std::wstring HostName() const override { return L"RIG"; }
    std::vector<PoolError> Troubles() const override { return troubles; }
    void LogLine(const std::wstring& text) override { Record("log " + WideToUtf8(text)); }

    QvGpuRecord& A() { return m_records[0]; }
    QvGpuRecord& B() { return m_records[1]; }
    ConfigurationPointer Current() const { return m_published.Current(); }
    // What happened since the last call.
    std::vector<std::string> Take() {
        const std::lock_guard lock(m_lock);
        return std::exchange(m_events, {});
    }
    // False: it was not written down within five seconds.
    bool WaitFor(std::string_view event) {
        std::unique_lock lock(m_lock);
        return m_changed.wait_for(lock, std::chrono::seconds(5), [&] { return std::ranges::count(m_events, event) > 0; });
    }

    std::vector<PoolError> troubles;
    std::vector<QvGpuRecord*> manyGpus;  // for long reports, instead of the two

  private:
    void Record(std::string event) {
        const std::lock_guard lock(m_lock);
        m_events.push_back(std::move(event));
        m_changed.notify_all();
    }

    std::array<QvGpuRecord, 2> m_records = {};
    std::array<QvGpuRecord*, 2> m_gpus = {&m_records[0], &m_records[1]};
    CAlgorithmList m_algorithms;

  public:
    const PoolPointer unassignedPool = MakeUnassignedPool(m_algorithms);

  private:
    CPublishedConfiguration m_published{m_gpus, unassignedPool};
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<std::string> m_events;
};
