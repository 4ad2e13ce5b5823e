#pragma once

#include <orn/objects/TOrnCustomFuncObj.h>

namespace orn {

/// The function surface as a component: publishes OnCalcXY, OnCalcZ, OverDraw, Stacks, Slices
/// and TextureFlags.
class TOrnFuncObj : public TOrnCustomFuncObj {
    ORN_CLASS(TOrnFuncObj)
public:
    using TOrnCustomFuncObj::TOrnCustomFuncObj;
};

} // namespace orn
