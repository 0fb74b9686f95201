#pragma once
#include <mutex>
#include "config/MinerConfiguration.h"

// The configuration that is in force, and the GPU records that follow it. Portable.
class CPublishedConfiguration {
  public:
    // Starts with an empty configuration, every GPU at the unassigned pool.
    CPublishedConfiguration(GpuSpan gpus, PoolPointer unassignedPool);

    // Never null, immutable. Any thread.
    ConfigurationPointer Current() const;
    // Any thread, one at a time. The new pools are in the GPU records before the old configuration is let go; a GPU in
    // several configurations takes the pool of the first one, as in the windows.
    void Publish(MinerConfiguration configuration);

  private:
    void UpdateGpus(const MinerConfiguration& configuration) const;

    const GpuSpan m_gpus;
    const PoolPointer m_unassignedPool;
    mutable std::mutex m_lock;  // held only to copy or swap the pointer
    ConfigurationPointer m_current;
};
