#include <orn/state/TOrnLight.h>

#include <orn/scene/TOrnRegistry.h>

#include "state/detail/CopyColor.h"

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

void TOrnLight::SetCutOff(float value) {
    if (value == fCutOff) return;
    if (fKind != lkSpot)
        fCutOff = 180.0f;
    else
        fCutOff = value < 0.0f ? 0.0f : value > 90.0f ? 90.0f : value;
    Changed();
}

void TOrnLight::Assign(const TPersistent* source) {
    if (auto* l = dynamic_cast<const TOrnLight*>(source); l && l != this) {
        fID = l->fID;
        detail::CopyColor(*fAmbient, l->fAmbient.get());
        detail::CopyColor(*fDiffuse, l->fDiffuse.get());
        detail::CopyColor(*fSpecular, l->fSpecular.get());
        fKind = l->fKind;
        fCutOff = l->fCutOff;
        fDirection->Assign(l->fDirection.get());
    }
    TOrnRender::Assign(source);
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

void TOrnLight::WriteValues(TOrnCustomExchange& exchange) {
    TOrnRender::WriteValues(exchange);
    fAmbient->WriteComp(exchange, "Ambient");
    fDiffuse->WriteComp(exchange, "Diffuse");
    fSpecular->WriteComp(exchange, "Specular");
    exchange.WriteFloat("CutOff", fCutOff, 180.0);
    fDirection->WriteComp(exchange, "Direction");
    exchange.WriteEnum("ID", fID, -1, kLightIDNames);
    exchange.WriteEnum("Kind", fKind, -1, kLightKindNames);
}

void TOrnLight::ReadValues(TOrnCustomExchange& exchange) {
    TOrnRender::ReadValues(exchange);
    SetID(static_cast<TLightID>(exchange.ReadEnum("ID", fID, kLightIDNames)));
    // The kind first: a new kind resets the cut-off that follows.
    SetKind(static_cast<TLightKind>(exchange.ReadEnum("Kind", fKind, kLightKindNames)));
    SetCutOff(static_cast<float>(exchange.ReadFloat("CutOff", fCutOff)));
}

TOrnExchangeItem* TOrnLight::ReadComp(TOrnCustomExchange& exchange, const std::string& tagName) {
    TOrnExchangeItem* item = nullptr;
    if (strcasecmp(tagName.c_str(), "Direction") == 0)
        item = fDirection.get();
    else if (strcasecmp(tagName.c_str(), "Ambient") == 0)
        item = fAmbient.get();
    else if (strcasecmp(tagName.c_str(), "Diffuse") == 0)
        item = fDiffuse.get();
    else if (strcasecmp(tagName.c_str(), "Specular") == 0)
        item = fSpecular.get();
    if (!item) return TOrnRender::ReadComp(exchange, tagName);
    item->ReadValues(exchange);
    return item;
}

ORN_REGISTER_RENDER_CLASS(TOrnLight, "Orn")

} // namespace orn
