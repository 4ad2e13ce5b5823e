#pragma once

#include "support/Image.h"
#include "view/detail/EglContext.h"

#include <gtest/gtest.h>

namespace orn::test {

/// A fixture whose tests run with the process-wide headless context current on a pbuffer of the
/// fixture's size; tests skip where EGL is unavailable. SetUp brings GL back to its default state
/// (attributes, matrices, render mode); display lists and textures stay shared. For that, one attribute
/// group (and one client attribute group) is open during each test: check that a render leaves the
/// stacks balanced by comparing their depths before and after it, not against 0. Other sizes: a derived
/// fixture passes them to GLTest(width, height).
class GLTest : public ::testing::Test {
protected:
    explicit GLTest(int width = 64, int height = 64) : fWidth(width), fHeight(height) {}
    void SetUp() override;

    int Width() const { return fWidth; }
    int Height() const { return fHeight; }
    detail::EglContext& Context() { return *fContext; }

    /// The pixel at (x, y) with y counted from the bottom row, as glReadPixels counts.
    Rgba ReadPixel(int x, int y) const;
    /// The pixel at (x, y) with y counted from the top row, as images are usually read.
    Rgba ReadPixelTop(int x, int y) const { return ReadPixel(x, fHeight - 1 - y); }
    Image ReadImage() const;
    /// Clears colour (alpha 1), depth and stencil.
    void ClearTo(float r, float g, float b);

private:
    int fWidth;
    int fHeight;
    detail::EglContext* fContext = nullptr;
};

} // namespace orn::test
