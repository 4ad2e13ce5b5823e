// Rendering a TOrnView into a bitmap.
#include <orn/host/EOrnError.h>
#include <orn/view/TOrnView.h>

#include <GL/gl.h>

#include <cstring>

namespace orn {

namespace {

// What describing format 1 of a surface gives: the headless default, RGBA8.
constexpr TOrnPixelFormat kBitmapDescribed{40, 1, PFD_DRAW_TO_BITMAP | PFD_SUPPORT_OPENGL, 0, 24, 8, 24,
                                           8,  0};

} // namespace

std::unique_ptr<TBitmap> TOrnView::GetImage(int width, int height) {
    if (width < 1 || height < 1 ||
        static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4 > kMaxBitmapBytes)
        throw EOrnError("Can not render an image of " + std::to_string(width) + " x " +
                        std::to_string(height) + " pixels.");
    TOrnPixelFormat request = ChoosePixelFormat(dmBitmap, fDoubleBuffer, kBitmapDescribed);
    request.Samples = fSamples;
    const auto& views = ViewList();
    std::unique_ptr<TOrnSurface> surface;
    if (!views.empty() && views.front()->fSurface) {
        surface = views.front()->fSurface->CreateOffscreen(request, width, height);
    } else {
        surface = CreateHeadlessSurface();
        surface->Create(request, width, height, nullptr);
    }
    auto bitmap = std::make_unique<TBitmap>(width, height, pf24bit);
    std::vector<std::uint8_t> rgba(static_cast<std::size_t>(width) * height * 4);

    const TOrnDrawMode savedMode = fDrawMode;
    fBitmapSurface = surface.get();
    fDrawMode = dmBitmap;
    fReInit = 1;
    auto restore = [&] {
        surface->DoneCurrent();
        fBitmapSurface = nullptr;
        fDrawMode = savedMode;
        fReInit = 0;
        fHaveMatrices = false; // they were the bitmap's
    };
    try {
        if (!surface->MakeCurrent()) throw EOrnError("Can not make the bitmap's OpenGL context current.");
        if (fCamera) InitCamera(width, height);
        fNextID = 0;
        RenderState()->BeginFrame();
        RenderSceneGL();
        surface->Resolve();
        glFinish();
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
    } catch (...) {
        restore();
        throw;
    }
    restore();

    // GL's rows run bottom-up in R, G, B, A; the bitmap's top-down in B, G, R.
    for (int y = 0; y < height; ++y) {
        const std::uint8_t* src = rgba.data() + static_cast<std::size_t>(height - 1 - y) * width * 4;
        std::uint8_t* dst = bitmap->ScanLine(y);
        for (int x = 0; x < width; ++x, src += 4, dst += 3) {
            dst[0] = src[2];
            dst[1] = src[1];
            dst[2] = src[0];
        }
    }
    return bitmap;
}

} // namespace orn
