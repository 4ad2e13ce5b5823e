#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/math/TOrnPropList.h>

namespace orn {

/// A sphere around the origin with its poles on the y axis: Slices segments around y (longitude
/// from StartAngle over SweepAngle degrees, 0 at +z turning towards +x) and Stacks from the polar
/// angle TopAngle (0 = the +y pole) to BottomAngle (180 = the −y pole). One quad strip per stack.
/// Positions, unit normals and texture coordinates come from the formula; points stored twice on
/// a seam carry flag bit 0.
class TOrnSphere : public TOrnPrimitiveObj {
    ORN_CLASS(TOrnSphere)
public:
    using TOrnPrimitiveObj::TOrnPrimitiveObj;

    float Radius() const { return fRadius; }
    void SetRadius(float value);
    int Slices() const { return fSlices; }
    /// Values ≤ 0 are ignored.
    void SetSlices(int value);
    int Stacks() const { return fStacks; }
    /// Values ≤ 0 are ignored.
    void SetStacks(int value);
    float StartAngle() const { return fStartAngle; }
    void SetStartAngle(float value);
    float SweepAngle() const { return fSweepAngle; }
    void SetSweepAngle(float value);
    float TopAngle() const { return fTopAngle; }
    void SetTopAngle(float value);
    float BottomAngle() const { return fBottomAngle; }
    void SetBottomAngle(float value);

    ORN_DECLARE_PROPERTIES(TOrnSphere)

protected:
    void InitPoints() override;
    bool ShapeBounds(TOrnBounds& bounds) const override;
    void InitPrimitives() override;

private:
    float fRadius = 1.0f;
    int fSlices = 24;
    int fStacks = 16;
    float fStartAngle = 0.0f;
    float fSweepAngle = 360.0f;
    float fTopAngle = 0.0f;
    float fBottomAngle = 180.0f;
};

} // namespace orn
