#include <orn/host/EOrnError.h>
#include <orn/view/TOrnSurface.h>

#include "view/detail/EglContext.h"

#include <algorithm>

namespace orn {

namespace {

/// An EGL pbuffer of the view's size on the surfaceless platform.
class HeadlessSurface final : public TOrnSurface {
public:
    void Create(const TOrnPixelFormat& request, int width, int height, TOrnSurface* shareWith) override {
        auto* share = dynamic_cast<HeadlessSurface*>(shareWith);
        const detail::EglContext* shareContext =
            share && share->fContext.IsCreated() ? &share->fContext : nullptr;
        detail::EglFormat format;
        format.redBits = format.greenBits = format.blueBits = std::max(request.ColorBits / 3, 1);
        // With alpha left open EGL ranks 10-bit colour with 2-bit alpha first; 8-bit RGBA is what
        // readers of the pixels expect.
        format.alphaBits = std::max(request.AlphaBits, 8);
        format.stencilBits = request.StencilBits;
        format.samples = request.Samples;
        // A deeper depth buffer than the renderer has is asked for again at the depths it offers.
        const int depths[] = {request.DepthBits, 24, 16, 0};
        for (int depth : depths) {
            if (depth > request.DepthBits) continue;
            format.depthBits = depth;
            try {
                fContext.Create(width, height, shareContext, format);
                break;
            } catch (const EOrnError&) {
                if (depth == 0) throw;
            }
        }
        StartRenderState(shareContext ? share : nullptr);
        const detail::EglFormat& got = fContext.Obtained();
        fObtained = request;
        fObtained.ColorBits = got.redBits + got.greenBits + got.blueBits;
        fObtained.AlphaBits = got.alphaBits;
        fObtained.DepthBits = got.depthBits;
        fObtained.StencilBits = got.stencilBits;
        fObtained.Samples = got.samples;
        fObtained.Flags &= ~(PFD_DOUBLEBUFFER | PFD_SWAP_COPY);
        if (got.doubleBuffer) fObtained.Flags |= PFD_DOUBLEBUFFER;
    }

    bool MakeCurrent() override {
        try {
            fContext.MakeCurrent();
            return true;
        } catch (const EOrnError&) {
            return false;
        }
    }

    void DoneCurrent() override {
        if (fContext.IsCurrent()) detail::EglContext::DoneCurrent();
    }

    bool IsCurrent() const override { return fContext.IsCurrent(); }

    void Swap() override {
        // A pbuffer has nothing to present; a failure here would only report that.
        if (!fContext.IsCreated()) return;
        try {
            fContext.Swap();
        } catch (const EOrnError&) {
        }
    }

    void Resolve() override { fContext.Resolve(); }

    void Resize(int width, int height) override {
        if (fContext.IsCreated()) fContext.Resize(width, height);
    }

    TOrnPixelFormat Obtained() const override { return fObtained; }
    std::string Kind() const override { return "headless"; }

    std::unique_ptr<TOrnSurface> CreateOffscreen(const TOrnPixelFormat& request, int width,
                                                 int height) override {
        auto surface = std::make_unique<HeadlessSurface>();
        surface->Create(request, width, height, this);
        return surface;
    }

private:
    detail::EglContext fContext;
    TOrnPixelFormat fObtained;
};

} // namespace

std::unique_ptr<TOrnSurface> CreateHeadlessSurface() {
    return std::make_unique<HeadlessSurface>();
}

} // namespace orn
