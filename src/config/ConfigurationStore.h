#pragma once
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include "config/KeptXmlFile.h"
#include "config/LoadReport.h"
#include "config/PublishedConfiguration.h"

// Holds the published configuration and its file, ConfigMiner.xml. Windows only.
//
// Threads: Current may be called from any thread. Load, Save, Publish and SetDefaultWorkerName may be called from any
// thread too, one at a time (an own lock orders them); Load and Save touch the disk.
class CConfigurationStore {
  public:
    using LogFunction = std::function<void(const std::wstring&)>;

    // settingsFolder ends with a backslash. log receives one line for each event that touches the user's data; it must not
    // call back. Starts with an empty configuration that is not loaded; the records point at its unassigned pool from then
    // on.
    CConfigurationStore(std::wstring settingsFolder, const CAlgorithmList& algorithms, GpuSpan gpus, LogFunction log);

    // Never null, immutable.
    ConfigurationPointer Current() const { return m_published.Current(); }
    PoolPointer UnassignedPool() const { return m_unassignedPool; }

    // Reads the file and publishes what it holds. Missing or malformed: empty lists, the worker name unchanged. A malformed
    // file is kept as *.bad; when something had to be dropped, the file as found is kept as *.bak. A file that exists but
    // cannot be read counts as not loaded, and is kept as *.bak before anything replaces it.
    void Load();
    // Writes the published configuration, with each GPU's present NGM and NGTO. Does nothing until Load succeeded or Publish
    // ran. An error is logged once, not at every repetition.
    void Save();

    // Points the GPU records at their new primary pools (those in no configuration at the unassigned pool), then replaces
    // the published configuration.
    void Publish(MinerConfiguration configuration);
    // Publishes a copy of the present configuration with another default worker name (cut at 17 characters), which
    // does not make it count as loaded.
    void SetDefaultWorkerName(std::wstring_view name);

    // A builder over the same algorithms and GPUs, whose default worker name is the present one.
    CConfigurationBuilder MakeBuilder() const;

  private:
    void KeepAsFound(XmlStatus status, const CLoadReport& report);
    void Log(const std::wstring& event) const;

    const CAlgorithmList& m_algorithms;
    const GpuSpan m_gpus;
    const LogFunction m_log;
    const PoolPointer m_unassignedPool;

    std::mutex m_changeLock;  // orders Load, Save and the publishers, and guards the next three
    CKeptXmlFile m_file;
    bool m_loaded = false;
    unsigned long m_lastSaveError = 0;  // Windows error code

    CPublishedConfiguration m_published;
};
