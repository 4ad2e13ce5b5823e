#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/math/TOrnPropList.h>

namespace orn {

/// A flat grid of DetailX × DetailY cells in the x–z plane facing +y: centred in x, running from
/// z = Height (row 0) to z = 0; one quad strip per row band.
class TOrnRectangle : public TOrnPrimitiveObj {
    ORN_CLASS(TOrnRectangle)
public:
    using TOrnPrimitiveObj::TOrnPrimitiveObj;

    float Width() const { return fWidth; }
    void SetWidth(float value);
    float Height() const { return fHeight; }
    void SetHeight(float value);
    int DetailX() const { return fDetailX; }
    /// Values ≤ 0 are ignored.
    void SetDetX(int value);
    void SetDetailX(int value) { SetDetX(value); }
    int DetailY() const { return fDetailY; }
    /// Values ≤ 0 are ignored.
    void SetDetY(int value);
    void SetDetailY(int value) { SetDetY(value); }

    ORN_DECLARE_PROPERTIES(TOrnRectangle)

protected:
    void InitPoints() override;
    void InitPrimitives() override;

private:
    float fWidth = 1.0f;
    float fHeight = 1.0f;
    int fDetailX = 1;
    int fDetailY = 1;
};

} // namespace orn
