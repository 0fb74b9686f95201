#include "kit/NonceRange.h"

#include <algorithm>
#include <bit>
#include <optional>
#include <vector>

namespace {

// The starts of a rig's GPUs within a space of mask + 1 nonces, no two alike.
class CStarts {
  public:
    CStarts(std::uint64_t mask, std::uint64_t base, std::span<const NonceStart> wanted)
        : m_mask(mask), m_places(wanted.size()) {
        const unsigned unused = static_cast<unsigned>(std::countl_zero(mask));
        const auto loose = static_cast<std::uint64_t>(
            std::count_if(wanted.begin(), wanted.end(), [](const NonceStart& start) { return !start.isFixed; }));
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            if (wanted[i].isFixed) Settle(i, wanted[i].offset >> unused);
        }
        for (std::size_t i = 0, part = 0; i < wanted.size(); ++i) {
            if (!wanted[i].isFixed) Settle(i, base + PartOf(loose) * part++);
        }
    }

    // Nothing: there are more GPUs than the space has room for.
    std::optional<std::uint64_t> Of(std::size_t gpu) const { return m_places[gpu]; }

    // How many nonces from that start on belong to nobody else.
    std::uint64_t Reach(std::uint64_t start) const {
        std::uint64_t behind = m_mask;  // of the start
        for (const auto& place : m_places) {
            if (place && *place != start) behind = std::min(behind, ((*place - start) & m_mask) - 1);
        }
        // All 64 bits hold one nonce more than can be counted; it is left out.
        return behind == ~std::uint64_t{0} ? behind : behind + 1;
    }

  private:
    // The space holds one more than the mask says.
    std::uint64_t PartOf(std::uint64_t parts) const { return m_mask / parts + (m_mask % parts == parts - 1 ? 1 : 0); }

    void Settle(std::size_t gpu, std::uint64_t wanted) {
        constexpr unsigned kSteps = 256;
        std::uint64_t place = wanted & m_mask;
        for (unsigned step = 0; step < kSteps; ++step) {
            if (std::find(m_places.begin(), m_places.end(), place) == m_places.end()) {
                m_places[gpu] = place;
                return;
            }
            place = (place + m_mask / kSteps + 1) & m_mask;
        }
    }

    const std::uint64_t m_mask;
    std::vector<std::optional<std::uint64_t>> m_places;
};

}  // namespace

CNonceRange::CNonceRange(const NonceSpace& space, std::uint64_t base, std::span<const NonceStart> starts, std::size_t part)
    : m_prefix(space.prefix), m_mask(~std::uint64_t{0} >> (64 - space.freeBits)) {
    const CStarts places(m_mask, base, starts);
    const auto start = places.Of(part);
    if (!start) return;
    m_next = *start;
    m_left = places.Reach(*start);
}

std::size_t CNonceRange::Take(std::span<std::uint64_t> nonces) noexcept {
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(nonces.size(), m_left));
    for (std::size_t i = 0; i < count; ++i)
        nonces[i] = m_prefix | (m_next++ & m_mask);
    m_left -= count;
    return count;
}

NonceRun CNonceRange::TakeRun(std::uint32_t count) noexcept {
    const std::uint64_t counter = m_next & m_mask;
    const std::uint64_t behind = m_mask - counter;  // before the counter begins anew
    std::uint64_t taken = std::min<std::uint64_t>(count, m_left);
    if (taken > behind) taken = behind + 1;  // fits: taken is a 32-bit count
    m_next += taken;
    m_left -= taken;
    return {m_prefix | counter, static_cast<std::uint32_t>(taken)};
}
