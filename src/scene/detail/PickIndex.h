#pragma once

#include <orn/math/TOrnBounds.h>

#include "scene/detail/ClipVolume.h"

#include <vector>

namespace orn {
class TOrnRender;
}

namespace orn::detail {

/// Whether picking may pass over item when its box misses the pick volume: an enabled object
/// that leaves no state behind for the items after it and has bounds (added to box).
bool SkippableWhenPicking(TOrnRender& item, TOrnBounds& box);

/// The items of one node that a pick has to draw, found without visiting the others: a bounding
/// volume hierarchy over the boxes of the items that may be passed over. Built from a node's list
/// and valid until the list or one of its items changes; items added indirectly keep their own
/// change handlers, so they are tested at every pick instead.
class PickIndex {
public:
    PickIndex(const std::vector<TOrnRender*>& items, const std::vector<bool>& indirect);

    /// The positions in items (the list the index was built from) that may meet clip, ascending:
    /// exactly those that testing every item's box on its own would keep.
    void Query(const std::vector<TOrnRender*>& items, const ClipVolume& clip, std::vector<int>& out) const;

private:
    struct Slot {
        int position;
        bool moved; // the item has a transformation of its own
        TOrnBounds own;
        TOrnBounds placed; // own under the item's transformation, in the node's coordinates
        double matrix[16];
    };
    struct Branch {
        TOrnBounds box;
        int first; // leaf: first slot; inner: the right child (the left one follows)
        int count; // slots of a leaf, 0 for an inner branch
    };
    int Build(int first, int count);

    std::vector<Slot> fSlots;
    std::vector<Branch> fBranches;
    std::vector<int> fAlways; // drawn at every pick
    std::vector<int> fLoose;  // tested at every pick
};

} // namespace orn::detail
