#pragma once

#include <cstdint>
#include <vector>

// Equal seeds give equal machines, with any compiler.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t Next() {
        m_state += 0x9E3779B97F4A7C15u;
        std::uint64_t mixed = m_state;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
        return mixed ^ (mixed >> 31);
    }

    unsigned Below(unsigned limit) { return static_cast<unsigned>(Next() % limit); }
    bool Chance(unsigned percent) { return Below(100) < percent; }

    template <typename List>
    const auto& Pick(const List& list) {
        return list[Below(static_cast<unsigned>(std::size(list)))];
    }

private:
    std::uint64_t m_state;
};
