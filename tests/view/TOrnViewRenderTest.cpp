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
        std::array<GLfloat, 4> colorMask;
    };
    const Case cases[] = {
        {{btColor, btDepth}, {dvRed, dvGreen, dvBlue, dvAlpha, dvDepth}, true, 0, kBlack, 1, {1, 1, 1, 1}},
        {{btColor}, {dvGreen, dvAlpha}, false, RGB(0, 51, 255), {255, 51, 255, 255}, 0.25f, {0, 1, 0, 1}},
        {{btDepth}, {dvGreen, dvDepth}, true, 0, {255, 255, 255, 255}, 1, {0, 1, 0, 0}}};
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
        auto get = [](GLenum name) {
            std::array<GLfloat, 4> value{};
            glGetFloatv(name, value.data());
            return value;
        };
        EXPECT_EQ(get(GL_COLOR_CLEAR_VALUE),
                  (std::array<GLfloat, 4>{0, c.background ? 0.2f : 0, c.background ? 1.0f : 0, 1}));
        EXPECT_EQ(get(GL_COLOR_WRITEMASK), c.colorMask);
        EXPECT_EQ(get(GL_DEPTH_FUNC)[0], static_cast<GLfloat>(c.depthTest ? GL_LESS : GL_ALWAYS));
        EXPECT_EQ(get(GL_DEPTH_WRITEMASK)[0], c.values.Contains(dvDepth));
        // What the scene switched on ends with the repaint; the depth test stays on.
        EXPECT_EQ(get(GL_LINE_WIDTH)[0], 1.0f);
        EXPECT_EQ(
            (std::array{glIsEnabled(GL_LIGHTING), glIsEnabled(GL_SCISSOR_TEST), glIsEnabled(GL_DEPTH_TEST)}),
            (std::array<GLboolean, 3>{0, 0, 1}));
        v.SetCurrent(false);
    }
}

TEST_F(ViewTest, EveryModeButSelectionSwapsAndResizingFollowsTheSurface) {
    int swaps = 0;
    TOrnOrthographicCamera camera(nullptr);
    TOrnView v(nullptr);
    v.SetCamera(&camera);
    v.SetBackgroundColor(clBlue);
    v.SetSurfaceFactory([&](TOrnView&) { return std::make_unique<test::WindowLikeSurface>(&swaps); });
    v.OpenGLConnect();
    for (TOrnDrawMode mode : {dmWindow, dmBitmap, dmPick, dmNothing, dmSelection}) {
        v.SetDrawMode(mode);
        v.RenderScene();
    }
    EXPECT_EQ(swaps, 4); // whatever DoubleBuffer says
    v.SetDrawMode(dmWindow);
    v.SetBounds(30, 70);
    v.RenderScene();
    EXPECT_GE(test::CountPixels(ViewImage(v), kRed, 0), 14u); // the x axis, from the centre rightwards
    v.Coordinates()->SetVisible(false);
    v.RenderScene();
    EXPECT_EQ(test::CountPixels(ViewImage(v), {0, 0, 255, 255}, 0), 30u * 70u);
}

TEST_F(ViewTest, InitCameraTurnsThePickRowOverAndCapturesTheCamera) {
    TOrnOrthographicCamera camera(nullptr);
    camera.Transformation()->Translation()->SetValues(1, 2, -5);
    TOrnView v(nullptr);
    v.SetPickPoint(20, 10);
    v.SetSelectWidth(7);
    v.OpenGLConnect();
    v.SetCurrent(true);
    v.InitCamera(400, 300); // no camera: nothing to do
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
        if (mode == dmSelection || mode == dmPick) gluPickMatrix(20, 290, 7, 5, window);
        glOrtho(-4.0 / 3, 4.0 / 3, -1, 1, 0.1, 10);
        const test::GLMatrix projection = test::GetMatrix(GL_PROJECTION_MATRIX);
        glLoadIdentity();
        v.SetDrawMode(mode);
        v.InitCamera(400, 300);
        GLint matrixMode = 0;
        std::array<GLint, 4> viewport;
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
