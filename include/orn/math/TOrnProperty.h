#pragma once

#include <orn/host/TPersistent.h>
#include <orn/math/TOrnCustomExchange.h>

namespace orn {

/// A small value object owned by one component; it tells its owner of every change through its
/// one change handler, which the owner sets.
class TOrnProperty : public TPersistent, public TOrnExchangeItem {
    ORN_CLASS(TOrnProperty)
public:
    TOrnProperty() = default;
    TOrnProperty(const TOrnProperty&) = delete;
    TOrnProperty& operator=(const TOrnProperty&) = delete;

    /// The owner's change handler; called with this object after every change.
    TNotifyEvent OnChange;

    /// Calls OnChange when it is assigned.
    void Changed();
    /// Takes over the source's change handler (so notifications then go to the source's owner);
    /// descendants copy their values besides.
    void Assign(const TPersistent* source) override;
};

/// A value object that issues GL calls of its own in Render (the view's coordinate axes).
class TOrnRenderProperty : public TOrnProperty {
    ORN_CLASS(TOrnRenderProperty)
public:
    virtual void Render();
};

} // namespace orn
