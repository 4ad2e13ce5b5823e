#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnLight.h>
#include <orn/state/TOrnMaterial.h>

#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>
#include <GL/glu.h>

#include <tuple>
#include <vector>

using namespace orn;

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

using LightGL = orn::test::ViewGLTest;

TEST_F(LightGL, ColoursKindAndCutOffReachTheLightOfItsIDAndADisabledOneSwitchesItOff) {
    auto* light = new TOrnLight(&form);
    light->SetID(idLight3);
    light->ColorAmbient()->SetColor(clRed);
    light->ColorDiffuse()->SetColor(clLime);
    light->ColorSpecular()->SetColor(clBlue);
    light->Direction()->SetValues(0.5f, -1, 0);
    const auto get = [](GLenum name, int count) {
        float v[4] = {};
        glGetLightfv(GL_LIGHT3, name, v);
        return std::vector<float>(v, v + count);
    };
    const std::tuple<TLightKind, std::vector<float>, float, std::vector<float>> kinds[] = {
        {lkDirection, {0.5f, -1, 0, 0}, 180, {0, 0, -1}}, // the spot direction is left as it was
        {lkSpot, {0, 0, 0, 1}, 30, {0.5f, -1, 0}},
        {lkPoint, {0, 0, 0, 1}, 180, {0.5f, -1, 0}},
    };
    for (const auto& [kind, position, cutOff, spotDirection] : kinds) {
        light->SetKind(kind);
        light->SetCutOff(30); // only a spot takes it
        light->Render(view);
        EXPECT_EQ(get(GL_POSITION, 4), position) << kLightKindNames[kind];
        EXPECT_EQ(get(GL_SPOT_CUTOFF, 1), std::vector<float>{cutOff}) << kLightKindNames[kind];
        EXPECT_EQ(get(GL_SPOT_DIRECTION, 3), spotDirection) << kLightKindNames[kind];
    }
    EXPECT_EQ(get(GL_AMBIENT, 4), (std::vector<float>{1, 0, 0, 1}));
    EXPECT_EQ(get(GL_DIFFUSE, 4), (std::vector<float>{0, 1, 0, 1}));
    EXPECT_EQ(get(GL_SPECULAR, 4), (std::vector<float>{0, 0, 1, 1}));
    EXPECT_TRUE(glIsEnabled(GL_LIGHT3));
    EXPECT_FALSE(glIsEnabled(GL_LIGHT0));
    light->SetID(idLight7);
    light->Render(view);
    EXPECT_TRUE(glIsEnabled(GL_LIGHT7));
    light->SetEnabled(false);
    light->Render(view);
    EXPECT_FALSE(glIsEnabled(GL_LIGHT7));
    EXPECT_TRUE(glIsEnabled(GL_LIGHT3)) << "only its own light is switched off";
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
