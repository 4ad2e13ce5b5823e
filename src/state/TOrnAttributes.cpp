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

void TOrnAttributes::Assign(const TPersistent* source) {
    if (auto* a = dynamic_cast<const TOrnAttributes*>(source); a && a != this) {
        fAntialiasing = a->fAntialiasing;
        detail::CopyColor(*fColorAmbient, a->fColorAmbient.get());
        fCullFace = a->fCullFace;
        fLighting = a->fLighting;
        fLightTwoSide = a->fLightTwoSide;
        fPolygonMode = a->fPolygonMode;
        fShadeModel = a->fShadeModel;
        fTransparency = a->fTransparency;
        fLineStipple = a->fLineStipple;
    }
    TOrnRender::Assign(source);
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

void TOrnAttributes::WriteValues(TOrnCustomExchange& exchange) {
    TOrnRender::WriteValues(exchange);
    exchange.WriteBool("Antialiasing", fAntialiasing, false);
    exchange.WriteEnum("CullFace", fCullFace, -1, kCullFaceNames);
    exchange.WriteBool("Dithering", fDithering, false);
    exchange.WriteBool("Lighting", fLighting, false);
    exchange.WriteBool("LightTwoSide", fLightTwoSide, false);
    exchange.WriteEnum("LineStipple", fLineStipple, -1, kLineStippleNames);
    exchange.WriteFloat("LineWidth", fLineWidth, 0.0);
    exchange.WriteEnum("PerspectiveCorrection", fPerspectiveCorrection, -1, kQualityNames);
    exchange.WriteFloat("PointSize", fPointSize, 1.0);
    exchange.WriteEnum("PolygonMode", fPolygonMode, -1, kPolygonModeNames);
    exchange.WriteEnum("ShadeModel", fShadeModel, -1, kShadeModelNames);
    exchange.WriteEnum("Transparency", fTransparency, -1, kTransparencyModeNames);
    fColorAmbient->WriteComp(exchange, "ColorAmbient");
}

void TOrnAttributes::ReadValues(TOrnCustomExchange& exchange) {
    TOrnRender::ReadValues(exchange);
    SetAntialiasing(exchange.ReadBool("Antialiasing", fAntialiasing));
    SetCullFace(static_cast<TOrnCullFace>(exchange.ReadEnum("CullFace", fCullFace, kCullFaceNames)));
    SetDithering(exchange.ReadBool("Dithering", fDithering));
    SetLighting(exchange.ReadBool("Lighting", fLighting));
    SetLightTwoSide(exchange.ReadBool("LightTwoSide", fLightTwoSide));
    SetLineStipple(
        static_cast<TOrnLineStipple>(exchange.ReadEnum("LineStipple", fLineStipple, kLineStippleNames)));
    SetLineWidth(static_cast<float>(exchange.ReadFloat("LineWidth", fLineWidth)));
    SetPerspectiveCorrection(static_cast<TOrnQuality>(
        exchange.ReadEnum("PerspectiveCorrection", fPerspectiveCorrection, kQualityNames)));
    SetPointSize(static_cast<float>(exchange.ReadFloat("PointSize", fPointSize)));
    SetPolygonMode(
        static_cast<TOrnPolygonMode>(exchange.ReadEnum("PolygonMode", fPolygonMode, kPolygonModeNames)));
    SetShadeModel(
        static_cast<TOrnShadeModel>(exchange.ReadEnum("ShadeModel", fShadeModel, kShadeModelNames)));
    SetTransparency(static_cast<TOrnTransparencyMode>(
        exchange.ReadEnum("Transparency", fTransparency, kTransparencyModeNames)));
}

TOrnExchangeItem* TOrnAttributes::ReadComp(TOrnCustomExchange& exchange, const std::string& tagName) {
    if (strcasecmp(tagName.c_str(), "ColorAmbient") != 0) return TOrnRender::ReadComp(exchange, tagName);
    fColorAmbient->ReadValues(exchange);
    return fColorAmbient.get();
}

// Declared by the object; defined here, where the attributes are complete types.
void TOrnObject::SetAttributes(TOrnAttributes* value) {
    fAttributes = value;
    SetStateRef(fAttributesRender, value);
}

ORN_REGISTER_RENDER_CLASS(TOrnAttributes, "Orn")

} // namespace orn
