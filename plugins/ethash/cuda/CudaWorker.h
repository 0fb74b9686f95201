#pragma once
#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <vector>
#include "ethash/cuda/CardRun.h"
#include "ethash/cuda/CudaDriver.h"
#include "ethash/engine/HashWorker.h"

// How long a card that was lost rests before it is opened anew: longer and longer, as its patience says.
class CRestartPauses {
  public:
    explicit CRestartPauses(const CardPatience& patience) : m_patience(patience) {}
    // hashed: for how long the card did since it was opened.
    std::chrono::milliseconds Next(std::chrono::steady_clock::duration hashed);

  private:
    const CardPatience m_patience;
    std::size_t m_next = 0;
};

// Hashes on the GPU itself. Its thread watches another one, which alone calls the driver: when that one does not get on, or
// the card fails, the card is opened anew by a fresh thread after a pause, for as long as the board is open. The other cards
// go on.
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
    void GiveUp(std::thread thread, std::shared_ptr<CCardDesk> desk);
    void Log(const std::string& text);
    // Until then, or until the board is closed.
    void Rest(std::chrono::steady_clock::time_point end);

    const CudaDriver& m_driver;
    const WorkerPlace m_place;
    const std::shared_ptr<const CJobBoard> m_board;
    IEngineHost& m_host;
    const CardPatience m_patience;
    CRestartPauses m_pauses{m_patience};
    bool m_wasLost = false;
    std::vector<std::shared_ptr<CCardDesk>> m_stuck;  // of the threads that were given up and have not ended since
    std::thread m_thread;                             // last: runs on the members above
};

// A WorkerMaker, over the installed driver.
std::unique_ptr<IHashWorker> MakeCudaWorker(const WorkerPlace& place, const std::shared_ptr<const CJobBoard>& board,
                                            IEngineHost& host);
