#pragma once

#include <orn/view/TOrnView.h>

namespace orn {

/// A view with a two-dimensional overlay: OnDrawCanvas runs after OnRender, with Canvas() drawing
/// over the scene in window pixels.
class TOrnCanvasView : public TOrnView {
    ORN_CLASS(TOrnCanvasView)
public:
    explicit TOrnCanvasView(TComponent* owner) : TOrnView(owner) {}

    TOrnViewRenderEvent OnDrawCanvas;

protected:
    void RenderOverlay() override;
};

} // namespace orn
