#include <orn/scene/TOrnCustomController.h>
#include <orn/scene/TOrnObject.h>
#include <orn/view/TOrnView.h>

#include "support/GLRecorder.h"
#include "view/ViewTestSupport.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

namespace orn {
namespace {

using test::GLRecorder;
using test::ViewTest;
using Calls = std::vector<std::string>;

TEST_F(ViewTest, RenderSceneCallOrder) {
    TOrnPerspectiveCamera camera(nullptr);
    TOrnView v(nullptr);
    v.SetBackgroundColor(0x0000FF);
    v.Coordinates()->SetVisible(false);
    v.SetCamera(&camera);
    v.OnRender = [](TOrnView*) { glLineWidth(3); };
    v.OpenGLConnect();
    GLRecorder rec;
    v.RenderScene();
    rec.Stop();
    EXPECT_EQ(rec.Calls(), (Calls{"glViewport(0, 0, 400, 250)",
                                  "glMatrixMode(GL_PROJECTION)",
                                  "glLoadIdentity()",
                                  "gluPerspective(45, 1.6, 0.1, 10)",
                                  "glMatrixMode(GL_MODELVIEW)",
                                  "glLoadIdentity()",
                                  "glTranslatef(0, 0, -2)",
                                  "glGetDoublev(GL_MODELVIEW_MATRIX, ptr)",
                                  "glGetDoublev(GL_PROJECTION_MATRIX, ptr)",
                                  "glGetIntegerv(GL_VIEWPORT, ptr)",
                                  "glClearColor(1, 0, 0, 1)",
                                  "glDepthFunc(GL_LESS)",
                                  "glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE)",
                                  "glDepthMask(GL_TRUE)",
                                  "glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT)",
                                  "glMatrixMode(GL_MODELVIEW)",
                                  "glEnable(GL_DEPTH_TEST)",
                                  rec.Calls().at(17), // checked below
                                  "glLineWidth(3)",
                                  "glFlush()",
                                  "glPopAttrib()"}));
    EXPECT_EQ(rec.Calls().at(17).rfind("glPushAttrib(GL_COLOR_BUFFER_BIT | ", 0), 0u);
    EXPECT_NE(rec.Calls().at(17).find("GL_SCISSOR_BIT"), std::string::npos); // all attribute bits
}

TEST_F(ViewTest, RenderSceneGLFollowsBuffersMasksAndDepthTest) {
    TOrnView v(nullptr);
    v.Coordinates()->SetVisible(false);
    v.SetBackgroundColor(RGB(0, 51, 255));
    v.SetBufferTypes({btColor});
    v.SetDrawValues({dvRed, dvAlpha});
    v.SetDepthTest(false);
    v.OpenGLConnect();
    GLRecorder rec;
    v.RenderScene(); // no camera: no viewport, projection or camera placement
    rec.Stop();
    EXPECT_EQ(rec.Calls(),
              (Calls{"glClearColor(0, 0.2, 1, 1)", "glDepthFunc(GL_ALWAYS)",
                     "glColorMask(GL_TRUE, GL_FALSE, GL_FALSE, GL_TRUE)", "glDepthMask(GL_FALSE)",
                     "glClear(GL_COLOR_BUFFER_BIT)", "glMatrixMode(GL_MODELVIEW)", "glEnable(GL_DEPTH_TEST)",
                     rec.Calls().at(7), "glFlush()", "glPopAttrib()"}));
}

TEST_F(ViewTest, PickMatrixTurnsTheWindowRowOver) {
    TOrnOrthographicCamera camera(nullptr);
    TOrnView v(nullptr);
    v.SetBounds(400, 300);
    v.SetCamera(&camera);
    v.SetPickPoint(20, 10);
    v.OpenGLConnect();
    v.SetCurrent(true);
    for (TOrnDrawMode mode : {dmSelection, dmPick, dmWindow, dmBitmap, dmNothing}) {
        SCOPED_TRACE(mode);
        v.SetDrawMode(mode);
        GLRecorder rec;
        v.InitCamera(400, 300);
        rec.Stop();
        const Calls picks = rec.Filter("gluPickMatrix");
        if (mode == dmSelection || mode == dmPick) {
            EXPECT_EQ(picks, (Calls{"gluPickMatrix(20, 290, 5, 5, {0, 0, 400, 300})"}));
            // After the identity and before the camera's projection.
            const auto& calls = rec.Calls();
            const auto at = std::find(calls.begin(), calls.end(), picks.front()) - calls.begin();
            EXPECT_EQ(calls.at(at - 1), "glGetIntegerv(GL_VIEWPORT, ptr)");
            EXPECT_EQ(calls.at(at - 2), "glLoadIdentity()");
            EXPECT_EQ(calls.at(at + 1), "glOrtho(-1.33333, 1.33333, -1, 1, 0.1, 10)");
        } else {
            EXPECT_TRUE(picks.empty());
        }
    }
    v.SetCurrent(false);
}

TEST_F(ViewTest, InitCameraWithoutCameraDoesNothing) {
    TOrnView v(nullptr);
    v.SetDrawMode(dmSelection);
    v.OpenGLConnect();
    v.SetCurrent(true);
    GLRecorder rec;
    v.InitCamera(100, 100);
    rec.Stop();
    v.SetCurrent(false);
    EXPECT_TRUE(rec.Calls().empty());
}

TEST_F(ViewTest, InitCameraCapturesTheCameraMatrix) {
    TOrnPerspectiveCamera camera(nullptr);
    camera.Transformation()->Translation()->SetValues(1, 2, -5);
    TOrnView v(nullptr);
    v.SetCamera(&camera);
    EXPECT_EQ(v.CameraMatrix(), camera.Matrix());
    v.OpenGLConnect();
    v.RenderScene();
    EXPECT_DOUBLE_EQ(camera.Matrix()->GetValue(0, 3), 1.0);
    EXPECT_DOUBLE_EQ(camera.Matrix()->GetValue(1, 3), 2.0);
    EXPECT_DOUBLE_EQ(camera.Matrix()->GetValue(2, 3), -5.0);
    v.SetCamera(nullptr);
    EXPECT_EQ(v.CameraMatrix(), nullptr);
}

TEST_F(ViewTest, NamesStartAtOneInEveryRender) {
    TOrnView v(nullptr);
    TOrnObject a(nullptr), b(nullptr);
    std::vector<std::pair<TObject*, int>> told;
    std::vector<int> handed;
    v.OnNextID = [&](TObject* o, int index) { told.emplace_back(o, index); };
    v.OnRender = [&](TOrnView* view) {
        handed.push_back(view->GetNextID(&a, -1));
        handed.push_back(view->GetNextID(&b, 3));
    };
    v.OpenGLConnect();
    v.RenderScene();
    v.RenderScene();
    EXPECT_EQ(handed, (std::vector<int>{1, 2, 1, 2}));
    ASSERT_EQ(told.size(), 4u);
    EXPECT_EQ(told[1], (std::pair<TObject*, int>{&b, 3}));
    EXPECT_EQ(told[2], (std::pair<TObject*, int>{&a, -1}));
}

TEST_F(ViewTest, CameraChangesRepaintAndItsRemovalIsHeard) {
    TComponent form(nullptr);
    auto* camera = new TOrnOrthographicCamera(&form);
    auto* other = new TOrnPerspectiveCamera(&form);
    TOrnView v(nullptr);
    v.OpenGLConnect();
    v.SetCamera(camera);
    EXPECT_TRUE(v.PaintPending());
    v.RenderScene();
    EXPECT_FALSE(v.PaintPending());
    camera->SetViewHeight(5);
    EXPECT_TRUE(v.PaintPending());
    v.RenderScene();
    v.SetCamera(other);
    v.RenderScene();
    camera->SetViewHeight(6); // no longer ours
    EXPECT_FALSE(v.PaintPending());
    EXPECT_FALSE(camera->OnChange);
    delete other;
    EXPECT_EQ(v.Camera(), nullptr);
    v.RenderScene(); // renders without a camera
}

TEST_F(ViewTest, AxesChangesRepaint) {
    TOrnView v(nullptr);
    v.OpenGLConnect();
    v.Coordinates()->SetLength(3);
    EXPECT_TRUE(v.PaintPending());
    v.RenderScene();
    TOrnCoordinates axes;
    axes.SetColorX(clWhite);
    v.SetCoordinates(&axes);
    EXPECT_EQ(v.Coordinates()->ColorX(), clWhite);
    EXPECT_TRUE(v.PaintPending());
}

TEST_F(ViewTest, ClearBuffersBorrowsTheContext) {
    TOrnView v(nullptr);
    v.SetBounds(8, 8);
    v.Coordinates()->SetVisible(false);
    v.SetBackgroundColor(clLime);
    v.OpenGLConnect();
    v.RenderScene();
    v.SetCurrent(true);
    glClearColor(0, 0, 1, 1);
    v.SetCurrent(false);
    GLRecorder rec;
    v.ClearBuffers({btColor});
    rec.Stop();
    EXPECT_EQ(rec.Calls(), (Calls{"glClear(GL_COLOR_BUFFER_BIT)"}));
    EXPECT_FALSE(v.GetCurrent());
    EXPECT_TRUE(test::ColorNear(ViewImage(v).At(3, 3), {0, 0, 255, 255}, 0));
}

TEST_F(ViewTest, DestroyingTheViewFreesListsCachedInIt) {
    TOrnView keeper(nullptr); // shares the lists, so they can be looked for afterwards
    keeper.OpenGLConnect();
    TOrnObject object(nullptr);
    object.SetCached(true);
    GLuint list = 0;
    {
        TOrnView v(nullptr);
        v.OpenGLConnect();
        v.OnRender = [&](TOrnView* view) { object.Render(view); };
        v.RenderScene();
        EXPECT_EQ(object.View(), &v);
        list = object.ListId();
        ASSERT_NE(list, 0u);
    }
    EXPECT_EQ(object.View(), nullptr);
    EXPECT_EQ(object.ListId(), 0u);
    keeper.SetCurrent(true);
    EXPECT_FALSE(glIsList(list));
    keeper.SetCurrent(false);
}

// --- Input forwarding

class RecordingController : public TOrnCustomController {
public:
    using TOrnCustomController::TOrnCustomController;
    bool answer = false;
    std::vector<std::string>* log = nullptr;

