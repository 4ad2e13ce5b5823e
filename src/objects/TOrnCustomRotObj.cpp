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

void TOrnCustomRotObj::Assign(const TPersistent* source) {
    if (auto* r = dynamic_cast<const TOrnCustomRotObj*>(source)) std::copy_n(r->fAngles, 4, fAngles);
    TOrnCustomFuncObj::Assign(source);
}

void TOrnCustomRotObj::WriteKeys(TOrnCustomExchange& exchange) {
    TOrnCustomFuncObj::WriteKeys(exchange);
    exchange.WriteFloat("FuncStartAngle", fAngles[2], 0);
    exchange.WriteFloat("FuncSweepAngle", fAngles[3], 360);
    exchange.WriteFloat("RotStartAngle", fAngles[0], 0);
    exchange.WriteFloat("RotSweepAngle", fAngles[1], 360);
}

void TOrnCustomRotObj::ReadValues(TOrnCustomExchange& exchange) {
    TOrnCustomFuncObj::ReadValues(exchange);
    setangle(2, static_cast<float>(exchange.ReadFloat("FuncStartAngle", fAngles[2])));
    setangle(3, static_cast<float>(exchange.ReadFloat("FuncSweepAngle", fAngles[3])));
    setangle(0, static_cast<float>(exchange.ReadFloat("RotStartAngle", fAngles[0])));
    setangle(1, static_cast<float>(exchange.ReadFloat("RotSweepAngle", fAngles[1])));
}

} // namespace orn
