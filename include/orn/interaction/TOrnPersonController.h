#pragma once

#include <orn/math/TOrnPropList.h>
#include <orn/scene/TOrnCustomController.h>

namespace orn {

/// Walks the controlled component one step per press of Up or Down, turns it with Left and Right
/// and nods its head with Page Up and Page Down (Home looks straight ahead again). Everything that
/// touches the controlled component does nothing while Controlled is nil.
class TOrnPersonController : public TOrnCustomController {
    ORN_CLASS(TOrnPersonController)
public:
    explicit TOrnPersonController(TComponent* owner) : TOrnCustomController(owner) {}

    /// Also sets a component's transformation order to toRotTraSca.
    void SetControlled(TOrnTransformed* component) override;

    /// Distance per step; a negative value is ignored.
    float StepLength() const { return fStepLength; }
    void SetStepLength(float value);
    /// Degrees per turn or nod; a negative value is ignored.
    float TurnAngle() const { return fTurnAngle; }
    void SetTurnAngle(float value);
    /// The controlled component's height (translation Y); 0 without one.
    float EyeHeight() const;
    void SetEyeHeight(float value);

    /// Page Up/Down nod, Home looks ahead, Left/Right turn, Up/Down step; false for other keys and
    /// without Controlled.
    bool HandleKey(std::uint16_t key, TShiftState shift) override;

    /// Steps d along the heading (negative: backwards).
    void Move(float d);
    /// Turns the heading by angle degrees (positive: to the right).
    void Turn(float angle);
    /// Tilts the head about X by angle degrees.
    void NodHead(float angle);
    /// Sets the head's tilt back to 0.
    void HeadForward();

    ORN_DECLARE_PROPERTIES(TOrnPersonController)

private:
    float fStepLength = 0.1f;
    float fTurnAngle = 1.0f;
};

} // namespace orn
