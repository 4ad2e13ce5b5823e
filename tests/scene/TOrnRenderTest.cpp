#include <orn/geometry/TOrnRectangle.h>
#include <orn/geometry/TOrnSphere.h>
#include <orn/host/EOrnError.h>
#include <orn/scene/TOrnNode.h>
#include <orn/scene/TOrnObject.h>
#include <orn/scene/TOrnRegistry.h>
#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnMaterial.h>
#include <orn/state/TOrnTexture.h>

#include "support/TestView.h"
#include "view/ViewTestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tuple>

using namespace orn;
using orn::test::Image;
using orn::test::Rgba;
using testing::StrEq, testing::ThrowsMessage;
using V = std::vector<float>;

namespace {

float PointSize() {
    float size = 0;
    glGetFloatv(GL_POINT_SIZE, &size);
    return size;
}

// A render component that keeps the translation and x scale of the modelview matrix its DoRender saw, and
// leaves point size 7.
class Probe : public TOrnRender {
public:
    using TOrnRender::TOrnRender;
    int doRenders = 0, disables = 0;
    V seen;
    std::vector<V>* log = nullptr; // what each render saw, in order

protected:
    void DoRender(TOrnCustomView*) override {
        ++doRenders;
        float m[16];
        glGetFloatv(GL_MODELVIEW_MATRIX, m);
        seen = {m[12], m[13], m[14], m[0]};
        if (log) log->push_back(seen);
        glPointSize(7);
    }
    void DoDisable(TOrnCustomView*) override { ++disables; }
};

class RenderChain : public orn::test::ViewGLTest {
protected:
    Probe* NewProbe(bool cached = false) {
        auto* p = new Probe(&form);
        p->SetCached(cached);
        return p;
    }
};

constexpr Rgba kWhite{255, 255, 255, 255};
constexpr Rgba kRed{255, 0, 0, 255};

// Cached lists, state blocks and textures belong to a share group: they must draw right whatever happens
// to the contexts and the components around them. A 64 × 64 view of −2 … 2, unlit, black, drawing scene.
class RenderCache : public orn::test::ViewTest {
protected:
    void SetUp() override {
        ViewTest::SetUp();
        camera->SetViewWidth(4);
        camera->SetViewHeight(4);
        view->SetBounds(64, 64);
        view->SetCamera(camera);
        view->Coordinates()->SetVisible(false);
        view->OnRender = [this](TOrnView* v) {
            for (TOrnRender* r : scene)
                r->Render(v);
        };
    }
    TOrnSphere* Sphere(float radius, float x) {
        auto* s = new TOrnSphere(&form);
        s->SetRadius(radius);
        s->Transformation()->Translation()->SetX(x);
        s->SetCached(true);
        return s;
    }
    // The window after a repaint, rows counted from the bottom.
    Image Repaint() {
        view->RenderScene();
        return ViewImage(*view);
    }
    TComponent form{nullptr};
    TOrnOrthographicCamera* camera = new TOrnOrthographicCamera(&form);
    TOrnView* view = new TOrnView(&form);
    std::vector<TOrnRender*> scene;
};

struct NodeFixture : ::testing::Test {
    std::vector<std::string> events; // outlives the form, whose end the node still reports
    TComponent form{nullptr};
    TOrnNode* node = new TOrnNode(&form);
    TOrnObject* NewObject(const std::string& name) {
        auto* o = new TOrnObject(&form);
        o->SetName(name);
        return o;
    }
    void Watch() {
        node->OnItemNotify = [this](TComponent* c, TOperation op) {
            events.push_back(std::string(op == opInsert ? "+" : "-") + c->Name());
        };
    }
};

} // namespace

