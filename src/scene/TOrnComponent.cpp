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
    OnChange = c->OnChange;
    Changed();
}

void TOrnComponent::WriteValues(TOrnCustomExchange& exchange) { exchange.WriteString("name", Name(), ""); }

void TOrnComponent::ReadValues(TOrnCustomExchange& exchange) {
    try {
        SetName(exchange.ReadString("name", Name()));
    } catch (const EOrnError&) {
        // An invalid or taken name: keep the old one and read on.
    }
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

void TOrnTransformed::SubChange(TObject*) { Changed(); }

void TOrnTransformed::Assign(const TPersistent* source) {
    if (auto* t = dynamic_cast<const TOrnTransformed*>(source))
        fTransformation->Assign(t->fTransformation.get());
    TOrnComponent::Assign(source);
}

void TOrnTransformed::WriteValues(TOrnCustomExchange& exchange) {
    TOrnComponent::WriteValues(exchange);
    fTransformation->WriteComp(exchange, "Transformation");
}

TOrnExchangeItem* TOrnTransformed::ReadComp(TOrnCustomExchange& exchange, const std::string& tagName) {
    if (strcasecmp(tagName.c_str(), "Transformation") != 0) return TOrnComponent::ReadComp(exchange, tagName);
    fTransformation->ReadValues(exchange);
    return fTransformation.get();
}

} // namespace orn
