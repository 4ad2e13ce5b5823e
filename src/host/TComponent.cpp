#include <orn/host/EOrnError.h>
#include <orn/host/TComponent.h>

#include <algorithm>
#include <cctype>

namespace orn {

namespace {

// Names are identifiers, so folding ASCII letters matches strcasecmp.
std::string nameKey(const std::string& name) {
    std::string key = name;
    for (char& ch : key)
        ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    return key;
}

} // namespace

TComponent::TComponent(TComponent* owner) {
    if (owner) owner->InsertComponent(this);
}

TComponent::~TComponent() {
    SendRemoveNotifications();
    while (!fComponents.empty()) {
        TComponent* last = fComponents.back();
        if (last)
            delete last; // each child leaves the list itself
        else {
            fComponents.pop_back();
            --fHoles;
        }
    }
    if (fOwner) fOwner->Remove(this);
}

void TComponent::SendRemoveNotifications() {
    if (fRemoveSent) return;
    fRemoveSent = true;
    Destroying();
    // Those that asked to hear of our end clear their references now.
    while (!fFreeNotifies.empty()) {
        TComponent* other = fFreeNotifies.back();
        fFreeNotifies.Remove(other);
        other->fFreeNotifies.Remove(this);
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
    for (TComponent* c : fComponents)
        if (c) c->Destroying();
}

void TComponent::Compact() const {
    if (fHoles == 0) return;
    std::erase(fComponents, nullptr);
    fHoles = 0;
    for (size_t i = 0; i < fComponents.size(); ++i)
        fComponents[i]->fOwnerIndex = i;
}

TComponent* TComponent::Components(int index) const {
    if (index < 0 || index >= ComponentCount())
        throw EOrnError("List index out of bounds (" + std::to_string(index) + ")");
    Compact();
    return fComponents[static_cast<size_t>(index)];
}

TComponent* TComponent::FindComponent(const std::string& name) const {
    if (name.empty() || !fNames) return nullptr;
    auto it = fNames->find(nameKey(name));
    return it == fNames->end() ? nullptr : it->second;
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
    if (fHoles > 16 && fHoles * 2 > fComponents.size()) Compact();
    component->fOwnerIndex = fComponents.size();
    fComponents.push_back(component);
    component->fOwner = this;
    if (!component->fName.empty()) {
        if (!fNames) fNames = std::make_unique<std::unordered_map<std::string, TComponent*>>();
        (*fNames)[nameKey(component->fName)] = component;
    }
    if (component->fListening) fListeners.Add(component);
}

void TComponent::Remove(TComponent* component) {
    size_t i = component->fOwnerIndex;
    if (i >= fComponents.size() || fComponents[i] != component)
        i = static_cast<size_t>(std::find(fComponents.begin(), fComponents.end(), component) -
                                fComponents.begin());
    if (i < fComponents.size()) {
        fComponents[i] = nullptr;
        ++fHoles;
        while (!fComponents.empty() && !fComponents.back()) {
            fComponents.pop_back();
            --fHoles;
        }
    }
    if (fNames && !component->fName.empty()) {
        auto it = fNames->find(nameKey(component->fName));
        if (it != fNames->end() && it->second == component) fNames->erase(it);
    }
    fListeners.Remove(component);
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
    if (fOwner && fOwner->fNames && !fName.empty()) fOwner->fNames->erase(nameKey(fName));
    fName = name;
    if (fOwner && !fName.empty()) {
        if (!fOwner->fNames)
            fOwner->fNames = std::make_unique<std::unordered_map<std::string, TComponent*>>();
        (*fOwner->fNames)[nameKey(fName)] = this;
    }
}

void TComponent::SetListening(bool value) {
    if (value == fListening) return;
    fListening = value;
    if (!fOwner) return;
    if (value)
        fOwner->fListeners.Add(this);
    else
        fOwner->fListeners.Remove(this);
}

void TComponent::FreeNotification(TComponent* component) {
    if (!component || component == this) return;
    if (fFreeNotifies.Add(component)) component->fFreeNotifies.Add(this);
}

void TComponent::RemoveFreeNotification(TComponent* component) {
    if (!component) return;
    fFreeNotifies.Remove(component);
    component->fFreeNotifies.Remove(this);
}

void TComponent::SetDesigning(bool value) {
    if (value)
        fState.Include(csDesigning);
    else
        fState.Exclude(csDesigning);
    for (TComponent* c : fComponents)
        if (c) c->SetDesigning(value);
}

void TComponent::Loading() { fState.Include(csLoading); }

void TComponent::Loaded() { fState.Exclude(csLoading); }

void TComponent::Notification(TComponent* component, TOperation operation) {
    if (operation == opRemove && component) RemoveFreeNotification(component);
    // Index walk from the end: a handler may delete components or change the set.
    for (size_t i = fListeners.size(); i-- > 0;) {
        if (i >= fListeners.size()) continue;
        TComponent* c = fListeners[i];
        if (c != component) c->Notification(component, operation);
    }
}

} // namespace orn