TEST_F(RenderChain, RenderWrapsDoRenderInTheTransformationAndEventsDisabledOnlyDisablesProjectionCaptures) {
    Probe* p = NewProbe();
    p->Transformation()->Translation()->SetX(1);
    std::vector<std::string> events;
    p->OnBeforeRender = [&](TOrnCustomView* v) { events.push_back(v == view ? "before" : "?"); };
    p->OnAfterRender = [&](TOrnCustomView*) { events.push_back("after"); };
    glTranslatef(0, 5, 0); // the caller's frame
    p->Render(view);
    EXPECT_EQ(std::pair(p->seen, events),
              std::pair(V{1, 5, 0, 1}, std::vector<std::string>{"before", "after"}));
    // OnTransform takes the transformation's place; the transformation still notifies.
    int changes = 0;
    p->OnChange = [&](TObject*) { ++changes; };
    p->OnTransform = [](TObject*) { glTranslatef(0, 0, 3); };
    p->Transformation()->Translation()->SetX(4);
    EXPECT_EQ(changes, 1);
    p->Render(view);
    EXPECT_EQ(p->seen, (V{0, 5, 3, 1}));
    float after[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, after);
    EXPECT_EQ(V(after + 12, after + 15), (V{0, 5, 0})) << "the caller's frame is back";
    p->SetEnabled(false);
    glPointSize(1);
    p->Render(view);
    EXPECT_EQ(std::tuple(p->disables, p->doRenders, PointSize(), events.size()), std::tuple(1, 2, 1.0f, 4u));
    glLoadIdentity();
    Probe* q = NewProbe(); // the modelview with its own transformation
    q->SetProjectionEnabled(true);
    ASSERT_NE(q->ProjectionMatrix(), nullptr);
    q->Transformation()->Translation()->SetValues(1, 2, 3);
    glTranslatef(10, 0, 0);
    q->Render(view);
    glLoadIdentity();
    EXPECT_EQ(q->ProjectVector(view, ToVec(1, 1, 1)), ToVec(0, 0, 0)) << "no camera: the zero vector";
    // At (11, 2, 3) in eye space, the eye-space origin under an identity camera is (−11, −2, −3).
    view->hasCamera = true;
    view->camera.SetIdentityMatrix();
    EXPECT_EQ(q->ProjectVector(view, ToVec(0, 0, 0)), ToVec(-11, -2, -3));
    q->SetProjectionEnabled(false);
    EXPECT_EQ(q->ProjectionMatrix(), nullptr);
}

TEST_F(RenderChain, CachedComponentsCompileInTheirFirstViewClearWhenTheyCanAndNodesWhenAnItemChanges) {
    Probe* p = NewProbe(true);
    glPointSize(1);
    p->Render(view);
    const GLuint first = p->ListId();
    EXPECT_EQ(std::tuple(PointSize(), first != 0, p->View()), std::tuple(7.0f, true, view))
        << "compiled and run at once";
    glPointSize(1);
    p->Render(view);
    EXPECT_EQ(std::pair(PointSize(), p->doRenders), std::pair(7.0f, 1)) << "the list ran";
    p->Render(new orn::test::TestView(&form)); // of another share group
    EXPECT_EQ(p->doRenders, 2);
    p->SetCached(false);
    EXPECT_EQ(std::pair(bool(glIsList(first)), p->ListId()), std::pair(false, 0u));
    p->SetCached(true);
    p->Render(view);
    EXPECT_EQ(p->doRenders, 3);
    // ClearCache borrows the view's context, or without one leaves the list to the group's next frame.
    const GLuint borrowed = p->ListId();
    view->current = false;
    view->setCurrentCalls = 0;
    p->ClearCache(); // made current, then released again
    EXPECT_EQ(std::tuple(p->ListId(), bool(glIsList(borrowed)), view->setCurrentCalls, view->current),
              std::tuple(0u, false, 2, false));
    p->Render(view); // compiles a new list (the test context is current regardless)
    view->current = view->canBeCurrent = false;
    const GLuint pending = p->ListId();
    p->ClearCache();
    EXPECT_EQ(std::pair(p->ListId(), bool(glIsList(pending))), std::pair(0u, true));
    view->RenderState()->BeginFrame();
    EXPECT_FALSE(glIsList(pending));
    view->current = view->canBeCurrent = true;
    auto* node = new TOrnNode(&form);
    Probe *a = NewProbe(), *b = NewProbe();
    std::vector<V> log;
    a->log = b->log = &log;
    a->Transformation()->Translation()->SetX(1);
    b->Transformation()->Translation()->SetX(2);
    node->Add(a);
    node->Add(b);
    node->SetCached(true);
    node->Render(view);
    EXPECT_EQ(log, (std::vector<V>{{1, 0, 0, 1}, {2, 0, 0, 1}})) << "in order, each in its own frame";
    const GLuint list = node->ListId();
    ASSERT_NE(list, 0u);
    b->Transformation()->Scale()->SetX(2);
    EXPECT_EQ(std::pair(bool(glIsList(list)), node->ListId()), std::pair(false, 0u));
    node->Render(view);
    EXPECT_EQ(std::pair(b->seen, node->ListId() != 0), std::pair(V{2, 0, 0, 2}, true)) << "compiled again";
    node->SetCached(false);
    int custom = 0;
    node->OnRender = [&](TOrnCustomView*) { ++custom; };
    node->Render(view);
    EXPECT_EQ(std::pair(custom, a->doRenders), std::pair(1, 2)) << "OnRender takes the items' place";
}

