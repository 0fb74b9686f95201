#pragma once
#include <algorithm>
#include <utility>
#include <vector>
#include "net/Resolver.h"

// The addresses of a host in the order in which one attempt to connect tries them.
class CAddressRound {
  public:
    void Begin(std::vector<HostAddress> addresses) {
        m_addresses = std::move(addresses);
        m_next = 0;
    }
    // Over, until new addresses are given.
    void End() { Begin({}); }
    // From the start, with the one that was taken last in front.
    void Repeat() {
        if (m_next > 1) std::rotate(m_addresses.begin(), m_addresses.begin() + m_next - 1, m_addresses.begin() + m_next);
        m_next = 0;
    }
    bool IsOver() const { return m_next == std::ssize(m_addresses); }
    const HostAddress& Take() { return m_addresses[static_cast<std::size_t>(m_next++)]; }
    // What each address gets of the time of all, but at least the least; not over yet.
    std::uint32_t Share(std::uint32_t all, std::uint32_t least) const {
        return std::max(all / static_cast<std::uint32_t>(m_addresses.size()), least);
    }

  private:
    std::vector<HostAddress> m_addresses;
    std::ptrdiff_t m_next = 0;
};
