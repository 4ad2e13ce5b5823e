#include <orn/view/TOrnSurface.h>

namespace orn {

std::unique_ptr<TOrnSurface> TOrnSurface::CreateOffscreen(const TOrnPixelFormat& request, int width,
                                                          int height) {
    // A headless drawable shares with this surface only when this one is headless too.
    std::unique_ptr<TOrnSurface> surface = CreateHeadlessSurface();
    surface->Create(request, width, height, this);
    return surface;
}

} // namespace orn
