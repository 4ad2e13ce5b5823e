#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnLight.h>
#include <orn/state/TOrnMaterial.h>

#include "support/GLRecorder.h"
#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>
#include <GL/glu.h>

#include <tuple>

using namespace orn;
using orn::test::GLRecorder;
using orn::test::TestView;
using Calls = std::vector<std::string>;

TEST(TOrnLight, CutOffFollowsTheKindAndANewKindResetsIt) {
    const std::tuple<TLightKind, float, float> cases[] = {{lkPoint, 45, 180}, {lkDirection, 10, 180},
                                                          {lkSpot, 45, 45},   {lkSpot, 120, 90},
                                                          {lkSpot, -5, 0},    {lkSpot, 90, 90}};
    for (auto [kind, set, expected] : cases) {
        TOrnLight l(nullptr);
        l.SetKind(kind);
        int changes = 0;
        l.OnChange = [&changes](TObject*) { ++changes; };
        l.SetCutOff(set);
        EXPECT_EQ(l.CutOff(), expected) << kLightKindNames[kind] << " " << set;
        // Any value other than the stored one is told, also one the kind or the clamp refuses.
        EXPECT_EQ(changes, kind == lkSpot && set == 90 ? 0 : 1) << set; // a new spot holds 90
    }
    TOrnLight l(nullptr);
    l.SetKind(lkSpot);
    l.SetCutOff(30);
    l.SetKind(lkDirection);
    EXPECT_EQ(l.CutOff(), 180.0f);
    l.SetKind(lkSpot);
    EXPECT_EQ(l.CutOff(), 90.0f);
}

namespace {

class LightGL : public orn::test::ViewGLTest {
protected:
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
    for (TLightKind kind : {lkPoint, lkSpot}) {
        light->SetKind(kind);
        light->SetCutOff(30); // only a spot takes it
        rec.Clear();
        light->Render(view);
        const Calls sent = rec.Filter({"glLightf", "glLightfv"});
        const std::string position = "glLightfv(GL_LIGHT0, GL_POSITION, {0, 0, 0, 1})";
        EXPECT_EQ(Calls(sent.begin() + 3, sent.end()),
                  kind == lkSpot ? (Calls{position, "glLightf(GL_LIGHT0, GL_SPOT_CUTOFF, 30)",
                                          "glLightfv(GL_LIGHT0, GL_SPOT_DIRECTION, {0.5, -1, 0})"})
                                 : (Calls{position, "glLightf(GL_LIGHT0, GL_SPOT_CUTOFF, 180)"}));
    }
}

TEST_F(LightGL, LightsShareTheirIDAndADisabledOneSwitchesItOff) {
    auto* other = new TOrnLight(&form);
    other->ColorDiffuse()->SetColor(clRed);
    light->Render(view);
    other->Render(view);
    float diffuse[4];
    glGetLightfv(GL_LIGHT0, GL_DIFFUSE, diffuse);
    EXPECT_EQ(std::vector<float>(diffuse, diffuse + 4), (std::vector<float>{1, 0, 0, 1}))
        << "the last one wins";
    light->SetID(idLight7);
    light->SetEnabled(false);
    GLRecorder rec;
    light->Render(view);
    EXPECT_EQ(rec.Calls(), (Calls{"glDisable(GL_LIGHT7)"}));
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
