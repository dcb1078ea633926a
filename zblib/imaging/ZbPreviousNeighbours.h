#pragma once

// Private: the neighbours of a voxel that precede it in raster order.

#include <array>
#include <cstddef>

namespace ZbDetail
{

/// A neighbour relative to its voxel.
struct PreviousNeighbour {
    int dx, dy, dz;
};

/// The previous half of the neighbourhood with nb neighbours, in the order in which labels are collected.
/// Empty for a number other than 4, 6, 8, 10, 18 and 26.
class PreviousNeighbours
{
public:
    explicit constexpr PreviousNeighbours(int nb)
    {
        enum : unsigned { N4 = 1, N6 = 2, N8 = 4, N10 = 8, N18 = 16, N26 = 32 };
        struct Entry {
            PreviousNeighbour neighbour;
            unsigned usedFor;
        };
        // The order decides in which order sums of floats are merged.
        constexpr Entry table[] = {
            {{-1, -1, -1}, N26},
            {{1, -1, -1}, N26},
            {{-1, 1, -1}, N26},
            {{1, 1, -1}, N26},
            {{0, -1, -1}, N18 | N26},
            {{-1, 0, -1}, N18 | N26},
            {{1, 0, -1}, N18 | N26},
            {{0, 1, -1}, N18 | N26},
            {{-1, -1, 0}, N8 | N10 | N18 | N26},
            {{1, -1, 0}, N8 | N10 | N18 | N26},
            {{0, 0, -1}, N6 | N10 | N18 | N26},
            {{0, -1, 0}, N4 | N6 | N8 | N10 | N18 | N26},
            {{-1, 0, 0}, N4 | N6 | N8 | N10 | N18 | N26},
        };
        const unsigned wanted = nb == 4    ? N4
                                : nb == 6  ? N6
                                : nb == 8  ? N8
                                : nb == 10 ? N10
                                : nb == 18 ? N18
                                : nb == 26 ? N26
                                           : 0u;
        for (const Entry& entry : table)
            if (entry.usedFor & wanted)
                m_neighbours[m_count++] = entry.neighbour;
    }

    constexpr const PreviousNeighbour* begin() const noexcept { return m_neighbours.data(); }
    constexpr const PreviousNeighbour* end() const noexcept { return m_neighbours.data() + m_count; }
    constexpr bool isEmpty() const noexcept { return m_count == 0; }

    constexpr bool contains(int dx, int dy, int dz) const noexcept
    {
        for (const PreviousNeighbour& n : *this)
            if (n.dx == dx && n.dy == dy && n.dz == dz)
                return true;
        return false;
    }

private:
    std::array<PreviousNeighbour, 13> m_neighbours{};
    std::size_t m_count = 0;
};

}  // namespace ZbDetail
