#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/math/TOrnPropList.h>

namespace orn {

/// A flat triangle in the x–z plane facing +y: apex at the origin, base of width Base at z = Height.
class TOrnTriangle : public TOrnPrimitiveObj {
    ORN_CLASS(TOrnTriangle)
public:
    using TOrnPrimitiveObj::TOrnPrimitiveObj;

    float Base() const { return fBase; }
    void SetBase(float value);
    float Height() const { return fHeight; }
    void SetHeight(float value);

    ORN_DECLARE_PROPERTIES(TOrnTriangle)

protected:
    void InitPoints() override;
    void InitPrimitives() override;

private:
    float fBase = 1.0f;
    float fHeight = 1.0f;
};

} // namespace orn
