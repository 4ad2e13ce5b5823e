#include <orn/geometry/TOrnBox.h>
#include <orn/geometry/TOrnCylinder.h>
#include <orn/geometry/TOrnDisc.h>
#include <orn/geometry/TOrnLine.h>
#include <orn/geometry/TOrnPoint.h>
#include <orn/geometry/TOrnRectangle.h>
#include <orn/geometry/TOrnSphere.h>
#include <orn/geometry/TOrnTorus.h>
#include <orn/geometry/TOrnTriangle.h>
#include <orn/host/EOrnError.h>
#include <orn/host/TOrnClock.h>
#include <orn/samples/TOrnColorGrid.h>
#include <orn/samples/TOrnGauge.h>
#include <orn/scene/TOrnCustomController.h>
#include <orn/scene/TOrnNode.h>
#include <orn/state/TOrnAttributes.h>
#include <orn/view/TOrnCanvasView.h>
#include <orn/view/TOrnWindowSurface.h>

#include "support/GLTestContext.h"
#include "support/MemoryExchange.h"
#include "support/VectorNear.h"
#include "view/ViewTestSupport.h"

#include <EGL/egl.h>
#include <GL/glu.h>
#include <GLFW/glfw3.h>

#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <random>

namespace orn {
namespace {

using test::ViewTest, test::Image, test::Rgba, test::kBlack, test::kWhite, test::kRed, test::kBlue,
    test::kLime, test::kYellow;
using Calls = std::vector<std::string>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

// Refused values leave the property as it was without a notification; a good one is stored.
#define EXPECT_REFUSES(camera, Prop, kept, taken, ...)                                                       \
    do {                                                                                                     \
        SCOPED_TRACE(#Prop);                                                                                 \
        changes = 0;                                                                                         \
        for (float v : {__VA_ARGS__})                                                                        \
            camera.Set##Prop(v);                                                                             \
        EXPECT_FLOAT_EQ(camera.Prop(), kept);                                                                \
        camera.Set##Prop(taken);                                                                             \
        EXPECT_FLOAT_EQ(camera.Prop(), taken);                                                               \
        EXPECT_EQ(changes, 1);                                                                               \
    } while (false)

TEST(TOrnCameraRange, RefusedValuesKeepTheOldOneAndTheProjectionTheLastPairOfPlanesInOrder) {
    TOrnPerspectiveCamera p(nullptr), c(nullptr), copy(nullptr);
    TOrnOrthographicCamera o(nullptr);
    int changes = 0;
    p.OnChange = o.OnChange = [&](TObject*) { ++changes; };
    EXPECT_REFUSES(p, ViewNear, 0.1f, 1.0f, 0.0f, -1.0f, kInf, kNaN);
    EXPECT_REFUSES(p, ViewFar, 10.0f, 5.0f, 0.0f, -1.0f, kInf, kNaN);
    EXPECT_REFUSES(p, ViewAngle, 45.0f, 179.5f, 0.0f, 180.0f, -30.0f, 200.0f, kNaN);
    EXPECT_REFUSES(o, ViewWidth, 2.0f, 5.0f, 0.0f, -3.0f, kNaN);
    EXPECT_REFUSES(o, ViewHeight, 2.0f, 0.25f, 0.0f, -3.0f);
    auto projected = [](const TOrnCamera& c) { return std::pair(c.ProjectionNear(), c.ProjectionFar()); };
    c.SetViewNear(20.0f); // beyond far for now
    EXPECT_EQ(std::tuple(c.ViewNear(), projected(c)), std::tuple(20.0f, std::pair(0.1f, 10.0f)));
    c.SetViewFar(100.0f);
    EXPECT_EQ(projected(c), std::pair(20.0f, 100.0f));
    c.SetViewFar(1.5f);
    c.SetViewNear(1.0f);
    EXPECT_EQ(projected(c), std::pair(1.0f, 1.5f));
    c.SetViewNear(1.5f); // equal planes are no pair either
    copy.Assign(&c);     // a copy projects as the original does
    EXPECT_EQ(projected(copy), std::pair(1.0f, 1.5f));
    // Reading sets both planes in either order, also both beyond the present far plane.
    test::MemoryExchange ex;
    for (auto [nearText, farText, nearValue, farValue] :
         {std::tuple{"20", "30", 20.0f, 30.0f}, std::tuple{"0.5", "1", 0.5f, 1.0f}}) {
        ex.Set("ViewNear", nearText);
        ex.Set("ViewFar", farText);
        ex.Load(copy);
        EXPECT_EQ(std::tuple(copy.ViewNear(), copy.ViewFar(), projected(copy)),
                  std::tuple(nearValue, farValue, std::pair(nearValue, farValue)));
    }
}

using CameraAndAxesGL = test::GLTest;

TEST_F(CameraAndAxesGL, ProjectionFollowsTheWindowAspectAndAxesDrawInTheirColoursAndLengthOrNothing) {
    TOrnCamera base(nullptr);
    TOrnPerspectiveCamera p(nullptr);
    TOrnOrthographicCamera o(nullptr);
    // The aspect a perspective camera passes on, or the half width of an orthographic one 4 wide, 2 high.
    const std::tuple<TOrnCamera*, int, int, double> rows[] = {
        {&p, 400, 200, 2}, {&p, 200, 400, 0.5}, {&p, 300, 0, 300}, // a zero side counts as one pixel
        {&p, -5, 10, 0.1}, {&o, 400, 200, 4},   {&o, 200, 400, 1}, {&o, 0, 0, 2}, {&base, 400, 200, 0}};
    o.SetViewWidth(4);
    p.SetViewNear(20); // beyond far: the projection keeps the last good pair
    glMatrixMode(GL_PROJECTION);
    for (auto [camera, width, height, x] : rows) {
        glLoadIdentity();
        if (camera == &p) gluPerspective(45, x, 0.1, 10);
        if (camera == &o) glOrtho(-x, x, -1, 1, 0.1, 10);
        const auto want = test::GetGL<double, 16>(GL_PROJECTION_MATRIX);
        glLoadIdentity();
        camera->Adjust(width, height);
        EXPECT_THAT((test::GetGL<double, 16>(GL_PROJECTION_MATRIX)), test::MatrixNear(want))
            << width << "x" << height;
    }
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    TOrnCoordinates c;
    int changes = 0;
    c.OnChange = [&](TObject*) { ++changes; };
    c.SetLength(0);
    c.SetLength(-2);
    c.SetLength(0.5f); // 16 pixels
    EXPECT_EQ(changes, 1);
    glTranslatef(0.5f / 32, 0.5f / 32, 0); // the axes through the centres of row and column 32
    glEnable(GL_LIGHTING);
    glColor3f(0.5f, 0.5f, 0.5f);
    for (bool turned : {false, true}) {
        ClearTo(0, 0, 0);
        if (turned) glRotatef(90, 0, 1, 0); // z runs right
        c.Render();
        EXPECT_EQ((std::array{ReadPixel(40, 32), ReadPixel(32, 40), ReadPixel(50, 32), ReadPixel(32, 50)}),
                  (std::array{turned ? kBlue : kRed, kLime, kBlack, kBlack}));
    }
    // Lighting off and the colour its own only while it draws.
    EXPECT_EQ(std::tuple(glIsEnabled(GL_LIGHTING), test::GetGL(GL_CURRENT_COLOR)[1]),
              std::tuple(GLboolean(1), 0.5f));
    c.SetVisible(false);
    ClearTo(0, 0, 0);
    c.Render();
    EXPECT_EQ(test::CountPixels(ReadImage(), kBlack, 0), 64u * 64u);
}

TEST(TOrnViewWithoutContext, ClampsItsSizesFailsSilentlyAndChoosesTheFormatToAskFor) {
    TOrnView v(nullptr);
    v.SetSelectWidth(0);
    v.SetSelectHeight(-4);
    EXPECT_EQ(std::tuple(v.SelectWidth(), v.SelectHeight()), std::tuple(1, 1));
    int resized = 0;
    v.OnResize = [&](TObject*) { ++resized; };
    v.SetBounds(-10, 30);
    v.SetBounds(0, 30); // the same size
    EXPECT_EQ(std::tuple(v.Width(), v.Height(), resized), std::tuple(0, 30, 1));
    v.SetCurrent(true);
    v.RenderScene();
    v.Paint();
    v.InvalidateGL();
    TOrnMathVector p;
    EXPECT_EQ(std::tuple(v.GetCurrent(), v.PaintPending(), v.GetObj(10, 10).Object, v.GetPoint(10, 10, p)),
              std::tuple(false, false, nullptr, false));
    v.SetDesigning(true);
    EXPECT_EQ(std::tuple(v.OpenGLConnect(), v.Active(), v.Surface()), std::tuple(false, false, nullptr));
    v.OpenGLDisconnect(); // nothing to do, nothing thrown
    // A window asks for double buffering only when told; a bitmap keeps the described colour bits.
    const TOrnPixelFormat described{40, 1, 0x25, 0, 30, 2, 16, 8, 0};
    for (auto [mode, doubleBuffer, flags, colorBits, alphaBits] : {std::tuple{dmWindow, true, 0x425u, 24, 0},
                                                                   {dmWindow, false, 0x24u, 24, 0},
                                                                   {dmBitmap, true, 0x38u, 30, 2},
                                                                   {dmBitmap, false, 0x38u, 30, 2}})
        EXPECT_EQ(TOrnView::ChoosePixelFormat(mode, doubleBuffer, described),
                  (TOrnPixelFormat{40, 1, flags, 0, colorBits, alphaBits, 32, 1, 0}))
            << mode << doubleBuffer;
}

TEST_F(ViewTest, ConnectedViewsJoinTheListAndShareListsWithTheFirst) {
    auto first = std::make_unique<TOrnView>(nullptr);
    first->SetDoubleBuffer(false);
    ASSERT_TRUE(first->OpenGLConnect());
    EXPECT_TRUE(first->Active() && first->OpenGLConnect()); // connected again: nothing new
    const TOrnPixelFormat asked = first->PixelFormatRequest(), got = first->PixelFormat();
    EXPECT_EQ(std::tuple(asked.Flags, asked.DepthBits, got.ColorBits), std::tuple(0x24u, 32, 24));
    EXPECT_TRUE(got.DepthBits >= 16 && got.StencilBits >= 1) << got.DepthBits << ", " << got.StencilBits;
    EXPECT_FALSE(first->GetCurrent()); // released after connecting
    first->SetDrawMode(dmBitmap);
    EXPECT_TRUE(first->GetCurrent()) << "a bitmap is always current";
    TOrnView second(nullptr);
    second.OpenGLConnect();
    EXPECT_EQ(TOrnView::ViewList(), (std::vector<TOrnView*>{first.get(), &second}));
    second.SetCurrent(true);
    const GLuint list = glGenLists(1);
    glNewList(list, GL_COMPILE);
    glEndList();
    first->SetCurrent(true);
    EXPECT_TRUE(glIsList(list));
    first.reset();
    {
        TOrnView third(nullptr);
        third.OpenGLConnect();
        EXPECT_EQ(TOrnView::ViewList(), (std::vector<TOrnView*>{&second, &third}));
        third.SetCurrent(true);
        EXPECT_TRUE(glIsList(list)) << "sharing outlives the first view";
    }
    second.OpenGLDisconnect();
    EXPECT_TRUE(!second.Active() && TOrnView::ViewList().empty());
}

TEST_F(ViewTest, EglContextsAreRgba8Depth24StencilShareWhenAskedAndRefuseMisuseClearly) {
    detail::EglContext first, second, unshared, context, other;
    first.Create(32, 16);
    EXPECT_EQ(std::tuple(first.Width(), first.Height()), std::tuple(32, 16));
    const detail::EglContext::Format& got = first.Obtained();
    EXPECT_EQ((std::array{got.redBits, got.greenBits, got.blueBits, got.alphaBits}),
              (std::array{8, 8, 8, 8}));
    EXPECT_TRUE(got.depthBits >= 24 && got.stencilBits >= 8) << got.depthBits << ", " << got.stencilBits;
    first.MakeCurrent();
    EXPECT_TRUE(first.IsCurrent());
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    second.Create(0, -5, &first); // clamped to one pixel
    EXPECT_EQ(std::tuple(second.Width(), second.Height()), std::tuple(1, 1));
    second.MakeCurrent();
    EXPECT_TRUE(glIsTexture(texture));
    unshared.Create(8, 8);
    unshared.MakeCurrent();
    EXPECT_FALSE(glIsTexture(texture));
    EXPECT_THROW(context.MakeCurrent(), EOrnError);
    EXPECT_THROW(context.Resize(4, 4), EOrnError);
    using testing::HasSubstr, testing::ThrowsMessage;
    EXPECT_THAT([&] { context.Create(4, 4, &other); }, ThrowsMessage<EOrnError>(HasSubstr("share")));
    EXPECT_THAT([&] { context.Create(4, 4, nullptr, {.redBits = 64}); },
                ThrowsMessage<EOrnError>(HasSubstr("no pbuffer configuration")));
    EXPECT_FALSE(context.IsCreated());
    EXPECT_STREQ(detail::EglErrorName(EGL_BAD_MATCH), "EGL_BAD_MATCH");
    EXPECT_STREQ(detail::EglErrorName(0x1234), "0x1234");
    context.Create(4, 4);
    detail::EglContext moved(std::move(context));
    EXPECT_EQ(std::tuple(context.IsCreated(), moved.IsCreated()), std::tuple(false, true));
    moved.Release();
    EXPECT_FALSE(moved.IsCreated());
}

TEST_F(ViewTest, CameraAndAxesChangesRepaintTheViewThatHoldsThemNow) {
    TComponent form(nullptr);
    auto* camera = new TOrnPerspectiveCamera(&form);
    auto* other = new TOrnOrthographicCamera(&form);
    TOrnView first(nullptr), second(nullptr);
    ASSERT_TRUE(first.OpenGLConnect() && second.OpenGLConnect());
    first.SetCamera(camera);
    EXPECT_TRUE(first.PaintPending());
    second.SetCamera(camera); // takes the camera's one change handler
    second.SetCamera(nullptr);
    first.SetCamera(camera); // the same camera again: hooked again
    first.RenderScene();
    camera->SetViewAngle(30);
    EXPECT_TRUE(first.PaintPending());
    {
        TOrnView third(nullptr);
        third.SetCamera(camera);
        second.SetCamera(camera);
    } // third goes, but the handler is second's now
    second.RenderScene();
    camera->SetViewAngle(40);
    EXPECT_TRUE(second.PaintPending());
    second.SetCamera(other);
    second.RenderScene();
    camera->SetViewAngle(50); // no longer second's
    EXPECT_FALSE(second.PaintPending() || camera->OnChange);
    delete other;
    EXPECT_EQ(second.Camera(), nullptr);
    second.RenderScene(); // renders without a camera
    second.Coordinates()->SetLength(3);
    EXPECT_TRUE(second.PaintPending());
    second.RenderScene();
    TOrnCoordinates axes;
    axes.SetColorX(clWhite);
    second.SetCoordinates(&axes);
    EXPECT_EQ(std::tuple(second.Coordinates()->ColorX(), second.PaintPending()), std::tuple(clWhite, true));
}

TEST_F(ViewTest, ClearBuffersBorrowsTheContextNamesStartAtOneInEveryRenderAndAGoingViewFreesItsLists) {
    TOrnView keeper(nullptr); // shares the lists, so they can be looked for afterwards
    keeper.SetBounds(8, 8);
    keeper.OpenGLConnect();
    keeper.SetCurrent(true);
    glClearDepth(0.25);
    glClear(GL_DEPTH_BUFFER_BIT);
    glClearColor(0, 0, 1, 1);
    glClearDepth(0.75);
    keeper.SetCurrent(false);
    keeper.ClearBuffers({btColor});
    EXPECT_FALSE(keeper.GetCurrent());
    EXPECT_TRUE(test::ColorNear(ViewImage(keeper).At(3, 3), kBlue, 0));
    EXPECT_NEAR(ViewDepth(keeper, 3, 3), 0.25f, 1e-6);
    keeper.ClearBuffers({btDepth});
    EXPECT_NEAR(ViewDepth(keeper, 3, 3), 0.75f, 1e-6);
    TOrnObject object(nullptr), other(nullptr);
    object.SetCached(true);
    std::vector<std::pair<TObject*, int>> told;
    std::vector<int> handed;
    GLuint list = 0;
    {
        TOrnView v(nullptr);
        v.OnNextID = [&](TObject* o, int index) { told.emplace_back(o, index); };
        v.OnRender = [&](TOrnView* view) {
            handed.push_back(view->GetNextID(&object, -1));
            handed.push_back(view->GetNextID(&other, 3));
            object.Render(view);
        };
        v.OpenGLConnect();
        v.RenderScene();
        v.RenderScene();
        EXPECT_EQ(handed, (std::vector<int>{1, 2, 1, 2}));
        EXPECT_EQ(told, (std::vector<std::pair<TObject*, int>>{
                            {&object, -1}, {&other, 3}, {&object, -1}, {&other, 3}}));
        EXPECT_EQ(object.View(), &v);
        list = object.ListId();
        ASSERT_NE(list, 0u);
    }
    EXPECT_EQ(std::tuple(object.View(), object.ListId()), std::tuple(nullptr, 0u));
    keeper.SetCurrent(true);
    EXPECT_FALSE(glIsList(list));
}

struct RecordingController : TOrnCustomController {
    RecordingController(TComponent* owner, Calls& log) : TOrnCustomController(owner), fLog(log) {}
    bool answer = false;
    Calls& fLog;
    bool HandleKey(std::uint16_t key, TShiftState s) override { return Log("key", key, s.Contains(ssCtrl)); }
    bool HandleMouseDown(TMouseButton b, TShiftState, int x, int y) override { return Log("down", b, x, y); }
    bool HandleMouseMove(TShiftState s, int x, int y) override {
        return Log("move", s.Contains(ssLeft), x, y);
    }
    bool HandleMouseUp(TMouseButton b, TShiftState, int x, int y) override { return Log("up", b, x, y); }
    bool Log(std::string what, int a, int x, int y = 0) {
        fLog.push_back(what + " " + std::to_string(a) + " " + std::to_string(x) + "," + std::to_string(y));
        return answer;
    }
};

TEST_F(ViewTest, InputReachesTheViewEventsThenTheController) {
    Calls log;
    TComponent form(nullptr);
    auto* controller = new RecordingController(&form, log);
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
    v.KeyDown(key, {ssCtrl});
    v.MouseDown(mbRight, {ssRight}, 5, 6);
    v.MouseMove({ssLeft}, 7, 8);
    v.MouseUp(mbLeft, {}, 9, 10);
    EXPECT_EQ(log, (Calls{"view key", "view key", "key 38 1,0", "view down", "down 1 5,6", "view move",
                          "move 1 7,8", "view up", "up 0 9,10"}));
    EXPECT_FALSE(v.PaintPending()); // nothing changed
    controller->answer = true;
    for (auto input : std::initializer_list<std::function<void()>>{
             [&] { v.MouseDown(mbLeft, {}, 1, 1); }, [&] { v.MouseUp(mbLeft, {}, 1, 1); },
             [&] { v.MouseMove({}, 1, 1); }, [&] { v.KeyDown(key, {}); },
             [&] { v.SetBackgroundColor(v.BackgroundColor() + 1); }}) {
        v.RenderScene();
        input();
        EXPECT_TRUE(v.PaintPending());
    }
    delete controller;
    EXPECT_EQ(v.Controller(), nullptr);
    v.MouseMove({}, 1, 1); // nothing to forward to
}

TEST(GlfwKeyToVirtualKey, TranslatesTheKeysControllersUseAndGivesZeroForTheRest) {
    for (auto [first, last, vk] : {std::tuple{GLFW_KEY_A, GLFW_KEY_Z, 'A'},
                                   {GLFW_KEY_0, GLFW_KEY_9, '0'},
                                   {GLFW_KEY_F1, GLFW_KEY_F12, 112},
                                   {GLFW_KEY_KP_0, GLFW_KEY_KP_9, 96}})
        for (int key = first; key <= last; ++key)
            EXPECT_EQ(GlfwKeyToVirtualKey(key), vk + key - first) << key;
    const int named[] = {GLFW_KEY_SPACE,   GLFW_KEY_ESCAPE,      GLFW_KEY_ENTER,      GLFW_KEY_KP_ENTER,
                         GLFW_KEY_TAB,     GLFW_KEY_BACKSPACE,   GLFW_KEY_INSERT,     GLFW_KEY_DELETE,
                         GLFW_KEY_LEFT,    GLFW_KEY_UP,          GLFW_KEY_RIGHT,      GLFW_KEY_DOWN,
                         GLFW_KEY_PAGE_UP, GLFW_KEY_PAGE_DOWN,   GLFW_KEY_HOME,       GLFW_KEY_END,
                         GLFW_KEY_KP_ADD,  GLFW_KEY_KP_SUBTRACT, GLFW_KEY_LEFT_SHIFT, GLFW_KEY_RIGHT_CONTROL,
                         GLFW_KEY_UNKNOWN, GLFW_KEY_WORLD_1,     GLFW_KEY_MENU,       GLFW_KEY_GRAVE_ACCENT};
    std::vector<int> got;
    for (int key : named)
        got.push_back(GlfwKeyToVirtualKey(key));
    EXPECT_EQ(got, (std::vector<int>{VK_SPACE,  VK_ESCAPE,  VK_RETURN, VK_RETURN, VK_TAB,   VK_BACK,
                                     VK_INSERT, VK_DELETE,  VK_LEFT,   VK_UP,     VK_RIGHT, VK_DOWN,
                                     VK_PRIOR,  VK_NEXT,    VK_HOME,   VK_END,    VK_ADD,   VK_SUBTRACT,
                                     VK_SHIFT,  VK_CONTROL, 0,         0,         0,        0}));
    EXPECT_EQ(std::tuple(GlfwKeyToVirtualKey(100000), GlfwKeyToVirtualKey(-7)), std::tuple(0, 0));
}

// The frame starts from colour white and depth 0.25: what each setting clears and leaves set.
TEST_F(ViewTest, RenderSceneGLFollowsBuffersMasksAndDepthTestAndRestoresTheState) {
    using Floats = std::array<GLfloat, 4>;
    const std::tuple<TOrnBufferTypes, TOrnDrawValues, bool, TColor, Rgba, float, Floats> cases[] = {
        {{btColor, btDepth}, {dvRed, dvGreen, dvBlue, dvAlpha, dvDepth}, true, 0, kBlack, 1, {1, 1, 1, 1}},
        {{btColor}, {dvGreen, dvAlpha}, false, RGB(0, 51, 255), {255, 51, 255, 255}, 0.25f, {0, 1, 0, 1}},
        {{btDepth}, {dvGreen, dvDepth}, true, 0, kWhite, 1, {0, 1, 0, 0}}};
    for (const auto& [buffers, values, depthTest, background, pixel, depth, colorMask] : cases) {
        SCOPED_TRACE(background);
        TOrnView v(nullptr);
        v.SetBounds(4, 4);
        v.Coordinates()->SetVisible(false);
        v.SetBackgroundColor(background);
        v.SetBufferTypes(buffers);
        v.SetDrawValues(values);
        v.SetDepthTest(depthTest);
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
        EXPECT_TRUE(test::ColorNear(ViewImage(v).At(1, 1), pixel, 0));
        EXPECT_NEAR(ViewDepth(v, 1, 1), depth, 1e-6);
        v.SetCurrent(true);
        EXPECT_EQ(std::tuple(test::GetGL(GL_COLOR_CLEAR_VALUE), test::GetGL(GL_COLOR_WRITEMASK)),
                  std::tuple(Floats{0, background ? 0.2f : 0, background ? 1.0f : 0, 1}, colorMask));
        EXPECT_EQ(std::tuple(test::GetGL<GLint>(GL_DEPTH_FUNC)[0], test::GetGL<GLint>(GL_DEPTH_WRITEMASK)[0]),
                  std::tuple(depthTest ? GL_LESS : GL_ALWAYS, GLint(values.Contains(dvDepth))));
        // What the scene switched on ends with the repaint; the depth test stays on.
        EXPECT_EQ(test::GetGL(GL_LINE_WIDTH)[0], 1.0f);
        EXPECT_EQ(
            (std::array{glIsEnabled(GL_LIGHTING), glIsEnabled(GL_SCISSOR_TEST), glIsEnabled(GL_DEPTH_TEST)}),
            (std::array<GLboolean, 3>{0, 0, 1}));
    }
}

TEST_F(ViewTest, EveryModeButSelectionSwapsResizingFollowsTheSurfaceAndInitCameraTurnsThePickRowOver) {
    int swaps = 0;
    TOrnOrthographicCamera camera(nullptr);
    TOrnView v(nullptr);
    v.SetBackgroundColor(clBlue);
    v.SetSurfaceFactory([&](TOrnView&) { return std::make_unique<test::WindowLikeSurface>(&swaps); });
    v.OpenGLConnect();
    v.SetCurrent(true);
    v.InitCamera(400, 300); // no camera: nothing to do
    v.SetCamera(&camera);
    std::vector<int> swapped; // after each mode's repaint, whatever DoubleBuffer says
    for (TOrnDrawMode mode : {dmWindow, dmBitmap, dmPick, dmNothing, dmSelection}) {
        v.SetDrawMode(mode);
        v.RenderScene();
        swapped.push_back(swaps);
    }
    EXPECT_EQ(swapped, (std::vector<int>{1, 2, 3, 4, 4}));
    v.SetDrawMode(dmWindow);
    v.SetBounds(30, 70);
    v.RenderScene();
    EXPECT_GE(test::CountPixels(ViewImage(v), kRed, 0), 14u); // the x axis, from the centre rightwards
    v.Coordinates()->SetVisible(false);
    v.RenderScene();
    EXPECT_EQ(test::CountPixels(ViewImage(v), kBlue, 0), 30u * 70u);
    camera.Transformation()->Translation()->SetValues(1, 2, -5);
    v.SetPickPoint(20, 10);
    v.SetSelectWidth(7);
    v.SetCurrent(true);
    EXPECT_EQ(v.CameraMatrix(), camera.Matrix());
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glTranslatef(1, 2, -5);
    const auto modelview = test::GetGL<double, 16>(GL_MODELVIEW_MATRIX);
    for (TOrnDrawMode mode : {dmSelection, dmPick, dmWindow, dmBitmap, dmNothing}) {
        SCOPED_TRACE(mode);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        GLint window[4] = {0, 0, 400, 300};
        if (mode == dmSelection || mode == dmPick) gluPickMatrix(20, 290, 7, 5, window);
        glOrtho(-4.0 / 3, 4.0 / 3, -1, 1, 0.1, 10);
        const auto projection = test::GetGL<double, 16>(GL_PROJECTION_MATRIX);
        glLoadIdentity();
        v.SetDrawMode(mode);
        v.InitCamera(400, 300);
        EXPECT_EQ(std::tuple(test::GetGL<GLint>(GL_VIEWPORT), test::GetGL<GLint>(GL_MATRIX_MODE)[0]),
                  std::tuple(std::array{0, 0, 400, 300}, GL_MODELVIEW));
        EXPECT_THAT((test::GetGL<double, 16>(GL_PROJECTION_MATRIX)), test::MatrixNear(projection));
        EXPECT_THAT((test::GetGL<double, 16>(GL_MODELVIEW_MATRIX)), test::MatrixNear(modelview));
        EXPECT_EQ(std::tuple(camera.Matrix()->GetValue(0, 3), camera.Matrix()->GetValue(2, 3)),
                  std::tuple(1.0, -5.0));
    }
    v.SetCurrent(false);
    v.SetCamera(nullptr);
    EXPECT_EQ(v.CameraMatrix(), nullptr);
}

TEST_F(ViewTest, GetImageRendersAtAnySizeInBitmapModeRestoringTheViewAndGetSurfaceImageReadsItsFrame) {
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
        ASSERT_EQ(std::tuple(image.Width(), image.Height(), image.PixelFormat()),
                  std::tuple(120, 60, pf24bit));
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
    v.GetImage(8, 8);
    ASSERT_EQ(contexts.size(), 4u);
    EXPECT_NE(contexts[3], contexts[1]);
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
    EXPECT_EQ(std::tuple(v.DrawMode(), v.ReInit()), std::tuple(dmWindow, 0));
    EXPECT_THROW(v.RenderScene(), EOrnError);
    EXPECT_FALSE(v.GetCurrent());
    v.SetCurrent(true);
    EXPECT_EQ(test::GetGL<GLint>(GL_ATTRIB_STACK_DEPTH)[0], 0); // the failed repaint popped what it pushed
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
    EXPECT_EQ(std::tuple(image->Pixel(20, 20), image->Pixel(2, 2)), std::tuple(clWhite, clBlack));
    EXPECT_EQ(widths, (std::vector<std::pair<float, float>>(3, {3.0f, 9.0f})));
}

// A white triangle on black has grey pixels along its edges only with samples.
TEST_F(ViewTest, SamplesReachTheContextsAndSmoothEdges) {
    for (int asked : {0, 4}) {
        SCOPED_TRACE(asked);
        TOrnView v(nullptr);
        v.SetSamples(99);
        const int most = v.Samples();
        v.SetSamples(-3);
        EXPECT_EQ(std::pair(most, v.Samples()), std::pair(16, 0));
        v.SetSamples(asked);
        v.SetBounds(8, 8);
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
        EXPECT_EQ(std::tuple(buffers, samples), std::tuple(obtained > 0 ? 1 : 0, obtained));
        int grey = 0;
        for (int y = 0; y < 32; ++y)
            for (int x = 0; x < 32; ++x)
                grey += image->ScanLine(y)[3 * x] != 0 && image->ScanLine(y)[3 * x] != 255;
        EXPECT_TRUE(asked == 0 ? grey == 0 : grey > 20) << grey;
    }
}

using test::VectorNear;

// A square of side 2·half at depth z, its left half named as index list 0, its right half as 1.
struct HalvedSquare : TOrnObject {
    HalvedSquare(float zValue, float halfValue = 0.5f) : TOrnObject(nullptr), z(zValue), half(halfValue) {}
    float z, half;
    void DoRender(TOrnCustomView* view) override {
        TOrnObject::DoRender(view);
        for (int index = 0; index < 2; ++index) {
            if (WantsNames(view)) glPushName(static_cast<GLuint>(view->GetNextID(this, index)));
            const float x0 = index == 0 ? -half : 0.0f, x1 = x0 + half;
            glBegin(GL_QUADS);
            glVertex3f(x0, -half, z), glVertex3f(x1, -half, z), glVertex3f(x1, half, z),
                glVertex3f(x0, half, z);
            glEnd();
            if (WantsNames(view)) glPopName();
        }
    }
};

// The camera looks down −z from z = 2 (larger z is nearer) over 200 × 100 pixels, 50 per unit.
class PickTest : public ViewTest {
protected:
    void SetUp() override {
        ViewTest::SetUp();
        if (IsSkipped()) return;
        view.SetBounds(200, 100);
        view.SetCamera(&camera);
        view.OnRender = [this](TOrnView* v) {
            for (auto& o : objects)
                o->Render(v);
        };
        view.OpenGLConnect();
    }
    TOrnOrthographicCamera camera{nullptr};
    TOrnView view{nullptr};
    std::vector<std::unique_ptr<HalvedSquare>> objects;
    TComponent form{nullptr};
};

TEST_F(PickTest, HitsComeNearestFirstBeyondTheFirstBufferFromARegionCentredOnThePointWithYDownwards) {
    for (float z : {0.0f, 0.5f, -0.5f}) // render order is not depth order
        objects.push_back(std::make_unique<HalvedSquare>(z, z > 0 ? 0.2f : 0.5f));
    // (95, 50) is 0.1 left of the centre, inside all three squares.
    EXPECT_EQ(view.GetObj(95, 50).Object, objects[1].get());
    const auto& list = view.SelectionList();
    ASSERT_EQ(list.size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        const HalvedSquare* nearest = objects[i == 0 ? 1 : i == 1 ? 0 : 2].get();
        // Drawn by OnRender itself, so through no node; flat, so hit at the nearest depth.
        EXPECT_EQ(std::tuple(list[i].Object, list[i].Index, list[i].Path.size()), std::tuple(nearest, 0, 0u));
        EXPECT_TRUE(VectorNear(list[i].Point, {-0.1, 0, nearest->z}, 1e-5));
    }
    EXPECT_TRUE(list[0].ZMin < list[1].ZMin && list[1].ZMin < list[2].ZMin);
    // Right of the centre, outside the small square: its right half is not hit.
    EXPECT_EQ(view.GetObj(115, 50).Index, 1);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].Object, objects[0].get());
    objects.clear();
    for (int i = 0; i < 1500; ++i)
        objects.push_back(std::make_unique<HalvedSquare>(-1.0f + i / 1000.0f));
    EXPECT_EQ(view.GetObj(90, 50).Object, objects.back().get());
    ASSERT_EQ(list.size(), 1500u);
    EXPECT_EQ(list.back().Object, objects.front().get());
    objects.clear();
    view.SetDrawMode(dmBitmap); // a pick draws in dmSelection all the same, and restores the mode
    auto hit = [&](int x, int y) { return view.GetObj(x, y).Object == objects[0].get(); };
    // A small square above the centre: window row 50 − 0.6·50 = 20 from the top, its edge at row 25;
    // the pick region reaches SelectHeight / 2 pixels beyond the point.
    objects.push_back(std::make_unique<HalvedSquare>(0.0f, 0.1f));
    objects.back()->Transformation()->Translation()->SetY(0.6f);
    EXPECT_EQ((std::array{hit(100, 20), hit(100, 80), hit(100, 27), hit(100, 29), list.empty()}),
              (std::array{true, false, true, false, true}));
    // Without a camera the scene is drawn unprojected, but the pick still narrows to the point.
    view.SetCamera(nullptr);
    objects.back()->Transformation()->Translation()->SetY(0); // the square ends at row 55
    EXPECT_EQ((std::array{hit(100, 57), hit(100, 59), hit(10, 10)}), (std::array{true, false, false}));
    objects.back()->Transformation()->Translation()->SetY(0.6f); // rows count downwards here too
    EXPECT_EQ((std::array{hit(100, 20), hit(100, 80)}), (std::array{true, false}));
    EXPECT_EQ(view.DrawMode(), dmBitmap);
}

TEST_F(PickTest, WinFrom3DAndWinTo3DUndoEachOtherGetPointFindsTheSurfaceAndSpheresAreHitInFront) {
    // Before any render the camera alone places the point, also for a view that never connected.
    EXPECT_NEAR(view.WinFrom3D({0, 1, 0}).y, 0, 1e-6);
    TOrnView never(nullptr);
    never.SetBounds(200, 100);
    never.SetCamera(&camera);
    EXPECT_TRUE(VectorNear(never.WinFrom3D({1, 0.5, 0}), {150, 25, 0.1919192}, 1e-6));
    // During a render a point is taken in the coordinates the object sees.
    TOrnMathVector inside;
    view.OnRender = [&](TOrnView* v) {
        glTranslatef(1, 0, 0);
        inside = v->WinFrom3D({0, 0, 0});
    };
    view.RenderScene();
    EXPECT_TRUE(VectorNear(inside, {150, 50, 0.1919192}, 1e-6));
    const TOrnMathVector w = view.WinFrom3D({0.4, -0.3, 0.2});
    EXPECT_TRUE(VectorNear(w, {120, 65, 0.1717172}, 1e-6));
    EXPECT_TRUE(VectorNear(view.WinTo3D(w.x, w.y, w.z), {0.4, -0.3, 0.2}, 1e-6));
    view.OnRender = [this](TOrnView* v) { objects[0]->Render(v); };
    objects.push_back(std::make_unique<HalvedSquare>(0.25f));
    TOrnMathVector p;
    ASSERT_TRUE(view.GetPoint(100, 50, p));
    EXPECT_TRUE(VectorNear(p, {0.01, -0.01, 0.25}, 1e-3)); // the pixel centre, half a pixel off the axes
    EXPECT_FALSE(view.GetPoint(2, 2, p) || view.GetPoint(200, 50, p) || view.GetPoint(-1, 50, p));
    EXPECT_TRUE(view.GetPoint(100, 25, p) && !view.GetPoint(100, 24, p)) << "the square's top row is 25";
    TOrnPerspectiveCamera perspective(nullptr);
    perspective.Transformation()->Rotation()->SetX(20.0f);
    view.SetCamera(&perspective);
    objects[0] = std::make_unique<HalvedSquare>(0.1f, 1.2f);
    objects[0]->Transformation()->Rotation()->SetY(35.0f);
    int checked = 0;
    for (int x = 60; x <= 140; x += 20)
        for (int y = 30; y <= 70; y += 20)
            if (view.GetPoint(x, y, p) && ++checked) {
                const TOrnMathVector back = view.WinFrom3D(p);
                EXPECT_TRUE(VectorNear({back.x, back.y, 0}, {x + 0.5, y + 0.5, 0}, 1.0)) << x << "," << y;
            }
    EXPECT_GE(checked, 10);
    view.SetCamera(&camera);
    // One sphere of radius 1 at z = −1, in node a directly and in node b as a shared item.
    auto *root = new TOrnNode(&form), *a = new TOrnNode(&form), *b = new TOrnNode(&form);
    auto* sphere = new TOrnSphere(&form);
    sphere->Transformation()->Translation()->SetZ(-1);
    a->Transformation()->Translation()->SetX(-1);
    b->Transformation()->Translation()->SetValues(1, 0.5f, 0);
    a->Add(sphere);
    b->AddIndirect(sphere);
    root->Add(a);
    root->Add(b);
    view.OnRender = [root](TOrnView* v) { root->Render(v); };
    for (auto [x, y, node, front] : {std::tuple{50, 50, a, TOrnMathVector{-1, 0, 0}},
                                     std::tuple{150, 25, b, TOrnMathVector{1, 0.5, 0}}}) {
        const TOrnSelectionHit hit = view.GetObj(x, y);
        EXPECT_EQ(hit.Object, sphere);
        EXPECT_EQ(hit.Path, (std::vector<TOrnCustomNode*>{root, node}));
        EXPECT_TRUE(VectorNear(hit.Point, front, 1e-6));
    }
    // 0.2 off the centre the ray meets a face just inside the round surface.
    p = view.GetObj(60, 50).Point;
    EXPECT_NEAR(p.x, -0.8, 1e-6);
    EXPECT_TRUE(p.z < -1 + std::sqrt(0.96) && p.z > -1 + std::sqrt(0.96) - 0.02) << p.z;
}

// A pick draws only the shapes the nodes' indexes find near the pick volume; the reference scene's
// shapes report no bounds, so it draws them all, and both must answer alike also after changes.
template <class T> struct AlwaysDrawn : T {
    using T::T;
    bool GetBounds(TOrnBounds&) override { return false; }
};

template <class... Shapes> TOrnPrimitiveObj* Make(int kind, bool alwaysDrawn, TComponent* owner) {
    TOrnPrimitiveObj* made = nullptr;
    int k = 0;
    ((made = k++ != kind ? made : alwaysDrawn ? new AlwaysDrawn<Shapes>(owner) : new Shapes(owner)), ...);
    return made;
}

struct Scene {
    TComponent form{nullptr};
    TOrnNode* root = new TOrnNode(&form);
    std::vector<TOrnNode*> groups;
    std::vector<TOrnPrimitiveObj*> shapes;
    std::map<const void*, int> order{{root, -1}}; // shape or node → its number in the scene
    std::mt19937 rng;
    float Uniform(double lo, double hi) { return float(std::uniform_real_distribution<>(lo, hi)(rng)); }
    void Place(TOrnTransformation& t, double reach) {
        t.Translation()->SetValues(Uniform(-reach, reach), Uniform(-0.8 * reach, 0.8 * reach),
                                   Uniform(-4, 4));
        t.Rotation()->SetValues(Uniform(0, 360), Uniform(0, 360), Uniform(0, 360));
        t.Scale()->SetValues(Uniform(0.3, 1.5), Uniform(0.3, 1.5), Uniform(0.3, 1.5));
    }
    Scene(unsigned seed, bool alwaysDrawn) : rng(seed) {
        for (int g = 0; g < 4; ++g) {
            root->Add(groups.emplace_back(new TOrnNode(&form)));
            Place(*groups.back()->Transformation(), 3);
            order[groups.back()] = -2 - g;
        }
        for (int i = 0; i < 120; ++i) {
            shapes.push_back(Make<TOrnSphere, TOrnBox, TOrnCylinder, TOrnDisc, TOrnTorus, TOrnTriangle,
                                  TOrnRectangle, TOrnLine, TOrnPoint>(i % 9, alwaysDrawn, &form));
            order[shapes.back()] = i;
            Place(*shapes.back()->Transformation(), 9);
            groups[static_cast<size_t>(i) % 4]->Add(shapes.back());
            if (i % 7 == 0) groups[static_cast<size_t>(i + 1) % 4]->AddIndirect(shapes.back());
        }
    }
    /// Round 0 grows what group 0 shares with group 1 (not told), 1 moves and switches, 2 regroups.
    void Change(int round) {
        for (size_t i = 0; i < shapes.size(); ++i) {
            if (round == 0 && i % 28 == 0) shapes[i]->Transformation()->Scale()->SetValues(8, 8, 8);
            if (round == 1 && i % 5 == 0) Place(*shapes[i]->Transformation(), 9);
            if (round == 1 && i % 11 == 0) shapes[i]->SetEnabled(!shapes[i]->Enabled());
            if (round == 2 && i % 13 == 0) groups[(i + 2) % 4]->Add(shapes[i]);
        }
    }
};

TEST_F(PickTest, IndexedPickEqualsDrawingEverythingOnRandomScenes) {
    TOrnPerspectiveCamera perspective(nullptr);
    perspective.Transformation()->Translation()->SetZ(-22);
    perspective.SetViewFar(100);
    view.SetBounds(160, 120);
    view.SetCamera(&perspective);
    TOrnNode* drawn = nullptr;
    view.OnRender = [&drawn](TOrnView* v) { drawn->Render(v); };
    const std::pair<int, int> points[] = {{80, 60},  {0, 0},   {159, 119}, {0, 60},   {159, 60}, {80, 0},
                                          {80, 119}, {30, 40}, {120, 90},  {55, 100}, {140, 20}, {10, 110}};
    // Every hit at (x, y) as its shape's number, index list, depths, point and group's number.
    auto pick = [&](const Scene& s, int x, int y) {
        drawn = s.root;
        view.GetObj(x, y);
        std::vector<std::tuple<int, int, double, double, double, double, double, int>> out;
        for (const TOrnSelectionHit& h : view.SelectionList())
            out.emplace_back(s.order.at(h.Object), h.Index, h.ZMin, h.ZMax, h.Point.x, h.Point.y, h.Point.z,
                             h.Path.size() == 2 ? s.order.at(h.Path[1]) : -99);
        return out;
    };
    int hits = 0, shared = 0;
    for (unsigned seed = 1; seed <= 4; ++seed) {
        Scene indexed(seed, false), reference(seed, true);
        for (int round = 0; round < 4; indexed.Change(round), reference.Change(round), ++round)
            for (const auto& [x, y] : points) {
                const auto got = pick(indexed, x, y);
                ASSERT_EQ(got, pick(reference, x, y)) << "seed " << seed << " at " << x << ", " << y;
                for (const auto& hit : got)
                    shared += std::get<0>(hit) % 7 == 0;
                hits += static_cast<int>(got.size());
            }
    }
    // The scenes are dense enough for the comparison to mean something, shared shapes included.
    EXPECT_TRUE(hits > 80 && shared > 5) << hits << " hits, " << shared << " of shared shapes";
}

class CanvasTest : public test::ViewTest {
protected:
    void SetUp() override {
        ViewTest::SetUp();
        if (IsSkipped()) return;
        view.SetBounds(64, 48);
        view.Coordinates()->SetVisible(false);
        view.OpenGLConnect();
    }
    Image Draw(const std::function<void(TOrnViewCanvas&)>& draw) {
        view.OnDrawCanvas = [draw](TOrnView* v) { draw(v->Canvas()); };
        view.RenderScene();
        return ViewImage(view);
    }
    /// Checks pixels given as (x, y counted from the top, colour).
    template <std::size_t N>
    static void ExpectPixels(const Image& image, const std::tuple<int, int, Rgba> (&pixels)[N],
                             int tolerance = 0) {
        for (const auto& [x, y, colour] : pixels)
            EXPECT_TRUE(test::ColorNear(image.At(x, image.height - 1 - y), colour, tolerance))
                << x << "," << y;
    }

