#pragma once

#include <orn/math/TOrnPropList.h>
#include <orn/objects/TOrnCustomFuncObj.h>

namespace orn {

/// A surface of revolution on the grid of a function surface: the row function gives a profile
/// point (x: distance from the axis, z: height) and the columns rotate it about the z axis from
/// RotStartAngle over RotSweepAngle. Angles are in degrees; negative ones are ignored.
class TOrnCustomRotObj : public TOrnCustomFuncObj {
    ORN_CLASS(TOrnCustomRotObj)
public:
    explicit TOrnCustomRotObj(TComponent* owner);

    float RotStartAngle() const { return fAngles[0]; }
    void SetRotStartAngle(float value) { setangle(0, value); }
    float RotSweepAngle() const { return fAngles[1]; }
    void SetRotSweepAngle(float value) { setangle(1, value); }
    /// Start and extent of the profile angle of the built-in profiles.
    float FuncStartAngle() const { return fAngles[2]; }
    void SetFuncStartAngle(float value) { setangle(2, value); }
    float FuncSweepAngle() const { return fAngles[3]; }
    void SetFuncSweepAngle(float value) { setangle(3, value); }
    /// Index 0 RotStartAngle, 1 RotSweepAngle, 2 FuncStartAngle, 3 FuncSweepAngle; a negative value
    /// or another index is ignored.
    void setangle(int index, float value);

    /// The rotation of (V.x, 0, V.z) about z to the angle RotStartAngle + t × RotSweepAngle.
    TOrnMathVector calcxy(const TOrnMathVector& V, double t) override;
    TOrnMathVector CalcXY(const TOrnMathVector& V, double t) { return TOrnCustomRotObj::calcxy(V, t); }

    ORN_DECLARE_PROPERTIES(TOrnCustomRotObj)

protected:
private:
    float fAngles[4] = {0, 360, 0, 360};
};

/// A surface of revolution of a user profile: publishes OnCalcZ, RotStartAngle, RotSweepAngle and
/// TextureFlags.
class TOrnRotObj : public TOrnCustomRotObj {
    ORN_CLASS(TOrnRotObj)
public:
    using TOrnCustomRotObj::TOrnCustomRotObj;
};

} // namespace orn
