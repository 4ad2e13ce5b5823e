#pragma once

#include <orn/math/TOrnPropList.h>
#include <orn/scene/TOrnCustomController.h>

namespace orn {

/// Drives the controlled component like a vehicle: Up and Down change the speed, Left and Right
/// turn, and the application moves it by the current speed with Move (e.g. from a timer).
/// Everything that touches the controlled component does nothing while Controlled is nil.
class TOrnCarController : public TOrnCustomController {
    ORN_CLASS(TOrnCarController)
public:
    explicit TOrnCarController(TComponent* owner) : TOrnCustomController(owner) {}

    /// Also sets a component's transformation order to toRotTraSca.
    void SetControlled(TOrnTransformed* component) override;

    /// Distance per Move; kept within [ReverseSpeed, MaxSpeed]; NaN is ignored.
    float CurrentSpeed() const { return fCurrentSpeed; }
    void SetCurrentSpeed(float value);
    /// Highest speed; a negative value is ignored; lowers a current speed above it.
    float MaxSpeed() const { return fMaxSpeed; }
    void SetMaxSpeed(float value);
    /// Lowest speed, 0 or negative (reversing); a positive value is ignored; raises a current
    /// speed below it.
    float ReverseSpeed() const { return fReverseSpeed; }
    void SetReverseSpeed(float value);
    /// Speed gained per press of Up; a negative value is ignored.
    float Acceleration() const { return fAcceleration; }
    void SetAcceleration(float value);
    /// Speed lost per press of Down; a negative value is ignored.
    float Braking() const { return fBraking; }
    void SetBraking(float value);
    /// Degrees turned per press of Left or Right; a negative value is ignored.
    float TurnAngle() const { return fTurnAngle; }
    void SetTurnAngle(float value);
    /// The controlled component's height (translation Y); 0 without one.
    float EyeHeight() const;
    void SetEyeHeight(float value);

    /// Left/Right turn, Up accelerates, Down brakes; false for other keys and without Controlled.
    bool HandleKey(std::uint16_t key, TShiftState shift) override;

    /// Moves CurrentSpeed along the heading.
    void Move();
    /// Turns the heading by angle degrees (positive: to the right).
    void Turn(float angle);
    /// CurrentSpeed := min(CurrentSpeed + |a|, MaxSpeed).
    void Accelerate(float a);
    /// CurrentSpeed := max(CurrentSpeed − |b|, ReverseSpeed).
    void Brake(float b);
    /// CurrentSpeed := 0.
    void Stop();

    ORN_DECLARE_PROPERTIES(TOrnCarController)

private:
    float fCurrentSpeed = 0;
    float fMaxSpeed = 1.0f;
    float fReverseSpeed = 0;
    float fAcceleration = 0.05f;
    float fBraking = 0.1f;
    float fTurnAngle = 1.0f;
};

} // namespace orn
