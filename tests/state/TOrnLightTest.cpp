#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnLight.h>
#include <orn/state/TOrnMaterial.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"
#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>
#include <GL/glu.h>

#include <cmath>

using namespace orn;
using orn::test::GLRecorder;
using orn::test::TestView;
using Calls = std::vector<std::string>;

TEST(TOrnLight, CutOffFollowsTheKind) {
    struct Case {
        TLightKind kind;
        float set;
        float expected;
    };
    const Case cases[] = {
        {lkPoint, 45, 180}, {lkDirection, 10, 180}, {lkSpot, 45, 45},
        {lkSpot, 120, 90},  {lkSpot, -5, 0},        {lkSpot, 90, 90},
    };
    for (const Case& c : cases) {
        TOrnLight l(nullptr);
        l.SetKind(c.kind);
        l.SetCutOff(c.set);
        EXPECT_EQ(l.CutOff(), c.expected) << kLightKindNames[c.kind] << " " << c.set;
    }
}

TEST(TOrnLight, NewKindResetsTheCutOff) {
    TOrnLight l(nullptr);
    int changes = 0;
    l.OnChange = [&](TObject*) { ++changes; };
    l.SetKind(lkSpot);
    EXPECT_EQ(l.CutOff(), 90.0f);
    l.SetCutOff(30);
    l.SetKind(lkDirection);
    EXPECT_EQ(l.CutOff(), 180.0f);
    l.SetKind(lkSpot);
    EXPECT_EQ(l.CutOff(), 90.0f);
    EXPECT_EQ(changes, 4);
    l.SetKind(lkSpot);
    l.SetCutOff(90);
    EXPECT_EQ(changes, 4);
}

namespace {

class LightGL : public orn::test::GLTest {
protected:
    TComponent form{nullptr};
    TestView* view = new TestView(&form);
    TOrnLight* light = new TOrnLight(&form);
};

} // namespace

TEST_F(LightGL, KindChoosesPositionCutOffAndSpotDirection) {
    light->Direction()->SetValues(0.5f, -1, 0);
    light->SetKind(lkDirection);
    GLRecorder rec;
    light->Render(view);
    EXPECT_EQ(rec.Filter({"glLightf", "glLightfv"}),
              (Calls{"glLightfv(GL_LIGHT0, GL_AMBIENT, {0, 0, 0, 1})",
                     "glLightfv(GL_LIGHT0, GL_DIFFUSE, {1, 1, 1, 1})",
                     "glLightfv(GL_LIGHT0, GL_SPECULAR, {1, 1, 1, 1})",
                     "glLightfv(GL_LIGHT0, GL_POSITION, {0.5, -1, 0, 0})",
                     "glLightf(GL_LIGHT0, GL_SPOT_CUTOFF, 180)"}));
    light->SetKind(lkSpot);
    light->SetCutOff(30);
    rec.Clear();
    light->Render(view);
    EXPECT_EQ(
        rec.Filter({"glLightf", "glLightfv"}),
        (Calls{"glLightfv(GL_LIGHT0, GL_AMBIENT, {0, 0, 0, 1})",
               "glLightfv(GL_LIGHT0, GL_DIFFUSE, {1, 1, 1, 1})",
               "glLightfv(GL_LIGHT0, GL_SPECULAR, {1, 1, 1, 1})",
               "glLightfv(GL_LIGHT0, GL_POSITION, {0, 0, 0, 1})", "glLightf(GL_LIGHT0, GL_SPOT_CUTOFF, 30)",
               "glLightfv(GL_LIGHT0, GL_SPOT_DIRECTION, {0.5, -1, 0})"}));
}

TEST_F(LightGL, LightsShareTheirIDAndADisabledOneSwitchesItOff) {
    auto* other = new TOrnLight(&form);
    other->ColorDiffuse()->SetColor(clRed);
    light->Render(view);
    other->Render(view);
    float diffuse[4];
    glGetLightfv(GL_LIGHT0, GL_DIFFUSE, diffuse);
    EXPECT_EQ(diffuse[1], 0.0f) << "the light rendered last wins";
    light->SetID(idLight7);
    light->SetEnabled(false);
    GLRecorder rec;
    light->Render(view);
    EXPECT_EQ(rec.Calls(), (Calls{"glDisable(GL_LIGHT7)"}));
}

namespace {

class LitSphere : public orn::test::GLTest {
protected:
    LitSphere() : GLTest(129, 129) {}
};

// Brightness (red channel, 0 … 255) at a point of the sphere's disc, r in sphere radii.
int BrightnessAt(const orn::test::Image& image, double rx, double ry) {
    const int c = 64;
    return image.At(c + static_cast<int>(std::lround(rx * 64)),
                    c + static_cast<int>(std::lround(ry * 64)))[0];
}

} // namespace

TEST_F(LitSphere, DirectionalLightAlongTheViewAxisFollowsTheCosineLaw) {
    TComponent form(nullptr);
    TestView view(&form);
    view.RenderState()->BeginFrame();
    ClearTo(0, 0, 0);
    glMatrixMode(GL_PROJECTION);
    glOrtho(-129.0 / 128, 129.0 / 128, -129.0 / 128, 129.0 / 128, -2, 2); // one pixel = 1/64 radius
    glMatrixMode(GL_MODELVIEW);
    glEnable(GL_DEPTH_TEST);

    auto* attributes = new TOrnAttributes(&form);
    attributes->SetLighting(true);
    TOrnColor black;
    attributes->SetColorAmbient(&black); // no global ambient
    auto* light = new TOrnLight(&form);
    light->SetKind(lkDirection); // along +z: towards the viewer, the view axis
    auto* material = new TOrnMaterial(&form);
    material->SetColorAmbient(&black);
    const float diffuse = 0.8f; // the material's own default
    attributes->Render(&view);
    light->Render(&view);
    material->Render(&view);

    GLUquadric* q = gluNewQuadric();
    gluQuadricNormals(q, GLU_SMOOTH);
    gluSphere(q, 1.0, 96, 96);
    gluDeleteQuadric(q);
    const orn::test::Image image = ReadImage();

    const int centre = BrightnessAt(image, 0, 0);
    EXPECT_NEAR(centre, 255 * diffuse, 255 * diffuse * 0.02);
    // n·l = cos θ = √(1 − r²) at distance r from the centre of the disc.
    for (double r : {0.3, 0.5, 0.7, 0.85}) {
        const double expected = 255 * diffuse * std::sqrt(1 - r * r);
        for (auto [dx, dy] : {std::pair{1.0, 0.0}, {0.0, 1.0}, {-1.0, 0.0}, {0.0, -1.0}})
            EXPECT_NEAR(BrightnessAt(image, r * dx, r * dy), expected, 255 * 0.03) << "r = " << r;
    }
    EXPECT_LT(BrightnessAt(image, 0.97, 0), BrightnessAt(image, 0.85, 0));
    EXPECT_EQ(BrightnessAt(image, 1.03, 0), 0) << "outside the sphere";
}
