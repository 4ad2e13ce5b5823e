#include <orn/scene/TOrnObject.h>

#include <cstring>
#include <strings.h>

namespace orn {

namespace {

/// The state classes are only declared in this layer: a component whose class is exactly the one
/// named is reached through its complete object.
template <class T> T* exactly(TComponent* component, const char* className) {
    if (!component || std::strcmp(component->ClassName(), className) != 0) return nullptr;
    return static_cast<T*>(dynamic_cast<void*>(component));
}

} // namespace

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

void TOrnObject::Assign(const TPersistent* source) {
    TOrnRender::Assign(source);
    auto* o = dynamic_cast<const TOrnObject*>(source);
    if (!o) return;
    fObjectName = o->fObjectName;
    fObjectID = o->fObjectID;
    fColorMaterial = o->fColorMaterial;
    // The colour keeps this object as its owner, so its values are copied, not its handler.
    fColor->SetColor(o->fColor->Color());
    fColor->SetAlpha(o->fColor->Alpha());
    fAttributes = o->fAttributes;
    SetStateRef(fAttributesRender, o->fAttributesRender);
    fMaterial = o->fMaterial;
    SetStateRef(fMaterialRender, o->fMaterialRender);
}

bool TOrnObject::GetBounds(TOrnBounds&) { return false; }

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

void TOrnObject::WriteValues(TOrnCustomExchange& exchange) {
    TOrnRender::WriteValues(exchange);
    exchange.WriteInt("ObjectID", fObjectID, -1);
    exchange.WriteString("ObjectName", fObjectName, "");
    exchange.WriteReference("Attributes", fAttributesRender);
    exchange.WriteReference("Material", fMaterialRender);
    fColor->WriteComp(exchange, "Color");
}

void TOrnObject::ReadValues(TOrnCustomExchange& exchange) {
    TOrnRender::ReadValues(exchange);
    SetObjectID(exchange.ReadInt32("ObjectID", fObjectID));
    SetObjectName(exchange.ReadString("ObjectName", fObjectName));
    // Resolved once the whole scene is read; a component of another class clears the slot.
    exchange.ReadReference("Attributes", [this](TComponent* c) {
        fAttributes = exactly<TOrnAttributes>(c, "TOrnAttributes");
        SetStateRef(fAttributesRender, fAttributes ? dynamic_cast<TOrnRender*>(c) : nullptr);
    });
    exchange.ReadReference("Material", [this](TComponent* c) {
        fMaterial = exactly<TOrnMaterial>(c, "TOrnMaterial");
        SetStateRef(fMaterialRender, fMaterial ? dynamic_cast<TOrnRender*>(c) : nullptr);
    });
}

TOrnExchangeItem* TOrnObject::ReadComp(TOrnCustomExchange& exchange, const std::string& tagName) {
    if (strcasecmp(tagName.c_str(), "Color") != 0) return TOrnRender::ReadComp(exchange, tagName);
    fColor->ReadValues(exchange);
    return fColor.get();
}

} // namespace orn
