#include <orn/view/TOrnSurface.h>

namespace orn {

std::unique_ptr<TOrnSurface> TOrnSurface::CreateOffscreen(const TOrnPixelFormat& request, int width,
                                                          int height) {
    // A headless drawable shares with this surface only when this one is headless too.
    std::unique_ptr<TOrnSurface> surface = CreateHeadlessSurface();
    surface->Create(request, width, height, this);
    return surface;
}

void TOrnSurface::StartRenderState(const TOrnSurface* sharedWith) {
    fRenderState = std::make_unique<TOrnRenderState>(sharedWith ? sharedWith->RenderState() : nullptr);
}

} // namespace orn