    TOrnCanvasView view{nullptr};
};

TEST_F(CanvasTest, ShapesCoverExactlyTheirPixelsDrawnOnlyOverTheSceneLeavingItsStateAndCanBePicked) {
    Image image = Draw([](TOrnViewCanvas& c) {
        c.SetBrushColor(clRed);
        c.FillRect(Rect(10, 5, 20, 8));
        c.SetPenColor(clWhite);
        c.MoveTo(5, 30);
        c.LineTo(25, 30);
        c.SetPenColor(clLime);
        c.SetBrushColor(clBlue);
        c.Rectangle(Rect(40, 10, 50, 20));
        c.SetBrushColor(clWhite);
        c.SetAlpha(0.5f);
        c.FillRect(Rect(0, 40, 8, 48)); // ctNone: alpha ignored
        c.SetTransparency(ctAlpha);
        c.FillRect(Rect(10, 40, 18, 48));
        c.SetTransparency(ctAddAlpha);
        c.SetBrushColor(clRed);
        c.FillRect(Rect(10, 40, 12, 48)); // added to the grey
        c.SetTransparency(ctNone);
        c.SetAlpha(1);
        c.SetBrushColor(clYellow);
        c.Transformation()->Rotation()->SetZ(90); // about the first point; x turns into y, running down
        c.FillRect(Rect(30, 24, 50, 28));
    });
    EXPECT_EQ(test::CountPixels(image, kRed, 0), 30u);
    EXPECT_EQ(test::CountPixels(image, kYellow, 0), 80u);
    const std::tuple<int, int, Rgba> pixels[] = {{10, 5, kRed},    {19, 7, kRed},    {20, 7, kBlack},
                                                 {10, 8, kBlack},  {5, 30, kWhite},  {24, 30, kWhite},
                                                 {15, 31, kBlack}, {40, 10, kLime},  {49, 19, kLime},
                                                 {45, 15, kBlue},  {50, 11, kBlack}, {28, 40, kYellow}};
    ExpectPixels(image, pixels);
    // Blending writes (and blends) the alpha channel too.
    ExpectPixels(
        image,
        {{4, 44, {255, 255, 255, 128}}, {14, 44, {128, 128, 128, 191}}, {11, 44, {255, 128, 128, 255}}}, 1);
    view.OnDrawCanvas = nullptr;
    view.Canvas().Transformation()->Rotation()->SetZ(0);
    view.RenderScene();
    view.Canvas().SetBrushColor(clRed);
    view.Canvas().FillRect(Rect(0, 0, 10, 10));
    view.SetCurrent(true);
    view.Canvas().Rectangle(Rect(0, 0, 10, 10)); // current, but not rendering
    EXPECT_EQ(test::CountPixels(ViewImage(view), kBlack, 0), 64u * 48u);
    EXPECT_FALSE(view.Canvas().CanDraw());
    TOrnOrthographicCamera camera(nullptr);
    view.SetCamera(&camera);
    GLint matrixMode = -1;
    std::array<GLboolean, 4> enabled{};
    std::array<double, 16> before, after;
    view.OnRender = [](TOrnView*) {
        glColor3f(0, 0, 1);
        glRectf(-5, -5, 5, 5); // fills the view, in front of the far plane
        glEnable(GL_LIGHTING); // none of which may touch what the canvas draws
        glEnable(GL_CULL_FACE);
        glCullFace(GL_FRONT_AND_BACK);
        glEnable(GL_FOG); // everything in front of the eye fully fogged
        glFogi(GL_FOG_MODE, GL_LINEAR);
        glFogf(GL_FOG_START, -2);
        glFogf(GL_FOG_END, -1);
    };
    image = Draw([&](TOrnViewCanvas& c) {
        before = test::GetGL<double, 16>(GL_PROJECTION_MATRIX);
        c.SetBrushColor(clRed);
        c.FillRect(Rect(0, 0, 4, 4));
        after = test::GetGL<double, 16>(GL_PROJECTION_MATRIX);
        enabled = {glIsEnabled(GL_DEPTH_TEST), glIsEnabled(GL_LIGHTING), glIsEnabled(GL_CULL_FACE),
                   glIsEnabled(GL_FOG)};
        glGetIntegerv(GL_MATRIX_MODE, &matrixMode);
    });
    ExpectPixels(image, {{1, 1, kRed}, {30, 30, kBlue}});
    EXPECT_EQ(std::tuple(enabled, matrixMode, before),
              std::tuple(std::array<GLboolean, 4>{1, 1, 1, 1}, GL_MODELVIEW, after));
    auto clamped = [&](float alpha) { return view.Canvas().SetAlpha(alpha), view.Canvas().Alpha(); };
    EXPECT_EQ(std::pair(clamped(1.5f), clamped(-1.0f)), std::pair(1.0f, 0.0f));
    view.SetCamera(nullptr);
    TOrnObject marker(nullptr); // what the canvas draws can be picked
    view.OnRender = [&](TOrnView* v) {
        const bool named = IsNamingDrawMode(v->DrawMode());
        if (named) glPushName(static_cast<GLuint>(v->GetNextID(&marker, -1)));
        v->Canvas().FillRect(Rect(10, 10, 20, 20));
        if (named) glPopName();
    };
    EXPECT_EQ(std::tuple(view.GetObj(15, 15).Object, view.GetObj(40, 30).Object),
              std::tuple(&marker, nullptr));
}

TEST_F(CanvasTest, TexturesShowTheirSourceRectangleTextItsFontColourInItsCellAndControlsPaintOverTheScene) {
    GLuint name = 0;
    view.SetCurrent(true);
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_2D, name);
    // A 4 × 4 image uploaded bottom-up: bitmap rows 0 … 1 (the top) are red, 2 … 3 blue.
    std::vector<std::uint32_t> texels(16, 0xFFFF0000u); // A, B, G, R from the high byte: blue
    std::fill(texels.begin() + 8, texels.end(), 0xFF0000FFu);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 4, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    TOrnGLTextureName texture(name, 4, 4), missing(0, 4, 4);
    Image image = Draw([&](TOrnViewCanvas& c) {
        c.DrawTexture(texture, Rect(0, 0, 16, 16), Rect(0, 0, 4, 2)); // the red top half
        c.DrawTexture(texture, Rect(20, 0, 28, 8), Rect(0, 0, 4, 4));
    });
    EXPECT_EQ(test::CountPixels(image, kRed, 0), 16u * 16u + 8u * 4u);
    ExpectPixels(image, {{24, 1, kRed}, {24, 6, kBlue}});
    image = Draw([&](TOrnViewCanvas& c) { c.DrawTexture(missing, Rect(0, 0, 16, 16), Rect(0, 0, 4, 4)); });
    EXPECT_EQ(test::CountPixels(image, kBlack, 0), 64u * 48u);
    view.SetCurrent(true);
    glDeleteTextures(1, &name);
    image = Draw([](TOrnViewCanvas& c) {
        c.Font().SetColor(clRed);
        c.Font().SetHeight(20);
        c.TextOut(10, 5, "HHH");
    });
    std::size_t red = 0, other = 0;
    for (int y = 0; y < image.height; ++y) // counted from the bottom: the cell is rows 11 … 42
        for (int x = 0; x < image.width; ++x) {
            const Rgba p = image.At(x, y);
            const bool inCell =
                p[0] > 0 && p[1] == 0 && p[2] == 0 && x >= 10 && y >= 48 - 5 - 32 && y < 48 - 5;
            red += inCell;
            other += p != kBlack && !inCell;
        }
    EXPECT_TRUE(red > 60 && other == 0) << red << " red, " << other << " elsewhere";
    view.OnDrawCanvas = nullptr;
    view.SetBackgroundColor(clBlue);
    // The scene: the left half of the window red, the rest the blue background.
    view.OnRender = [](TOrnView*) {
        glColor3f(1, 0, 0);
        glRectf(-1, -1, 0, 1);
    };
    TOrnGauge gauge(nullptr);
    gauge.SetBounds(-10, 10, 70, 20); // reaches out of the window on the left
    gauge.SetBorderStyle(false);
    gauge.SetShowText(false);
    gauge.SetForeColor(clLime);
    gauge.SetBackColor(clWhite);
    gauge.SetProgress(50); // lime from x = -10 to 25, white up to 60
    gauge.SetParent(&view);
    view.RenderScene();
    // The gauge reaching out of the window, and the scene beside and above it.
    const std::tuple<int, int, Rgba> pixels[] = {{0, 10, kLime},   {24, 29, kLime}, {25, 20, kWhite},
                                                 {59, 20, kWhite}, {60, 20, kBlue}, {10, 9, kRed},
                                                 {50, 40, kBlue}};
    ExpectPixels(ViewImage(view), pixels);
    gauge.SetVisible(false);
    view.RenderScene();
    ExpectPixels(ViewImage(view), {{25, 20, kRed}});
}

