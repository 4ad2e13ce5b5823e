#include <orn/host/EOrnError.h>
#include <orn/scene/TOrnObject.h>
#include <orn/state/TOrnAttributes.h>
#include <orn/view/TOrnView.h>

#include "view/ViewTestSupport.h"

#include <EGL/egl.h>
#include <GL/gl.h>
#include <gtest/gtest.h>

namespace orn {
namespace {

using test::ViewTest;

// Unconnected, GetImage renders at any size in a context of its own; connected, GetSurfaceImage reads
// back the view's own frame, rendered once in the context it already has.
TEST_F(ViewTest, GetImageRendersAtAnySizeAndGetSurfaceImageReadsTheViewsOwnFrame) {
    TOrnOrthographicCamera camera(nullptr);
    TOrnView v(nullptr);
    v.SetBackgroundColor(clRed);
    v.Coordinates()->SetVisible(false);
    v.SetCamera(&camera);
    std::vector<EGLContext> contexts;
    v.OnRender = [&](TOrnView*) {
        contexts.push_back(eglGetCurrentContext());
        glColor3f(0, 0, 1);
        glRectf(0, 0, 1, 1); // the upper right quarter of the height, right of the centre
    };
    // 30 pixels per unit; the square covers x 60 … 90 and the top half (rows 0 … 29 from the top).
    const std::tuple<int, int, TColor> pixels[] = {{5, 55, clRed},  {75, 45, clRed}, {45, 15, clRed},
                                                   {91, 15, clRed}, {75, 30, clRed}, {75, 15, clBlue},
                                                   {60, 0, clBlue}, {89, 29, clBlue}};
    auto expectSquare = [&](const TBitmap& image) {
        ASSERT_EQ(image.Width(), 120);
        ASSERT_EQ(image.Height(), 60);
        EXPECT_EQ(image.PixelFormat(), pf24bit);
        for (auto [x, y, colour] : pixels)
            EXPECT_EQ(image.Pixel(x, y), colour) << x << "," << y;
    };
    expectSquare(*v.GetImage(120, 60));
    EXPECT_FALSE(v.Active());
    EXPECT_THROW(v.GetSurfaceImage(), EOrnError); // not connected
    v.SetBounds(120, 60);
    v.OpenGLConnect();
    v.RenderScene();
    expectSquare(*v.GetSurfaceImage());
    ASSERT_EQ(contexts.size(), 3u);
    EXPECT_EQ(contexts[2], contexts[1]);
    EXPECT_FALSE(v.GetCurrent());
    v.GetImage(8, 8); // while the view's context lives, a bitmap's is another
    ASSERT_EQ(contexts.size(), 4u);
    EXPECT_NE(contexts[3], contexts[1]);
}

TEST_F(ViewTest, GetImageRendersInBitmapModeAndRestoresTheViewAfterwardsAndOnFailure) {
    TOrnView v(nullptr);
    v.OpenGLConnect();
    using Seen = std::vector<std::tuple<TOrnDrawMode, int, bool>>; // mode, ReInit, current
    Seen seen;
    v.OnRender = [&](TOrnView* view) {
        seen.emplace_back(view->DrawMode(), view->ReInit(), view->GetCurrent());
    };
    v.SetDrawMode(dmPick);
    v.GetImage(10, 10);
    EXPECT_EQ(std::tuple(v.DrawMode(), v.ReInit(), v.GetCurrent()), std::tuple(dmPick, 0, false));
    v.SetDrawMode(dmWindow);
    v.RenderScene();
    EXPECT_EQ(seen, (Seen{{dmBitmap, 1, true}, {dmWindow, 0, true}}));
    for (auto [w, h] : {std::pair{0, 10}, std::pair{10, -1}, std::pair{100000, 100000}})
        EXPECT_THROW(v.GetImage(w, h), EOrnError) << w << "x" << h;
    v.OnRender = [](TOrnView*) { throw EOrnError("scene failed"); };
    EXPECT_THROW(v.GetImage(8, 8), EOrnError);
    EXPECT_EQ(std::pair(v.DrawMode(), v.ReInit()), std::pair(dmWindow, 0));
    EXPECT_THROW(v.RenderScene(), EOrnError);
    EXPECT_FALSE(v.GetCurrent());
    v.SetCurrent(true);
    GLint depth = -1;
    glGetIntegerv(GL_ATTRIB_STACK_DEPTH, &depth);
    v.SetCurrent(false);
    EXPECT_EQ(depth, 0); // the failed repaint popped what it pushed
}

TEST_F(ViewTest, GetImageCallsListsCachedInTheFirstViewAndSendsSharedStateAfresh) {
    // A cached object: once compiled in the view, the bitmap's context can show it by its list.
    struct Square : TOrnObject {
        Square() : TOrnObject(nullptr) {}
        int built = 0;
        void DoRender(TOrnCustomView* view) override {
            ++built;
            TOrnObject::DoRender(view);
            glRectf(-0.5f, -0.5f, 0.5f, 0.5f);
        }
    } square;
    square.SetCached(true);
    TOrnAttributes attributes(nullptr);
    attributes.SetLineWidth(3);
    TOrnOrthographicCamera camera(nullptr);
    TOrnView v(nullptr);
    v.SetBounds(40, 40);
    v.Coordinates()->SetVisible(false);
    v.SetCamera(&camera);
    // The same block twice in one frame is sent once: the second leaves the disturbed width.
    std::vector<std::pair<float, float>> widths;
    v.OnRender = [&](TOrnView* view) {
        std::pair<float, float>& w = widths.emplace_back();
        attributes.Render(view);
        glGetFloatv(GL_LINE_WIDTH, &w.first);
        glLineWidth(9);
        attributes.Render(view);
        glGetFloatv(GL_LINE_WIDTH, &w.second);
        square.Render(view);
    };
    v.OpenGLConnect();
    v.RenderScene();
    v.RenderScene();
    ASSERT_NE(square.ListId(), 0u);
    const auto image = v.GetImage(40, 40);
    EXPECT_EQ(square.built, 1); // the bitmap called the list
    EXPECT_EQ(std::pair(image->Pixel(20, 20), image->Pixel(2, 2)), std::pair(clWhite, clBlack));
    EXPECT_EQ(widths, (std::vector<std::pair<float, float>>(3, {3.0f, 9.0f})));
}

// The samples a view asks for reach the context it renders into, connected and in GetImage, and
// smooth the edges of what it draws: a white triangle on black gives grey pixels along its edges
// only with samples.
TEST_F(ViewTest, SamplesReachTheContextsAndSmoothEdges) {
    for (int asked : {0, 4}) {
        SCOPED_TRACE(asked);
        TOrnView v(nullptr);
        v.SetSamples(99);
        EXPECT_EQ(v.Samples(), 16);
        v.SetSamples(-3);
        EXPECT_EQ(v.Samples(), 0);
        v.SetSamples(asked);
        v.SetBounds(8, 8);
        v.SetBackgroundColor(clBlack);
        v.Coordinates()->SetVisible(false);
        v.OpenGLConnect();
        const int obtained = v.PixelFormat().Samples;
        EXPECT_TRUE(asked > 0 || obtained == 0) << obtained;
        if (asked > 0 && obtained == 0) GTEST_SKIP() << "the driver has no multisampled buffers";
        GLint buffers = -1, samples = -1;
        v.OnRender = [&](TOrnView*) {
            glGetIntegerv(0x80A8 /* GL_SAMPLE_BUFFERS */, &buffers);
            glGetIntegerv(0x80A9 /* GL_SAMPLES */, &samples);
            glColor3f(1, 1, 1);
            glBegin(GL_TRIANGLES);
            glVertex2f(-0.9f, -0.9f), glVertex2f(0.9f, -0.7f), glVertex2f(-0.5f, 0.9f);
            glEnd();
        };
        const auto image = v.GetImage(32, 32);
        EXPECT_EQ(buffers, obtained > 0 ? 1 : 0);
        EXPECT_EQ(samples, obtained);
        int grey = 0;
        for (int y = 0; y < 32; ++y)
            for (int x = 0; x < 32; ++x)
                grey += image->ScanLine(y)[3 * x] != 0 && image->ScanLine(y)[3 * x] != 255;
        EXPECT_TRUE(asked == 0 ? grey == 0 : grey > 20) << grey;
    }
}

} // namespace
} // namespace orn
