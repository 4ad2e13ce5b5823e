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

void TOrn3dObj::Assign(const TPersistent* source) {
    if (auto* o = dynamic_cast<const TOrn3dObj*>(source)) {
        fObjArt = o->fObjArt;
        fHeight = o->fHeight;
        fTopRadius = o->fTopRadius;
        fRadius = o->fRadius;
        fClosed = o->fClosed;
    }
    TOrnCustomRotObj::Assign(source);
}

void TOrn3dObj::WriteKeys(TOrnCustomExchange& exchange) {
    TOrnCustomRotObj::WriteKeys(exchange);
    exchange.WriteEnum("ObjArt", static_cast<int>(fObjArt), 0, kOrn3dObjectNames);
    exchange.WriteFloat("Height", fHeight, 1);
    exchange.WriteFloat("TopRadius", fTopRadius, 1);
    exchange.WriteFloat("Radius", fRadius, 1);
    exchange.WriteEnum("Closed", static_cast<int>(fClosed), 0, kOrnClosedNames);
}

void TOrn3dObj::ReadValues(TOrnCustomExchange& exchange) {
    TOrnCustomRotObj::ReadValues(exchange);
    // These letter cases are the reader's own; key lookup ignores case, so they find the written keys.
    SetObjArt(static_cast<TOrn3dObjects>(
        exchange.ReadEnum("Objart", static_cast<int>(fObjArt), kOrn3dObjectNames)));
    SetHeight(static_cast<float>(exchange.ReadFloat("Height", fHeight)));
    SetRadius(0, static_cast<float>(exchange.ReadFloat("Topradius", fTopRadius)));
    SetRadius(1, static_cast<float>(exchange.ReadFloat("Radius", fRadius)));
    SetClosed(
        static_cast<TOrnClosed>(exchange.ReadEnum("Closed", static_cast<int>(fClosed), kOrnClosedNames)));
}

} // namespace orn
