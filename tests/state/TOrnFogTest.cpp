#include <orn/state/TOrnFog.h>

#include "support/GLRecorder.h"
#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

using namespace orn;
using orn::test::GLRecorder;
using Calls = std::vector<std::string>;

namespace {

class FogGL : public orn::test::ViewGLTest {
protected:
    TOrnFog* fog = new TOrnFog(&form);
};

} // namespace

TEST_F(FogGL, EachValueReachesItsOwnParameterEveryTime) {
    fog->SetDensity(0.5f);
    fog->SetStartDepth(2);
    fog->SetEndDepth(5);
    fog->Color()->SetColor(clBlue);
    const std::tuple<TOrnFogMode, TOrnQuality, std::string, std::string> cases[] = {
        {fmLinear, quFastest, "GL_LINEAR", "GL_FASTEST"},
        {fmExp, quNicest, "GL_EXP", "GL_NICEST"},
        {fmExp2, quFastest, "GL_EXP2", "GL_FASTEST"}};
    for (const auto& [mode, quality, modeName, hintName] : cases) {
        fog->SetMode(mode);
        fog->SetQuality(quality);
        GLRecorder rec;
        fog->Render(view);
        EXPECT_EQ(rec.Filter({"glFogi", "glFogf", "glFogfv", "glHint", "glEnable"}),
                  (Calls{"glEnable(GL_FOG)", "glFogi(GL_FOG_MODE, " + modeName + ")",
                         "glFogf(GL_FOG_DENSITY, 0.5)", "glFogf(GL_FOG_START, 2)", "glFogf(GL_FOG_END, 5)",
                         "glFogfv(GL_FOG_COLOR, {0, 0, 1, 1})", "glHint(GL_FOG_HINT, " + hintName + ")"}));
    }
    fog->SetEnabled(false);
    GLRecorder rec;
    fog->Render(view);
    EXPECT_EQ(rec.Calls(), (Calls{"glDisable(GL_FOG)"}));
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
    linear.SetEnabled(false);
    linear.Render(view);
    EXPECT_FALSE(glIsEnabled(GL_FOG));
}
