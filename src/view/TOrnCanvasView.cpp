#include <orn/host/TOrnClock.h>
#include <orn/view/TOrnCanvasView.h>

namespace orn {

void TOrnCanvasView::RenderScene() {
    if (!Active()) return;
    const std::int64_t start = TOrnClock::Counter();
    const double frequency = static_cast<double>(TOrnClock::Frequency());
    if (fLastStart >= 0 && start > fLastStart)
        fFrameRate = frequency / static_cast<double>(start - fLastStart);
    fLastStart = start;
    TOrnView::RenderScene();
    fRenderTime = static_cast<double>(TOrnClock::Counter() - start) / frequency;
}

void TOrnCanvasView::RenderOverlay() {
    if (OnDrawCanvas) OnDrawCanvas(this);
    if (DrawMode() == dmSelection || DrawMode() == dmPick) return; // controls are not picked
    for (int i = 0; i < ControlCount(); ++i) {
        TControl* control = Controls(i);
        if (!control->Visible() || control->Width() == 0 || control->Height() == 0) continue;
        control->PaintTo(fControlImage);
        Canvas().Draw(control->Left(), control->Top(), fControlImage);
    }
}

void TOrnCanvasView::ControlInvalidated(TControl*) {
    InvalidateGL();
}

void TOrnCanvasView::KeyDown(std::uint16_t& key, TShiftState shift) {
    if (!DispatchKeyDown(key, shift)) TOrnView::KeyDown(key, shift);
}

void TOrnCanvasView::MouseDown(TMouseButton button, TShiftState shift, int x, int y) {
    if (DispatchMouseDown(button, shift, x, y))
        InvalidateGL();
    else
        TOrnView::MouseDown(button, shift, x, y);
}

void TOrnCanvasView::MouseMove(TShiftState shift, int x, int y) {
    if (!DispatchMouseMove(shift, x, y)) TOrnView::MouseMove(shift, x, y);
}

void TOrnCanvasView::MouseUp(TMouseButton button, TShiftState shift, int x, int y) {
    if (!DispatchMouseUp(button, shift, x, y)) TOrnView::MouseUp(button, shift, x, y);
}

} // namespace orn
