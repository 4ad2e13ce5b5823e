#include <orn/host/EOrnError.h>
#include <orn/host/TComponent.h>

#include <algorithm>
#include <cctype>
#include <strings.h>

namespace orn {

namespace {

void eraseOne(std::vector<TComponent*>& list, TComponent* c) {
    auto it = std::find(list.begin(), list.end(), c);
    if (it != list.end()) list.erase(it);
}

} // namespace

TComponent::TComponent(TComponent* owner) {
    if (owner) owner->InsertComponent(this);
}

TComponent::~TComponent() {
    SendRemoveNotifications();
    while (!fComponents.empty()) delete fComponents.back(); // each child leaves the list itself
    if (fOwner) fOwner->Remove(this);
}

void TComponent::SendRemoveNotifications() {
    if (fRemoveSent) return;
    fRemoveSent = true;
    Destroying();
    // Those that asked to hear of our end clear their references now.
    while (!fFreeNotifies.empty()) {
        TComponent* other = fFreeNotifies.back();
        fFreeNotifies.pop_back();
        eraseOne(other->fFreeNotifies, this);
        other->Notification(this, opRemove);
    }
    // While the owner itself goes, its other components go too and hear nothing: references that
    // must outlive that order are kept through FreeNotification. This keeps destroying a form of n
    // components linear instead of quadratic.
    if (fOwner && !fOwner->fState.Contains(csDestroying)) fOwner->Notification(this, opRemove);
}

void TComponent::Destroying() {
    if (fState.Contains(csDestroying)) return;
    fState.Include(csDestroying);
    for (TComponent* c : fComponents) c->Destroying();
}

TComponent* TComponent::Components(int index) const {
    if (index < 0 || index >= ComponentCount())
        throw EOrnError("List index out of bounds (" + std::to_string(index) + ")");
    return fComponents[static_cast<size_t>(index)];
}

TComponent* TComponent::FindComponent(const std::string& name) const {
    if (name.empty()) return nullptr;
    for (TComponent* c : fComponents)
        if (strcasecmp(c->fName.c_str(), name.c_str()) == 0) return c;
    return nullptr;
}

void TComponent::InsertComponent(TComponent* component) {
    if (!component || component->fOwner == this) return;
    if (!component->fName.empty() && FindComponent(component->fName))
        throw EOrnError("A component named " + component->fName + " already exists");
    if (component->fOwner) component->fOwner->RemoveComponent(component);
    Insert(component);
    if (fState.Contains(csDesigning)) component->SetDesigning(true);
    Notification(component, opInsert);
}

void TComponent::RemoveComponent(TComponent* component) {
    if (!component || component->fOwner != this) return;
    Notification(component, opRemove);
    Remove(component);
}

void TComponent::Insert(TComponent* component) {
    fComponents.push_back(component);
    component->fOwner = this;
}

void TComponent::Remove(TComponent* component) {
    eraseOne(fComponents, component);
    component->fOwner = nullptr;
}

bool TComponent::IsValidIdent(const std::string& name) {
    if (name.empty()) return false;
    auto c0 = static_cast<unsigned char>(name[0]);
    if (!(std::isalpha(c0) || c0 == '_')) return false;
    return std::all_of(name.begin() + 1, name.end(), [](char ch) {
        auto u = static_cast<unsigned char>(ch);
        return std::isalnum(u) || u == '_';
    });
}

void TComponent::SetName(const std::string& name) {
    if (name == fName) return;
    if (!name.empty() && !IsValidIdent(name))
        throw EOrnError("'" + name + "' is not a valid component name");
    if (fOwner && !name.empty()) {
        TComponent* other = fOwner->FindComponent(name);
        if (other && other != this) throw EOrnError("A component named " + name + " already exists");
    }
    fName = name;
}

void TComponent::FreeNotification(TComponent* component) {
    if (!component || component == this) return;
    if (std::find(fFreeNotifies.begin(), fFreeNotifies.end(), component) == fFreeNotifies.end()) {
        fFreeNotifies.push_back(component);
        component->fFreeNotifies.push_back(this);
    }
}

void TComponent::RemoveFreeNotification(TComponent* component) {
    if (!component) return;
    eraseOne(fFreeNotifies, component);
    eraseOne(component->fFreeNotifies, this);
}

void TComponent::SetDesigning(bool value) {
    if (value)
        fState.Include(csDesigning);
    else
        fState.Exclude(csDesigning);
    for (TComponent* c : fComponents) c->SetDesigning(value);
}

void TComponent::Loading() { fState.Include(csLoading); }

void TComponent::Loaded() { fState.Exclude(csLoading); }

void TComponent::Notification(TComponent* component, TOperation operation) {
    if (operation == opRemove && component) RemoveFreeNotification(component);
    // Index walk from the end: a handler may delete components or change the list.
    for (size_t i = fComponents.size(); i-- > 0;) {
        if (i >= fComponents.size()) continue;
        TComponent* c = fComponents[i];
        if (c != component) c->Notification(component, operation);
    }
}

} // namespace orn
