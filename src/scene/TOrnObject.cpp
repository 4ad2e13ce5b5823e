#include <orn/scene/TOrnObject.h>

#include "scene/detail/Exactly.h"

#include <cstring>
#include <strings.h>

namespace orn {

using detail::exactly;

TOrnObject::TOrnObject(TComponent* owner) : TOrnRender(owner), fColor(std::make_unique<TOrnColor>()) {
    fColor->OnChange = SubChangeHandler();
    fColor->SetColor(clWhite);
}

void TOrnObject::SetObjectName(const std::string& value) {
    if (assignIfChanged(fObjectName, value)) Changed();
}

void TOrnObject::SetObjectID(std::int32_t value) {
    if (assignIfChanged(fObjectID, value)) Changed();
}

void TOrnObject::SetColor(const TOrnColor* value) {
    if (value) fColor->Assign(value);
}

void TOrnObject::SetColorMaterial(std::uint8_t value) {
    if (assignIfChanged(fColorMaterial, value)) Changed();
}

void TOrnObject::SetName(const std::string& name) {
    const bool follow = fObjectName == Name() && !ComponentState().Contains(csLoading);
    TOrnRender::SetName(name);
    if (follow) fObjectName = Name();
}

void TOrnObject::SetStateRef(TOrnRender*& slot, TOrnRender* value) {
    if (slot == value) return;
    TOrnRender* old = slot;
    slot = value;
    // Keep hearing of a component that the other slot still holds.
    if (old && old != fAttributesRender && old != fMaterialRender) RemoveFreeNotification(old);
    if (value) FreeNotification(value);
    Changed();
}

bool TOrnObject::GetBounds(TOrnBounds&) { return false; }

bool TOrnObject::IntersectRay(int, const TOrnMathVector&, const TOrnMathVector&, double&) {
    return false;
}

void TOrnObject::Notification(TComponent* component, TOperation operation) {
    TOrnRender::Notification(component, operation);
    if (operation != opRemove || !component) return;
    if (component == fAttributesRender) {
        fAttributesRender = nullptr;
        fAttributes = nullptr;
    }
    if (component == fMaterialRender) {
        fMaterialRender = nullptr;
        fMaterial = nullptr;
    }
}

void TOrnObject::BeforeRender(TOrnCustomView* view) {
    TOrnRender::BeforeRender(view);
    if (WantsNames(view)) glPushName(static_cast<GLuint>(view->GetNextID(this, -1)));
}

void TOrnObject::DoRender(TOrnCustomView* view) {
    float rgba[4];
    fColor->GetParams(rgba);
    glColor4fv(rgba);
    if (fAttributesRender) fAttributesRender->Render(view);
    if (fMaterialRender) fMaterialRender->Render(view);
    static constexpr GLenum kModes[] = {GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR, GL_EMISSION,
                                        GL_AMBIENT_AND_DIFFUSE};
    if (fColorMaterial >= 1 && fColorMaterial <= 5) {
        glEnable(GL_COLOR_MATERIAL);
        glColorMaterial(GL_FRONT_AND_BACK, kModes[fColorMaterial - 1]);
    }
}

std::uint64_t TOrnObject::ContentStamp() const {
    // Stamps only ever grow, so a changed component never gives an earlier sum back.
    return (fAttributesRender ? fAttributesRender->Stamp() : 0) +
           (fMaterialRender ? fMaterialRender->Stamp() : 0);
}

void TOrnObject::AfterRender(TOrnCustomView* view) {
    TOrnRender::AfterRender(view);
    if (fColorMaterial >= 1 && fColorMaterial <= 5) glDisable(GL_COLOR_MATERIAL);
    if (WantsNames(view)) glPopName();
}

ORN_DESCRIBE_PROPERTIES(TOrnObject, &TOrnRender::ClassProperties()) {
    ORN_PROP(b, TOrnObject, ObjectID, -1);
    ORN_PROP(b, TOrnObject, ObjectName, "");
    // A component of another class than the one named clears the slot.
    b.Reference(
        "Attributes", "TOrnAttributes",
        [](const TOrnObject& o) -> TComponent* { return o.fAttributesRender; },
        [](TOrnObject& o, TComponent* c) {
            o.fAttributes = exactly<TOrnAttributes>(c, "TOrnAttributes");
            o.SetStateRef(o.fAttributesRender, o.fAttributes ? dynamic_cast<TOrnRender*>(c) : nullptr);
        });
    b.Reference(
        "Material", "TOrnMaterial", [](const TOrnObject& o) -> TComponent* { return o.fMaterialRender; },
        [](TOrnObject& o, TComponent* c) {
            o.fMaterial = exactly<TOrnMaterial>(c, "TOrnMaterial");
            o.SetStateRef(o.fMaterialRender, o.fMaterial ? dynamic_cast<TOrnRender*>(c) : nullptr);
        });
    b.Object("Color", &TOrnObject::fColor);
    ORN_PROP(b, TOrnObject, ColorMaterial, 0);
}

} // namespace orn
