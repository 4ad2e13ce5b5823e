#pragma once

#include <orn/view/TOrnView.h>

#include "support/Image.h"
#include "view/detail/EglContext.h"

#include <GL/gl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <tuple>

namespace orn::test {

constexpr Rgba kBlack{0, 0, 0, 255}, kWhite{255, 255, 255, 255}, kRed{255, 0, 0, 255}, kLime{0, 255, 0, 255},
    kBlue{0, 0, 255, 255}, kYellow{255, 255, 0, 255};

/// N values of a GL state variable, in the type asked for (a matrix: GetGL<double, 16>).
template <class T = GLfloat, std::size_t N = 4> std::array<T, N> GetGL(GLenum name) {
    std::array<GLdouble, N> values{};
    glGetDoublev(name, values.data());
    return std::apply([](auto... v) { return std::array<T, N>{static_cast<T>(v)...}; }, values);
}

inline auto MatrixNear(const std::array<double, 16>& expected) {
    return ::testing::Pointwise(::testing::DoubleNear(1e-6), expected);
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
        Image image{view.ClientWidth(), view.ClientHeight(), {}};
        image.pixels.resize(static_cast<std::size_t>(image.width) * image.height * 4);
        view.SetCurrent(true);
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
/// GetImage share nothing with it.
class WindowLikeSurface : public TOrnSurface {
public:
    explicit WindowLikeSurface(int* swaps = nullptr) : fInner(CreateHeadlessSurface()), fSwaps(swaps) {}
    void Create(const TOrnPixelFormat& request, int width, int height, TOrnSurface* shareWith) override {
        auto* like = dynamic_cast<WindowLikeSurface*>(shareWith);
        fInner->Create(request, width, height, like ? like->fInner.get() : shareWith);
        StartRenderState(shareWith);
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
};

} // namespace orn::test
