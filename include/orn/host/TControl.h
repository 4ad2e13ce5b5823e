#pragma once

#include <orn/host/TBitmap.h>
#include <orn/host/TComponent.h>
#include <orn/host/TFont.h>
#include <orn/host/TInput.h>
#include <orn/host/TRect.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace orn {

class TControl;

/// What controls sit on: it keeps them in paint order, hears when one wants repainting, and routes
/// mouse and key input (in its own pixels) to the control under the pointer or with the focus.
/// Destroying either side detaches it from the other.
class TControlParent {
public:
    TControlParent() = default;
    TControlParent(const TControlParent&) = delete;
    TControlParent& operator=(const TControlParent&) = delete;
    virtual ~TControlParent();

    int ControlCount() const { return static_cast<int>(fControls.size()); }
    /// The control at index in paint order (last is on top); nullptr when out of range.
    TControl* Controls(int index) const;
    /// The topmost visible control whose rectangle holds (x, y), or nullptr.
    TControl* ControlAt(int x, int y) const;
    /// The control that receives keys: the one clicked last, if it takes keys (TabStop) and is
    /// enabled; a click anywhere else clears it.
    TControl* FocusedControl() const { return fFocused; }

    /// Input in parent pixels; true when a control took it (the parent's own handling then stops).
    /// A control that took a button press also receives the moves and the release that follow.
    bool DispatchMouseDown(TMouseButton button, TShiftState shift, int x, int y);
    bool DispatchMouseMove(TShiftState shift, int x, int y);
    bool DispatchMouseUp(TMouseButton button, TShiftState shift, int x, int y);
    bool DispatchKeyDown(std::uint16_t& key, TShiftState shift);

protected:
    /// A control asked to be repainted.
    virtual void ControlInvalidated(TControl* control) = 0;

private:
    friend class TControl;
    void Attach(TControl* control);
    void Detach(TControl* control);

    std::vector<TControl*> fControls;
    TControl* fFocused = nullptr;
    TControl* fCaptured = nullptr;
};

/// A rectangle of its own on a parent that paints itself onto a host canvas and takes mouse and key
/// input in the host's terms. It paints the same into a bitmap as over a view. Painting and input
/// use control pixels: (0, 0) is the top-left corner, (Width, Height) lies just outside.
class TControl : public TComponent {
    ORN_CLASS(TControl)
public:
    explicit TControl(TComponent* owner);
    ~TControl() override;

    TControlParent* Parent() const { return fParent; }
    /// Moves the control onto another parent (nullptr: none), on top of the controls there.
    void SetParent(TControlParent* value);

    int Left() const { return fBounds.Left; }
    int Top() const { return fBounds.Top; }
    int Width() const { return fBounds.Width(); }
    int Height() const { return fBounds.Height(); }
    TRect BoundsRect() const { return fBounds; }
    /// Places the control in parent pixels; negative sizes count as 0, sizes are clamped to
    /// kMaxControlSize and positions to ±kMaxPosition.
    void SetBounds(int left, int top, int width, int height);
    static constexpr int kMaxControlSize = 16384;
    static constexpr int kMaxPosition = 1 << 30;

    bool Visible() const { return fVisible; }
    void SetVisible(bool value);
    /// A disabled control paints greyed where it says so and ignores the mouse and the keyboard.
    bool Enabled() const { return fEnabled; }
    void SetEnabled(bool value);
    /// Whether the control takes the focus when clicked, and then the keys.
    bool TabStop() const { return fTabStop; }
    void SetTabStop(bool value) { fTabStop = value; }
    TColor Color() const { return fColor; }
    void SetColor(TColor value);
    /// The font of the control's text; a change repaints.
    TFont& Font() { return fFont; }

    /// Asks the parent for a repaint.
    void Invalidate();
    /// Paints the whole control onto canvas in control pixels (what its parent calls).
    virtual void Paint(TCanvas& canvas) = 0;
    /// Resizes bitmap to the control (keeping its pixel format) and paints into it.
    void PaintTo(TBitmap& bitmap);

    /// Input in control pixels; each answers whether the control took it. A disabled control takes
    /// nothing.
    bool MouseDown(TMouseButton button, TShiftState shift, int x, int y);
    bool MouseMove(TShiftState shift, int x, int y);
    bool MouseUp(TMouseButton button, TShiftState shift, int x, int y);
    bool KeyDown(std::uint16_t& key, TShiftState shift);

    /// Fired once for every change that the user or a setter made to the control's value.
    TNotifyEvent OnChange;

protected:
    /// The control's own input handling, called only while enabled. The default takes clicks
    /// (a control is opaque to the mouse) and ignores keys.
    virtual bool DoMouseDown(TMouseButton, TShiftState, int, int) { return true; }
    virtual bool DoMouseMove(TShiftState, int, int) { return true; }
    virtual bool DoMouseUp(TMouseButton, TShiftState, int, int) { return true; }
    virtual bool DoKeyDown(std::uint16_t&, TShiftState) { return false; }
    /// The size changed.
    virtual void Resized() {}
    /// Repaints and fires OnChange.
    void Changed();

private:
    friend class TControlParent;
    TControlParent* fParent = nullptr;
    TRect fBounds;
    bool fVisible = true;
    bool fEnabled = true;
    bool fTabStop = false;
    TColor fColor = clSilver;
    TFont fFont;
};

} // namespace orn
