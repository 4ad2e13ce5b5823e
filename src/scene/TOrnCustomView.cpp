#include <orn/scene/TOrnCustomView.h>

namespace orn {

TOrnRenderState* TOrnCustomView::RenderState() {
    if (!fRenderState) fRenderState = std::make_unique<TOrnRenderState>();
    return fRenderState.get();
}

} // namespace orn
