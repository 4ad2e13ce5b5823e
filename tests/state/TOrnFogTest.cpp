#include <orn/state/TOrnFog.h>
#include <orn/state/TOrnMaterial.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"
#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

using namespace orn;
using orn::test::GLRecorder;
using orn::test::TestView;
using Calls = std::vector<std::string>;

namespace {

class FogGL : public orn::test::GLTest {
protected:
    TComponent form{nullptr};
    TestView* view = new TestView(&form);
    TOrnFog* fog = new TOrnFog(&form);
};

} // namespace

TEST(TOrnFog, AssignFromAnotherFamilyChangesNothing) {
    TOrnFog fog(nullptr);
    TOrnMaterial other(nullptr); // a render component, with render values of its own
    other.SetEnabled(false);
    int changes = 0;
    fog.OnChange = [&](TObject*) { ++changes; };
    fog.Assign(&other);
    EXPECT_TRUE(fog.Enabled());
    EXPECT_EQ(changes, 0);
    fog.SetDensity(0.3f);
    EXPECT_EQ(changes, 1) << "the handler stays";
}

TEST_F(FogGL, ModesAndQualitiesChooseTheirEnumerants) {
    const std::pair<TOrnFogMode, std::string> modes[] = {{fmLinear, "glFogi(GL_FOG_MODE, GL_LINEAR)"},
                                                         {fmExp, "glFogi(GL_FOG_MODE, GL_EXP)"},
                                                         {fmExp2, "glFogi(GL_FOG_MODE, GL_EXP2)"}};
    for (const auto& [mode, call] : modes) {
        fog->SetMode(mode);
        GLRecorder rec;
        fog->Render(view);
        EXPECT_EQ(rec.Filter({"glFogi"}), (Calls{call}));
    }
    const std::pair<TOrnQuality, std::string> hints[] = {{quFastest, "glHint(GL_FOG_HINT, GL_FASTEST)"},
                                                         {quNicest, "glHint(GL_FOG_HINT, GL_NICEST)"}};
    for (const auto& [quality, call] : hints) {
        fog->SetQuality(quality);
        GLRecorder rec;
        fog->Render(view);
        EXPECT_EQ(rec.Filter({"glHint"}), (Calls{call}));
    }
}

TEST_F(FogGL, EachValueReachesItsOwnParameter) {
    fog->SetDensity(0.5f);
    fog->SetStartDepth(2);
    fog->SetEndDepth(5);
    fog->Color()->SetColor(clBlue);
    GLRecorder rec;
    fog->Render(view);
    EXPECT_EQ(rec.Filter({"glFogf", "glFogfv"}),
              (Calls{"glFogf(GL_FOG_DENSITY, 0.5)", "glFogf(GL_FOG_START, 2)", "glFogf(GL_FOG_END, 5)",
                     "glFogfv(GL_FOG_COLOR, {0, 0, 1, 1})"}));
}

TEST_F(FogGL, SentEveryTimeAndSwitchedOffWhenDisabled) {
    GLRecorder rec;
    fog->Render(view);
    fog->Render(view);
    EXPECT_EQ(rec.Count("glEnable"), 2u);
    rec.Clear();
    fog->SetEnabled(false);
    fog->Render(view);
    EXPECT_EQ(rec.Calls(), (Calls{"glDisable(GL_FOG)"}));
}

namespace {

class FogPixels : public orn::test::GLTest {};

} // namespace

TEST_F(FogPixels, LinearFogFromZeroToOneMixesByDepth) {
    TComponent form(nullptr);
    TestView view(&form);
    TOrnFog fog(nullptr);
    fog.SetMode(fmLinear); // runs from depth 0 to 1 with the constructor values
    TOrnColor blue;
    blue.SetColor(clBlue);
    fog.SetColor(&blue);
    ClearTo(0, 0, 0);
    glMatrixMode(GL_PROJECTION);
    glOrtho(-1, 1, -1, 1, 0, 2);
    glMatrixMode(GL_MODELVIEW);
    fog.Render(&view);
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
    fog.SetEnabled(false);
    fog.Render(&view);
    EXPECT_FALSE(glIsEnabled(GL_FOG));
}
