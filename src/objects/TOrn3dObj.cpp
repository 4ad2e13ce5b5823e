#include <orn/objects/TOrn3dObj.h>
#include <orn/scene/TOrnRegistry.h>

#include <cmath>
#include <numbers>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrn3dObj, "Orn Obj")

const char* const kOrn3dObjectNames[3] = {"Sphere", "Cylinder", "Torus"};
const char* const kOrnClosedNames[4] = {"None", "Top", "Bottom", "TopBottom"};

TOrn3dObj::TOrn3dObj(TComponent* owner) : TOrnCustomRotObj(owner) {
    SetClosed(TOrnClosed::None);
}

void TOrn3dObj::SetObjArt(TOrn3dObjects value) {
    if (assignIfChanged(fObjArt, value)) Invalidate();
}

void TOrn3dObj::SetHeight(float value) {
    if (assignIfChanged(fHeight, value)) Invalidate();
}

void TOrn3dObj::SetRadius(int index, float value) {
    float* field = index == 0 ? &fTopRadius : index == 1 ? &fRadius : nullptr;
    if (field && assignIfChanged(*field, value)) Invalidate();
}

void TOrn3dObj::SetClosed(TOrnClosed value) {
    static constexpr int kOverDraw[4] = {1, 2, 2, 3};
    const int index = static_cast<int>(value);
    if (index < 0 || index > 3) return;
    SetOverDraw(kOverDraw[index]);
    if (assignIfChanged(fClosed, value)) Invalidate();
}

void TOrn3dObj::SetTexMode(TOrnTextureMode mode) {
    if (!Textured()) return;
    TOrnTextureFlags& f = *TextureFlags();
    f.SetMode(mode);
    switch (mode) {
    case txStandard:
        f.SetScaleX(1);
        f.SetScaleY(1);
        f.SetShiftX(0);
        f.SetShiftY(0);
        break;
    case txLinearZ:
        f.SetScaleY(fHeight);
        f.SetScaleX(0);
        f.SetShiftX(0);
        f.SetShiftY(0);
        break;
    case txLinearXY:
        f.SetScaleX(2 * fRadius);
        f.SetScaleY(2 * fRadius);
        // Radius goes into ShiftY and ShiftX keeps its value: kept as the shape always was.
        f.SetShiftY(fRadius);
        f.SetShiftY(fRadius);
        break;
    default:
        break;
    }
}

TOrnMathVector TOrn3dObj::calcz(const TOrnMathVector&, double t) {
    // The body always occupies t in 1 … 2, a bottom cap 0 … 1 and a top cap 2 … 3.
    if (fClosed == TOrnClosed::None || fClosed == TOrnClosed::Top) t += 1;
    switch (fObjArt) {
    case TOrn3dObjects::Sphere:
        return SphereProfile(t);
    case TOrn3dObjects::Cylinder:
        return CylinderProfile(t);
    case TOrn3dObjects::Torus:
        return TorusProfile(t);
    }
    return {};
}

TOrnMathVector TOrn3dObj::SphereProfile(double t) {
    constexpr double pi = std::numbers::pi;
    const double sweep = FuncSweepAngle(), start = FuncStartAngle();
    const double phi = ((2 - t) * sweep / 360 + start / 360) * pi;
    TOrnMathVector p{std::sin(phi) * fHeight, 0, std::cos(phi) * fRadius};
    if (HasBottom() && t <= 1) {
        SetTexMode(txLinearXY);
        const double end = (sweep + start) * pi / 360;
        p = {std::sin(end) * t * fHeight, 0, std::cos(end) * fRadius};
    }
    if (HasTop() && t >= 2) {
        SetTexMode(txLinearXY);
        p = {std::sin(start / 360 * pi) * (3 - t) * fHeight, 0, std::cos(pi * start / 360) * fRadius};
    }
    return p;
}

TOrnMathVector TOrn3dObj::CylinderProfile(double t) {
    SetTexMode(txLinearXY);
    TOrnMathVector p{(fTopRadius - fRadius) * (t - 1) + fRadius, 0, (t - 1) * fHeight - fHeight / 2.0};
    if (HasBottom() && t < 1) { // strictly below, unlike the sphere's cap: kept
        SetTexMode(txLinearXY);
        p = {t * fRadius, 0, -fHeight / 2.0};
    }
    if (HasTop() && t >= 2) {
        SetTexMode(txLinearXY);
        p = {(3 - t) * fTopRadius, 0, fHeight / 2.0};
    }
    return p;
}

TOrnMathVector TOrn3dObj::TorusProfile(double t) {
    SetTexMode(txStandard);
    const double psi = ((t - 1) * FuncSweepAngle() / 360 + FuncStartAngle() / 360) * 2 * std::numbers::pi;
    return {std::cos(psi) * fTopRadius + fRadius, 0, std::sin(psi) * fHeight};
}

ORN_DESCRIBE_PROPERTIES(TOrn3dObj, &TOrnCustomRotObj::ClassProperties()) {
    b.Enum("ObjArt", &TOrn3dObj::fObjArt, &TOrn3dObj::SetObjArt, TOrn3dObjects::Sphere, kOrn3dObjectNames);
    ORN_PROP(b, TOrn3dObj, Height, 1.0f);
    b.Access<float>(
        "TopRadius", [](const TOrn3dObj& o) { return o.fTopRadius; },
        [](TOrn3dObj& o, float v) { o.SetRadius(0, v); }, 1.0f);
    b.Access<float>(
        "Radius", [](const TOrn3dObj& o) { return o.fRadius; },
        [](TOrn3dObj& o, float v) { o.SetRadius(1, v); }, 1.0f);
    b.Enum("Closed", &TOrn3dObj::fClosed, &TOrn3dObj::SetClosed, TOrnClosed::None, kOrnClosedNames);
}

} // namespace orn
