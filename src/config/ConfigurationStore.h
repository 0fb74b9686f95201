#pragma once
#include <mutex>
#include <string>
#include <string_view>
#include "config/KeptXmlFile.h"
#include "config/PublishedConfiguration.h"

// Holds the published configuration and its file, ConfigMiner.xml. Windows only.
//
// Threads: Current may be called from any thread. The rest may be called from any thread too, one at a time (an own lock
// orders them); Load, Save and Replace touch the disk. No message is told twice by them: whoever calls them tells it.
class CConfigurationStore {
  public:
    // settingsFolder ends with a backslash. Starts with an empty configuration that is not loaded; the records point at its
    // unassigned pool from then on.
    CConfigurationStore(const std::wstring& settingsFolder, const CAlgorithmList& algorithms, GpuSpan gpus);

    // Never null, immutable.
    ConfigurationPointer Current() const { return m_published.Current(); }
    PoolPointer UnassignedPool() const { return m_unassignedPool; }

    // Reads the file and publishes what it holds. Missing or malformed: empty lists, the worker name unchanged. A file that
    // cannot be read changes nothing and counts as not loaded: Load is to be called again until it can.
    FileLoad Load(Patience patience = Patience::OneSecond);
    // Once more after that, at once: does nothing (Ok) when a configuration was published meanwhile.
    FileLoad RetryLoad();
    // Writes the published configuration, with each GPU's present NGM and NGTO. Does nothing until Load succeeded or Publish
    // ran. Why it failed, with the path, for the user; empty: it is saved. A file that could not be read is copied first.
    std::wstring Save(Patience patience = Patience::None);

    // Points the GPU records at their new primary pools (those in no configuration at the unassigned pool), then replaces
    // the published configuration.
    void Publish(MinerConfiguration configuration);
    // Saves the configuration and then publishes it. Why it could not be saved: nothing has changed then.
    std::wstring Replace(MinerConfiguration configuration);
    // Publishes a copy of the present configuration with another default worker name (cut at 17 characters), which
    // does not make it count as loaded.
    void SetDefaultWorkerName(std::wstring_view name);

    // A builder over the same algorithms and GPUs, whose default worker name is the present one.
    CConfigurationBuilder MakeBuilder() const;

  private:
    FileLoad LoadLocked(Patience patience);
    std::wstring Write(const MinerConfiguration& configuration, Patience patience);

    const CAlgorithmList& m_algorithms;
    const GpuSpan m_gpus;
    const PoolPointer m_unassignedPool;

    std::mutex m_changeLock;  // orders Load, Save and the publishers, and guards the next two
    CKeptXmlFile m_file;
    bool m_loaded = false;

    CPublishedConfiguration m_published;
};