TEST_F(RenderChain, ObjectSetsItsColourAndColourMaterialAndPushesANameOnlyInNamingModes) {
    struct Lit : TOrnObject {
        explicit Lit(TComponent* o) : TOrnObject(o) { SetColorMaterial(5); }
        std::vector<GLint> inside; // colour material on, its face and parameter; name stack depth
        void DoRender(TOrnCustomView* v) override {
            TOrnObject::DoRender(v);
            GLint face = 0, parameter = 0, names = 0;
            glGetIntegerv(GL_COLOR_MATERIAL_FACE, &face);
            glGetIntegerv(GL_COLOR_MATERIAL_PARAMETER, &parameter);
            glGetIntegerv(GL_NAME_STACK_DEPTH, &names);
            inside = {glIsEnabled(GL_COLOR_MATERIAL), face, parameter, names};
            glBegin(GL_POINTS); // a hit
            glVertex2f(0, 0);
            glEnd();
        }
    };
    auto* o = new Lit(&form);
    o->Color()->SetColor(clRed);
    for (TOrnDrawMode mode : {dmWindow, dmBitmap, dmSelection, dmPick, dmNothing}) {
        SCOPED_TRACE(mode);
        const bool naming = mode >= dmSelection;
        view->mode = mode;
        view->names.clear();
        GLuint hits[8] = {};
        glSelectBuffer(8, hits);
        glRenderMode(GL_SELECT);
        glInitNames();
        o->Render(view);
        float after[6] = {}; // the colour stays; colour material and the name stack are taken back
        glGetFloatv(GL_CURRENT_COLOR, after);
        after[4] = glIsEnabled(GL_COLOR_MATERIAL);
        glGetFloatv(GL_NAME_STACK_DEPTH, &after[5]);
        EXPECT_EQ(std::vector<float>(after, after + 6), (std::vector<float>{1, 0, 0, 1, 0, 0}));
        EXPECT_EQ(glRenderMode(GL_RENDER), 1);
        EXPECT_EQ(o->inside, (std::vector<GLint>{1, GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE, naming}));
        EXPECT_EQ(std::pair(hits[0], hits[3]), std::pair(naming ? 1u : 0u, naming ? 1u : 0u))
            << "the hit holds the name the view handed out";
        using Names = std::vector<std::pair<TObject*, int>>;
        EXPECT_EQ(view->names, (naming ? Names{{o, -1}} : Names{}));
    }
    // Off, then each parameter in turn; off leaves the one the render before left.
    const GLint kParameters[] = {GL_AMBIENT_AND_DIFFUSE, GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR, GL_EMISSION};
    view->mode = dmWindow;
    for (int m = 0; m < 5; ++m) {
        o->SetColorMaterial(m);
        o->Render(view);
        EXPECT_EQ(std::pair(o->inside[0], o->inside[2]), std::pair(GLint(m > 0), kParameters[m])) << m;
    }
}