TEST_F(CanvasTest, CanvasViewTimesItsOwnRepaintsAndControlsTakeTheirInputBeforeTheView) {
    std::int64_t now = 0;
    // Every read of the clock is 4 ms later; a repaint reads it twice.
    TOrnClockOverride clock([&] { return now += 4; }, 1000);
    view.OpenGLDisconnect();
    view.RenderScene(); // not active: nothing to time
    EXPECT_EQ(view.RenderTime(), 0.0);
    view.OpenGLConnect();
    view.RenderScene();
    EXPECT_EQ(std::tuple(view.RenderTime(), view.FrameRate()), std::tuple(0.004, 0.0));
    now += 12;
    view.RenderScene(); // started 20 ms after the first
    EXPECT_DOUBLE_EQ(view.FrameRate(), 50.0);
    TOrnColorGrid grid(nullptr);
    grid.SetBounds(100, 100, 160, 160);
    grid.SetParent(&view);
    std::vector<std::string> log;
    view.OnMouseDown = [&](TObject*, TMouseButton, TShiftState, int, int) { log.push_back("view down"); };
    view.OnKeyDown = [&](TObject*, std::uint16_t&, TShiftState) { log.push_back("view key"); };
    grid.OnChange = [&](TObject*) { log.push_back("grid " + std::to_string(grid.ForegroundIndex())); };
    auto right = [&, key = std::uint16_t{}]() mutable { view.KeyDown(key = VK_RIGHT, {}); };
    right();                              // no control has the focus yet
    view.MouseDown(mbLeft, {}, 190, 150); // cell 6
    view.MouseUp(mbLeft, {}, 190, 150);
    right();
    view.MouseDown(mbLeft, {}, 10, 10); // the scene: the keys go back to the view
    right();
    EXPECT_EQ(log, (std::vector<std::string>{"view key", "grid 6", "grid 7", "view down", "view key"}));
    EXPECT_EQ(grid.ForegroundIndex(), 7);
}

} // namespace
} // namespace orn
