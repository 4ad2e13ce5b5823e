#pragma once

#include <orn/host/TComponentSet.h>
#include <orn/host/TPersistent.h>
#include <orn/host/TSet.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace orn {

enum TOperation { opInsert, opRemove };

enum TComponentStateItem { csLoading, csReading, csWriting, csDestroying, csDesigning };
using TComponentState = TSet<TComponentStateItem>;

/// A component of the host framework: it has an owner that deletes it, a name unique among the
/// owner's components, and hears of components being inserted and removed.
///
/// References between components are raw pointers. A component that keeps one asks the other for
/// FreeNotification and clears the pointer in Notification(other, opRemove). Handlers of
/// Notification must only compare and clear pointers: the component being removed may already be
/// partly destroyed. Notifications reach only those that asked for them (FreeNotification, or
/// Listening to the owner), so inserting into or removing from a large owner visits no one else.
class TComponent : public TPersistent {
    ORN_CLASS(TComponent)
public:
    /// Creates a component owned by owner (nullptr: owned by nobody, the caller deletes it).
    explicit TComponent(TComponent* owner);
    ~TComponent() override;
    TComponent(const TComponent&) = delete;
    TComponent& operator=(const TComponent&) = delete;

    TComponent* Owner() const { return fOwner; }
    int ComponentCount() const { return static_cast<int>(fComponents.size() - fHoles); }
    /// The owned component at index; throws EOrnError when index is out of range.
    TComponent* Components(int index) const;
    /// The owned component with this name (letter case ignored), or nullptr.
    TComponent* FindComponent(const std::string& name) const;
    /// Moves an owned component to another owner (nullptr: nobody).
    void InsertComponent(TComponent* component);
    void RemoveComponent(TComponent* component);

    const std::string& Name() const { return fName; }
    /// Renames: the empty name is always allowed; otherwise the name must be an identifier not used
    /// by another component of the same owner, or EOrnError is thrown and the name stays.
    virtual void SetName(const std::string& name);

    /// A listening component hears through Notification what its owner hears: every component
    /// inserted into or removed from the owner. It keeps listening when it moves to another owner.
    bool Listening() const { return fListening; }
    void SetListening(bool value);

    /// Asks to hear (through Notification) when component is destroyed; it hears of us too.
    void FreeNotification(TComponent* component);
    void RemoveFreeNotification(TComponent* component);

    TComponentState ComponentState() const { return fState; }
    /// Puts the component and everything it owns into (or out of) the design state.
    void SetDesigning(bool value);
    /// Marks the start of loading (csLoading); Loaded ends it.
    void Loading();
    /// Called after loading: clears csLoading. Descendants finish their set-up here.
    virtual void Loaded();

    /// Hears that component was inserted or is being removed; passes it on to owned components.
    virtual void Notification(TComponent* component, TOperation operation);

    static bool IsValidIdent(const std::string& name);

protected:
    /// Sends the removal notifications now, while the whole object still exists. The destructor
    /// sends them otherwise; a descendant whose removal makes others call back into it (a view
    /// whose display lists must be deleted in its context) calls this first in its destructor.
    void SendRemoveNotifications();

private:
    void Insert(TComponent* component);
    void Remove(TComponent* component);
    void Destroying();
    void Compact() const;

    TComponent* fOwner = nullptr;
    size_t fOwnerIndex = 0; // our slot in the owner's fComponents
    std::string fName;
    // A removed component leaves nullptr in its slot until the list is read by index or has
    // more holes than members: removing one of many costs no search and no shift.
    mutable std::vector<TComponent*> fComponents;
    mutable size_t fHoles = 0;
    std::unique_ptr<std::unordered_map<std::string, TComponent*>> fNames; // lower-case name
    TComponentSet fListeners;
    TComponentSet fFreeNotifies;
    TComponentState fState;
    bool fListening = false;
    bool fRemoveSent = false;
};

} // namespace orn
