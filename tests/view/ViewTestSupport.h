#pragma once

#include <orn/view/TOrnView.h>

#include "support/Image.h"
#include "view/detail/EglContext.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <memory>
#include <string>

namespace orn::test {

inline ::testing::AssertionResult VectorNear(const TOrnMathVector& a, const TOrnMathVector& b,
                                             double tolerance) {
    if (std::abs(a.x - b.x) <= tolerance && std::abs(a.y - b.y) <= tolerance &&
        std::abs(a.z - b.z) <= tolerance)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << a.x << ", " << a.y << ", " << a.z << ") is not within "
                                         << tolerance << " of (" << b.x << ", " << b.y << ", " << b.z << ")";
}

using GLMatrix = std::array<double, 16>;

/// GL_MODELVIEW_MATRIX or GL_PROJECTION_MATRIX of the current context.
inline GLMatrix GetMatrix(GLenum which) {
    GLMatrix m;
    glGetDoublev(which, m.data());
    return m;
}

inline ::testing::AssertionResult MatrixNear(const GLMatrix& a, const GLMatrix& b, double tolerance = 1e-6) {
    for (int i = 0; i < 16; ++i)
        if (std::abs(a[i] - b[i]) > tolerance)
            return ::testing::AssertionFailure() << "element " << i << ": " << a[i] << " against " << b[i];
    return ::testing::AssertionSuccess();
}

/// Tests of views on the headless surface: skipped only where EGL has no display at all.
class ViewTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string reason;
        if (!detail::EglContext::Available(&reason)) GTEST_SKIP() << "EGL unavailable: " << reason;
    }
    void TearDown() override { detail::EglContext::DoneCurrent(); }

    static Image ViewImage(TOrnView& view) {
        Image image;
        view.SetCurrent(true);
        image.width = view.ClientWidth();
        image.height = view.ClientHeight();
        image.pixels.resize(static_cast<std::size_t>(image.width) * image.height * 4);
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadPixels(0, 0, image.width, image.height, GL_RGBA, GL_UNSIGNED_BYTE, image.pixels.data());
        view.SetCurrent(false);
        return image;
    }
    /// y from the bottom.
    static float ViewDepth(TOrnView& view, int x, int y) {
        float depth = -1.0f;
        view.SetCurrent(true);
        glReadPixels(x, y, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
        view.SetCurrent(false);
        return depth;
    }
};

/// A headless surface standing in for a window's: it counts the view's swaps, and the bitmaps of
/// GetImage share nothing with it. With share false, neither do the other views' contexts.
class WindowLikeSurface : public TOrnSurface {
public:
    explicit WindowLikeSurface(int* swaps = nullptr, bool share = true)
        : fInner(CreateHeadlessSurface()), fSwaps(swaps), fShare(share) {}
    void Create(const TOrnPixelFormat& request, int width, int height, TOrnSurface* shareWith) override {
        auto* like = dynamic_cast<WindowLikeSurface*>(shareWith);
        fInner->Create(request, width, height, !fShare ? nullptr : like ? like->fInner.get() : shareWith);
        StartRenderState(fShare ? shareWith : nullptr);
    }
    bool MakeCurrent() override { return fInner->MakeCurrent(); }
    void DoneCurrent() override { fInner->DoneCurrent(); }
    bool IsCurrent() const override { return fInner->IsCurrent(); }
    void Swap() override {
        if (fSwaps) ++*fSwaps;
        fInner->Swap();
    }
    void Resize(int width, int height) override { fInner->Resize(width, height); }
    TOrnPixelFormat Obtained() const override { return fInner->Obtained(); }
    std::string Kind() const override { return "window"; }

private:
    std::unique_ptr<TOrnSurface> fInner;
    int* fSwaps;
    bool fShare;
};

} // namespace orn::test
