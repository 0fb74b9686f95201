#pragma once
#include <cstdint>
#include <string_view>

// Random numbers that are the same on every machine and with every compiler (SplitMix64): a seed replays exactly. A value.
class CRandom {
  public:
    // Streams of one seed with different names have nothing to do with one another, so that what one part of the world draws
    // changes nothing for the others.
    CRandom(std::uint64_t seed, std::string_view stream, std::uint64_t number = 0) : m_state(seed) {
        for (const char c : stream)
            m_state = Next() ^ static_cast<unsigned char>(c);
        m_state = Next() ^ number;
        Next();
    }

    std::uint64_t Next() {
        std::uint64_t word = m_state += 0x9E3779B97F4A7C15;
        word = (word ^ word >> 30) * 0xBF58476D1CE4E5B9;
        word = (word ^ word >> 27) * 0x94D049BB133111EB;
        return word ^ word >> 31;
    }
    // Below the limit, which is above 0.
    std::uint64_t Below(std::uint64_t limit) { return Next() % limit; }
    std::int64_t Between(std::int64_t least, std::int64_t most) {
        return least + static_cast<std::int64_t>(Below(static_cast<std::uint64_t>(most - least) + 1));
    }
    double Fraction() { return static_cast<double>(Next() >> 11) * 0x1p-53; }
    bool Chance(double probability) { return Fraction() < probability; }
    // Until the next of what happens once in such a time on average.
    std::int64_t Waiting(std::int64_t mean) { return Between(1, 2 * mean); }

  private:
    std::uint64_t m_state;
};
