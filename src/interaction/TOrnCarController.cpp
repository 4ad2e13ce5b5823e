#include <orn/interaction/TOrnCarController.h>

#include "detail/Walk.h"

#include <orn/host/TComponentClass.h>

#include <algorithm>
#include <cmath>

namespace orn {

namespace {

struct Registrar {
    Registrar() { RegisterComponents("Orn", {ClassOf<TOrnCarController>()}); }
};
const Registrar registrar;

} // namespace

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

void TOrnCarController::WriteValues(TOrnCustomExchange& exchange) {
    TOrnCustomController::WriteValues(exchange);
    exchange.WriteFloat("CurrentSpeed", fCurrentSpeed, 0);
    exchange.WriteFloat("MaxSpeed", fMaxSpeed, 1.0f);
    exchange.WriteFloat("ReverseSpeed", fReverseSpeed, 0);
    exchange.WriteFloat("Acceleration", fAcceleration, 0.05f);
    exchange.WriteFloat("Braking", fBraking, 0.1f);
    exchange.WriteFloat("TurnAngle", fTurnAngle, 1.0f);
}

void TOrnCarController::ReadValues(TOrnCustomExchange& exchange) {
    TOrnCustomController::ReadValues(exchange);
    // The limits first, so that the speed read next is clamped by the file's own limits.
    SetMaxSpeed(detail::ToSingle(exchange.ReadFloat("MaxSpeed", fMaxSpeed)));
    SetReverseSpeed(detail::ToSingle(exchange.ReadFloat("ReverseSpeed", fReverseSpeed)));
    SetCurrentSpeed(detail::ToSingle(exchange.ReadFloat("CurrentSpeed", fCurrentSpeed)));
    SetAcceleration(detail::ToSingle(exchange.ReadFloat("Acceleration", fAcceleration)));
    SetBraking(detail::ToSingle(exchange.ReadFloat("Braking", fBraking)));
    SetTurnAngle(detail::ToSingle(exchange.ReadFloat("TurnAngle", fTurnAngle)));
}

} // namespace orn