TEST_F(RenderChain, MaterialAndTextureAreCompiledIntoACachedObjectAndCountAsAppliedAfterItsListRuns) {
    auto* material = new TOrnMaterial(&form);
    material->SetShininess(5);
    auto* texture = new TOrnTexture(&form);
    texture->Bitmap()->SetSize(2, 2);
    TOrnRectangle* objects[2]; // live, cached
    for (TOrnRectangle*& r : objects) {
        r = new TOrnRectangle(&form);
        r->SetMaterial(material);
        r->SetTexture(texture);
        r->SetTextured(true);
    }
    auto [live, cached] = objects;
    cached->SetCached(true);
    auto* attributes = new TOrnAttributes(&form); // the list does not touch it: it stays applied
    attributes->SetLineWidth(2);
    live->SetAttributes(attributes);
    // Disturbs shininess, texture binding and line width, then renders: what is sent puts them back.
    const auto render = [&](TOrnRender* r) {
        glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, 99);
        glBindTexture(GL_TEXTURE_2D, 0);
        glLineWidth(9);
        r->Render(view);
        float held[3] = {};
        glGetMaterialfv(GL_FRONT, GL_SHININESS, &held[0]);
        glGetFloatv(GL_TEXTURE_BINDING_2D, &held[1]);
        glGetFloatv(GL_LINE_WIDTH, &held[2]);
        return V(held, held + 3);
    };
    auto* other = new TOrnMaterial(&form); // applied in between, for the list to replace
    view->RenderState()->BeginFrame();
    const V first = render(live);
    ASSERT_NE(texture->TextureName(), 0u);
    EXPECT_EQ(first, (V{5, float(texture->TextureName()), 2}));
    const V sent{5, first[1], 9}, skipped{99, 0, 9}; // the list holds no attributes
    other->Render(view);
    EXPECT_EQ(render(cached), sent) << "compiled with all it needs though the live object sent it";
    const GLuint list = cached->ListId();
    EXPECT_EQ(render(live), skipped) << "what the compiled list applied counts as applied";
    other->Render(view);
    EXPECT_EQ(render(cached), sent) << "the list called";
    EXPECT_EQ(std::pair(list != 0, cached->ListId()), std::pair(true, list));
    EXPECT_EQ(render(live), skipped) << "what the called list applied counts as applied";
    material->SetShininess(9); // the list holds the old material: compiled again
    EXPECT_EQ(render(cached)[0], 9);
    EXPECT_EQ(std::pair(bool(glIsList(list)), cached->ListId() != 0), std::pair(false, true));
}

TEST_F(RenderCache, CachedShapesRedrawInBitmapsAndAfterReconnectingAndChangesDropTheListsHoldingThem) {
    TOrnSphere* sphere = Sphere(0.5f, 0);
    scene = {sphere};
    for (int i = 0; i < 3; ++i) // unconnected: every image has a context of its own
        EXPECT_EQ(view->GetImage(64, 64)->Pixel(32, 32), clWhite) << "image " << i;
    view->OpenGLConnect();
    const std::size_t small = orn::test::CountPixels(Repaint(), kWhite);
    ASSERT_GT(small, 100u);
    sphere->SetRadius(1.5f);
    EXPECT_GT(orn::test::CountPixels(Repaint(), kWhite), small * 8); // nine times the area
    view->OpenGLDisconnect();
    view->OpenGLConnect();
    EXPECT_EQ(Repaint().At(32, 32), kWhite);
    const GLuint list = sphere->ListId();
    sphere->Transformation()->Translation()->SetX(-1.5f); // applied outside the list, which stays
    EXPECT_EQ(std::pair(list != 0, sphere->ListId()), std::pair(true, list));
    sphere->Color()->SetColor(clRed);
    EXPECT_EQ(Repaint().At(8, 32), kRed);
    auto* node = new TOrnNode(&form);
    TOrnSphere* inside = Sphere(1, 0);
    node->Add(inside);
    node->SetCached(true);
    scene = {node}; // the sphere above left
    view->RenderScene();
    ASSERT_EQ(std::pair(node->ListId() != 0, inside->ListId()), std::pair(true, 0u))
        << "the sphere is in the node's list";
    inside->Color()->SetColor(clRed);
    EXPECT_EQ(Repaint().At(32, 32), kRed);
    ASSERT_NE(node->ListId(), 0u);
    TOrnTextureFlags flags;
    flags.SetMode(txLinearX);
    inside->SetTextureFlags(&flags); // texture coordinates are geometry too
    EXPECT_EQ(node->ListId(), 0u);
    inside->Transformation()->Translation()->SetX(-1.5f);
    EXPECT_EQ(Repaint().At(8, 32), kRed);
}

