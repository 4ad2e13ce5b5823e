#include <orn/state/TOrnAttributes.h>

#include <orn/scene/TOrnObject.h>
#include <orn/scene/TOrnRegistry.h>

#include "state/detail/CopyColor.h"

#include <strings.h>

namespace orn {

namespace {

void enableIf(GLenum cap, bool on) {
    if (on)
        glEnable(cap);
    else
        glDisable(cap);
}

GLenum qualityHint(TOrnQuality q) {
    switch (q) {
    case quFastest:
        return GL_FASTEST;
    case quNicest:
        return GL_NICEST;
    default:
        return GL_DONT_CARE;
    }
}

// The pattern rotated left by the low four bits of shift.
GLushort stipplePattern(TOrnLineStipple stipple, std::int32_t shift) {
    const std::uint32_t p = kLineStipplePatterns[stipple];
    const std::uint32_t s = static_cast<std::uint32_t>(shift) & 15u;
    return static_cast<GLushort>(((p >> (16 - s)) | (p << s)) & 0xFFFFu);
}

} // namespace

TOrnAttributes::TOrnAttributes(TComponent* owner)
    : TOrnRender(owner), fColorAmbient(std::make_unique<TOrnColor>()) {
    // Deliberately not linked to SubChange: only SetColorAmbient marks the attributes changed.
    fColorAmbient->SetColor(0x333333);
}

void TOrnAttributes::SetAntialiasing(bool value) {
    if (assignIfChanged(fAntialiasing, value)) Changed();
}

void TOrnAttributes::SetColorAmbient(const TOrnColor* value) {
    detail::CopyColor(*fColorAmbient, value);
    Changed();
}

void TOrnAttributes::SetCullFace(TOrnCullFace value) {
    if (assignIfChanged(fCullFace, value)) Changed();
}

void TOrnAttributes::SetDithering(bool value) {
    if (assignIfChanged(fDithering, value)) Changed();
}

void TOrnAttributes::SetLighting(bool value) {
    if (assignIfChanged(fLighting, value)) Changed();
}

void TOrnAttributes::SetLightTwoSide(bool value) {
    if (assignIfChanged(fLightTwoSide, value)) Changed();
}

void TOrnAttributes::SetPolygonMode(TOrnPolygonMode value) {
    if (assignIfChanged(fPolygonMode, value)) Changed();
}

void TOrnAttributes::SetPerspectiveCorrection(TOrnQuality value) {
    if (assignIfChanged(fPerspectiveCorrection, value)) Changed();
}

void TOrnAttributes::SetShadeModel(TOrnShadeModel value) {
    if (assignIfChanged(fShadeModel, value)) Changed();
}

void TOrnAttributes::SetTransparency(TOrnTransparencyMode value) {
    if (assignIfChanged(fTransparency, value)) Changed();
}

void TOrnAttributes::SetLineStipple(TOrnLineStipple value) {
    if (assignIfChanged(fLineStipple, value)) Changed();
}

void TOrnAttributes::SetPointSize(float value) {
    if (assignIfChanged(fPointSize, value)) Changed();
}

void TOrnAttributes::SetLineWidth(float value) {
    if (assignIfChanged(fLineWidth, value)) Changed();
}

void TOrnAttributes::Changed() {
    fStamp = TOrnRenderState::NewStamp();
    TOrnRender::Changed();
}

void TOrnAttributes::DoRender(TOrnCustomView* view) {
    TOrnRenderState* state = view ? view->RenderState() : nullptr;
    if (state) {
        if (state->IsApplied(ssAttributes, fStamp)) return;
        state->SetApplied(ssAttributes, fStamp);
    }
    TOrnRender::DoRender(view);

    // The hint targets are the capabilities themselves, not the *_SMOOTH_HINT enumerants: kept.
    if (fAntialiasing) {
        glEnable(GL_POINT_SMOOTH);
        glHint(GL_POINT_SMOOTH, GL_NICEST);
        glEnable(GL_LINE_SMOOTH);
        glHint(GL_LINE_SMOOTH, GL_NICEST);
        glEnable(GL_POLYGON_SMOOTH);
        glHint(GL_POLYGON_SMOOTH, GL_NICEST);
    } else {
        glDisable(GL_POINT_SMOOTH);
        glDisable(GL_LINE_SMOOTH);
        glDisable(GL_POLYGON_SMOOTH);
    }

    float ambient[4];
    fColorAmbient->GetParams(ambient);
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, ambient);

