#include "geometry/detail/PointGrid.h"

#include <algorithm>
#include <numeric>

namespace orn::detail {

void PointGrid::Clear(int expected) {
    for (int s : fUsed) {
        fSlots[static_cast<std::size_t>(s)].head = -2;
        const std::uint64_t bit = Local(fSlots[s].x, fSlots[s].y, fSlots[s].z) & fBloomMask;
        fBloom[bit >> 6] = 0;
    }
    fUsed.clear();
    fProbes = 0;
    fFarHead = fFarTail = -1;
    std::size_t want = 64;
    while (want < static_cast<std::size_t>(std::max(expected, 0)) * 2)
        want *= 2;
    if (fSlots.size() < want) {
        fSlots.assign(want, Slot{0, 0, 0, -2, -1});
        fMask = want - 1;
        ResizeBloom(want);
    }
}

void PointGrid::ResizeBloom(std::size_t slots) {
    // Four bits per slot, so at most one bit in eight is set: few false alarms, and for a million
    // points half a megabyte.
    std::size_t bits = 4096;
    while (bits < slots * 4)
        bits *= 2;
    fBloomMask = bits - 1;
    fBloom.assign(bits / 64, 0);
    for (int s : fUsed)
        Mark(fSlots[static_cast<std::size_t>(s)].x, fSlots[s].y, fSlots[s].z);
}

int PointGrid::Lookup(std::int32_t x, std::int32_t y, std::int32_t z, std::uint64_t hash) const {
    for (std::size_t i = hash & fMask;; i = (i + 1) & fMask) {
        const Slot& s = fSlots[i];
        if (s.head == -2) return -1;
        if (s.x == x && s.y == y && s.z == z) return static_cast<int>(i);
    }
}

void PointGrid::Grow(bool scramble) {
    std::vector<Slot> old;
    old.swap(fSlots);
    fScramble = fScramble || scramble;
    const std::size_t size = scramble ? old.size() : old.size() * 2;
    fSlots.assign(size, Slot{0, 0, 0, -2, -1});
    fMask = size - 1;
    fUsed.clear();
    for (const Slot& s : old) {
        if (s.head == -2) continue;
        std::size_t i = Hash(s.x, s.y, s.z) & fMask;
        while (fSlots[i].head != -2)
            i = (i + 1) & fMask;
        fSlots[i] = s;
        fUsed.push_back(static_cast<int>(i));
    }
    ResizeBloom(size);
}

void PointGrid::Append(Slot& s, int index, bool atFront) {
    if (s.head < 0) {
        s.head = s.tail = index;
        fNext[index] = -1;
    } else if (atFront) {
        fNext[index] = s.head;
        s.head = index;
    } else {
        fNext[s.tail] = index;
        fNext[index] = -1;
        s.tail = index;
    }
}

void PointGrid::Insert(int index, const double* p, bool atFront) {
    if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2])) return;
    if (fNext.size() <= static_cast<std::size_t>(index))
        fNext.resize(std::max<std::size_t>(static_cast<std::size_t>(index) + 1, fNext.size() * 3 / 2), -1);
    if (!Hashable(p)) {
        Slot far{0, 0, 0, fFarHead, fFarTail};
        Append(far, index, atFront);
        fFarHead = far.head;
        fFarTail = far.tail;
        return;
    }
    if (fSlots.empty()) Clear(16);
    if ((fUsed.size() + 1) * 2 > fSlots.size()) Grow();
    const auto x = static_cast<std::int32_t>(std::floor(p[0] * kInvCell));
    const auto y = static_cast<std::int32_t>(std::floor(p[1] * kInvCell));
    const auto z = static_cast<std::int32_t>(std::floor(p[2] * kInvCell));
    std::size_t i = Hash(x, y, z) & fMask;
    while (fSlots[i].head != -2 && !(fSlots[i].x == x && fSlots[i].y == y && fSlots[i].z == z)) {
        i = (i + 1) & fMask;
        // Local keys of an unlucky layout can pile up into long runs; once the probing costs more
        // than a few dozen steps per cell on the whole, scatter them: linear time either way.
        if (++fProbes > 32 * (fUsed.size() + 64) && !fScramble) {
            Grow(true);
            Insert(index, p, atFront);
            return;
        }
    }
    Slot& s = fSlots[i];
    if (s.head == -2) {
        s = Slot{x, y, z, -1, -1};
        fUsed.push_back(static_cast<int>(i));
        Mark(x, y, z);
    }
    Append(s, index, atFront);
}

std::vector<int> FirstSamePlace(const double* positions, int n, const std::uint8_t* flags,
                                std::uint8_t mask) {
    std::vector<int> first(static_cast<std::size_t>(std::max(n, 0)));
    std::iota(first.begin(), first.end(), 0);
    if (!positions || (mask != 0 && !flags)) return first;
    // Each cell keeps its points in index order, so the first match in a cell is its lowest.
    PointGrid grid;
    grid.Clear(n);
    for (int p = 0; p < n; ++p) {
        if (mask != 0 && !(flags[p] & mask)) continue;
        const double* at = positions + 3 * static_cast<std::size_t>(p);
        const int q = grid.Find(at, positions, [](int a, int b) { return a < b; });
        if (q < 0) {
            grid.Insert(p, at, false);
            continue;
        }
        first[static_cast<std::size_t>(p)] = q;
        const double* qa = positions + 3 * static_cast<std::size_t>(q);
        // A point exactly where an earlier one stands can never be anyone's first match.
        if (!(qa[0] == at[0] && qa[1] == at[1] && qa[2] == at[2])) grid.Insert(p, at, false);
    }
    return first;
}

} // namespace orn::detail
