#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/math/TOrnPropList.h>

namespace orn {

/// A box centred on the origin, Width along x, Height along y, Depth along z; each face a grid of
/// DetailX × DetailY × DetailZ cells along the axes it spans, with its own points (sharp edges).
/// Positions, unit normals and texture coordinates come from the formula; points stored twice on
/// a seam carry flag bit 0.
class TOrnBox : public TOrnPrimitiveObj {
    ORN_CLASS(TOrnBox)
public:
    using TOrnPrimitiveObj::TOrnPrimitiveObj;

    float Width() const { return fWidth; }
    void SetWidth(float value);
    float Height() const { return fHeight; }
    void SetHeight(float value);
    float Depth() const { return fDepth; }
    void SetDepth(float value);
    int DetailX() const { return fDetailX; }
    /// Values ≤ 0 are ignored.
    void SetDetailX(int value);
    int DetailY() const { return fDetailY; }
    /// Values ≤ 0 are ignored.
    void SetDetailY(int value);
    int DetailZ() const { return fDetailZ; }
    /// Values ≤ 0 are ignored.
    void SetDetailZ(int value);

    ORN_DECLARE_PROPERTIES(TOrnBox)

protected:
    void InitPoints() override;
    bool ShapeBounds(TOrnBounds& bounds) const override;
    void InitPrimitives() override;

private:
    float fWidth = 1.0f;
    float fHeight = 1.0f;
    float fDepth = 1.0f;
    int fDetailX = 1;
    int fDetailY = 1;
    int fDetailZ = 1;
};

} // namespace orn
