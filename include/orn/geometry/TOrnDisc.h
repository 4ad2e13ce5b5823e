#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/math/TOrnPropList.h>

namespace orn {

/// A flat ring in the x–z plane facing +y, from InnerRadius to OuterRadius in Loops bands, Slices
/// segments from StartAngle over SweepAngle degrees (0 at +z turning towards +x).
/// Positions, unit normals and texture coordinates come from the formula; points stored twice on
/// a seam carry flag bit 0.
class TOrnDisc : public TOrnPrimitiveObj {
    ORN_CLASS(TOrnDisc)
public:
    using TOrnPrimitiveObj::TOrnPrimitiveObj;

    float InnerRadius() const { return fInnerRadius; }
    void SetInnerRadius(float value);
    float OuterRadius() const { return fOuterRadius; }
    void SetOuterRadius(float value);
    int Slices() const { return fSlices; }
    /// Values ≤ 0 are ignored.
    void SetSlices(int value);
    int Loops() const { return fLoops; }
    /// Values ≤ 0 are ignored.
    void SetLoops(int value);
    float StartAngle() const { return fStartAngle; }
    void SetStartAngle(float value);
    float SweepAngle() const { return fSweepAngle; }
    void SetSweepAngle(float value);

    ORN_DECLARE_PROPERTIES(TOrnDisc)

protected:
    void InitPoints() override;
    bool ShapeBounds(TOrnBounds& bounds) const override;
    void InitPrimitives() override;

private:
    float fInnerRadius = 0.0f;
    float fOuterRadius = 1.0f;
    int fSlices = 24;
    int fLoops = 1;
    float fStartAngle = 0.0f;
    float fSweepAngle = 360.0f;
};

} // namespace orn
