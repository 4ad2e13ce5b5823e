#include <orn/scene/TOrnCustomController.h>

namespace orn {

TOrnCustomController::~TOrnCustomController() {
    if (fControlled) RemoveFreeNotification(fControlled);
}

void TOrnCustomController::SetControlled(TOrnTransformed* component) {
    if (fControlled == component) return;
    if (fControlled) RemoveFreeNotification(fControlled);
    fControlled = component;
    if (fControlled) FreeNotification(fControlled);
}

bool TOrnCustomController::HandleKey(std::uint16_t, TShiftState) { return false; }
bool TOrnCustomController::HandleMouseMove(TShiftState, int, int) { return false; }
bool TOrnCustomController::HandleMouseDown(TMouseButton, TShiftState, int, int) { return false; }
bool TOrnCustomController::HandleMouseUp(TMouseButton, TShiftState, int, int) { return false; }

void TOrnCustomController::Notification(TComponent* component, TOperation operation) {
    TOrnComponent::Notification(component, operation);
    if (operation == opRemove && component && component == fControlled) fControlled = nullptr;
}

void TOrnCustomController::Assign(const TPersistent* source) {
    if (auto* c = dynamic_cast<const TOrnCustomController*>(source)) SetControlled(c->fControlled);
    TOrnComponent::Assign(source);
}

} // namespace orn
