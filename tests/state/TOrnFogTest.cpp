#include <orn/state/TOrnFog.h>

#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

#include <tuple>
#include <vector>

using namespace orn;

using FogGL = orn::test::ViewGLTest;

TEST_F(FogGL, EachValueReachesItsOwnParameterEveryTime) {
    auto* fog = new TOrnFog(&form);
    fog->SetDensity(0.5f);
    fog->SetStartDepth(2);
    fog->SetEndDepth(5);
    fog->Color()->SetColor(clBlue);
    for (auto [mode, quality, glMode, hint] : {std::tuple{fmLinear, quFastest, GL_LINEAR, GL_FASTEST},
                                               {fmExp, quNicest, GL_EXP, GL_NICEST},
                                               {fmExp2, quDontCare, GL_EXP2, GL_DONT_CARE}}) {
        fog->SetMode(mode);
        fog->SetQuality(quality);
        glHint(GL_FOG_HINT, GL_NICEST);
        fog->Render(view);
        float values[8] = {};
        glGetFloatv(GL_FOG_MODE, &values[0]);
        glGetFloatv(GL_FOG_DENSITY, &values[1]);
        glGetFloatv(GL_FOG_START, &values[2]);
        glGetFloatv(GL_FOG_END, &values[3]);
        glGetFloatv(GL_FOG_COLOR, &values[4]);
        EXPECT_EQ(std::vector<float>(values, values + 8),
                  (std::vector<float>{float(glMode), 0.5f, 2, 5, 0, 0, 1, 1}));
        GLint got = 0;
        glGetIntegerv(GL_FOG_HINT, &got);
        EXPECT_EQ(got, hint);
        EXPECT_TRUE(glIsEnabled(GL_FOG));
    }
    fog->SetEnabled(false);
    fog->Render(view);
    EXPECT_FALSE(glIsEnabled(GL_FOG));
}

TEST_F(FogGL, LinearFogFromZeroToOneMixesByDepth) {
    TOrnFog linear(nullptr);
    linear.SetMode(fmLinear); // runs from depth 0 to 1 with the constructor values
    TOrnColor blue;
    blue.SetColor(clBlue);
    linear.SetColor(&blue);
    ClearTo(0, 0, 0);
    glMatrixMode(GL_PROJECTION);
    glOrtho(-1, 1, -1, 1, 0, 2);
    glMatrixMode(GL_MODELVIEW);
    linear.Render(view);
    glColor3f(1, 0, 0);
    const std::pair<float, int> quads[] = {{-0.5f, 0}, {-0.25f, 1}}; // eye depth 0.5 left, 0.25 right
    for (const auto& [z, half] : quads) {
        glBegin(GL_QUADS);
        glVertex3f(half - 1.0f, -1, z);
        glVertex3f(half, -1, z);
        glVertex3f(half, 1, z);
        glVertex3f(half - 1.0f, 1, z);
        glEnd();
    }
    EXPECT_TRUE(orn::test::ColorNear(ReadPixel(16, 32), {128, 0, 128, 255}, 2)) << "the even mix";
    EXPECT_TRUE(orn::test::ColorNear(ReadPixel(48, 32), {191, 0, 64, 255}, 2)) << "a quarter of the fog";
}
