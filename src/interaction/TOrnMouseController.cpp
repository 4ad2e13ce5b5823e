#include <orn/interaction/TOrnMouseController.h>

#include <orn/host/TComponentClass.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <numbers>
#include <strings.h>

namespace orn {

ORN_REGISTER_COMPONENT(TOrnMouseController, "Orn")

namespace {

constexpr double kPi = std::numbers::pi;

} // namespace

void TOrnMouseController::SetControlled(TOrnTransformed* component) {
    TOrnCustomController::SetControlled(component);
    if (component) component->Transformation()->SetOrder(toRotTraSca);
}

void TOrnMouseController::SetTurnSensitivity(int value) {
    if (assignIfChanged(fTurnSensitivity, std::max(value, 1))) Changed();
}

void TOrnMouseController::SetMoveSensitivity(int value) {
    if (assignIfChanged(fMoveSensitivity, std::max(value, 1))) Changed();
}

void TOrnMouseController::SetCntrlFlags(TOrnCntrlFlags value) {
    if (assignIfChanged(fCntrlFlags, value)) Changed();
}

void TOrnMouseController::SetSwitchButtons(bool value) {
    if (assignIfChanged(fSwitchButtons, value)) Changed();
}

bool TOrnMouseController::HandleMouseDown(TMouseButton button, TShiftState, int x, int y) {
    if (button == mbLeft)
        fDragMode = fSwitchButtons ? 2 : 1;
    else if (button == mbRight)
        fDragMode = fSwitchButtons ? 1 : 2;
    fLastX = x;
    fLastY = y;
    return false;
}

bool TOrnMouseController::HandleMouseMove(TShiftState, int x, int y) {
    const double m = fMoveSensitivity + 5.0;
    const double t = fTurnSensitivity + 5.0;
    // In double: pixel differences of extreme coordinates must not overflow.
    const double dx = static_cast<double>(x) - fLastX;
    const double dy = static_cast<double>(y) - fLastY;
    bool changed = false;
    if (fDragMode == 1) {
        if (fCntrlFlags.Contains(teMoveY)) MoveY(dy / 50000 * m);
        if (fCntrlFlags.Contains(teTurnY)) TurnY(dx / 2000 * t);
        changed = true;
    } else if (fDragMode == 2) {
        if (fCntrlFlags.Contains(teMoveX)) MoveX(dx / 50000 * m);
        if (fCntrlFlags.Contains(teMoveZ)) MoveZ(-dy / 50000 * m);
        changed = true;
    }
    fLastX = x;
    fLastY = y;
    return changed;
}

bool TOrnMouseController::HandleMouseUp(TMouseButton, TShiftState, int, int) {
    fDragMode = 0;
    return false;
}

TOrnMathVector TOrnMouseController::Radians() const {
    const TOrnRotation* r = Controlled()->Transformation()->Rotation();
    return {r->X() / 180.0 * kPi, r->Y() / 180.0 * kPi, r->Z() / 180.0 * kPi};
}

void TOrnMouseController::TurnY(double angle) {
    if (!Controlled()) return;
    Controlled()->Transformation()->Rotation()->incY(static_cast<float>(angle));
}

void TOrnMouseController::MoveY(double d) {
    if (!Controlled()) return;
    Controlled()->Transformation()->Translation()->incY(static_cast<float>(d));
}

TOrnMathVector TOrnMouseController::CalcVecX(double, double ry, double rz) {
    return {std::cos(rz) * std::cos(ry), -std::sin(rz) * std::cos(ry), -std::sin(ry)};
}

void TOrnMouseController::MoveX(double d) {
    if (!Controlled()) return;
    const TOrnMathVector r = Radians();
    const TOrnMathVector v = CalcVecX(r.x, r.y, r.z);
    TOrnTranslation* t = Controlled()->Transformation()->Translation();
    // The y part of the sideways vector is left out on purpose: sideways moves stay level.
    t->SetX(static_cast<float>(t->X() - v.x * d));
    t->SetZ(static_cast<float>(t->Z() + v.z * d));
}

TOrnMathVector TOrnMouseController::CalcVecZ(double rx, double ry, double rz) {
    double r = std::sqrt(std::pow(std::sin(ry) * std::cos(rx), 2) + std::pow(std::sin(rx), 2));
    // A bounded loop: an infinite or NaN angle must not hang.
    if (std::isfinite(ry))
        while (ry < 0)
            ry += 2 * kPi;
    if (r == 0) r = 1;
    double a = std::asin(std::sin(rx) / r);
    if (ry > kPi && std::cos(a + rz) > 0) a = std::asin(std::sin(rx) / r) + kPi;
    return {std::cos(a + rz) * r, -std::sin(a + rz) * r, std::cos(ry) * std::cos(rx)};
}

void TOrnMouseController::MoveZ(double d) {
    if (!Controlled()) return;
    const TOrnMathVector r = Radians();
    const TOrnMathVector v = CalcVecZ(r.x, r.y, r.z);
    TOrnTranslation* t = Controlled()->Transformation()->Translation();
    t->SetX(static_cast<float>(t->X() - v.x * d));
    t->SetY(static_cast<float>(t->Y() - v.y * d));
    t->SetZ(static_cast<float>(t->Z() + v.z * d));
}

std::string TOrnMouseController::CntrlFlagsToString(TOrnCntrlFlags flags) {
    std::string text;
    for (size_t i = 0; i < kCntrlFlagNames.size(); ++i) {
        if (!flags.Contains(static_cast<TOrnCntrlFlag>(i))) continue;
        if (!text.empty()) text += ',';
        text += kCntrlFlagNames[i];
    }
    return text;
}

TOrnCntrlFlags TOrnMouseController::CntrlFlagsFromString(const std::string& text, TOrnCntrlFlags def) {
    TOrnCntrlFlags flags;
    size_t pos = 0;
    while (pos <= text.size()) {
        size_t end = text.find(',', pos);
        if (end == std::string::npos) end = text.size();
        std::string name = text.substr(pos, end - pos);
        std::erase_if(name, [](unsigned char c) { return std::isspace(c) || c == '[' || c == ']'; });
        if (!name.empty()) {
            auto it = std::find_if(kCntrlFlagNames.begin(), kCntrlFlagNames.end(),
                                   [&](const char* n) { return strcasecmp(n, name.c_str()) == 0; });
            if (it == kCntrlFlagNames.end()) return def;
            flags.Include(static_cast<TOrnCntrlFlag>(it - kCntrlFlagNames.begin()));
        }
        pos = end + 1;
    }
    return flags;
}

ORN_DESCRIBE_PROPERTIES(TOrnMouseController, &TOrnComponent::ClassProperties()) {
    ORN_PROP(b, TOrnMouseController, TurnSensitivity, 128).min = 1;
    ORN_PROP(b, TOrnMouseController, MoveSensitivity, 128).min = 1;
    b.Access<std::string>(
         "CntrlFlags", [](const TOrnMouseController& m) { return CntrlFlagsToString(m.fCntrlFlags); },
         [](TOrnMouseController& m, std::string v) {
             m.SetCntrlFlags(CntrlFlagsFromString(v, m.fCntrlFlags));
         },
         CntrlFlagsToString(kAllCntrlFlags))
        .examples = {CntrlFlagsToString(TOrnCntrlFlags{teMoveX, teTurnZ})};
    ORN_PROP(b, TOrnMouseController, SwitchButtons, false).flags = pfNoAssign;
}

} // namespace orn
