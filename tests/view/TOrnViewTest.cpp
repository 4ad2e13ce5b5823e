#include <orn/host/EOrnError.h>
#include <orn/host/TComponentClass.h>
#include <orn/view/TOrnView.h>

#include "support/GLRecorder.h"
#include "view/ViewTestSupport.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace orn {
namespace {

using test::ColorNear;
using test::CountingSurface;
using test::GLRecorder;
using test::Rgba;
using test::ViewTest;
using Calls = std::vector<std::string>;

constexpr Rgba kRed{255, 0, 0, 255};
constexpr Rgba kGreen{0, 255, 0, 255};
constexpr Rgba kBlack{0, 0, 0, 255};

// --- Without a context

TEST(TOrnViewDefaults, SizesAndPickRegionAreClamped) {
    TOrnView v(nullptr);
    v.SetSelectWidth(0);
    v.SetSelectHeight(-4);
    EXPECT_EQ(v.SelectWidth(), 1);
    EXPECT_EQ(v.SelectHeight(), 1);
    int resized = 0;
    v.OnResize = [&](TObject*) { ++resized; };
    v.SetBounds(-10, 30);
    EXPECT_EQ(v.Width(), 0);
    EXPECT_EQ(v.Height(), 30);
    v.SetBounds(0, 30);
    EXPECT_EQ(resized, 1);
}

TEST(TOrnViewContext, DesignStateCreatesNoContext) {
    TOrnView v(nullptr);
    v.SetDesigning(true);
    EXPECT_FALSE(v.OpenGLConnect());
    EXPECT_FALSE(v.Active());
    EXPECT_EQ(v.Surface(), nullptr);
    v.OpenGLDisconnect(); // nothing to do, nothing thrown
}

TEST(TOrnViewContext, InactiveViewFailsSilently) {
    TOrnView v(nullptr);
    EXPECT_FALSE(v.GetCurrent());
    v.SetCurrent(true);
    EXPECT_FALSE(v.GetCurrent());
    v.SetCurrent(false);
    v.RenderScene();
    v.Paint();
    v.InvalidateGL();
    EXPECT_FALSE(v.PaintPending());
    EXPECT_EQ(v.GetObj(10, 10).Object, nullptr);
    TOrnMathVector p;
    EXPECT_FALSE(v.GetPoint(10, 10, p));
}

TEST(TOrnViewPixelFormat, WindowAsksForDoubleBufferingOnlyWhenTold) {
    const TOrnPixelFormat described{40, 1, 0x25, 0, 30, 2, 16, 8, 0};
    const TOrnPixelFormat dbl = TOrnView::ChoosePixelFormat(dmWindow, true, described);
    EXPECT_EQ(dbl.Flags, 0x425u);
    EXPECT_TRUE(dbl.DoubleBuffer());
    EXPECT_EQ(dbl.Size, 40);
    EXPECT_EQ(dbl.Version, 1);
    EXPECT_EQ(dbl.PixelType, 0);
    EXPECT_EQ(dbl.ColorBits, 24);
    EXPECT_EQ(dbl.AlphaBits, 0);
    EXPECT_EQ(dbl.DepthBits, 32);
    EXPECT_EQ(dbl.StencilBits, 1);
    EXPECT_EQ(dbl.LayerType, 0);

    const TOrnPixelFormat single = TOrnView::ChoosePixelFormat(dmWindow, false, described);
    EXPECT_EQ(single.Flags, 0x24u);
    EXPECT_EQ(single.Flags & (PFD_DOUBLEBUFFER | PFD_SWAP_COPY), 0u);
}

TEST(TOrnViewPixelFormat, BitmapKeepsTheDescribedColourBits) {
    const TOrnPixelFormat described{40, 1, 0x25, 0, 30, 2, 16, 8, 0};
    for (bool doubleBuffer : {true, false}) {
        const TOrnPixelFormat pfd = TOrnView::ChoosePixelFormat(dmBitmap, doubleBuffer, described);
        EXPECT_EQ(pfd.Flags, 0x38u);
        EXPECT_FALSE(pfd.DoubleBuffer());
        EXPECT_EQ(pfd.ColorBits, 30);
        EXPECT_EQ(pfd.AlphaBits, 2);
        EXPECT_EQ(pfd.DepthBits, 32);
        EXPECT_EQ(pfd.StencilBits, 1);
        EXPECT_EQ(pfd.PixelType, 0);
    }
}

// --- With a context

TEST_F(ViewTest, CameraChangesRepaintTheViewThatHoldsTheCameraNow) {
    TOrnPerspectiveCamera camera(nullptr);
    TOrnView first(nullptr);
    TOrnView second(nullptr);
    first.OpenGLConnect();
    second.OpenGLConnect();
    first.SetCamera(&camera);
    second.SetCamera(&camera); // takes the camera's one change handler
    second.SetCamera(nullptr);
    first.SetCamera(&camera); // the same camera again: hooked again
    first.RenderScene();
    camera.SetViewAngle(30);
    EXPECT_TRUE(first.PaintPending());

    {
        TOrnView third(nullptr);
        third.SetCamera(&camera);
        second.SetCamera(&camera);
    } // third goes, but the handler is second's now
    second.RenderScene();
    camera.SetViewAngle(40);
    EXPECT_TRUE(second.PaintPending());
}

TEST_F(ViewTest, ConnectRecordsTheRequestAndJoinsTheList) {
    TOrnView v(nullptr);
    v.SetDoubleBuffer(false);
    ASSERT_TRUE(v.OpenGLConnect());
    EXPECT_TRUE(v.Active());
    EXPECT_TRUE(v.OpenGLConnect()); // already connected: nothing new
    EXPECT_EQ(v.PixelFormatRequest().Flags, 0x24u);
    EXPECT_EQ(v.PixelFormatRequest().DepthBits, 32);
    const TOrnPixelFormat got = v.PixelFormat();
    EXPECT_EQ(got.ColorBits, 24);
    EXPECT_GE(got.DepthBits, 16);
    EXPECT_GE(got.StencilBits, 1);
    EXPECT_EQ(v.Surface()->Kind(), "headless");
    ASSERT_FALSE(TOrnView::ViewList().empty());
    EXPECT_EQ(TOrnView::ViewList().back(), &v);
    EXPECT_FALSE(v.GetCurrent()); // released after connecting

    v.OpenGLDisconnect();
    EXPECT_FALSE(v.Active());
    EXPECT_TRUE(TOrnView::ViewList().empty());
}

TEST_F(ViewTest, DestroyedViewLeavesTheList) {
    {
        TOrnView a(nullptr);
        a.OpenGLConnect();
        TOrnView b(nullptr);
        b.OpenGLConnect();
        EXPECT_EQ(TOrnView::ViewList(), (std::vector<TOrnView*>{&a, &b}));
    }
    EXPECT_TRUE(TOrnView::ViewList().empty());
}

TEST_F(ViewTest, CurrentFollowsSetCurrentAndBitmapModeIsAlwaysCurrent) {
    TOrnView v(nullptr);
    v.OpenGLConnect();
    v.SetCurrent(true);
    EXPECT_TRUE(v.GetCurrent());
    v.SetCurrent(false);
    EXPECT_FALSE(v.GetCurrent());
    v.SetDrawMode(dmBitmap);
    EXPECT_TRUE(v.GetCurrent());
}

TEST_F(ViewTest, SecondViewSharesListsWithTheFirst) {
    TOrnView first(nullptr);
    first.SetBounds(16, 16);
    first.OpenGLConnect();
    first.SetCurrent(true);
    const GLuint list = glGenLists(1);
    glNewList(list, GL_COMPILE);
    glColor3f(0, 1, 0);
    glEndList();
    first.SetCurrent(false);

    TOrnView second(nullptr);
    second.SetBounds(16, 16);
    second.OpenGLConnect();
    second.SetCurrent(true);
    EXPECT_TRUE(glIsList(list));
    second.SetCurrent(false);

    // A context outside the views' group knows nothing of the list.
    detail::EglContext outsider;
    outsider.Create(4, 4);
    outsider.MakeCurrent();
    EXPECT_FALSE(glIsList(list));
    detail::EglContext::DoneCurrent();

    first.SetCurrent(true);
    glDeleteLists(list, 1);
    first.SetCurrent(false);
}

TEST_F(ViewTest, SharingOutlivesTheFirstView) {
    auto first = std::make_unique<TOrnView>(nullptr);
    first->OpenGLConnect();
    TOrnView second(nullptr);
    second.OpenGLConnect();
    second.SetCurrent(true);
    const GLuint list = glGenLists(1);
    glNewList(list, GL_COMPILE);
    glEndList();
    second.SetCurrent(false);
    first.reset();
    TOrnView third(nullptr);
    third.OpenGLConnect();
    EXPECT_EQ(TOrnView::ViewList().front(), &second);
    third.SetCurrent(true);
    EXPECT_TRUE(glIsList(list));
    third.SetCurrent(false);
}

// --- Pixels

TEST_F(ViewTest, ViewWithoutOnRenderClearsToItsBackground) {
    TOrnView v(nullptr);
    v.SetBounds(40, 30);
    v.SetBackgroundColor(0x0000FF); // host red
    v.OpenGLConnect();
    v.RenderScene();
    test::Image image = ViewImage(v);
    EXPECT_TRUE(ColorNear(image.At(0, 0), kRed, 0));
    EXPECT_TRUE(ColorNear(image.At(39, 29), kRed, 0));
    // Only the axes besides the background.
    EXPECT_GT(test::CountPixels(image, kGreen, 0), 0u);
    v.Coordinates()->SetVisible(false);
    v.RenderScene();
    image = ViewImage(v);
    EXPECT_EQ(test::CountPixels(image, kRed, 0), 40u * 30u);
}

TEST_F(ViewTest, CoordinateAxesAreDrawnInTheirColours) {
    TOrnView v(nullptr);
    v.SetBounds(100, 100);
    TOrnOrthographicCamera camera(nullptr);
    v.SetCamera(&camera);
    v.OpenGLConnect();
    v.RenderScene();
    test::Image image = ViewImage(v);
    // Length 1 of a view 2 units high: the x axis runs from the centre to the right edge. The
    // centre line lies between two pixel rows; either may carry it.
    auto either = [&](int x0, int y0, int x1, int y1, const Rgba& c) {
        return test::SameColor(image.At(x0, y0), c, 0) || test::SameColor(image.At(x1, y1), c, 0);
    };
    EXPECT_TRUE(either(75, 50, 75, 49, kRed));
    EXPECT_TRUE(either(50, 75, 49, 75, kGreen));
    EXPECT_FALSE(either(25, 50, 25, 49, kRed));
    EXPECT_FALSE(either(50, 25, 49, 25, kGreen));
    v.Coordinates()->SetVisible(false);
    v.RenderScene();
    image = ViewImage(v);
    EXPECT_EQ(test::CountPixels(image, kBlack, 0), 100u * 100u);
}

// Where the camera puts a scene point on the window (pixels, y from the bottom).
struct Expected {
    double x, y;
};

Expected Project(bool perspective, int w, int h, double px, double py) {
    double nx = 0, ny = 0;
    const double aspect = double(w) / h;
    if (perspective) {
        const double f = 1.0 / std::tan(45.0 / 2 * std::numbers::pi / 180);
        nx = f / aspect * px / 2.0;
        ny = f * py / 2.0;
    } else {
        nx = px / aspect;
        ny = py;
    }
    return {(nx + 1) / 2 * w, (ny + 1) / 2 * h};
}

TEST_F(ViewTest, TriangleAppearsWhereTheCameraPutsIt) {
    struct Case {
        bool perspective;
        int w, h;
    };
    for (Case c :
         {Case{true, 400, 200}, Case{true, 200, 400}, Case{false, 400, 200}, Case{false, 200, 400}}) {
        SCOPED_TRACE(std::string(c.perspective ? "perspective " : "orthographic ") + std::to_string(c.w) +
                     "x" + std::to_string(c.h));
        TOrnPerspectiveCamera perspective(nullptr);
        TOrnOrthographicCamera orthographic(nullptr);
        TOrnView v(nullptr);
        v.SetBounds(c.w, c.h);
        v.Coordinates()->SetVisible(false);
        v.SetCamera(c.perspective ? static_cast<TOrnCamera*>(&perspective) : &orthographic);
        const double px = 0.3, py = 0.5;
        v.OnRender = [&](TOrnView*) {
            glColor3f(0, 1, 0);
            glBegin(GL_TRIANGLES);
            glVertex3d(px - 0.08, py - 0.06, 0);
            glVertex3d(px + 0.08, py - 0.06, 0);
            glVertex3d(px, py + 0.1, 0);
            glEnd();
        };
        v.OpenGLConnect();
        v.RenderScene();
        const test::Image image = ViewImage(v);
        const Expected at = Project(c.perspective, c.w, c.h, px, py);
        EXPECT_TRUE(ColorNear(image.At(int(at.x), int(at.y)), kGreen, 0));
        const Expected mirror = Project(c.perspective, c.w, c.h, -px, -py);
        EXPECT_TRUE(ColorNear(image.At(int(mirror.x), int(mirror.y)), kBlack, 0));
        EXPECT_GT(test::CountPixels(image, kGreen, 0), 20u);
    }
}

TEST_F(ViewTest, WithoutDvDepthTheDepthBufferIsNotWritten) {
    TOrnOrthographicCamera camera(nullptr);
    TOrnView v(nullptr);
    v.SetBounds(20, 20);
    v.SetCamera(&camera);
    v.OnRender = [](TOrnView*) {
        glRectf(-1, -1, 1, 1); // fills the view at depth z = 0
    };
    v.SetDrawValues({dvRed, dvGreen, dvBlue, dvAlpha});
    v.OpenGLConnect();
    v.RenderScene();
    EXPECT_FLOAT_EQ(ViewDepth(v, 10, 10), 1.0f);
    EXPECT_TRUE(ColorNear(ViewImage(v).At(10, 10), {255, 255, 255, 255}, 0)); // colour still written

    v.SetDrawValues({dvRed, dvGreen, dvBlue, dvAlpha, dvDepth});
    v.RenderScene();
    EXPECT_LT(ViewDepth(v, 10, 10), 0.9f);
}

TEST_F(ViewTest, DepthTestOffDrawsInCallOrder) {
    TOrnOrthographicCamera camera(nullptr);
    TOrnView v(nullptr);
    v.SetBounds(10, 10);
    v.SetCamera(&camera);
    v.Coordinates()->SetVisible(false);
    v.OnRender = [](TOrnView*) {
        glColor3f(0, 1, 0);
        glBegin(GL_QUADS); // near (z = 1 in front of the camera's z = -2 … the nearer one)
        glVertex3f(-1, -1, 1), glVertex3f(1, -1, 1), glVertex3f(1, 1, 1), glVertex3f(-1, 1, 1);
        glEnd();
        glColor3f(1, 0, 0);
        glBegin(GL_QUADS); // far, drawn second
        glVertex3f(-1, -1, -1), glVertex3f(1, -1, -1), glVertex3f(1, 1, -1), glVertex3f(-1, 1, -1);
        glEnd();
    };
    v.OpenGLConnect();
    v.RenderScene();
    EXPECT_TRUE(ColorNear(ViewImage(v).At(5, 5), kGreen, 0));
    v.SetDepthTest(false);
    v.RenderScene();
    EXPECT_TRUE(ColorNear(ViewImage(v).At(5, 5), kRed, 0));
}

TEST_F(ViewTest, SelectionModeDoesNotSwap) {
    int swaps = 0;
    TOrnView v(nullptr);
    v.SetSurfaceFactory([&](TOrnView&) { return std::make_unique<CountingSurface>(&swaps); });
    v.OpenGLConnect();
    EXPECT_EQ(v.Surface()->Kind(), "counting");
    v.RenderScene();
    EXPECT_EQ(swaps, 1);
    for (TOrnDrawMode mode : {dmBitmap, dmPick, dmNothing}) {
        v.SetDrawMode(mode);
        v.RenderScene();
    }
    EXPECT_EQ(swaps, 4); // whatever DoubleBuffer says
    v.SetDrawMode(dmSelection);
    v.RenderScene();
    EXPECT_EQ(swaps, 4);
}

TEST_F(ViewTest, ResizeFollowsTheSurface) {
    TOrnView v(nullptr);
    v.SetBackgroundColor(clLime);
    v.OpenGLConnect();
    v.SetBounds(30, 70);
    v.RenderScene();
    const test::Image image = ViewImage(v);
    EXPECT_EQ(test::CountPixels(image, kGreen, 0), 30u * 70u);
}

} // namespace
} // namespace orn
