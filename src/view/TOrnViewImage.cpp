// Rendering a TOrnView into a bitmap.
#include <orn/host/EOrnError.h>
#include <orn/view/TOrnView.h>

#include <GL/gl.h>

#include <cstring>
#include <string>
#include <vector>

namespace orn {

namespace {

// What describing format 1 of a surface gives: the headless default, RGBA8.
constexpr TOrnPixelFormat kBitmapDescribed{40, 1, PFD_DRAW_TO_BITMAP | PFD_SUPPORT_OPENGL, 0, 24, 8, 24,
                                           8,  0};

void checkSize(int width, int height) {
    if (width < 1 || height < 1 ||
        static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4 > kMaxBitmapBytes)
        throw EOrnError("Cannot render an image of " + std::to_string(width) + " x " +
                        std::to_string(height) + " pixels.");
}

/// The colour buffer drawn into, once the drawing is finished.
void readPixels(int width, int height, std::vector<std::uint8_t>& rgba) {
    glFinish();
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
}

std::unique_ptr<TBitmap> toBitmap(const std::vector<std::uint8_t>& rgba, int width, int height) {
    auto bitmap = std::make_unique<TBitmap>(width, height, pf24bit);
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

} // namespace

std::unique_ptr<TBitmap> TOrnView::GetImage(int width, int height) {
    checkSize(width, height);
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
        if (!surface->MakeCurrent()) throw EOrnError("Cannot make the bitmap's OpenGL context current.");
        if (fCamera) InitCamera(width, height);
        fNextID = 0;
        RenderState()->BeginFrame();
        RenderSceneGL();
        surface->Resolve();
        readPixels(width, height, rgba);
    } catch (...) {
        restore();
        throw;
    }
    restore();
    return toBitmap(rgba, width, height);
}

struct TOrnView::ReadBack {
    int width, height;
    std::vector<std::uint8_t> rgba;
    bool done = false;
};

void TOrnView::ReadFrame(ReadBack& target) {
    readPixels(target.width, target.height, target.rgba);
    target.done = true;
}

std::unique_ptr<TBitmap> TOrnView::GetSurfaceImage() {
    if (!Active()) throw EOrnError("Cannot read the image of a view that is not connected.");
    const int width = ClientWidth(), height = ClientHeight();
    checkSize(width, height);
    ReadBack frame{width, height, std::vector<std::uint8_t>(static_cast<std::size_t>(width) * height * 4)};
    // Through RenderScene, so that the frame is the one a repaint draws (and a subclass times).
    fReadBack = &frame;
    try {
        RenderScene();
    } catch (...) {
        fReadBack = nullptr;
        throw;
    }
    fReadBack = nullptr;
    if (!frame.done) throw EOrnError("Cannot make the view's OpenGL context current.");
    return toBitmap(frame.rgba, width, height);
}

} // namespace orn
