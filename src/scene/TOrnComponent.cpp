#include <orn/scene/TOrnComponent.h>

#include <orn/host/EOrnError.h>

#include <strings.h>

namespace orn {

void TOrnComponent::Changed() {
    if (OnChange) OnChange(this);
}

void TOrnComponent::Assign(const TPersistent* source) {
    auto* c = dynamic_cast<const TOrnComponent*>(source);
    if (!c) return;
    AssignProperties(c);
    OnChange = c->OnChange;
    Changed();
}

TOrnTransformed::TOrnTransformed(TComponent* owner)
    : TOrnComponent(owner), fTransformation(std::make_unique<TOrnTransformation>()) {
    fTransformation->OnChange = SubChangeHandler();
}

void TOrnTransformed::SetTransformation(const TOrnTransformation* value) {
    if (!value) return;
    fTransformation->Assign(value);
    Changed();
}

void TOrnTransformed::SubChange(TObject*) {
    Changed();
}

ORN_DESCRIBE_PROPERTIES(TOrnComponent, nullptr) {
    b.Access<std::string>(
         "name", [](const TOrnComponent& c) { return c.Name(); },
         [](TOrnComponent& c, std::string name) {
             try {
                 c.SetName(name);
             } catch (const EOrnError&) {
                 // An invalid or taken name: keep the old one and read on.
             }
         },
         "")
        .flags = pfIdentifier | pfNoAssign;
}

ORN_DESCRIBE_PROPERTIES(TOrnTransformed, &TOrnComponent::ClassProperties()) {
    b.Object("Transformation", &TOrnTransformed::fTransformation);
}

} // namespace orn
