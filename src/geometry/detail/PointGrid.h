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
/// Cells are 4 × kSamePlace wide, so per axis a neighbouring cell can hold a match only when p lies
/// within kSamePlace of the border to it: one cell mostly, at most 8. A small bit filter of the
/// occupied cells answers most questions about empty cells without touching the table, which is
/// what keeps a million queries inside the caches. Each cell keeps its points in a linked list,
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
    static constexpr double kCell = 4 * kSamePlace;
    static constexpr double kInvCell = 1.0 / kCell;
    /// Beyond this magnitude cell indices would lose the precision the neighbour choice needs.
    static constexpr double kFar = 2.0e6;

    static bool Hashable(const double* p) {
        return std::fabs(p[0]) < kFar && std::fabs(p[1]) < kFar && std::fabs(p[2]) < kFar;
    }
    /// Neighbouring cells get neighbouring values (x steps by one), so points made row by row
    /// touch table and filter as a few streams rather than at random.
    static std::uint64_t Local(std::int32_t x, std::int32_t y, std::int32_t z) {
        return static_cast<std::uint64_t>(static_cast<std::uint32_t>(x)) +
               static_cast<std::uint64_t>(static_cast<std::uint32_t>(y)) * 0x9E3779B97F4A7C15ull +
               static_cast<std::uint64_t>(static_cast<std::uint32_t>(z)) * 0xC2B2AE3D27D4EB4Full;
    }
    /// The table position: local, or scrambled (splitmix64's finaliser) once local keys were seen to
    /// pile up.
    std::uint64_t Hash(std::int32_t x, std::int32_t y, std::int32_t z) const {
        std::uint64_t h = Local(x, y, z);
        if (!fScramble) return h;
        h ^= h >> 31;
        h *= 0xBF58476D1CE4E5B9ull;
        h ^= h >> 27;
        h *= 0x94D049BB133111EBull;
        return h ^ (h >> 31);
    }
    bool MayHold(std::int32_t x, std::int32_t y, std::int32_t z) const {
        const std::uint64_t bit = Local(x, y, z) & fBloomMask;
        return (fBloom[bit >> 6] >> (bit & 63)) & 1u;
    }
    void Mark(std::int32_t x, std::int32_t y, std::int32_t z) {
        const std::uint64_t bit = Local(x, y, z) & fBloomMask;
        fBloom[bit >> 6] |= std::uint64_t{1} << (bit & 63);
    }
    void ResizeBloom(std::size_t slots);
    int Lookup(std::int32_t x, std::int32_t y, std::int32_t z, std::uint64_t hash) const;
    void Grow(bool scramble = false);
    void Append(Slot& s, int index, bool atFront);
    template <class Better>
    void ScanList(int head, const double* p, const double* positions, Better better, int& best) const;

    std::vector<Slot> fSlots; // open addressing; head == -2 marks an empty slot
    std::vector<int> fUsed;   // occupied slot numbers, so Clear costs what was inserted
    std::vector<int> fNext;   // per point index: the next point of its list
    std::size_t fMask = 0;
    std::vector<std::uint64_t> fBloom{0}; // bit set: a cell with these low key bits may be occupied
    std::uint64_t fBloomMask = 63;
    bool fScramble = false;
    std::size_t fProbes = 0; // probing steps of the inserts since the last Clear
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
    if (fSlots.empty() || std::fabs(p[0]) > kFar + 1 || std::fabs(p[1]) > kFar + 1 ||
        std::fabs(p[2]) > kFar + 1)
        return best;
    std::int32_t lo[3], hi[3];
    for (int a = 0; a < 3; ++a) {
        const double u = p[a] * kInvCell;
        const double c = std::floor(u);
        const double frac = u - c;
        constexpr double margin = 1e-4;
        constexpr double reach = kSamePlace / kCell;
        lo[a] = static_cast<std::int32_t>(c) - (frac < reach + margin ? 1 : 0);
        hi[a] = static_cast<std::int32_t>(c) + (frac > 1 - reach - margin ? 1 : 0);
    }
    for (std::int32_t x = lo[0]; x <= hi[0]; ++x)
        for (std::int32_t y = lo[1]; y <= hi[1]; ++y)
            for (std::int32_t z = lo[2]; z <= hi[2]; ++z) {
                if (!MayHold(x, y, z)) continue;
                const int s = Lookup(x, y, z, Hash(x, y, z));
                if (s >= 0) ScanList(fSlots[s].head, p, positions, better, best);
            }
    return best;
}

/// For every point p < n: the lowest q ≤ p at the same place as p among the points that take part
/// (flags[q] has a bit of mask; every point when mask is 0); p itself when p does not take part or
/// nothing matches. Equal to a scan from index 0, in expected linear time.
std::vector<int> FirstSamePlace(const double* positions, int n, const std::uint8_t* flags, std::uint8_t mask);

} // namespace orn::detail