    bool HandleKey(std::uint16_t key, TShiftState shift) override {
        log->push_back("key " + std::to_string(key) + (shift.Contains(ssCtrl) ? " ctrl" : ""));
        return answer;
    }
    bool HandleMouseDown(TMouseButton b, TShiftState, int x, int y) override {
        log->push_back("down " + std::to_string(b) + " " + std::to_string(x) + "," + std::to_string(y));
        return answer;
    }
    bool HandleMouseMove(TShiftState shift, int x, int y) override {
        log->push_back("move " + std::to_string(x) + "," + std::to_string(y) +
                       (shift.Contains(ssLeft) ? " left" : ""));
        return answer;
    }
    bool HandleMouseUp(TMouseButton b, TShiftState, int x, int y) override {
        log->push_back("up " + std::to_string(b) + " " + std::to_string(x) + "," + std::to_string(y));
        return answer;
    }
};

TEST_F(ViewTest, InputReachesTheViewEventsThenTheController) {
    std::vector<std::string> log;
    TComponent form(nullptr);
    auto* controller = new RecordingController(&form);
    controller->log = &log;
    TOrnView v(nullptr);
    v.OpenGLConnect();
    v.OnMouseDown = [&](TObject*, TMouseButton, TShiftState, int, int) { log.push_back("view down"); };
    v.OnMouseMove = [&](TObject*, TShiftState, int, int) { log.push_back("view move"); };
    v.OnMouseUp = [&](TObject*, TMouseButton, TShiftState, int, int) { log.push_back("view up"); };
    v.OnKeyDown = [&](TObject*, std::uint16_t& key, TShiftState) {
        log.push_back("view key");
        key = VK_UP; // the view's handler may change the key the controller sees
    };
    std::uint16_t key = VK_DOWN;
    v.KeyDown(key, {}); // no controller yet
    v.SetController(controller);
    key = VK_LEFT;
    v.KeyDown(key, {ssCtrl});
    v.MouseDown(mbRight, {ssRight}, 5, 6);
    v.MouseMove({ssLeft}, 7, 8);
    v.MouseUp(mbLeft, {}, 9, 10);
    EXPECT_EQ(log, (Calls{"view key", "view key", "key 38 ctrl", "view down", "down 1 5,6", "view move",
                          "move 7,8 left", "view up", "up 0 9,10"}));
    EXPECT_FALSE(v.PaintPending()); // nothing changed

    controller->answer = true;
    v.MouseMove({ssLeft}, 8, 8);
    EXPECT_TRUE(v.PaintPending());
    v.RenderScene();
    key = VK_UP;
    v.KeyDown(key, {});
    EXPECT_TRUE(v.PaintPending());

    delete controller;
    EXPECT_EQ(v.Controller(), nullptr);
    v.MouseMove({}, 1, 1); // nothing to forward to
}

} // namespace
} // namespace orn
