#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

namespace orn::detail {

/// Two points are the same place when each coordinate differs by less than this.
constexpr double kSamePlace = 0.001;

inline bool SamePlace(const double* a, const double* b) {
    return std::fabs(a[0] - b[0]) < kSamePlace && std::fabs(a[1] - b[1]) < kSamePlace &&
           std::fabs(a[2] - b[2]) < kSamePlace;
}

/// A uniform hash grid over point positions that answers "which points lie within kSamePlace of p"
/// exactly as a linear scan with SamePlace would, visiting only the cells that can hold a match.
///
/// Cells are 2 × kSamePlace wide, so per axis only the cell of p and the one neighbour on the side
/// p is nearer to can hold a match: at most 8 cells. Each cell keeps its points in a linked list,
/// oldest first or newest first as the caller inserts them. Points too far out for exact cell
/// arithmetic go to one list that every query near that range scans; points with a coordinate
/// that is not finite never match anything and are not stored.
class PointGrid {
public:
    /// Empties the grid; expected is a hint of how many points will be inserted.
    void Clear(int expected = 0);
    /// Adds point index at position p; at the end of its cell's list, or at the front.
    void Insert(int index, const double* p, bool atFront);
    /// The best index q of a point SamePlace with p: within each cell the first match in list order
    /// counts, and over cells better(a, b) picks; −1 when none. positions holds 3 doubles per index.
    template <class Better> int Find(const double* p, const double* positions, Better better) const;

private:
    struct Slot {
        std::int32_t x, y, z;
        std::int32_t head = -1, tail = -1;
    };
    static constexpr double kCell = 2 * kSamePlace;
    static constexpr double kInvCell = 1.0 / kCell;
    /// Beyond this magnitude cell indices would lose the precision the neighbour choice needs.
    static constexpr double kFar = 2.0e6;

    static bool Hashable(const double* p) {
        return std::fabs(p[0]) < kFar && std::fabs(p[1]) < kFar && std::fabs(p[2]) < kFar;
    }
    static std::uint64_t Hash(std::int32_t x, std::int32_t y, std::int32_t z) {
        std::uint64_t h = static_cast<std::uint32_t>(x) * 0x9E3779B97F4A7C15ull;
        h ^= static_cast<std::uint32_t>(y) * 0xC2B2AE3D27D4EB4Full + (h << 6) + (h >> 2);
        h ^= static_cast<std::uint32_t>(z) * 0x165667B19E3779F9ull + (h << 6) + (h >> 2);
        return h ^ (h >> 29);
    }
    int Lookup(std::int32_t x, std::int32_t y, std::int32_t z) const;
    void Grow();
    void Append(Slot& s, int index, bool atFront);
    template <class Better>
    void ScanList(int head, const double* p, const double* positions, Better better, int& best) const;

    std::vector<Slot> fSlots; // open addressing; head == -2 marks an empty slot
    std::vector<int> fUsed;   // occupied slot numbers, so Clear costs what was inserted
    std::vector<int> fNext;   // per point index: the next point of its list
    std::size_t fMask = 0;
    int fFarHead = -1, fFarTail = -1;
};

template <class Better>
void PointGrid::ScanList(int head, const double* p, const double* positions, Better better, int& best) const {
    for (int i = head; i >= 0; i = fNext[i]) {
        if (SamePlace(p, positions + 3 * static_cast<std::size_t>(i))) {
            if (best < 0 || better(i, best)) best = i;
            return;
        }
    }
}

template <class Better> int PointGrid::Find(const double* p, const double* positions, Better better) const {
    int best = -1;
    if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2])) return best;
    // Near or beyond the far range a match may sit in the far list.
    if (std::fabs(p[0]) > kFar - 1 || std::fabs(p[1]) > kFar - 1 || std::fabs(p[2]) > kFar - 1)
        ScanList(fFarHead, p, positions, better, best);
    if (fSlots.empty() || std::fabs(p[0]) > kFar + 1 || std::fabs(p[1]) > kFar + 1 || std::fabs(p[2]) > kFar + 1)
        return best;
    std::int32_t lo[3], hi[3];
    for (int a = 0; a < 3; ++a) {
        const double u = p[a] * kInvCell;
        const double c = std::floor(u);
        const double frac = u - c;
        constexpr double margin = 1e-4;
        lo[a] = static_cast<std::int32_t>(c) - (frac < 0.5 + margin ? 1 : 0);
        hi[a] = static_cast<std::int32_t>(c) + (frac > 0.5 - margin ? 1 : 0);
    }
    for (std::int32_t x = lo[0]; x <= hi[0]; ++x)
        for (std::int32_t y = lo[1]; y <= hi[1]; ++y)
            for (std::int32_t z = lo[2]; z <= hi[2]; ++z) {
                const int s = Lookup(x, y, z);
                if (s >= 0) ScanList(fSlots[s].head, p, positions, better, best);
            }
    return best;
}

/// For every point p < n: the lowest q ≤ p at the same place as p among the points that take part
/// (flags[q] has a bit of mask; every point when mask is 0); p itself when p does not take part or
/// nothing matches. Equal to a scan from index 0, in expected linear time.
std::vector<int> FirstSamePlace(const double* positions, int n, const std::uint8_t* flags, std::uint8_t mask);

} // namespace orn::detail
