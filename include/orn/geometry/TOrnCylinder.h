#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/math/TOrnPropList.h>

namespace orn {

/// A cylinder or cone along +y from y = 0 (BaseRadius) to y = Height (TopRadius): Slices segments
/// around, Stacks bands up, one quad strip per band; with Caps, a fan closes each end whose radius
/// is not 0.
/// Positions, unit normals and texture coordinates come from the formula; points stored twice on
/// a seam carry flag bit 0.
class TOrnCylinder : public TOrnPrimitiveObj {
    ORN_CLASS(TOrnCylinder)
public:
    using TOrnPrimitiveObj::TOrnPrimitiveObj;

    float BaseRadius() const { return fBaseRadius; }
    void SetBaseRadius(float value);
    float TopRadius() const { return fTopRadius; }
    void SetTopRadius(float value);
    float Height() const { return fHeight; }
    void SetHeight(float value);
    int Slices() const { return fSlices; }
    /// Values ≤ 0 are ignored.
    void SetSlices(int value);
    int Stacks() const { return fStacks; }
    /// Values ≤ 0 are ignored.
    void SetStacks(int value);
    bool Caps() const { return fCaps; }
    void SetCaps(bool value);

    ORN_DECLARE_PROPERTIES(TOrnCylinder)

protected:
    void InitPoints() override;
    bool ShapeBounds(TOrnBounds& bounds) const override;
    void InitPrimitives() override;

private:
    float fBaseRadius = 1.0f;
    float fTopRadius = 1.0f;
    float fHeight = 1.0f;
    int fSlices = 24;
    int fStacks = 1;
    bool fCaps = true;
};

} // namespace orn
