#include "gpu/TelemetryReader.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

#include "common/DetachedThread.h"
#include "gpu/GpuTelemetry.h"

// What the reader and its threads share. A thread that was left behind holds it for as long as it is stuck.
class CTelemetryReader::CWork {
  public:
    CWork(std::span<QvGpuRecord* const> gpus, std::shared_ptr<INvml> nvml, const IClock& clock, Changed changed)
        : m_gpus(gpus.begin(), gpus.end()),
          m_clock(clock),
          m_nvml(std::move(nvml)),
          m_changed(std::move(changed)),
          m_watch(m_gpus.size(), clock.Monotonic()) {}

    void Request(const std::shared_ptr<CWork>& self);
    void Stop();
    GpuSensors State(std::size_t index) const;

  private:
    void Run();
    bool ReadNext(std::unique_lock<std::mutex>& lock, const CSensorWatch::Read& read);
    void Report(const std::optional<CSensorWatch::Change>& change);

    const std::vector<QvGpuRecord*> m_gpus;
    const IClock& m_clock;

    mutable std::mutex m_lock;  // guards the following; records are touched under it only
    std::condition_variable m_wake;
    std::shared_ptr<INvml> m_nvml;  // null: stopped
    Changed m_changed;
    CSensorWatch m_watch;
    bool m_isRequested = false;
    bool m_hasThread = false;  // one that was not left behind
};

void CTelemetryReader::CWork::Request(const std::shared_ptr<CWork>& self) {
    const std::lock_guard lock(m_lock);
    if (const auto silent = m_watch.GiveUpOverdue(m_clock.Monotonic())) {
        m_hasThread = false;
        Report(silent);
    }
    m_isRequested = true;
    // Where no thread can be made the next request tries again.
    if (!m_hasThread) m_hasThread = StartDetached([self] { self->Run(); });
    m_wake.notify_one();
}

void CTelemetryReader::CWork::Stop() {
    const std::lock_guard lock(m_lock);
    m_nvml.reset();
    m_wake.notify_one();
}

GpuSensors CTelemetryReader::CWork::State(std::size_t index) const {
    const std::lock_guard lock(m_lock);
    return m_watch.State(index);
}

void CTelemetryReader::CWork::Run() {
    std::unique_lock lock(m_lock);
    for (;;) {
        m_wake.wait(lock, [this] { return m_isRequested || m_nvml == nullptr; });
        if (m_nvml == nullptr) return;
        m_isRequested = false;
        m_watch.StartRound();
        while (const auto read = m_watch.Begin(m_clock.Monotonic())) {
            if (!ReadNext(lock, *read)) return;
        }
    }
}

// False: the thread is no longer wanted.
bool CTelemetryReader::CWork::ReadNext(std::unique_lock<std::mutex>& lock, const CSensorWatch::Read& read) {
    QvGpuRecord& gpu = *m_gpus[read.card];
    if (IsExcluded(gpu)) {
        m_watch.End(read.card, true, m_clock.Monotonic());
        return true;
    }
    NvmlDevice device = std::atomic_ref(gpu.nvmlDevice).load();
    const QvPciInfo pci = gpu.pci;
    std::shared_ptr<INvml> nvml = m_nvml;
    if (nvml == nullptr) return false;
    lock.unlock();
    if (read.restartDriver) nvml->Reinitialize();
    if (read.findAnew) device = FindDevice(*nvml, pci);
    const SensorReading reading = ReadSensors(device, *nvml);
    nvml.reset();
    lock.lock();
    if (m_nvml == nullptr) return false;
    const bool wasLeftBehind = m_watch.State(read.card).state == SensorState::Silent;
    if (device != nullptr) std::atomic_ref(gpu.nvmlDevice).store(device);
    StoreReading(gpu, reading);
    Report(m_watch.End(read.card, reading.HasAny(), m_clock.Monotonic()));
    return !wasLeftBehind;
}

void CTelemetryReader::CWork::Report(const std::optional<CSensorWatch::Change>& change) {
    if (change) m_changed(*m_gpus[change->card], change->state);
}

CTelemetryReader::CTelemetryReader(std::span<QvGpuRecord* const> gpus, std::shared_ptr<INvml> nvml, const IClock& clock,
                                   Changed changed)
    : m_work(nvml->IsAvailable() ? std::make_shared<CWork>(gpus, std::move(nvml), clock, std::move(changed)) : nullptr) {}

CTelemetryReader::~CTelemetryReader() {
    if (m_work != nullptr) m_work->Stop();
}

void CTelemetryReader::Request() {
    if (m_work != nullptr) m_work->Request(m_work);
}

GpuSensors CTelemetryReader::State(std::size_t index) const {
    return m_work != nullptr ? m_work->State(index) : GpuSensors();
}
