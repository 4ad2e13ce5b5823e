#include <orn/host/TControl.h>

#include <algorithm>
#include <climits>

namespace orn {

namespace {

// A parent's point in a control's pixels; far-away points stay far away without overflowing.
TPoint ToControl(const TControl& control, int x, int y) {
    auto local = [](int v, int origin) {
        return static_cast<int>(std::clamp<long long>(static_cast<long long>(v) - origin, INT_MIN, INT_MAX));
    };
    return Point(local(x, control.Left()), local(y, control.Top()));
}

} // namespace

// --- TControlParent

TControlParent::~TControlParent() {
    for (TControl* control : fControls)
        control->fParent = nullptr;
}

TControl* TControlParent::Controls(int index) const {
    if (index < 0 || index >= ControlCount()) return nullptr;
    return fControls[static_cast<std::size_t>(index)];
}

TControl* TControlParent::ControlAt(int x, int y) const {
    for (auto it = fControls.rbegin(); it != fControls.rend(); ++it) {
        const TRect r = (*it)->BoundsRect();
        if ((*it)->Visible() && x >= r.Left && x < r.Right && y >= r.Top && y < r.Bottom) return *it;
    }
    return nullptr;
}

void TControlParent::Attach(TControl* control) {
    fControls.push_back(control);
}

void TControlParent::Detach(TControl* control) {
    std::erase(fControls, control);
    if (fFocused == control) fFocused = nullptr;
    if (fCaptured == control) fCaptured = nullptr;
}

bool TControlParent::DispatchMouseDown(TMouseButton button, TShiftState shift, int x, int y) {
    TControl* control = ControlAt(x, y);
    // A click elsewhere takes the keys away from the control that had them.
    fFocused = control && control->TabStop() && control->Enabled() ? control : nullptr;
    if (!control) return false;
    const TPoint p = ToControl(*control, x, y);
    const bool taken = control->MouseDown(button, shift, p.X, p.Y);
    if (taken) fCaptured = control;
    return taken;
}

bool TControlParent::DispatchMouseMove(TShiftState shift, int x, int y) {
    TControl* control = fCaptured ? fCaptured : ControlAt(x, y);
    if (!control) return false;
    const TPoint p = ToControl(*control, x, y);
    return control->MouseMove(shift, p.X, p.Y);
}

bool TControlParent::DispatchMouseUp(TMouseButton button, TShiftState shift, int x, int y) {
    TControl* control = fCaptured ? fCaptured : ControlAt(x, y);
    fCaptured = nullptr;
    if (!control) return false;
    const TPoint p = ToControl(*control, x, y);
    return control->MouseUp(button, shift, p.X, p.Y);
}

bool TControlParent::DispatchKeyDown(std::uint16_t& key, TShiftState shift) {
    return fFocused && fFocused->Visible() && fFocused->KeyDown(key, shift);
}

// --- TControl

TControl::TControl(TComponent* owner) : TComponent(owner) {
    fFont.OnChange = [this](TObject*) { Invalidate(); };
}

TControl::~TControl() {
    SetParent(nullptr);
}

void TControl::SetParent(TControlParent* value) {
    if (value == fParent) return;
    if (fParent) {
        Invalidate();
        fParent->Detach(this);
    }
    fParent = value;
    if (fParent) {
        fParent->Attach(this);
        Invalidate();
    }
}

void TControl::SetBounds(int left, int top, int width, int height) {
    width = std::clamp(width, 0, kMaxControlSize);
    height = std::clamp(height, 0, kMaxControlSize);
    left = std::clamp(left, -kMaxPosition, kMaxPosition);
    top = std::clamp(top, -kMaxPosition, kMaxPosition);
    const TRect bounds = Rect(left, top, left + width, top + height);
    if (bounds == fBounds) return;
    const bool resized = bounds.Width() != fBounds.Width() || bounds.Height() != fBounds.Height();
    fBounds = bounds;
    if (resized) Resized();
    Invalidate();
}

void TControl::SetVisible(bool value) {
    if (value == fVisible) return;
    fVisible = value;
    // A hidden control must disappear from the parent, so the parent hears of it either way.
    if (fParent) fParent->ControlInvalidated(this);
}

void TControl::SetEnabled(bool value) {
    if (assignIfChanged(fEnabled, value)) Invalidate();
}

void TControl::SetColor(TColor value) {
    if (assignIfChanged(fColor, value)) Invalidate();
}

void TControl::Invalidate() {
    if (fParent && fVisible) fParent->ControlInvalidated(this);
}

void TControl::Changed() {
    Invalidate();
    if (OnChange) OnChange(this);
}

void TControl::PaintTo(TBitmap& bitmap) {
    bitmap.SetSize(Width(), Height());
    if (!bitmap.Empty()) Paint(bitmap.Canvas());
}

bool TControl::MouseDown(TMouseButton button, TShiftState shift, int x, int y) {
    return fEnabled && DoMouseDown(button, shift, x, y);
}

bool TControl::MouseMove(TShiftState shift, int x, int y) {
    return fEnabled && DoMouseMove(shift, x, y);
}

bool TControl::MouseUp(TMouseButton button, TShiftState shift, int x, int y) {
    return fEnabled && DoMouseUp(button, shift, x, y);
}

bool TControl::KeyDown(std::uint16_t& key, TShiftState shift) {
    return fEnabled && DoKeyDown(key, shift);
}

} // namespace orn
