#include <orn/state/TOrnFog.h>

#include <orn/scene/TOrnRegistry.h>

#include "state/detail/CopyColor.h"

#include <strings.h>

namespace orn {

TOrnFog::TOrnFog(TComponent* owner) : TOrnRender(owner), fColor(std::make_unique<TOrnColor>()) {
    fColor->OnChange = SubChangeHandler();
}

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
    detail::CopyColor(*fColor, value);
}

void TOrnFog::SetQuality(TOrnQuality value) {
    if (assignIfChanged(fQuality, value)) Changed();
}

void TOrnFog::Assign(const TPersistent* source) {
    // A source of another family changes nothing, not even the render values.
    if (dynamic_cast<const TOrnFog*>(source)) TOrnRender::Assign(source);
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

ORN_REGISTER_RENDER_CLASS(TOrnFog, "Orn")

ORN_DESCRIBE_PROPERTIES(TOrnFog, &TOrnRender::ClassProperties()) {
    ORN_PROP(b, TOrnFog, Density, 0.2);
    ORN_PROP(b, TOrnFog, EndDepth, 1.0);
    b.Enum("Mode", &TOrnFog::fMode, &TOrnFog::SetMode, fmExp, kFogModeNames);
    b.Enum("Quality", &TOrnFog::fQuality, &TOrnFog::SetQuality, quDontCare, kQualityNames).flags = pfNoAssign;
    ORN_PROP(b, TOrnFog, StartDepth, 0.0);
    b.Object("Color", &TOrnFog::fColor);
}

} // namespace orn
