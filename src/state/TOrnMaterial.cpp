#include <orn/state/TOrnMaterial.h>

#include <orn/scene/TOrnObject.h>
#include <orn/scene/TOrnRegistry.h>

#include "state/detail/CopyColor.h"

#include <strings.h>

namespace orn {

namespace {

constexpr const char* kColorTags[4] = {"Ambient", "Diffuse", "Specular", "Emission"};

} // namespace

TOrnMaterial::TOrnMaterial(TComponent* owner) : TOrnRender(owner) {
    for (auto& c : fColors) {
        c = std::make_unique<TOrnColor>();
        c->OnChange = SubChangeHandler();
    }
    fColors[0]->SetColor(0x333333);
    fColors[1]->SetColor(0xCCCCCC);
}

void TOrnMaterial::Changed() {
    fStamp = TOrnRenderState::NewStamp();
    TOrnRender::Changed();
}

void TOrnMaterial::SetFace(TMaterialFace value) {
    if (assignIfChanged(fFace, value)) Changed();
}

void TOrnMaterial::SetPartColor(int index, const TOrnColor* value) {
    if (index < 1 || index > 4) return;
    detail::CopyColor(*fColors[index - 1], value);
}

void TOrnMaterial::SetShininess(std::int32_t value) {
    if (value < 0 || value > 128) return;
    if (assignIfChanged(fShininess, value)) Changed();
}

void TOrnMaterial::DoRender(TOrnCustomView* view) {
    TOrnRenderState* state = view ? view->RenderState() : nullptr;
    if (state) {
        if (state->IsApplied(ssMaterial, fStamp)) return;
        state->SetApplied(ssMaterial, fStamp);
    }
    TOrnRender::DoRender(view);
    const GLenum face = fFace == mfFront ? GL_FRONT : fFace == mfBack ? GL_BACK : GL_FRONT_AND_BACK;
    static constexpr GLenum kParts[4] = {GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR, GL_EMISSION};
    for (int i = 0; i < 4; ++i) {
        float rgba[4];
        fColors[i]->GetParams(rgba);
        glMaterialfv(face, kParts[i], rgba);
    }
    glMateriali(face, GL_SHININESS, fShininess);
}

// Declared by the object; defined here, where the material is a complete type.
void TOrnObject::SetMaterial(TOrnMaterial* value) {
    fMaterial = value;
    SetStateRef(fMaterialRender, value);
}

ORN_REGISTER_RENDER_CLASS(TOrnMaterial, "Orn")

ORN_DESCRIBE_PROPERTIES(TOrnMaterial, &TOrnRender::ClassProperties()) {
    b.Enum("Face", &TOrnMaterial::fFace, &TOrnMaterial::SetFace, mfFrontBack, kMaterialFaceNames);
    for (int i = 0; i < 4; ++i)
        b.ObjectAt(kColorTags[i], [i](const TOrnMaterial& m) { return m.fColors[i].get(); });
    ORN_PROP(b, TOrnMaterial, Shininess, 0);
}

} // namespace orn
