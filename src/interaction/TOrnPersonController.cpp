#include <orn/interaction/TOrnPersonController.h>

#include "detail/Walk.h"

#include <orn/host/TComponentClass.h>

namespace orn {

ORN_REGISTER_COMPONENT(TOrnPersonController, "Orn")

void TOrnPersonController::SetControlled(TOrnTransformed* component) {
    TOrnCustomController::SetControlled(component);
    if (component) component->Transformation()->SetOrder(toRotTraSca);
}

void TOrnPersonController::SetStepLength(float value) {
    if (detail::NotNegative(value) && assignIfChanged(fStepLength, value)) Changed();
}

void TOrnPersonController::SetTurnAngle(float value) {
    if (detail::NotNegative(value) && assignIfChanged(fTurnAngle, value)) Changed();
}

float TOrnPersonController::EyeHeight() const {
    return Controlled() ? Controlled()->Transformation()->Translation()->Y() : 0.0f;
}

void TOrnPersonController::SetEyeHeight(float value) {
    if (Controlled()) Controlled()->Transformation()->Translation()->SetY(value);
}

bool TOrnPersonController::HandleKey(std::uint16_t key, TShiftState) {
    if (!Controlled()) return false;
    switch (key) {
    case VK_PRIOR:
        NodHead(-fTurnAngle);
        return true;
    case VK_NEXT:
        NodHead(fTurnAngle);
        return true;
    case VK_HOME:
        HeadForward();
        return true;
    case VK_LEFT:
        Turn(-fTurnAngle);
        return true;
    case VK_UP:
        Move(fStepLength);
        return true;
    case VK_RIGHT:
        Turn(fTurnAngle);
        return true;
    case VK_DOWN:
        Move(-fStepLength);
        return true;
    default:
        return false;
    }
}

void TOrnPersonController::Move(float d) {
    if (Controlled()) detail::StepAlongHeading(*Controlled()->Transformation(), d);
}

void TOrnPersonController::Turn(float angle) {
    if (Controlled()) Controlled()->Transformation()->Rotation()->incY(angle);
}

void TOrnPersonController::NodHead(float angle) {
    if (Controlled()) Controlled()->Transformation()->Rotation()->incX(angle);
}

void TOrnPersonController::HeadForward() {
    if (Controlled()) Controlled()->Transformation()->Rotation()->SetX(0);
}

// Assign copies none of these.
ORN_DESCRIBE_PROPERTIES(TOrnPersonController, &TOrnComponent::ClassProperties()) {
    ORN_PROP(b, TOrnPersonController, StepLength, 0.1f).flags = pfNoAssign;
    ORN_PROP(b, TOrnPersonController, TurnAngle, 1.0f).flags = pfNoAssign;
}

} // namespace orn
