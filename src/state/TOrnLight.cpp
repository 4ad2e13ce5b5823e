#include <orn/state/TOrnLight.h>

#include <orn/scene/TOrnRegistry.h>

#include "state/detail/CopyColor.h"

#include <algorithm>
#include <strings.h>

namespace orn {

TOrnLight::TOrnLight(TComponent* owner)
    : TOrnRender(owner), fAmbient(std::make_unique<TOrnColor>()), fDiffuse(std::make_unique<TOrnColor>()),
      fSpecular(std::make_unique<TOrnColor>()), fDirection(std::make_unique<TOrnDirection>()) {
    fDiffuse->SetColor(clWhite);
    fSpecular->SetColor(clWhite);
    fAmbient->OnChange = SubChangeHandler();
    fDiffuse->OnChange = SubChangeHandler();
    fSpecular->OnChange = SubChangeHandler();
    fDirection->OnChange = SubChangeHandler();
}

void TOrnLight::SetID(TLightID value) {
    if (assignIfChanged(fID, value)) Changed();
}

void TOrnLight::SetAmbient(const TOrnColor* value) {
    detail::CopyColor(*fAmbient, value);
}

void TOrnLight::SetDiffuse(const TOrnColor* value) {
    detail::CopyColor(*fDiffuse, value);
}

void TOrnLight::SetSpecular(const TOrnColor* value) {
    detail::CopyColor(*fSpecular, value);
}

void TOrnLight::SetDirection(const TOrnDirection* value) {
    if (value) fDirection->Assign(value);
}

void TOrnLight::SetKind(TLightKind value) {
    if (!assignIfChanged(fKind, value)) return;
    fCutOff = fKind == lkSpot ? 90.0f : 180.0f;
    Changed();
}

// Tells of every value other than the stored one, also when the kind or the clamp keeps the old.
void TOrnLight::SetCutOff(float value) {
    if (value == fCutOff) return;
    fCutOff = fKind != lkSpot ? 180.0f : std::clamp(value, 0.0f, 90.0f);
    Changed();
}

void TOrnLight::DoRender(TOrnCustomView* view) {
    TOrnRender::DoRender(view);
    const GLenum light = GetLightID();
    glEnable(light);
    float rgba[4];
    fAmbient->GetParams(rgba);
    glLightfv(light, GL_AMBIENT, rgba);
    fDiffuse->GetParams(rgba);
    glLightfv(light, GL_DIFFUSE, rgba);
    fSpecular->GetParams(rgba);
    glLightfv(light, GL_SPECULAR, rgba);

    const float direction[4] = {fDirection->X(), fDirection->Y(), fDirection->Z(), 0.0f};
    static constexpr float kOrigin[4] = {0.0f, 0.0f, 0.0f, 1.0f};
    glLightfv(light, GL_POSITION, fKind == lkDirection ? direction : kOrigin);
    glLightf(light, GL_SPOT_CUTOFF, fCutOff);
    if (fKind == lkSpot) glLightfv(light, GL_SPOT_DIRECTION, direction);
}

void TOrnLight::DoDisable(TOrnCustomView*) {
    glDisable(GetLightID());
}

ORN_REGISTER_RENDER_CLASS(TOrnLight, "Orn")

ORN_DESCRIBE_PROPERTIES(TOrnLight, &TOrnRender::ClassProperties()) {
    b.Object("Ambient", &TOrnLight::fAmbient);
    b.Object("Diffuse", &TOrnLight::fDiffuse);
    b.Object("Specular", &TOrnLight::fSpecular);
    ORN_PROP(b, TOrnLight, CutOff, 180.0);
    b.Object("Direction", &TOrnLight::fDirection);
    // The kind before the cut-off: a new kind resets it.
    b.Enum("ID", &TOrnLight::fID, &TOrnLight::SetID, idLight0, kLightIDNames).flags = pfReadFirst;
    b.Enum("Kind", &TOrnLight::fKind, &TOrnLight::SetKind, lkPoint, kLightKindNames).flags = pfReadFirst;
}

} // namespace orn
