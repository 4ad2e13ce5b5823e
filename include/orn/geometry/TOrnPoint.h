#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>

namespace orn {

/// One point at the origin, drawn as GL_POINTS.
class TOrnPoint : public TOrnPrimitiveObj {
    ORN_CLASS(TOrnPoint)
public:
    using TOrnPrimitiveObj::TOrnPrimitiveObj;

protected:
    void InitPoints() override;
    void InitPrimitives() override;
};

} // namespace orn
