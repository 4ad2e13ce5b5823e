#pragma once

#include <functional>

namespace orn {

/// Gives a class its run-time name, as the host framework's class references do.
#define ORN_CLASS(Name)                                                                                   \
public:                                                                                                   \
    static constexpr const char* StaticClassName() { return #Name; }                                      \
    const char* ClassName() const override { return #Name; }                                              \
                                                                                                          \
private:

/// Root of every class that has a run-time name.
class TObject {
public:
    virtual ~TObject() = default;
    static constexpr const char* StaticClassName() { return "TObject"; }
    virtual const char* ClassName() const { return "TObject"; }
};

/// The host's notify event: a handler that receives the object that changed; empty = unassigned.
using TNotifyEvent = std::function<void(TObject* sender)>;

/// An object whose values can be copied from another of its family with Assign.
class TPersistent : public TObject {
    ORN_CLASS(TPersistent)
public:
    /// Copies from Source when it is of a suitable family; any other source is ignored.
    virtual void Assign(const TPersistent* source);

protected:
    /// Lets a source copy itself into a destination that does not know it; does nothing here.
    virtual void AssignTo(TPersistent* dest) const;
};

/// assignIfChanged stores value into field and tells whether it differed: the compare-and-store
/// step of every setter that must notify only on a real change.
template <class T, class U> bool assignIfChanged(T& field, const U& value) {
    if (field == value) return false;
    field = value;
    return true;
}

} // namespace orn