TEST_F(RenderCache, BitmapOfAWindowDrawsWhatTheWindowCachedAndATextureNameIsDeletedInItsOwnContext) {
    view->SetSurfaceFactory([](TOrnView&) { return std::make_unique<orn::test::WindowLikeSurface>(); });
    TOrnSphere* left = Sphere(0.25f, -1);
    scene = {left};
    view->OpenGLConnect();
    view->RenderScene();
    ASSERT_NE(left->ListId(), 0u);
    EXPECT_EQ(view->GetImage(64, 64)->Pixel(16, 32), clWhite) << "the window's list is not the bitmap's";
    // A second object compiled first in a bitmap must not take the window's list number.
    TOrnSphere* right = Sphere(0.75f, 1);
    scene = {left, right};
    view->GetImage(64, 64);
    EXPECT_EQ(Repaint().At(58, 32), kWhite) << "the right sphere, not the left one's list";
    right->SetCached(false);
    EXPECT_EQ(Repaint().At(16, 32), kWhite) << "uncaching one object keeps the other's list";
    auto* texture = new TOrnTexture(&form);
    texture->Bitmap()->SetSize(2, 2);
    auto* rectangle = new TOrnRectangle(&form);
    rectangle->SetTexture(texture);
    rectangle->SetTextured(true);
    scene = {rectangle};
    view->RenderScene();
    const GLuint name = texture->TextureName();
    detail::EglContext other;
    other.Create(8, 8);
    other.MakeCurrent();
    delete texture;
    view->SetCurrent(true);
    EXPECT_EQ(std::pair(name != 0, bool(glIsTexture(name))), std::pair(true, false));
    view->SetCurrent(false);
}

TEST_F(NodeFixture, AddSetNodeAndRemoveMoveTheItemWithItsHandlerIndirectItemsStayAndMoveClamps) {
    auto* other = new TOrnNode(&form);
    TOrnObject* a = NewObject("A");
    Watch();
    EXPECT_EQ(node->Add(a), 0);
    EXPECT_EQ(std::pair(a->Node() == node, bool(a->OnChange)), std::pair(true, true));
    a->SetNode(other);
    EXPECT_EQ(std::tuple(node->Count(), other->IndexOf(a), a->Node() == other), std::tuple(0, 0, true));
    EXPECT_EQ(node->Remove(a), -1);
    EXPECT_EQ(events, (std::vector<std::string>{"+A", "-A", "-A"})); // told even when not held
    EXPECT_EQ(node->AddIndirect(a), 0);
    EXPECT_EQ(node->Add(nullptr), -1); // and changes no bit
    EXPECT_EQ(std::tuple(node->Count(), node->Indirect(0), a->Node() == other), std::tuple(1, true, true));
    node->Remove(a);
    EXPECT_EQ(std::pair(other->IndexOf(a), bool(a->OnChange)), std::pair(0, true));
    EXPECT_EQ(other->Remove(a), 0);
    EXPECT_EQ(std::pair(a->Node() == nullptr, bool(a->OnChange)), std::pair(true, false));
    TOrnRender* items[5];
    for (int i = 0; i < 5; ++i)
        items[i] = NewObject("O" + std::to_string(i));
    for (int i = 0; i < 4; ++i)
        node->Add(items[i]);
    node->AddIndirect(items[4]);
    node->Move(7, -3);
    EXPECT_EQ(std::tuple(node->Items(0), node->Indirect(0), node->Indirect(4)),
              std::tuple(items[4], true, false));
    node->Exchange(0, 4);
    EXPECT_EQ(std::pair(node->Items(4), node->Indirect(4)), std::pair(items[4], true));
    EXPECT_THROW(node->Items(5), EOrnError);
    EXPECT_THROW(node->Exchange(0, 9), EOrnError);
    node->Move(-2, 9); // the first to the last place
    EXPECT_EQ(std::pair(node->Items(0), node->Items(4)), std::pair(items[0], items[3]));
    EXPECT_THAT([&] { node->Add(node); },
                ThrowsMessage<EOrnError>(StrEq("Can not create a link to myself.")));
    EXPECT_EQ(node->Count(), 5);
}

