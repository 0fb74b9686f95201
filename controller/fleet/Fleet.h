#pragma once
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "fleet/RigLink.h"
#include "fleet/RigView.h"

// Holds the connections to all rigs and what they report. Lives on the thread of the io_context.
class CFleet {
  public:
    CFleet(boost::asio::io_context& io, const std::vector<RigAddress>& rigs, const std::string& token,
           const LinkTimes& times = {});
    ~CFleet();
    CFleet(const CFleet&) = delete;
    CFleet& operator=(const CFleet&) = delete;

    void Start();
    void Stop();

    std::size_t Size() const { return m_rigs.size(); }
    const RigView& Rig(std::size_t index) const;
    const CHistory& History() const { return m_history; }  // of all rigs together
    FleetSums Sums() const;
    std::uint64_t Revision() const { return m_revision; }

    // False: the rig is not connected.
    bool StartMining(std::size_t index);
    bool StopMining(std::size_t index);
    bool SetWorker(std::size_t index, std::string_view name);

  private:
    class CRig;
    void Sample();

    std::vector<std::unique_ptr<CRig>> m_rigs;
    boost::asio::steady_timer m_timer;
    CHistory m_history;
    std::uint64_t m_revision = 0;
};
