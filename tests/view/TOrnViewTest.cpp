#include <orn/host/EOrnError.h>
#include <orn/scene/TOrnCustomController.h>
#include <orn/scene/TOrnObject.h>
#include <orn/view/TOrnView.h>
#include <orn/view/TOrnWindowSurface.h>

#include "view/ViewTestSupport.h"

#include <GL/gl.h>
#include <GLFW/glfw3.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>

namespace orn {
namespace {

using test::ViewTest;
using Calls = std::vector<std::string>;

TEST(TOrnViewWithoutContext, ClampsItsSizesAndFailsSilently) {
    TOrnView v(nullptr);
    v.SetSelectWidth(0);
    v.SetSelectHeight(-4);
    EXPECT_EQ(std::pair(v.SelectWidth(), v.SelectHeight()), std::pair(1, 1));
    int resized = 0;
    v.OnResize = [&](TObject*) { ++resized; };
    v.SetBounds(-10, 30);
    EXPECT_EQ(std::pair(v.Width(), v.Height()), std::pair(0, 30));
    v.SetBounds(0, 30);
    EXPECT_EQ(resized, 1);
    v.SetCurrent(true);
    EXPECT_FALSE(v.GetCurrent());
    v.RenderScene();
    v.Paint();
    v.InvalidateGL();
    EXPECT_FALSE(v.PaintPending());
    EXPECT_EQ(v.GetObj(10, 10).Object, nullptr);
    TOrnMathVector p;
    EXPECT_FALSE(v.GetPoint(10, 10, p));
    v.SetDesigning(true);
    EXPECT_FALSE(v.OpenGLConnect());
    EXPECT_FALSE(v.Active());
    EXPECT_EQ(v.Surface(), nullptr);
    v.OpenGLDisconnect(); // nothing to do, nothing thrown
}

TEST(TOrnViewPixelFormat, WindowAsksForDoubleBufferingOnlyWhenToldAndBitmapKeepsTheColourBits) {
    const TOrnPixelFormat described{40, 1, 0x25, 0, 30, 2, 16, 8, 0};
    struct Case {
        TOrnDrawMode mode;
        bool doubleBuffer;
        unsigned flags;
        int colorBits, alphaBits;
    };
    for (Case c : {Case{dmWindow, true, 0x425, 24, 0}, Case{dmWindow, false, 0x24, 24, 0},
                   Case{dmBitmap, true, 0x38, 30, 2}, Case{dmBitmap, false, 0x38, 30, 2}}) {
        SCOPED_TRACE(std::to_string(c.mode) + (c.doubleBuffer ? " double" : " single"));
        const TOrnPixelFormat pfd = TOrnView::ChoosePixelFormat(c.mode, c.doubleBuffer, described);
        const TOrnPixelFormat expected{40, 1, c.flags, 0, c.colorBits, c.alphaBits, 32, 1, 0};
        EXPECT_EQ(pfd, expected);
    }
}

TEST_F(ViewTest, ConnectedViewsJoinTheListAndShareListsWithTheFirst) {
    auto first = std::make_unique<TOrnView>(nullptr);
    first->SetDoubleBuffer(false);
    ASSERT_TRUE(first->OpenGLConnect());
    EXPECT_TRUE(first->Active());
    EXPECT_TRUE(first->OpenGLConnect()); // already connected: nothing new
    const TOrnPixelFormat asked = first->PixelFormatRequest(), got = first->PixelFormat();
    EXPECT_EQ(std::tuple(asked.Flags, asked.DepthBits, got.ColorBits), std::tuple(0x24u, 32, 24));
    EXPECT_TRUE(got.DepthBits >= 16 && got.StencilBits >= 1) << got.DepthBits << ", " << got.StencilBits;
    EXPECT_EQ(first->Surface()->Kind(), "headless");
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
    second.SetCurrent(false);
    first->SetCurrent(true);
    EXPECT_TRUE(glIsList(list));
    first.reset();
    {
        TOrnView third(nullptr);
        third.OpenGLConnect();
        EXPECT_EQ(TOrnView::ViewList(), (std::vector<TOrnView*>{&second, &third}));
        third.SetCurrent(true);
        EXPECT_TRUE(glIsList(list)) << "sharing outlives the first view";
        third.SetCurrent(false);
    }
    second.OpenGLDisconnect();
    EXPECT_FALSE(second.Active());
    EXPECT_TRUE(TOrnView::ViewList().empty());
}

TEST_F(ViewTest, EglContextsAreRgba8Depth24StencilShareWhenAskedAndRefuseMisuseClearly) {
    detail::EglContext first;
    first.Create(32, 16);
    EXPECT_EQ(std::pair(first.Width(), first.Height()), std::pair(32, 16));
    const detail::EglContext::Format& got = first.Obtained();
    EXPECT_EQ((std::array{got.redBits, got.greenBits, got.blueBits, got.alphaBits}),
              (std::array{8, 8, 8, 8}));
    EXPECT_TRUE(got.depthBits >= 24 && got.stencilBits >= 8) << got.depthBits << ", " << got.stencilBits;
    first.MakeCurrent();
    EXPECT_TRUE(first.IsCurrent());
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    detail::EglContext second;
    second.Create(0, -5, &first); // clamped to one pixel
    EXPECT_EQ(std::pair(second.Width(), second.Height()), std::pair(1, 1));
    second.MakeCurrent();
    EXPECT_TRUE(glIsTexture(texture));
    detail::EglContext unshared;
    unshared.Create(8, 8);
    unshared.MakeCurrent();
    EXPECT_FALSE(glIsTexture(texture));
    detail::EglContext context, other;
    EXPECT_THROW(context.MakeCurrent(), EOrnError);
    EXPECT_THROW(context.Resize(4, 4), EOrnError);
    using testing::HasSubstr, testing::ThrowsMessage;
    EXPECT_THAT([&] { context.Create(4, 4, &other); }, ThrowsMessage<EOrnError>(HasSubstr("share")));
    detail::EglContext::Format impossible;
    impossible.redBits = 64;
    EXPECT_THAT([&] { context.Create(4, 4, nullptr, impossible); },
                ThrowsMessage<EOrnError>(HasSubstr("no pbuffer configuration")));
    EXPECT_FALSE(context.IsCreated());
    EXPECT_STREQ(detail::EglErrorName(EGL_BAD_MATCH), "EGL_BAD_MATCH");
    EXPECT_STREQ(detail::EglErrorName(0x1234), "0x1234");
    context.Create(4, 4);
    detail::EglContext moved(std::move(context));
    EXPECT_FALSE(context.IsCreated());
    EXPECT_TRUE(moved.IsCreated());
    moved.Release();
    EXPECT_FALSE(moved.IsCreated());
}

TEST_F(ViewTest, CameraAndAxesChangesRepaintTheViewThatHoldsThemNow) {
    TComponent form(nullptr);
    auto* camera = new TOrnPerspectiveCamera(&form);
    auto* other = new TOrnOrthographicCamera(&form);
    TOrnView first(nullptr);
    TOrnView second(nullptr);
    first.OpenGLConnect();
    second.OpenGLConnect();
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
    EXPECT_FALSE(second.PaintPending());
    EXPECT_FALSE(camera->OnChange);
    delete other;
    EXPECT_EQ(second.Camera(), nullptr);
    second.RenderScene(); // renders without a camera
    second.Coordinates()->SetLength(3);
    EXPECT_TRUE(second.PaintPending());
    second.RenderScene();
    TOrnCoordinates axes;
    axes.SetColorX(clWhite);
    second.SetCoordinates(&axes);
    EXPECT_EQ(second.Coordinates()->ColorX(), clWhite);
    EXPECT_TRUE(second.PaintPending());
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
    EXPECT_TRUE(test::ColorNear(ViewImage(keeper).At(3, 3), {0, 0, 255, 255}, 0));
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
    EXPECT_EQ(object.View(), nullptr);
    EXPECT_EQ(object.ListId(), 0u);
    keeper.SetCurrent(true);
    EXPECT_FALSE(glIsList(list));
    keeper.SetCurrent(false);
}

// Logs what reaches it, and answers as told.
struct RecordingController : TOrnCustomController {
    RecordingController(TComponent* owner, Calls& log) : TOrnCustomController(owner), fLog(log) {}
    bool answer = false;
    Calls& fLog;
    bool HandleKey(std::uint16_t key, TShiftState shift) override {
        return Log("key", key, shift.Contains(ssCtrl));
    }
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
    // Runs of keys, each onto a run of virtual keys from its first.
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
    EXPECT_EQ(GlfwKeyToVirtualKey(100000), 0);
    EXPECT_EQ(GlfwKeyToVirtualKey(-7), 0);
}

} // namespace
} // namespace orn
