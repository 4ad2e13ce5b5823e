#include <orn/objects/TOrnCustomRotObj.h>
#include <orn/scene/TOrnRegistry.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnRotObj, "Orn Obj")

TOrnCustomRotObj::TOrnCustomRotObj(TComponent* owner) : TOrnCustomFuncObj(owner) {}

void TOrnCustomRotObj::setangle(int index, float value) {
    if (index < 0 || index > 3 || !(value >= 0)) return;
    if (assignIfChanged(fAngles[index], value)) Invalidate();
}

TOrnMathVector TOrnCustomRotObj::calcxy(const TOrnMathVector& V, double t) {
    const double theta = (fAngles[1] / 360.0 * t + fAngles[0] / 360.0) * 2 * std::numbers::pi;
    return {std::sin(theta) * V.x, std::cos(theta) * V.x, V.z};
}

ORN_DESCRIBE_PROPERTIES(TOrnCustomRotObj, &TOrnCustomFuncObj::ClassProperties()) {
    b.Access<float>(
        "FuncStartAngle", [](const TOrnCustomRotObj& r) { return r.FuncStartAngle(); },
        [](TOrnCustomRotObj& r, float v) { r.SetFuncStartAngle(v); }, 0);
    b.Access<float>(
        "FuncSweepAngle", [](const TOrnCustomRotObj& r) { return r.FuncSweepAngle(); },
        [](TOrnCustomRotObj& r, float v) { r.SetFuncSweepAngle(v); }, 360);
    b.Access<float>(
        "RotStartAngle", [](const TOrnCustomRotObj& r) { return r.RotStartAngle(); },
        [](TOrnCustomRotObj& r, float v) { r.SetRotStartAngle(v); }, 0);
    b.Access<float>(
        "RotSweepAngle", [](const TOrnCustomRotObj& r) { return r.RotSweepAngle(); },
        [](TOrnCustomRotObj& r, float v) { r.SetRotSweepAngle(v); }, 360);
}

} // namespace orn