TEST_F(NodeFixture, ChangesInsideNestedItemsReachEveryEnclosingNodeAndDestroyedItemsLeaveEveryNode) {
    auto* inner = new TOrnNode(&form);
    for (int i = 0; i < 3; ++i)
        inner->Add(NewObject("I" + std::to_string(i)));
    TOrnObject *a = NewObject("A"), *b = NewObject("B");
    inner->Add(a);
    node->Add(b);
    node->Add(inner);
    EXPECT_EQ(node->CountAllItems(), 5);
    int outerChanges = 0;
    node->OnChange = [&](TObject*) { ++outerChanges; };
    a->Transformation()->Rotation()->SetX(30);
    a->Color()->SetAlpha(0.5f);
    EXPECT_EQ(outerChanges, 2);
    inner->AddIndirect(b);
    node->SetName("N");
    Watch();
    auto* sibling = NewObject("S"); // not an item: heard through free notification
    sibling->FreeNotification(node);
    delete sibling;
    delete b;
    EXPECT_EQ(std::tuple(node->Count(), inner->Count(), events),
              std::tuple(1, 4, std::vector<std::string>{"-S", "-B"}));
    delete node;
    EXPECT_EQ(std::tuple(inner->Node() == nullptr, bool(inner->OnChange), events.at(2)),
              std::tuple(true, false, "-N"));
}

TEST_F(NodeFixture, ObjectNameFollowsTheComponentNameWhileEqualAndAssignKeepsTheColourOwner) {
    TOrnObject* o = NewObject("Ball");
    EXPECT_EQ(o->ObjectName(), "Ball");
    o->SetObjectName("Red ball");
    o->SetName("Ball2");
    EXPECT_EQ(o->ObjectName(), "Red ball");
    auto* loading = new TOrnObject(&form);
    loading->Loading();
    loading->SetName("Loaded");
    EXPECT_EQ(loading->ObjectName(), "");
    // Assign takes the source's (empty) change handler; the colour still reports to its owner.
    loading->Assign(o);
    int changes = 0;
    loading->OnChange = [&](TObject*) { ++changes; };
    loading->Color()->SetColor(clBlue);
    EXPECT_EQ(changes, 1);
}

TEST(TOrnRegistry, NamesAreUniqueIgnoringCase) {
    // Collides with the registered TOrnNode, so the refused registration leaves the registry as it was.
    struct TORNNODE : TOrnObject {
        using TOrnObject::TOrnObject;
        static constexpr const char* StaticClassName() { return "TORNNODE"; }
    };
    EXPECT_EQ(GetRenderClass("tornnode"), ClassOf<TOrnNode>());
    const size_t before = GetRenderClassList().size();
    EXPECT_THAT([] { RegisterRenderClass(ClassOf<TORNNODE>()); },
                ThrowsMessage<EOrnError>(StrEq("This class was already registered.")));
    EXPECT_EQ(std::pair(GetRenderClassList().size(), GetRenderClass("no such class")),
              (std::pair<std::size_t, TComponentClass>(before, nullptr)));
}
