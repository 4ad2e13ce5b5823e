#include <orn/state/TOrnClip.h>

#include "support/GLRecorder.h"
#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

using namespace orn;
using orn::test::GLRecorder;
using Calls = std::vector<std::string>;

namespace {

class ClipGL : public orn::test::ViewGLTest {
protected:
    // A white band across the viewport on black; which of the columns probed are lit.
    std::vector<bool> Lit(std::initializer_list<TOrnClip*> clips, std::initializer_list<int> columns) {
        ClearTo(0, 0, 0);
        for (TOrnClip* c : clips)
            c->Render(view);
        glColor3f(1, 1, 1);
        glRectf(-1, -0.5f, 1, 0.5f);
        std::vector<bool> lit;
        for (int x : columns)
            lit.push_back(ReadPixel(x, 32)[0] > 200);
        return lit;
    }
};

} // namespace

TEST_F(ClipGL, RenderSendsThePlaneInItsFrameThenEnablesItsOwnPlane) {
    TOrnClip clip(nullptr); // x + 1 ≥ 0 until told otherwise; indices outside 0 … 3 read -1 and write nothing
    EXPECT_EQ(clip.GetPlane(-1), -1.0);
    EXPECT_EQ(clip.GetPlane(4), -1.0);
    for (int bad : {-1, 4})
        clip.SetPlane(bad, 9.0);
    clip.SetID(idClipPlane5);
    clip.SetPlane(1, 2);
    clip.Transformation()->Translation()->SetZ(1);
    GLRecorder rec;
    clip.Render(view);
    EXPECT_EQ(rec.Calls(),
              (Calls{"glPushMatrix()", "glTranslatef(0, 0, 1)", "glClipPlane(GL_CLIP_PLANE5, {1, 2, 0, 1})",
                     "glEnable(GL_CLIP_PLANE5)", "glPopMatrix()"}));
    rec.Clear();
    clip.SetEnabled(false);
    clip.Render(view);
    EXPECT_EQ(rec.Calls(), (Calls{"glDisable(GL_CLIP_PLANE5)"}));
}

TEST_F(ClipGL, PlaneCutsExactlyAndALaterClipWithTheSameIDReplacesIt) {
    TOrnClip first(nullptr), second(nullptr), moved(nullptr);
    first.SetPlane(0, -1); // keeps x <= 0.5: columns up to 47 of 64
    first.SetPlane(3, 0.5);
    EXPECT_EQ(Lit({&first}, {0, 47, 48}), (std::vector<bool>{true, true, false}));
    second.SetPlane(3, 0); // same ID: keeps x >= 0 only
    EXPECT_EQ(Lit({&first, &second}, {31, 32, 60}), (std::vector<bool>{false, true, true}));
    first.SetEnabled(false); // switches the shared plane off
    EXPECT_EQ(Lit({&first}, {0, 63}), (std::vector<bool>{true, true}));
    moved.SetPlane(3, 0);                               // x >= 0 in its own frame
    moved.Transformation()->Translation()->SetX(-0.5f); // which is x >= -0.5 outside
    EXPECT_EQ(Lit({&moved}, {15, 16}), (std::vector<bool>{false, true}));
}
