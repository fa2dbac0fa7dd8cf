#pragma once

#include <iterator>
#include <random>

/// Numbers by chance, the same for the same seed.
class Chance
{
public:
    explicit Chance(unsigned int seed)
        : m_engine(seed)
    {
    }

    /// 0 to below `limit`.
    template <typename Number>
    Number below(Number limit)
    {
        return static_cast<Number>(m_engine() % static_cast<unsigned int>(limit));
    }

    /// From `least` to `most`, both included.
    int between(int least, int most) { return least + below(most - least + 1); }

    /// True once in so many times.
    bool oneIn(int times) { return below(times) == 0; }

    /// One of a list, which is not empty.
    template <typename List>
    const auto &of(const List &list)
    {
        return *(std::begin(list) + below(static_cast<int>(std::size(list))));
    }

private:
    std::mt19937 m_engine;
};
