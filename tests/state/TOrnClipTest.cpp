#include <orn/state/TOrnClip.h>

#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

using namespace orn;

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

TEST_F(ClipGL, RenderSetsThePlaneInItsFrameAndEnablesItsOwnPlaneOnly) {
    TOrnClip clip(nullptr); // x + 1 ≥ 0 until told otherwise; indices outside 0 … 3 read -1 and write nothing
    EXPECT_EQ(clip.GetPlane(-1), -1.0);
    EXPECT_EQ(clip.GetPlane(4), -1.0);
    for (int bad : {-1, 4})
        clip.SetPlane(bad, 9.0);
    clip.SetID(idClipPlane5);
    clip.SetPlane(1, 2);
    clip.Transformation()->Translation()->SetY(1); // x + 2y + 1 ≥ 0 one unit up: x + 2y − 1 ≥ 0 outside
    clip.Render(view);
    double plane[4] = {};
    glGetClipPlane(GL_CLIP_PLANE5, plane);
    EXPECT_EQ(std::vector<double>(plane, plane + 4), (std::vector<double>{1, 2, 0, -1}));
    EXPECT_TRUE(glIsEnabled(GL_CLIP_PLANE5));
    EXPECT_FALSE(glIsEnabled(GL_CLIP_PLANE0));
    clip.SetEnabled(false);
    clip.Render(view);
    EXPECT_FALSE(glIsEnabled(GL_CLIP_PLANE5));
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
