#include <orn/interaction/TOrnPresentationController.h>

#include "detail/Walk.h"

#include <orn/host/TComponentClass.h>

namespace orn {

ORN_REGISTER_COMPONENT(TOrnPresentationController, "Orn")

void TOrnPresentationController::SetControlled(TOrnTransformed* component) {
    TOrnCustomController::SetControlled(component);
    if (component) component->Transformation()->SetOrder(toRotTraSca);
}

void TOrnPresentationController::SetTurnAngle(float value) {
    if (detail::NotNegative(value) && assignIfChanged(fTurnAngle, value)) Changed();
}

void TOrnPresentationController::SetDistanceStep(float value) {
    if (detail::NotNegative(value) && assignIfChanged(fDistanceStep, value)) Changed();
}

void TOrnPresentationController::SetMode(TOrnPresentationMode value) {
    if (assignIfChanged(fMode, value)) Changed();
}

float TOrnPresentationController::EyeHeight() const {
    return Controlled() ? Controlled()->Transformation()->Translation()->Y() : 0.0f;
}

void TOrnPresentationController::SetEyeHeight(float value) {
    if (Controlled()) Controlled()->Transformation()->Translation()->SetY(value);
}

float TOrnPresentationController::Distance() const {
    return Controlled() ? Controlled()->Transformation()->Translation()->Z() : 0.0f;
}

void TOrnPresentationController::SetDistance(float value) {
    if (Controlled()) Controlled()->Transformation()->Translation()->SetZ(value);
}

bool TOrnPresentationController::HandleKey(std::uint16_t key, TShiftState) {
    if (!Controlled()) return false;
    switch (key) {
    case VK_END:
        SetMode(pmStop);
        return true;
    case VK_LEFT:
        SetMode(pmLeft);
        return true;
    case VK_UP:
        SetDistance(Distance() + fDistanceStep);
        return true;
    case VK_RIGHT:
        SetMode(pmRight);
        return true;
    case VK_DOWN:
        SetDistance(Distance() - fDistanceStep);
        return true;
    default:
        return false;
    }
}

void TOrnPresentationController::Present() {
    if (!Controlled()) return;
    TOrnRotation* r = Controlled()->Transformation()->Rotation();
    if (fMode == pmLeft)
        r->incY(-fTurnAngle);
    else if (fMode == pmRight)
        r->incY(fTurnAngle);
}

// Assign copies none of these.
ORN_DESCRIBE_PROPERTIES(TOrnPresentationController, &TOrnComponent::ClassProperties()) {
    ORN_PROP(b, TOrnPresentationController, TurnAngle, 1.0f).flags = pfNoAssign;
    ORN_PROP(b, TOrnPresentationController, DistanceStep, 0.1f).flags = pfNoAssign;
    b.Enum("Mode", &TOrnPresentationController::fMode, &TOrnPresentationController::SetMode, pmStop,
           kPresentationModeNames)
        .flags = pfNoAssign;
}

} // namespace orn
