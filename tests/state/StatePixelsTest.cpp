// The state components as seen on screen: blending, culling, fog, clip planes and lighting.
#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnClip.h>
#include <orn/state/TOrnFog.h>
#include <orn/state/TOrnLight.h>
#include <orn/state/TOrnMaterial.h>

#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>
#include <GL/glu.h>

#include <tuple>

using namespace orn;
using orn::test::ColorNear;
using StatePixels = orn::test::ViewGLTest;

namespace {

void Quad(float x0, float y0, float x1, float y1, float z = 0) {
    glBegin(GL_QUADS);
    glVertex3f(x0, y0, z);
    glVertex3f(x1, y0, z);
    glVertex3f(x1, y1, z);
    glVertex3f(x0, y1, z);
    glEnd();
}

} // namespace

TEST_F(StatePixels, TransparencyBlendsAsItsFunctionSaysAndCullFaceHidesTheFacesItNames) {
    // Blue of alpha 0.25 over grey. Alpha: src·a + dst·(1 − a); add alpha: src·a + dst; add colour:
    // src·dst + dst·src; subtract colour: src·(1 − dst) + dst·(1 − src); none: src.
    const std::pair<TOrnTransparencyMode, orn::test::Rgba> blends[] = {{tmAlpha, {96, 96, 160, 207}},
                                                                       {tmAddAlpha, {128, 128, 192, 255}},
                                                                       {tmAddColor, {0, 0, 255, 128}},
                                                                       {tmSubColor, {128, 128, 127, 191}},
                                                                       {tmNone, {0, 0, 255, 64}}};
    for (auto [mode, expected] : blends) {
        TOrnAttributes attr(nullptr);
        attr.SetTransparency(mode);
        attr.Render(view);
        ClearTo(0.5f, 0.5f, 0.5f);
        glColor4f(0, 0, 1, 0.25f);
        Quad(-1, -1, 1, 1);
        EXPECT_TRUE(ColorNear(ReadPixel(32, 32), expected, 2)) << kTransparencyModeNames[mode];
    }
    for (auto [cull, frontShows, backShows] :
         {std::tuple{cfNone, true, true}, {cfBack, true, false}, {cfFront, false, true}}) {
        TOrnAttributes attr(nullptr);
        attr.SetCullFace(cull);
        attr.Render(view);
        ClearTo(0, 0, 0);
        glColor3f(1, 1, 1);
        Quad(-1, -1, 0, 1); // counter-clockwise: the front face, on the left
        Quad(1, -1, 0, 1);  // clockwise: the back face, on the right
        EXPECT_EQ(ReadPixel(16, 32)[0] > 128, frontShows) << kCullFaceNames[cull];
        EXPECT_EQ(ReadPixel(48, 32)[0] > 128, backShows) << kCullFaceNames[cull];
    }
}

TEST_F(StatePixels, LinearFogFromZeroToOneMixesByDepth) {
    TOrnFog linear(nullptr);
    linear.SetMode(fmLinear); // runs from depth 0 to 1 with the constructor values
    linear.Color()->SetColor(clBlue);
    ClearTo(0, 0, 0);
    glMatrixMode(GL_PROJECTION);
    glOrtho(-1, 1, -1, 1, 0, 2);
    glMatrixMode(GL_MODELVIEW);
    linear.Render(view);
    glColor3f(1, 0, 0);
    Quad(-1, -1, 0, 1, -0.5f); // eye depth 0.5 on the left
    Quad(0, -1, 1, 1, -0.25f); // 0.25 on the right
    EXPECT_TRUE(ColorNear(ReadPixel(16, 32), {128, 0, 128, 255}, 2)) << "the even mix";
    EXPECT_TRUE(ColorNear(ReadPixel(48, 32), {191, 0, 64, 255}, 2)) << "a quarter of the fog";
}

TEST_F(StatePixels, ClipPlaneKeepsWhereItsEquationIsNotNegative) {
    TOrnClip clip(nullptr);
    clip.SetPlane(0, -1); // keeps x <= 0.5: columns up to 47 of 64
    clip.SetPlane(3, 0.5);
    ClearTo(0, 0, 0);
    clip.Render(view);
    glColor3f(1, 1, 1);
    Quad(-1, -1, 1, 1);
    EXPECT_EQ(ReadPixel(47, 32)[0], 255);
    EXPECT_EQ(ReadPixel(48, 32)[0], 0);
}

namespace {

class LitSphere : public orn::test::ViewGLTest {
protected:
    LitSphere() : ViewGLTest(129, 129) {}
};

} // namespace

TEST_F(LitSphere, DirectionalLightAlongTheViewAxisFollowsTheCosineLaw) {
    ClearTo(0, 0, 0);
    glMatrixMode(GL_PROJECTION);
    glOrtho(-129.0 / 128, 129.0 / 128, -129.0 / 128, 129.0 / 128, -2, 2); // one pixel = 1/64 radius
    glMatrixMode(GL_MODELVIEW);
    glEnable(GL_DEPTH_TEST);
    TOrnColor black;
    auto* attributes = new TOrnAttributes(&form);
    attributes->SetLighting(true);
    attributes->SetColorAmbient(&black); // no global ambient
    auto* light = new TOrnLight(&form);
    light->SetKind(lkDirection); // along +z: towards the viewer, the view axis
    auto* material = new TOrnMaterial(&form);
    material->SetColorAmbient(&black);
    attributes->Render(view);
    light->Render(view);
    material->Render(view);
    GLUquadric* q = gluNewQuadric();
    gluQuadricNormals(q, GLU_SMOOTH);
    gluSphere(q, 1.0, 96, 96);
    gluDeleteQuadric(q);
    // n·l = cos θ = √(1 − r²) at r sphere radii from the centre of the disc, of the diffuse 0.8;
    // nothing outside the sphere.
    const std::pair<int, int> brightness[] = {{0, 204}, {19, 195}, {32, 177}, {45, 145}, {54, 109}, {66, 0}};
    for (auto [r, expected] : brightness)
        for (auto [dx, dy] : {std::pair{1, 0}, {0, 1}, {-1, 0}, {0, -1}})
            EXPECT_NEAR(ReadPixel(64 + r * dx, 64 + r * dy)[0], expected, 8)
                << r << " pixels along " << dx << ", " << dy;
}
