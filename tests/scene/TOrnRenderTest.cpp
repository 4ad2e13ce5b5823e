#include <orn/scene/TOrnNode.h>
#include <orn/scene/TOrnObject.h>

#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

#include <tuple>

using namespace orn;
using orn::test::TestView;
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
    int doRenders = 0;
    int disables = 0;
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

class RenderChain : public orn::test::GLTest {
protected:
    Probe* NewProbe(bool cached = false) {
        auto* p = new Probe(&form);
        p->SetCached(cached);
        return p;
    }
    TComponent form{nullptr};
    TestView* view = new TestView(&form);
};

} // namespace

TEST_F(RenderChain, RenderWrapsDoRenderInTheTransformationAndEventsAndDisabledOnlyDisables) {
    Probe* p = NewProbe();
    p->Transformation()->Translation()->SetX(1);
    std::vector<std::string> events;
    p->OnBeforeRender = [&](TOrnCustomView* v) { events.push_back(v == view ? "before" : "?"); };
    p->OnAfterRender = [&](TOrnCustomView*) { events.push_back("after"); };
    glTranslatef(0, 5, 0); // the caller's frame
    p->Render(view);
    EXPECT_EQ(p->seen, (V{1, 5, 0, 1}));
    EXPECT_EQ(events, (std::vector<std::string>{"before", "after"}));
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
}

TEST_F(RenderChain, CachedComponentCompilesInItsFirstViewRendersLiveInASecondAndClearsWhenItCan) {
    Probe* p = NewProbe(true);
    glPointSize(1);
    p->Render(view);
    EXPECT_EQ(PointSize(), 7) << "compiled and run at once";
    const GLuint first = p->ListId();
    ASSERT_NE(first, 0u);
    EXPECT_EQ(p->View(), view);
    glPointSize(1);
    p->Render(view);
    EXPECT_EQ(std::pair(PointSize(), p->doRenders), std::pair(7.0f, 1)) << "the list ran";
    p->Render(new TestView(&form)); // of another share group
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
    view->current = false;
    view->canBeCurrent = false;
    const GLuint pending = p->ListId();
    p->ClearCache();
    EXPECT_EQ(std::pair(p->ListId(), bool(glIsList(pending))), std::pair(0u, true));
    view->RenderState()->BeginFrame();
    EXPECT_FALSE(glIsList(pending));
}

TEST_F(RenderChain, NodeRendersItemsInOrderAndDropsItsListWhenOneChanges) {
    auto* node = new TOrnNode(&form);
    Probe* a = NewProbe();
    Probe* b = NewProbe();
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
    EXPECT_EQ(b->seen, (V{2, 0, 0, 2})) << "compiled again";
    EXPECT_NE(node->ListId(), 0u);
    node->SetCached(false);
    int custom = 0;
    node->OnRender = [&](TOrnCustomView*) { ++custom; };
    node->Render(view);
    EXPECT_EQ(std::pair(custom, a->doRenders), std::pair(1, 2)) << "OnRender takes the items' place";
}

TEST_F(RenderChain, ProjectionCaptureHoldsTheModelViewWithTheOwnTransformation) {
    Probe* p = NewProbe();
    p->SetProjectionEnabled(true);
    ASSERT_NE(p->ProjectionMatrix(), nullptr);
    p->Transformation()->Translation()->SetValues(1, 2, 3);
    glTranslatef(10, 0, 0);
    p->Render(view);
    glLoadIdentity();
    EXPECT_EQ(p->ProjectVector(view, ToVec(1, 1, 1)), ToVec(0, 0, 0)) << "no camera: the zero vector";
    // At (11, 2, 3) in eye space, the eye-space origin under an identity camera is (−11, −2, −3).
    view->hasCamera = true;
    view->camera.SetIdentityMatrix();
    EXPECT_EQ(p->ProjectVector(view, ToVec(0, 0, 0)), ToVec(-11, -2, -3));
    p->SetProjectionEnabled(false);
    EXPECT_EQ(p->ProjectionMatrix(), nullptr);
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
