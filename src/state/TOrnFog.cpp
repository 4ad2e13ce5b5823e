#include <orn/state/TOrnFog.h>

#include <orn/scene/TOrnRegistry.h>

#include "state/detail/CopyColor.h"

#include <strings.h>

namespace orn {

TOrnFog::TOrnFog(TComponent* owner) : TOrnRender(owner), fColor(std::make_unique<TOrnColor>()) {}

void TOrnFog::SetMode(TOrnFogMode value) {
    if (assignIfChanged(fMode, value)) Changed();
}

void TOrnFog::SetDensity(float value) {
    if (assignIfChanged(fDensity, value)) Changed();
}

void TOrnFog::SetStartDepth(float value) {
    if (assignIfChanged(fStartDepth, value)) Changed();
}

void TOrnFog::SetEndDepth(float value) {
    if (assignIfChanged(fEndDepth, value)) Changed();
}

void TOrnFog::SetColor(const TOrnColor* value) {
    if (!value) return;
    detail::CopyColor(*fColor, value);
    Changed();
}

void TOrnFog::SetQuality(TOrnQuality value) {
    if (assignIfChanged(fQuality, value)) Changed();
}

void TOrnFog::Assign(const TPersistent* source) {
    auto* f = dynamic_cast<const TOrnFog*>(source);
    if (!f || f == this) return; // a source of another family changes nothing
    TOrnRender::Assign(source);
    fMode = f->fMode;
    fDensity = f->fDensity;
    fStartDepth = f->fStartDepth;
    fEndDepth = f->fEndDepth;
    detail::CopyColor(*fColor, f->fColor.get());
    OnChange = f->OnChange;
    Changed();
}

void TOrnFog::DoRender(TOrnCustomView* view) {
    TOrnRender::DoRender(view);
    glEnable(GL_FOG);
    static constexpr GLint kModes[] = {GL_LINEAR, GL_EXP, GL_EXP2};
    glFogi(GL_FOG_MODE, kModes[fMode <= fmExp2 ? fMode : fmExp]);
    glFogf(GL_FOG_DENSITY, fDensity);
    glFogf(GL_FOG_START, fStartDepth);
    glFogf(GL_FOG_END, fEndDepth);
    float rgba[4];
    fColor->GetParams(rgba);
    glFogfv(GL_FOG_COLOR, rgba);
    static constexpr GLenum kHints[] = {GL_FASTEST, GL_NICEST, GL_DONT_CARE};
    glHint(GL_FOG_HINT, kHints[fQuality <= quDontCare ? fQuality : quDontCare]);
}

void TOrnFog::DoDisable(TOrnCustomView* view) {
    TOrnRender::DoDisable(view);
    glDisable(GL_FOG);
}

void TOrnFog::WriteValues(TOrnCustomExchange& exchange) {
    TOrnRender::WriteValues(exchange);
    exchange.WriteFloat("Density", fDensity, 0.2);
    exchange.WriteFloat("EndDepth", fEndDepth, 1.0);
    exchange.WriteEnum("Mode", fMode, -1, kFogModeNames);
    exchange.WriteEnum("Quality", fQuality, -1, kQualityNames);
    exchange.WriteFloat("StartDepth", fStartDepth, 0.0);
    fColor->WriteComp(exchange, "Color");
}

void TOrnFog::ReadValues(TOrnCustomExchange& exchange) {
    TOrnRender::ReadValues(exchange);
    SetDensity(static_cast<float>(exchange.ReadFloat("Density", fDensity)));
    SetEndDepth(static_cast<float>(exchange.ReadFloat("EndDepth", fEndDepth)));
    SetMode(static_cast<TOrnFogMode>(exchange.ReadEnum("Mode", fMode, kFogModeNames)));
    SetQuality(static_cast<TOrnQuality>(exchange.ReadEnum("Quality", fQuality, kQualityNames)));
    SetStartDepth(static_cast<float>(exchange.ReadFloat("StartDepth", fStartDepth)));
}

TOrnExchangeItem* TOrnFog::ReadComp(TOrnCustomExchange& exchange, const std::string& tagName) {
    if (strcasecmp(tagName.c_str(), "Color") != 0) return TOrnRender::ReadComp(exchange, tagName);
    fColor->ReadValues(exchange);
    return fColor.get();
}

ORN_REGISTER_RENDER_CLASS(TOrnFog, "Orn")

} // namespace orn
