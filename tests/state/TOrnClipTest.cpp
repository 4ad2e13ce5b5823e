#include <orn/state/TOrnClip.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"
#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

using namespace orn;
using orn::test::GLRecorder;
using orn::test::TestView;
using Calls = std::vector<std::string>;

TEST(TOrnClip, FreshClipKeepsXPlusOneAndOutOfRangeIndicesAreSafe) {
    TOrnClip c(nullptr);
    EXPECT_EQ(c.ID(), idClipPlane0);
    EXPECT_EQ(c.GetPlane(0), 1.0);
    EXPECT_EQ(c.GetPlane(1), 0.0);
    EXPECT_EQ(c.GetPlane(2), 0.0);
    EXPECT_EQ(c.GetPlane(3), 1.0);
    EXPECT_EQ(c.GetPlane(7), -1.0);
    EXPECT_EQ(c.GetPlane(-1), -1.0);
    c.SetPlane(4, 9.0);
    c.SetPlane(-1, 9.0);
    EXPECT_EQ(c.GetPlane(3), 1.0);
}

namespace {

class ClipGL : public orn::test::GLTest {
protected:
    TComponent form{nullptr};
    TestView* view = new TestView(&form);
};

void Rectangle() {
    glColor3f(1, 1, 1);
    glBegin(GL_QUADS);
    glVertex2f(-1, -0.5f);
    glVertex2f(1, -0.5f);
    glVertex2f(1, 0.5f);
    glVertex2f(-1, 0.5f);
    glEnd();
}

bool Lit(const orn::test::Rgba& c) {
    return c[0] > 200;
}

} // namespace

TEST_F(ClipGL, RenderSendsThePlaneThenEnablesIt) {
    auto* clip = new TOrnClip(&form);
    clip->SetID(idClipPlane5);
    clip->SetPlane(1, 2);
    clip->Transformation()->Translation()->SetZ(1);
    GLRecorder rec;
    clip->Render(view);
    EXPECT_EQ(rec.Calls(),
              (Calls{"glPushMatrix()", "glTranslatef(0, 0, 1)", "glClipPlane(GL_CLIP_PLANE5, {1, 2, 0, 1})",
                     "glEnable(GL_CLIP_PLANE5)", "glPopMatrix()"}));
    rec.Clear();
    clip->SetEnabled(false);
    clip->Render(view);
    EXPECT_EQ(rec.Calls(), (Calls{"glDisable(GL_CLIP_PLANE5)"}));
}

TEST_F(ClipGL, PlaneCutsTheRectangleExactlyAndALaterClipWithTheSameIDReplacesIt) {
    ClearTo(0, 0, 0);
    TOrnClip first(nullptr);
    first.SetPlane(0, -1); // keeps x <= 0.5: columns up to 47 of 64
    first.SetPlane(3, 0.5);
    first.Render(view);
    Rectangle();
    EXPECT_TRUE(Lit(ReadPixel(47, 32)));
    EXPECT_FALSE(Lit(ReadPixel(48, 32)));
    EXPECT_TRUE(Lit(ReadPixel(0, 32)));

    ClearTo(0, 0, 0);
    TOrnClip second(nullptr);
    second.SetPlane(3, 0); // same ID: keeps x >= 0 only
    first.Render(view);
    second.Render(view);
    Rectangle();
    EXPECT_FALSE(Lit(ReadPixel(31, 32)));
    EXPECT_TRUE(Lit(ReadPixel(32, 32)));
    EXPECT_TRUE(Lit(ReadPixel(60, 32))) << "the first plane no longer applies";

    ClearTo(0, 0, 0);
    first.SetEnabled(false);
    first.Render(view); // switches the shared plane off
    Rectangle();
    EXPECT_TRUE(Lit(ReadPixel(0, 32)));
    EXPECT_TRUE(Lit(ReadPixel(63, 32)));
}

TEST_F(ClipGL, PlaneIsTakenInTheModelViewCoordinatesOfItsRender) {
    ClearTo(0, 0, 0);
    TOrnClip clip(nullptr);
    clip.SetPlane(3, 0);                               // x >= 0 in its own frame
    clip.Transformation()->Translation()->SetX(-0.5f); // which is x >= -0.5 outside
    clip.Render(view);
    Rectangle();
    EXPECT_FALSE(Lit(ReadPixel(15, 32)));
    EXPECT_TRUE(Lit(ReadPixel(16, 32)));
}
