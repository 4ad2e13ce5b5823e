#include "scene/detail/PickIndex.h"

#include <orn/scene/TOrnObject.h>

#include <algorithm>

namespace orn::detail {

namespace {

constexpr int kLeafSize = 4;
// Branch boxes are tested with this margin: a branch is passed over only when every item below
// it would be, rounding included.
constexpr double kBranchSlack = 1e-9;

double Centre(const TOrnBounds& b, int axis) {
    const double lo[3] = {b.Lo.x, b.Lo.y, b.Lo.z}, hi[3] = {b.Hi.x, b.Hi.y, b.Hi.z};
    return lo[axis] + hi[axis];
}

} // namespace

bool SkippableWhenPicking(TOrnRender& item, TOrnBounds& box) {
    auto* object = dynamic_cast<TOrnObject*>(&item);
    return object && object->Enabled() && !object->Attributes() && !object->OnTransform &&
           !object->OnBeforeRender && !object->OnAfterRender && !object->ProjectionEnabled() &&
           object->GetBounds(box);
}

PickIndex::PickIndex(const std::vector<TOrnRender*>& items, const std::vector<bool>& indirect) {
    for (std::size_t i = 0; i < items.size(); ++i) {
        TOrnRender* item = items[i];
        const int position = static_cast<int>(i);
        if (!item) continue; // a node draws nothing for it
        if (indirect[i]) {
            fLoose.push_back(position);
            continue;
        }
        Slot slot{position, false, {}, {}, {}};
        if (!SkippableWhenPicking(*item, slot.own) || slot.own.Empty()) {
            fAlways.push_back(position);
            continue;
        }
        const TOrnTransformation& t = *item->Transformation();
        slot.moved = !t.GetEmpty();
        if (slot.moved) OrnTransformationMatrix(t, slot.matrix);
        slot.placed = slot.own.Transformed(t);
        fSlots.push_back(slot);
    }
    if (!fSlots.empty()) {
        fBranches.reserve(2 * fSlots.size() / kLeafSize + 2);
        Build(0, static_cast<int>(fSlots.size()));
    }
}

int PickIndex::Build(int first, int count) {
    const int at = static_cast<int>(fBranches.size());
    fBranches.push_back({{}, first, count});
    TOrnBounds box, centres;
    for (int i = first; i < first + count; ++i) {
        const TOrnBounds& b = fSlots[static_cast<std::size_t>(i)].placed;
        box.Add(b);
        centres.Add(b.Centre());
    }
    fBranches[static_cast<std::size_t>(at)].box = box;
    if (count <= kLeafSize) return at;
    // Split at the median along the axis where the centres spread most.
    const TOrnMathVector spread{centres.Hi.x - centres.Lo.x, centres.Hi.y - centres.Lo.y,
                                centres.Hi.z - centres.Lo.z};
    const int axis = spread.x >= spread.y && spread.x >= spread.z ? 0 : spread.y >= spread.z ? 1 : 2;
    const int half = count / 2;
    auto begin = fSlots.begin() + first;
    std::nth_element(begin, begin + half, begin + count, [axis](const Slot& a, const Slot& b) {
        return Centre(a.placed, axis) < Centre(b.placed, axis);
    });
    Build(first, half);
    const int right = Build(first + half, count - half);
    fBranches[static_cast<std::size_t>(at)].first = right;
    fBranches[static_cast<std::size_t>(at)].count = 0;
    return at;
}

void PickIndex::Query(const std::vector<TOrnRender*>& items, const ClipVolume& clip,
                      std::vector<int>& out) const {
    out.assign(fAlways.begin(), fAlways.end());
    const double* volume = clip.Matrix();
    if (!fBranches.empty()) {
        int stack[64];
        int depth = 0;
        stack[depth++] = 0;
        while (depth > 0) {
            const Branch& branch = fBranches[static_cast<std::size_t>(stack[--depth])];
            if (ClipVolume::Excludes(branch.box, volume, kBranchSlack)) continue;
            if (branch.count == 0) {
                const int left = static_cast<int>(&branch - fBranches.data()) + 1;
                stack[depth++] = branch.first;
                stack[depth++] = left;
                continue;
            }
            for (int i = branch.first; i < branch.first + branch.count; ++i) {
                const Slot& slot = fSlots[static_cast<std::size_t>(i)];
                double m[16];
                if (slot.moved) ClipVolume::Multiply(volume, slot.matrix, m);
                if (!ClipVolume::Excludes(slot.own, slot.moved ? m : volume)) out.push_back(slot.position);
            }
        }
    }
    for (int position : fLoose) {
        TOrnRender* item = items[static_cast<std::size_t>(position)];
        TOrnBounds box;
        if (!SkippableWhenPicking(*item, box) || !clip.Excludes(box, *item->Transformation()))
            out.push_back(position);
    }
    std::sort(out.begin(), out.end());
}

} // namespace orn::detail
