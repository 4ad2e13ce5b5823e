#pragma once

#include <orn/host/TInput.h>
#include <orn/scene/TOrnComponent.h>

#include <cstdint>

namespace orn {

/// Turns a view's key and mouse input into changes of one transformed component (usually the
/// camera). Each handler returns true when the scene changed, and the view then repaints.
class TOrnCustomController : public TOrnComponent {
    ORN_CLASS(TOrnCustomController)
public:
    explicit TOrnCustomController(TComponent* owner) : TOrnComponent(owner) {}
    ~TOrnCustomController() override;

    TOrnTransformed* Controlled() const { return fControlled; }
    virtual void SetControlled(TOrnTransformed* component);

    /// key is the host's virtual key code.
    virtual bool HandleKey(std::uint16_t key, TShiftState shift);
    virtual bool HandleMouseMove(TShiftState shift, int x, int y);
    virtual bool HandleMouseDown(TMouseButton button, TShiftState shift, int x, int y);
    virtual bool HandleMouseUp(TMouseButton button, TShiftState shift, int x, int y);

    void Notification(TComponent* component, TOperation operation) override;
    /// From a controller: copies Controlled.
    void Assign(const TPersistent* source) override;

private:
    TOrnTransformed* fControlled = nullptr;
};

} // namespace orn
