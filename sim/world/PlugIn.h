#pragma once
#include <string>
#include <vector>
#include "mining/PlugInMessages.h"
#include "world/Connection.h"

// A plug-in and its cards: takes the work messages of its window, hashes while it has a job, finds shares now and then and
// sends them through the session that gave the job.
class CSimPlugIn {
  public:
    CSimPlugIn(const ConnectionWorld& world, CPlugInMessages& messages, const std::vector<QvGpuRecord*>& gpus,
               std::uint64_t seed, std::uint64_t& shareNumber);
    ~CSimPlugIn();

    // To its window.
    void Post(unsigned message, CSimConnection& source);
    // A card may have failed, or come back.
    void CardsChanged();
    bool IsWorking(int card) const;
    // A card hashes this job; empty: none does.
    std::string HashedJob() const;

  private:
    void Take(unsigned message, CSimConnection& source);
    void FindShare(std::size_t card);

    const ConnectionWorld m_world;
    CPlugInMessages& m_messages;
    const std::vector<QvGpuRecord*> m_gpus;
    CRandom m_random;
    const CKernel::Owner m_owner;
    std::uint64_t& m_shareNumber;
    CSimConnection* m_source = nullptr;
    std::string m_job;
    std::vector<bool> m_wasWorking;
    std::uint32_t m_sequence = 0;
};