    if (fCullFace == cfNone) {
        glDisable(GL_CULL_FACE);
    } else {
        glEnable(GL_CULL_FACE);
        glCullFace(fCullFace == cfFront ? GL_FRONT : GL_BACK);
    }

    enableIf(GL_DITHER, fDithering);
    enableIf(GL_LIGHTING, fLighting);
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, fLightTwoSide ? 1 : 0);

    static constexpr GLenum kPolygonModes[] = {GL_POINT, GL_LINE, GL_FILL};
    glPolygonMode(GL_FRONT_AND_BACK, kPolygonModes[fPolygonMode <= pmFill ? fPolygonMode : pmFill]);
    glHint(GL_PERSPECTIVE_CORRECTION_HINT, qualityHint(fPerspectiveCorrection));
    glShadeModel(fShadeModel == smFlat ? GL_FLAT : GL_SMOOTH);

    switch (fTransparency) {
    case tmAlpha:
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        break;
    case tmAddAlpha:
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE);
        break;
    case tmAddColor:
        glEnable(GL_BLEND);
        glBlendFunc(GL_DST_COLOR, GL_SRC_COLOR);
        break;
    case tmSubColor:
        glEnable(GL_BLEND);
        glBlendFunc(GL_ONE_MINUS_DST_COLOR, GL_ONE_MINUS_SRC_COLOR);
        break;
    default:
        glDisable(GL_BLEND);
        break;
    }

    if (fLineStipple >= lsSolid) {
        glDisable(GL_LINE_STIPPLE);
    } else {
        glLineStipple(StippleFactor, stipplePattern(fLineStipple, StippleShift));
        glEnable(GL_LINE_STIPPLE);
    }

    glLineWidth(fLineWidth);
    glPointSize(fPointSize);
}

// Declared by the object; defined here, where the attributes are complete types.
void TOrnObject::SetAttributes(TOrnAttributes* value) {
    fAttributes = value;
    SetStateRef(fAttributesRender, value);
}

ORN_REGISTER_RENDER_CLASS(TOrnAttributes, "Orn")

ORN_DESCRIBE_PROPERTIES(TOrnAttributes, &TOrnRender::ClassProperties()) {
    ORN_PROP(b, TOrnAttributes, Antialiasing, false);
    b.Enum("CullFace", &TOrnAttributes::fCullFace, &TOrnAttributes::SetCullFace, cfNone, kCullFaceNames);
    ORN_PROP(b, TOrnAttributes, Dithering, false).flags = pfNoAssign;
    ORN_PROP(b, TOrnAttributes, Lighting, false);
    ORN_PROP(b, TOrnAttributes, LightTwoSide, false);
    b.Enum("LineStipple", &TOrnAttributes::fLineStipple, &TOrnAttributes::SetLineStipple, lsSolid,
           kLineStippleNames);
    ORN_PROP(b, TOrnAttributes, LineWidth, 0.0).flags = pfNoAssign;
    b.Enum("PerspectiveCorrection", &TOrnAttributes::fPerspectiveCorrection,
           &TOrnAttributes::SetPerspectiveCorrection, quDontCare, kQualityNames)
        .flags = pfNoAssign;
    ORN_PROP(b, TOrnAttributes, PointSize, 1.0).flags = pfNoAssign;
    b.Enum("PolygonMode", &TOrnAttributes::fPolygonMode, &TOrnAttributes::SetPolygonMode, pmFill,
           kPolygonModeNames);
    b.Enum("ShadeModel", &TOrnAttributes::fShadeModel, &TOrnAttributes::SetShadeModel, smSmooth,
           kShadeModelNames);
    b.Enum("Transparency", &TOrnAttributes::fTransparency, &TOrnAttributes::SetTransparency, tmNone,
           kTransparencyModeNames);
    b.Object("ColorAmbient", &TOrnAttributes::fColorAmbient);
    b.Access<std::int32_t>(
         "StippleShift", [](const TOrnAttributes& a) { return a.StippleShift; },
         [](TOrnAttributes& a, std::int32_t v) { a.StippleShift = v; }, 0)
        .flags = pfNoAssign;
    b.Access<std::int32_t>(
         "StippleFactor", [](const TOrnAttributes& a) { return a.StippleFactor; },
         [](TOrnAttributes& a, std::int32_t v) { a.StippleFactor = v; }, 1)
        .flags = pfNoAssign;
}

} // namespace orn
