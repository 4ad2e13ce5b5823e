#pragma once

#include <orn/host/TComponent.h>
#include <orn/math/TOrnPropList.h>
#include <orn/math/TOrnTransformation.h>

#include <memory>

namespace orn {

/// A component that reports its changes and writes itself to the scene file.
class TOrnComponent : public TComponent, public TOrnExchangeItem {
    ORN_CLASS(TOrnComponent)
public:
    explicit TOrnComponent(TComponent* owner) : TComponent(owner) {}

    /// The owner's change handler (a node sets it for its items).
    TNotifyEvent OnChange;
    /// Calls OnChange when it is assigned.
    virtual void Changed();
    /// From a TOrnComponent: copies the described properties of the classes both belong to (those
    /// marked pfNoAssign left), takes over its change handler and notifies.
    void Assign(const TPersistent* source) override;

    ORN_DECLARE_PROPERTIES(TOrnComponent)
};

/// A component placed by its own transformation (render components, cameras).
class TOrnTransformed : public TOrnComponent {
    ORN_CLASS(TOrnTransformed)
public:
    explicit TOrnTransformed(TComponent* owner);

    TOrnTransformation* Transformation() const { return fTransformation.get(); }
    /// Assigns value into the owned transformation and notifies; nullptr is ignored.
    void SetTransformation(const TOrnTransformation* value);
    /// A change of an owned value object: notifies the owner of this component.
    virtual void SubChange(TObject* sender);

    ORN_DECLARE_PROPERTIES(TOrnTransformed)

protected:
    /// A handler for owned value objects that forwards to SubChange.
    TNotifyEvent SubChangeHandler() {
        return [this](TObject* sender) { SubChange(sender); };
    }

private:
    std::unique_ptr<TOrnTransformation> fTransformation;
};

} // namespace orn
