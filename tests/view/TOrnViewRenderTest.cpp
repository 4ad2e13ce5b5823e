// One repaint of a view: what it clears, masks and restores, and where the camera puts the scene.
#include <orn/view/TOrnView.h>

#include "view/ViewTestSupport.h"

#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

namespace orn {
namespace {

using test::ColorNear;
using test::Rgba;
using test::ViewTest;

constexpr Rgba kRed{255, 0, 0, 255};
constexpr Rgba kGreen{0, 255, 0, 255};
constexpr Rgba kBlack{0, 0, 0, 255};

// The frame starts from colour white and depth 0.25: what each setting clears and leaves set.
TEST_F(ViewTest, RenderSceneGLFollowsBuffersMasksAndDepthTestAndRestoresTheState) {
    struct Case {
        TOrnBufferTypes buffers;
        TOrnDrawValues values;
        bool depthTest;
        TColor background;
        Rgba pixel;
        float depth;
        std::array<GLboolean, 4> colorMask;
    };
    const Case cases[] = {
        {{btColor, btDepth}, {dvRed, dvGreen, dvBlue, dvAlpha, dvDepth}, true, 0, kBlack, 1, {1, 1, 1, 1}},
        {{btColor}, {dvGreen, dvAlpha}, false, RGB(0, 51, 255), {255, 51, 255, 255}, 0.25f, {0, 1, 0, 1}},
        {{btDepth}, {dvRed, dvGreen, dvDepth}, true, 0, {255, 255, 255, 255}, 1, {1, 1, 0, 0}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.background);
        TOrnView v(nullptr);
        v.SetBounds(4, 4);
        v.Coordinates()->SetVisible(false);
        v.SetBackgroundColor(c.background);
        v.SetBufferTypes(c.buffers);
        v.SetDrawValues(c.values);
        v.SetDepthTest(c.depthTest);
        v.OnRender = [](TOrnView*) {
            glLineWidth(3);
            glEnable(GL_LIGHTING);
            glEnable(GL_SCISSOR_TEST);
        };
        v.OpenGLConnect();
        v.SetCurrent(true);
        glColorMask(1, 1, 1, 1);
        glDepthMask(1);
        glClearColor(1, 1, 1, 1);
        glClearDepth(0.25);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glClearDepth(1);
        v.RenderScene();
        EXPECT_TRUE(ColorNear(ViewImage(v).At(1, 1), c.pixel, 0));
        EXPECT_NEAR(ViewDepth(v, 1, 1), c.depth, 1e-6);
        v.SetCurrent(true);
        GLfloat clear[4], lineWidth = 0;
        GLint depthFunc = 0;
        std::array<GLboolean, 4> colorMask;
        GLboolean depthMask = 2;
        glGetFloatv(GL_COLOR_CLEAR_VALUE, clear);
        glGetIntegerv(GL_DEPTH_FUNC, &depthFunc);
        glGetBooleanv(GL_COLOR_WRITEMASK, colorMask.data());
        glGetBooleanv(GL_DEPTH_WRITEMASK, &depthMask);
        glGetFloatv(GL_LINE_WIDTH, &lineWidth);
        EXPECT_EQ(std::vector(clear, clear + 4),
                  (std::vector<GLfloat>{0, c.background ? 0.2f : 0.0f, c.background ? 1.0f : 0.0f, 1}));
        EXPECT_EQ(depthFunc, c.depthTest ? GL_LESS : GL_ALWAYS);
        EXPECT_EQ(colorMask, c.colorMask);
        EXPECT_EQ(depthMask, c.values.Contains(dvDepth));
        // What the scene switched on ends with the repaint; the depth test stays on.
        EXPECT_EQ(lineWidth, 1.0f);
        EXPECT_EQ(
            (std::array{glIsEnabled(GL_LIGHTING), glIsEnabled(GL_SCISSOR_TEST), glIsEnabled(GL_DEPTH_TEST)}),
            (std::array<GLboolean, 3>{0, 0, 1}));
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
    glViewport(1, 2, 3, 4);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glScalef(3, 3, 3);
    const test::GLMatrix scaled = test::GetMatrix(GL_PROJECTION_MATRIX);
    v.InitCamera(400, 300); // no camera: nothing
    std::array<GLint, 4> viewport;
    glGetIntegerv(GL_VIEWPORT, viewport.data());
    EXPECT_EQ(viewport, (std::array{1, 2, 3, 4}));
    EXPECT_EQ(test::GetMatrix(GL_PROJECTION_MATRIX), scaled);
    v.SetCamera(&camera);
    EXPECT_EQ(v.CameraMatrix(), camera.Matrix());
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glTranslatef(1, 2, -5);
    const test::GLMatrix modelview = test::GetMatrix(GL_MODELVIEW_MATRIX);
    for (TOrnDrawMode mode : {dmSelection, dmPick, dmWindow, dmBitmap, dmNothing}) {
        SCOPED_TRACE(mode);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        GLint window[4] = {0, 0, 400, 300};
        if (mode == dmSelection || mode == dmPick) gluPickMatrix(20, 290, 5, 5, window);
        glOrtho(-4.0 / 3, 4.0 / 3, -1, 1, 0.1, 10);
        const test::GLMatrix projection = test::GetMatrix(GL_PROJECTION_MATRIX);
        glLoadIdentity();
        v.SetDrawMode(mode);
        v.InitCamera(400, 300);
        GLint matrixMode = 0;
        glGetIntegerv(GL_MATRIX_MODE, &matrixMode);
        glGetIntegerv(GL_VIEWPORT, viewport.data());
        EXPECT_EQ(viewport, (std::array{0, 0, 400, 300}));
        EXPECT_EQ(matrixMode, GL_MODELVIEW);
        EXPECT_TRUE(test::MatrixNear(test::GetMatrix(GL_PROJECTION_MATRIX), projection));
        EXPECT_TRUE(test::MatrixNear(test::GetMatrix(GL_MODELVIEW_MATRIX), modelview));
        EXPECT_DOUBLE_EQ(camera.Matrix()->GetValue(0, 3), 1.0);
        EXPECT_DOUBLE_EQ(camera.Matrix()->GetValue(2, 3), -5.0);
    }
    v.SetCurrent(false);
    v.SetCamera(nullptr);
    EXPECT_EQ(v.CameraMatrix(), nullptr);
}

} // namespace
} // namespace orn
