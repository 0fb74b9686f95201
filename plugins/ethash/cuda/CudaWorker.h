#pragma once
#include <deque>
#include <memory>
#include <thread>
#include "ethash/HashWorker.h"
#include "ethash_cuda/CardRun.h"
#include "ethash_cuda/CudaDriver.h"

// How often a card that failed is opened anew: three times in ten minutes.
class CRestartBudget {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;
    // True: once more; that counts from now.
    bool Take(TimePoint now);

  private:
    std::deque<TimePoint> m_taken;
};

// Hashes on the GPU itself. Its thread watches another one, which alone calls the driver: when that one does not get on, or
// the card fails, the card is opened anew by a fresh thread, and left out when that keeps happening. The other cards go on.
class CCudaWorker final : public IHashWorker {
  public:
    // driver outlives the process' last thread.
    CCudaWorker(const CudaDriver& driver, const WorkerPlace& place, std::shared_ptr<const CJobBoard> board,
                IEngineHost& host, const CardPatience& patience = {});
    ~CCudaWorker() override;
    CCudaWorker(const CCudaWorker&) = delete;
    CCudaWorker& operator=(const CCudaWorker&) = delete;

  private:
    void Run();
    CardEnd RunCardOnce();
    CardEnd Watch(CCardDesk& desk) const;
    void Log(const std::string& text);
    void StayOut();

    const CudaDriver& m_driver;
    const WorkerPlace m_place;
    const std::shared_ptr<const CJobBoard> m_board;
    IEngineHost& m_host;
    const CardPatience m_patience;
    CRestartBudget m_restarts;
    std::thread m_thread;  // last: runs on the members above
};

// A WorkerMaker, over the installed driver.
std::unique_ptr<IHashWorker> MakeCudaWorker(const WorkerPlace& place, const std::shared_ptr<const CJobBoard>& board,
                                            IEngineHost& host);
