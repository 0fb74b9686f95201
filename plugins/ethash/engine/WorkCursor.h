#pragma once
#include <cstdint>
#include <span>
#include "ethash/engine/JobBoard.h"
#include "kit/NonceRange.h"

// A worker's place in the work that hangs on the board: which of its nonces are still to be hashed. One thread.
class CWorkCursor {
  public:
    // part of parts: the worker's place among those that divide the nonces. board outlives the cursor.
    CWorkCursor(const CJobBoard& board, std::uint32_t part, std::uint32_t parts)
        : m_board(board), m_part(part), m_parts(parts) {}

    bool IsCurrent() const { return m_board.Generation().load(std::memory_order_acquire) == m_view.generation; }
    // Takes what hangs there when that has changed.
    void Update();

    const CJobBoard::View& View() const { return m_view; }
    bool HasNonces() const { return m_view.work != nullptr && !m_exhausted; }
    // The next nonces, as CNonceRange gives them. Fewer than asked for, or none: there are no more.
    std::size_t Take(std::span<std::uint64_t> nonces);
    NonceRun TakeRun(std::uint32_t count);

  private:
    const CJobBoard& m_board;
    const std::uint32_t m_part;
    const std::uint32_t m_parts;
    CJobBoard::View m_view;
    CNonceRange m_nonces;
    bool m_exhausted = false;  // every nonce of this work was taken
};
