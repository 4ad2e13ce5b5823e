#include <orn/interaction/TOrnCarController.h>

#include "detail/Walk.h"

#include <orn/host/TComponentClass.h>

#include <algorithm>
#include <cmath>

namespace orn {

ORN_REGISTER_COMPONENT(TOrnCarController, "Orn")

void TOrnCarController::SetControlled(TOrnTransformed* component) {
    TOrnCustomController::SetControlled(component);
    if (component) component->Transformation()->SetOrder(toRotTraSca);
}

void TOrnCarController::SetCurrentSpeed(float value) {
    if (std::isnan(value)) return;
    if (assignIfChanged(fCurrentSpeed, std::min(std::max(value, fReverseSpeed), fMaxSpeed))) Changed();
}

void TOrnCarController::SetMaxSpeed(float value) {
    if (!detail::NotNegative(value)) return;
    bool changed = assignIfChanged(fMaxSpeed, value);
    if (fCurrentSpeed > fMaxSpeed) changed = assignIfChanged(fCurrentSpeed, fMaxSpeed) || changed;
    if (changed) Changed();
}

void TOrnCarController::SetReverseSpeed(float value) {
    if (!(value <= 0)) return;
    bool changed = assignIfChanged(fReverseSpeed, value);
    if (fCurrentSpeed < fReverseSpeed) changed = assignIfChanged(fCurrentSpeed, fReverseSpeed) || changed;
    if (changed) Changed();
}

void TOrnCarController::SetAcceleration(float value) {
    if (detail::NotNegative(value) && assignIfChanged(fAcceleration, value)) Changed();
}

void TOrnCarController::SetBraking(float value) {
    if (detail::NotNegative(value) && assignIfChanged(fBraking, value)) Changed();
}

void TOrnCarController::SetTurnAngle(float value) {
    if (detail::NotNegative(value) && assignIfChanged(fTurnAngle, value)) Changed();
}

float TOrnCarController::EyeHeight() const {
    return Controlled() ? Controlled()->Transformation()->Translation()->Y() : 0.0f;
}

void TOrnCarController::SetEyeHeight(float value) {
    if (Controlled()) Controlled()->Transformation()->Translation()->SetY(value);
}

bool TOrnCarController::HandleKey(std::uint16_t key, TShiftState) {
    if (!Controlled()) return false;
    switch (key) {
    case VK_LEFT:
        Turn(-fTurnAngle);
        return true;
    case VK_UP:
        Accelerate(fAcceleration);
        return true;
    case VK_RIGHT:
        Turn(fTurnAngle);
        return true;
    case VK_DOWN:
        Brake(fBraking);
        return true;
    default:
        return false;
    }
}

void TOrnCarController::Move() {
    if (Controlled()) detail::StepAlongHeading(*Controlled()->Transformation(), fCurrentSpeed);
}

void TOrnCarController::Turn(float angle) {
    if (Controlled()) Controlled()->Transformation()->Rotation()->incY(angle);
}

void TOrnCarController::Accelerate(float a) {
    if (Controlled()) SetCurrentSpeed(std::min(fCurrentSpeed + std::abs(a), fMaxSpeed));
}

void TOrnCarController::Brake(float b) {
    if (Controlled()) SetCurrentSpeed(std::max(fCurrentSpeed - std::abs(b), fReverseSpeed));
}

void TOrnCarController::Stop() {
    if (Controlled()) SetCurrentSpeed(0);
}

// Assign copies none of these.
ORN_DESCRIBE_PROPERTIES(TOrnCarController, &TOrnComponent::ClassProperties()) {
    ORN_PROP(b, TOrnCarController, CurrentSpeed, 0).flags = pfNoAssign;
    // The limits first, so that the speed read next is clamped by the file's own limits.
    ORN_PROP(b, TOrnCarController, MaxSpeed, 1.0f).flags = pfReadFirst | pfNoAssign;
    TOrnPropInfo& reverse = ORN_PROP(b, TOrnCarController, ReverseSpeed, 0);
    reverse.flags = pfReadFirst | pfNoAssign;
    reverse.max = 0;
    ORN_PROP(b, TOrnCarController, Acceleration, 0.05f).flags = pfNoAssign;
    ORN_PROP(b, TOrnCarController, Braking, 0.1f).flags = pfNoAssign;
    ORN_PROP(b, TOrnCarController, TurnAngle, 1.0f).flags = pfNoAssign;
}

} // namespace orn
