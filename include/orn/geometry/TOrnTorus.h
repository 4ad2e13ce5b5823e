#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/math/TOrnPropList.h>

namespace orn {

/// A ring around the y axis: its tube's centre circle has RingRadius, the tube TubeRadius; Rings
/// segments around y, Sides around the tube, one quad strip per ring segment.
/// Positions, unit normals and texture coordinates come from the formula; points stored twice on
/// a seam carry flag bit 0.
class TOrnTorus : public TOrnPrimitiveObj {
    ORN_CLASS(TOrnTorus)
public:
    using TOrnPrimitiveObj::TOrnPrimitiveObj;

    float RingRadius() const { return fRingRadius; }
    void SetRingRadius(float value);
    float TubeRadius() const { return fTubeRadius; }
    void SetTubeRadius(float value);
    int Sides() const { return fSides; }
    /// Values ≤ 0 are ignored.
    void SetSides(int value);
    int Rings() const { return fRings; }
    /// Values ≤ 0 are ignored.
    void SetRings(int value);

    ORN_DECLARE_PROPERTIES(TOrnTorus)

protected:
    void InitPoints() override;
    bool ShapeBounds(TOrnBounds& bounds) const override;
    void InitPrimitives() override;

private:
    float fRingRadius = 1.0f;
    float fTubeRadius = 0.25f;
    int fSides = 16;
    int fRings = 24;
};

} // namespace orn
