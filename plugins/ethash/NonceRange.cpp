#include "ethash/NonceRange.h"

#include <algorithm>

CNonceRange::CNonceRange(const NonceSpace& space, std::uint64_t base, std::uint32_t part, std::uint32_t parts) noexcept
    : m_prefix(space.prefix), m_mask(~std::uint64_t{0} >> (64 - space.freeBits)) {
    std::uint64_t size = m_mask / parts;
    // The space holds one more than the mask says; for a single part of all 64 bits that one is left out.
    if (m_mask % parts == parts - 1 && size != ~std::uint64_t{0}) ++size;
    m_left = size;
    m_next = base + size * part;
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
