#pragma once
#include <cstddef>
#include <span>
#include <string>
#include <vector>
#include "kit/EngineHost.h"
#include "kit/NonceRange.h"
#include "quorvel/plugin.h"

// The nonce-generator settings of a rig's GPUs (NGM and NGTO of their records, which the miner may change at any time). One
// caller at a time.
class CNonceSettings {
  public:
    CNonceSettings() = default;
    // The records outlive the calls of Read.
    explicit CNonceSettings(std::span<QvGpuRecord* const> gpus) : m_gpus(gpus.begin(), gpus.end()), m_said(gpus.size()) {}

    // What they ask for now, in the order of the GPUs. What is no use is said to the host, once until it changes.
    std::vector<NonceStart> Read(IEngineHost& host);

  private:
    std::vector<QvGpuRecord*> m_gpus;
    std::vector<std::string> m_said;  // of each GPU
};
