#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/math/TOrnPropList.h>

namespace orn {

/// A line from the origin along +z, Length long (not centred).
class TOrnLine : public TOrnPrimitiveObj {
    ORN_CLASS(TOrnLine)
public:
    using TOrnPrimitiveObj::TOrnPrimitiveObj;

    float Length() const { return fLength; }
    void SetLength(float value);

    ORN_DECLARE_PROPERTIES(TOrnLine)

protected:
    void InitPoints() override;
    void InitPrimitives() override;

private:
    float fLength = 1.0f;
};

} // namespace orn
