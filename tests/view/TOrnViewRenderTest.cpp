// One repaint of a view: what it clears, masks and restores, and where the camera puts the scene.
#include <orn/view/TOrnView.h>

#include "support/GLRecorder.h"
#include "view/ViewTestSupport.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

namespace orn {
namespace {

using test::ColorNear;
using test::GLRecorder;
using test::Rgba;
using test::ViewTest;
using Calls = std::vector<std::string>;

constexpr Rgba kRed{255, 0, 0, 255};
constexpr Rgba kGreen{0, 255, 0, 255};
constexpr Rgba kBlack{0, 0, 0, 255};

TEST_F(ViewTest, RenderSceneGLFollowsBuffersMasksAndDepthTestAndRestoresTheState) {
    struct Case {
        TOrnBufferTypes buffers;
        TOrnDrawValues values;
        bool depthTest;
        TColor background;
    };
    const Case cases[] = {Case{}, // the defaults
                          Case{{btColor}, {dvGreen, dvAlpha}, false, RGB(0, 51, 255)},
                          Case{{btDepth}, {dvRed, dvGreen, dvDepth}, true, 0}};
    const Calls expected[] = {{"glClearColor(0, 0, 0, 1)", "glDepthFunc(GL_LESS)",
                               "glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE)", "glDepthMask(GL_TRUE)",
                               "glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT)"},
                              {"glClearColor(0, 0.2, 1, 1)", "glDepthFunc(GL_ALWAYS)",
                               "glColorMask(GL_FALSE, GL_TRUE, GL_FALSE, GL_TRUE)", "glDepthMask(GL_FALSE)",
                               "glClear(GL_COLOR_BUFFER_BIT)"},
                              {"glClearColor(0, 0, 0, 1)", "glDepthFunc(GL_LESS)",
                               "glColorMask(GL_TRUE, GL_TRUE, GL_FALSE, GL_FALSE)", "glDepthMask(GL_TRUE)",
                               "glClear(GL_DEPTH_BUFFER_BIT)"}};
    for (int i = 0; i < 3; ++i) {
        const Case& c = cases[i];
        TOrnView v(nullptr);
        v.Coordinates()->SetVisible(false);
        if (i > 0) {
            v.SetBackgroundColor(c.background);
            v.SetBufferTypes(c.buffers);
            v.SetDrawValues(c.values);
            v.SetDepthTest(c.depthTest);
        }
        v.OnRender = [](TOrnView*) {
            glLineWidth(3);
            glEnable(GL_LIGHTING);
        };
        v.OpenGLConnect();
        GLRecorder rec;
        v.RenderScene();
        rec.Stop();
        EXPECT_EQ(rec.Filter({"glClearColor", "glDepthFunc", "glColorMask", "glDepthMask", "glClear"}),
                  expected[i]);
        EXPECT_EQ(rec.Filter({"glEnable", "glLineWidth", "glFlush", "glPopAttrib"}),
                  (Calls{"glEnable(GL_DEPTH_TEST)", "glLineWidth(3)", "glEnable(GL_LIGHTING)", "glFlush()",
                         "glPopAttrib()"}));
        // Every attribute group is pushed, so what the scene switched on ends with the repaint.
        ASSERT_EQ(rec.Filter("glPushAttrib").size(), 1u);
        EXPECT_NE(rec.Filter("glPushAttrib")[0].find("GL_SCISSOR_BIT"), std::string::npos);
        v.SetCurrent(true);
        EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
        v.SetCurrent(false);
    }
}

TEST_F(ViewTest, ViewWithoutOnRenderClearsToItsBackgroundAndDrawsItsAxes) {
    TOrnOrthographicCamera camera(nullptr);
    TOrnView v(nullptr);
    v.SetBounds(100, 100);
    v.SetBackgroundColor(0x0000FF); // host red
    v.SetCamera(&camera);
    v.OpenGLConnect();
    v.RenderScene();
    test::Image image = ViewImage(v);
    EXPECT_TRUE(ColorNear(image.At(0, 0), kRed, 0));
    EXPECT_TRUE(ColorNear(image.At(99, 99), kRed, 0));
    // Length 1 of a view 2 units high: the axes run from the centre to the right and top edges.
    // The centre line lies between two pixel rows; either may carry it.
    auto either = [&](int x0, int y0, int x1, int y1, const Rgba& c) {
        return test::SameColor(image.At(x0, y0), c, 0) || test::SameColor(image.At(x1, y1), c, 0);
    };
    EXPECT_TRUE(either(50, 75, 49, 75, kGreen));
    EXPECT_FALSE(either(50, 25, 49, 25, kGreen));
    v.SetBackgroundColor(clBlack);
    v.RenderScene();
    image = ViewImage(v);
    EXPECT_TRUE(either(75, 50, 75, 49, kRed));
    EXPECT_FALSE(either(25, 50, 25, 49, kRed));
    v.Coordinates()->SetVisible(false);
    v.RenderScene();
    EXPECT_EQ(test::CountPixels(ViewImage(v), kBlack, 0), 100u * 100u);
}

TEST_F(ViewTest, DepthMaskAndDepthTestDecideWhatTheSceneWrites) {
    TOrnOrthographicCamera camera(nullptr);
    TOrnView v(nullptr);
    v.SetBounds(10, 10);
    v.SetCamera(&camera);
    v.Coordinates()->SetVisible(false);
    v.OnRender = [](TOrnView*) {
        glColor3f(0, 1, 0);
        glBegin(GL_QUADS); // the nearer square (z = 1 is nearer the camera at z = 2) first
        glVertex3f(-1, -1, 1), glVertex3f(1, -1, 1), glVertex3f(1, 1, 1), glVertex3f(-1, 1, 1);
        glEnd();
        glColor3f(1, 0, 0);
        glBegin(GL_QUADS);
        glVertex3f(-1, -1, -1), glVertex3f(1, -1, -1), glVertex3f(1, 1, -1), glVertex3f(-1, 1, -1);
        glEnd();
    };
    v.SetDrawValues({dvRed, dvGreen, dvBlue, dvAlpha});
    v.OpenGLConnect();
    v.RenderScene();
    EXPECT_FLOAT_EQ(ViewDepth(v, 5, 5), 1.0f);
    EXPECT_TRUE(ColorNear(ViewImage(v).At(5, 5), kRed, 0)) << "nothing written to test against";
    v.SetDrawValues({dvRed, dvGreen, dvBlue, dvAlpha, dvDepth});
    v.RenderScene();
    EXPECT_TRUE(ColorNear(ViewImage(v).At(5, 5), kGreen, 0));
    EXPECT_LT(ViewDepth(v, 5, 5), 0.9f);
    v.SetDepthTest(false);
    v.RenderScene();
    EXPECT_TRUE(ColorNear(ViewImage(v).At(5, 5), kRed, 0)) << "drawn in call order";
}

TEST_F(ViewTest, EveryModeButSelectionSwapsAndResizingFollowsTheSurface) {
    int swaps = 0;
    TOrnView v(nullptr);
    v.SetBackgroundColor(clLime);
    v.SetSurfaceFactory([&](TOrnView&) { return std::make_unique<test::WindowLikeSurface>(&swaps); });
    v.OpenGLConnect();
    for (TOrnDrawMode mode : {dmWindow, dmBitmap, dmPick, dmNothing, dmSelection}) {
        v.SetDrawMode(mode);
        v.RenderScene();
    }
    EXPECT_EQ(swaps, 4); // whatever DoubleBuffer says
    v.SetDrawMode(dmWindow);
    v.SetBounds(30, 70);
    v.Coordinates()->SetVisible(false);
    v.RenderScene();
    EXPECT_EQ(test::CountPixels(ViewImage(v), kGreen, 0), 30u * 70u);
}

TEST_F(ViewTest, InitCameraTurnsThePickRowOverAndCapturesTheCamera) {
    TOrnOrthographicCamera camera(nullptr);
    camera.Transformation()->Translation()->SetValues(1, 2, -5);
    TOrnView v(nullptr);
    v.SetPickPoint(20, 10);
    v.OpenGLConnect();
    v.SetCurrent(true);
    GLRecorder rec;
    v.InitCamera(400, 300); // no camera: nothing
    EXPECT_TRUE(rec.Calls().empty());
    v.SetCamera(&camera);
    EXPECT_EQ(v.CameraMatrix(), camera.Matrix());
    for (TOrnDrawMode mode : {dmSelection, dmPick, dmWindow, dmBitmap, dmNothing}) {
        SCOPED_TRACE(mode);
        v.SetDrawMode(mode);
        rec.Clear();
        v.InitCamera(400, 300);
        const Calls calls =
            rec.Filter({"glViewport", "glLoadIdentity", "gluPickMatrix", "glOrtho", "glTranslatef"});
        Calls expected{"glViewport(0, 0, 400, 300)", "glLoadIdentity()",
                       "glOrtho(-1.33333, 1.33333, -1, 1, 0.1, 10)", "glLoadIdentity()",
                       "glTranslatef(1, 2, -5)"};
        if (mode == dmSelection || mode == dmPick)
            expected.insert(expected.begin() + 2, "gluPickMatrix(20, 290, 5, 5, {0, 0, 400, 300})");
        EXPECT_EQ(calls, expected);
        EXPECT_DOUBLE_EQ(camera.Matrix()->GetValue(0, 3), 1.0);
        EXPECT_DOUBLE_EQ(camera.Matrix()->GetValue(2, 3), -5.0);
    }
    v.SetCurrent(false);
    v.SetCamera(nullptr);
    EXPECT_EQ(v.CameraMatrix(), nullptr);
}

} // namespace
} // namespace orn
