#pragma once

#include <orn/host/TControl.h>
#include <orn/view/TOrnView.h>

namespace orn {

/// A view with a two-dimensional overlay: OnDrawCanvas runs after OnRender, with Canvas() drawing
/// over the scene in window pixels, and then the controls placed on the view paint over both.
/// Mouse and key input reaches the control under the pointer (keys: the control with the focus)
/// first; what no control takes goes on to the view's events and its Controller.
class TOrnCanvasView : public TOrnView, public TControlParent {
    ORN_CLASS(TOrnCanvasView)
public:
    explicit TOrnCanvasView(TComponent* owner) : TOrnView(owner) {}

    TOrnViewRenderEvent OnDrawCanvas;

    /// Seconds the last repaint took, from the camera to the swap (0 before the first).
    double RenderTime() const { return fRenderTime; }
    /// Repaints per second, from the starts of the last two repaints (0 before the second).
    double FrameRate() const { return fFrameRate; }
    void RenderScene() override;

    void KeyDown(std::uint16_t& key, TShiftState shift) override;
    void MouseDown(TMouseButton button, TShiftState shift, int x, int y) override;
    void MouseMove(TShiftState shift, int x, int y) override;
    void MouseUp(TMouseButton button, TShiftState shift, int x, int y) override;

protected:
    void RenderOverlay() override;
    void ControlInvalidated(TControl* control) override;

private:
    // Reused for every control's paint, so a steady overlay allocates nothing per frame.
    TBitmap fControlImage;
    double fRenderTime = 0.0;
    double fFrameRate = 0.0;
    std::int64_t fLastStart = -1;
};

} // namespace orn
