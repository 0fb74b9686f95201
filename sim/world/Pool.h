#pragma once
#include <cstdint>
#include <string>
#include <vector>
#include "pool/ProtocolMode.h"
#include "world/Network.h"

class CPromises;

// A pool: logs rigs in, in one of the four protocols, gives them jobs and answers shares. It tells the promises what it
// hears.
class CSimPool {
  public:
    // number: of kPools. Which protocol it speaks and how it meets others follows from the seed; speaksEthProxy: that it may
    // be this one, which pools of some algorithms never speak.
    CSimPool(CKernel& kernel, CNetwork& network, const CConditions& conditions, CPromises& promises, std::uint64_t seed,
             int number, bool speaksEthProxy);

    void Accept(const WirePointer& wire);
    void Receive(const WirePointer& wire, const std::string& line);

    // What may be done to it.
    void ChangeMode(std::uint32_t value);
    void ChangeDifficulty(std::uint32_t value);
    void ChangeExtranonce(std::uint32_t value);
    void Flood();
    void ForgetUserOnce() { m_forgetsUser = true; }
    void CloseAll();

    int Number() const { return m_number; }
    ProtocolMode Mode() const { return m_mode; }
    static std::string JobIdOf(int pool, std::uint64_t number);
    // The pool that gave the job; -1: none.
    static int PoolOfJob(std::string_view jobId);

    std::uint64_t attempts = 0;  // to connect to it

  private:
    enum class Manner { Answers, Closes, Ignores };  // to what it does not understand

    ProtocolMode ModeAt(std::uint64_t number) const;
    bool Is(FaultKind kind) const { return m_conditions.Is(kind, m_number); }
    void NextJob(bool clean = true);
    void SendJob(const WirePointer& wire, std::uint32_t answerTo, bool clean);
    void Say(const WirePointer& wire, std::string line);
    void Subscribe(const WirePointer& wire, const std::string& line);
    void Authorize(const WirePointer& wire);
    void Share(const WirePointer& wire, const std::string& line, std::uint32_t id);
    void LoggedIn(const WirePointer& wire);
    bool RefusesLogin(const WirePointer& wire, std::uint32_t id);

    CKernel& m_kernel;
    CNetwork& m_network;
    const CConditions& m_conditions;
    CPromises& m_promises;
    CRandom m_random;
    const CKernel::Owner m_owner;
    const int m_number;
    const bool m_speaksEthProxy;
    ProtocolMode m_mode;
    Manner m_manner;
    TimeSpan m_betweenJobs;
    std::uint64_t m_job = 1;
    std::uint64_t m_cleanJob = 1;  // earlier ones are worth nothing
    double m_difficulty = 1.0;
    bool m_forgetsUser = false;
    std::vector<WirePointer> m_wires;
};
