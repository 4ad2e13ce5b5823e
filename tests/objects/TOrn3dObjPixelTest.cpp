#include "support/GLTestContext.h"
#include "support/TestView.h"

#include <orn/objects/TOrn3dObj.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

using namespace orn;
using orn::test::Image;

namespace {

constexpr int kSize = 120;
constexpr double kHalf = 3.0; // the view shows −3 … 3 in x and y

/// Renders a white object on black through an orthographic view of −3 … 3 looking down −z; pixels
/// are 0.05 units wide.
class RotObjPixels : public orn::test::GLTest {
protected:
    RotObjPixels() : GLTest(kSize, kSize) {}
    TComponent form{nullptr};
    orn::test::TestView* view = new orn::test::TestView(&form);

    Image Draw(TOrn3dObj* obj) {
        ClearTo(0, 0, 0);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glOrtho(-kHalf, kHalf, -kHalf, kHalf, -10, 10);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        obj->Render(view);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        return ReadImage();
    }
    static int Pixel(double units) {
        return static_cast<int>(std::lround((units + kHalf) / (2 * kHalf) * kSize));
    }
    static bool Lit(const Image& image, double x, double y) { return image.At(Pixel(x), Pixel(y))[0] > 128; }
};

/// The box of lit pixels: left, bottom, right, top (inclusive).
std::array<int, 4> Bounds(const Image& image) {
    std::array<int, 4> b{image.width, image.height, -1, -1};
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            if (image.At(x, y)[0] > 128)
                b = {std::min(b[0], x), std::min(b[1], y), std::max(b[2], x), std::max(b[3], y)};
    return b;
}

} // namespace

TEST_F(RotObjPixels, DefaultSphereIsAUnitDiscAtTheOrigin) {
    auto* sphere = new TOrn3dObj(&form);
    const Image image = Draw(sphere);
    // Radius 1 is 20 pixels: a disc of about pi × 400 pixels, a little less for the 10-sided outline.
    const double area = static_cast<double>(orn::test::CountPixels(image, {255, 255, 255, 255}));
    EXPECT_GT(area, 0.9 * std::numbers::pi * 400);
    EXPECT_LT(area, 1.02 * std::numbers::pi * 400);
    const auto b = Bounds(image);
    EXPECT_NEAR(b[0], Pixel(-1), 2);
    EXPECT_NEAR(b[2], Pixel(1) - 1, 2);
    EXPECT_NEAR(b[1], Pixel(-1), 2);
    EXPECT_NEAR(b[3], Pixel(1) - 1, 2);
    EXPECT_TRUE(Lit(image, 0, 0));
    EXPECT_FALSE(Lit(image, 1.2, 0));
}

TEST_F(RotObjPixels, DefaultSphereMovesWithItsTransformation) {
    auto* sphere = new TOrn3dObj(&form);
    sphere->Transformation()->Translation()->SetX(1.5);
    const Image image = Draw(sphere);
    EXPECT_TRUE(Lit(image, 1.5, 0));
    EXPECT_TRUE(Lit(image, 2.3, 0));
    EXPECT_FALSE(Lit(image, 0, 0));
}

TEST_F(RotObjPixels, DefaultTorusFromAboveIsADiscOfRadiusTwo) {
    auto* torus = new TOrn3dObj(&form);
    torus->SetObjArt(TOrn3dObjects::Torus);
    const Image image = Draw(torus);
    // Ring radius 1 and tube radius 1: the hole closes to a point, the outline has radius 2.
    const auto b = Bounds(image);
    EXPECT_NEAR(b[0], Pixel(-2), 2);
    EXPECT_NEAR(b[2], Pixel(2) - 1, 2);
    EXPECT_NEAR(b[1], Pixel(-2), 2);
    EXPECT_NEAR(b[3], Pixel(2) - 1, 2);
    const double area = static_cast<double>(orn::test::CountPixels(image, {255, 255, 255, 255}));
    EXPECT_GT(area, 0.9 * std::numbers::pi * 1600);
    EXPECT_LT(area, 1.02 * std::numbers::pi * 1600);
}

TEST_F(RotObjPixels, DefaultTorusFromTheSideIsAsWideAsItsRingAndAsHighAsItsTube) {
    auto* torus = new TOrn3dObj(&form);
    torus->SetObjArt(TOrn3dObjects::Torus);
    torus->SetSlices(40);
    torus->SetStacks(40);
    torus->Transformation()->Rotation()->SetX(-90); // z up, looking along the y axis
    const Image image = Draw(torus);
    const auto b = Bounds(image);
    EXPECT_NEAR(b[0], Pixel(-2), 2);
    EXPECT_NEAR(b[2], Pixel(2) - 1, 2);
    EXPECT_NEAR(b[1], Pixel(-1), 2);
    EXPECT_NEAR(b[3], Pixel(1) - 1, 2);
    // At height z the outline reaches out to 1 + sqrt(1 - z^2): 4 + pi square units in all.
    const double area = static_cast<double>(orn::test::CountPixels(image, {255, 255, 255, 255}));
    EXPECT_GT(area, 0.95 * (4 + std::numbers::pi) * 400);
    EXPECT_LT(area, 1.03 * (4 + std::numbers::pi) * 400);
    EXPECT_TRUE(Lit(image, 0, 0.9));
    EXPECT_TRUE(Lit(image, 1.3, 0.9));
    EXPECT_FALSE(Lit(image, 1.7, 0.9));
    EXPECT_FALSE(Lit(image, 1.7, -0.9));
}
