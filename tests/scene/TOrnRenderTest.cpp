#include <orn/scene/TOrnNode.h>
#include <orn/scene/TOrnObject.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"
#include "support/TestView.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace orn;
using orn::test::GLRecorder;
using orn::test::TestView;
using Calls = std::vector<std::string>;

namespace {

// A render component whose DoRender and DoDisable each issue one recognisable call.
class Probe : public TOrnRender {
public:
    using TOrnRender::TOrnRender;
    int doRenders = 0;

protected:
    void DoRender(TOrnCustomView*) override {
        ++doRenders;
        glPointSize(7);
    }
    void DoDisable(TOrnCustomView*) override { glLineWidth(3); }
};

class RenderChain : public orn::test::GLTest {
protected:
    Probe* NewProbe(bool cached = false) {
        auto* p = new Probe(&form);
        p->SetCached(cached);
        return p;
    }
    static std::string List(const char* call, GLuint id) { return std::string(call) + std::to_string(id); }

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
    GLRecorder rec;
    p->Render(view);
    EXPECT_EQ(rec.Calls(),
              (Calls{"glPushMatrix()", "glTranslatef(1, 0, 0)", "glPointSize(7)", "glPopMatrix()"}));
    EXPECT_EQ(events, (Calls{"before", "after"}));

    // OnTransform takes the transformation's place; the transformation still notifies.
    int changes = 0;
    p->OnChange = [&](TObject*) { ++changes; };
    p->OnTransform = [](TObject*) { glRotatef(5, 0, 0, 1); };
    p->Transformation()->Translation()->SetX(4);
    EXPECT_EQ(changes, 1);
    rec.Clear();
    p->Render(view);
    EXPECT_EQ(rec.Filter({"glTranslatef", "glRotatef"}), (Calls{"glRotatef(5, 0, 0, 1)"}));

    p->SetEnabled(false);
    rec.Clear();
    p->Render(view);
    EXPECT_EQ(rec.Calls(), (Calls{"glLineWidth(3)"}));
    EXPECT_EQ(events.size(), 4u);
}

TEST_F(RenderChain, CachedComponentCompilesInItsFirstViewRendersLiveInASecondAndClearsWhenItCan) {
    Probe* p = NewProbe(true);
    auto* second = new TestView(&form);
    GLRecorder rec;
    p->Render(view);
    const GLuint first = p->ListId();
    ASSERT_NE(first, 0u);
    EXPECT_EQ(
        rec.Filter({"glNewList", "glPointSize", "glEndList"}),
        (Calls{List("glNewList(", first) + ", GL_COMPILE_AND_EXECUTE)", "glPointSize(7)", "glEndList()"}));
    EXPECT_EQ(p->View(), view);
    rec.Clear();
    p->Render(view);
    p->Render(second);
    EXPECT_EQ(rec.Filter({"glCallList", "glPointSize", "glNewList"}),
              (Calls{List("glCallList(", first) + ")", "glPointSize(7)"}));
    EXPECT_EQ(p->doRenders, 2);

    rec.Clear();
    p->SetCached(false);
    EXPECT_EQ(rec.Calls(), (Calls{List("glDeleteLists(", first) + ", 1)"}));
    EXPECT_EQ(p->ListId(), 0u);
    p->SetCached(true);
    p->Render(view);
    EXPECT_EQ(rec.Count("glNewList"), 1u);
    EXPECT_NE(p->ListId(), 0u);

    // ClearCache borrows the view's context, or without one leaves the list to the group's next frame.
    view->current = false;
    view->setCurrentCalls = 0;
    p->ClearCache();
    EXPECT_EQ(p->ListId(), 0u);
    EXPECT_EQ(view->setCurrentCalls, 2); // made current, then released again
    EXPECT_FALSE(view->current);
    p->Render(view); // compiles a new list (the test context is current regardless)
    view->current = false;
    view->canBeCurrent = false;
    const GLuint pending = p->ListId();
    rec.Clear();
    p->ClearCache();
    EXPECT_EQ(p->ListId(), 0u);
    EXPECT_EQ(rec.Count("glDeleteLists"), 0u); // no context now: deleted at the group's next frame
    view->RenderState()->BeginFrame();
    EXPECT_EQ(rec.Calls(), (Calls{List("glDeleteLists(", pending) + ", 1)"}));
}

TEST_F(RenderChain, NodeRendersItemsInOrderAndDropsItsListWhenOneChanges) {
    auto* node = new TOrnNode(&form);
    Probe* a = NewProbe();
    Probe* b = NewProbe();
    a->Transformation()->Translation()->SetX(1);
    b->Transformation()->Translation()->SetX(2);
    node->Add(a);
    node->Add(b);
    node->SetCached(true);
    GLRecorder rec;
    node->Render(view);
    EXPECT_EQ(rec.Filter("glTranslatef"), (Calls{"glTranslatef(1, 0, 0)", "glTranslatef(2, 0, 0)"}));
    EXPECT_EQ(rec.Count("glPushMatrix"), 3u);
    const GLuint list = node->ListId();
    ASSERT_NE(list, 0u);
    rec.Clear();
    b->Transformation()->Scale()->SetX(2);
    EXPECT_EQ(rec.Calls(), (Calls{List("glDeleteLists(", list) + ", 1)"}));
    EXPECT_EQ(node->ListId(), 0u);
    rec.Clear();
    node->Render(view);
    EXPECT_EQ(rec.Count("glNewList"), 1u);
    EXPECT_EQ(rec.Count("glScalef"), 1u);

    node->SetCached(false);
    node->OnRender = [](TOrnCustomView*) { glPointSize(1); };
    rec.Clear();
    node->Render(view);
    EXPECT_EQ(rec.Calls(), (Calls{"glPushMatrix()", "glPointSize(1)", "glPopMatrix()"}));
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

TEST_F(RenderChain, ObjectSendsItsColourAndPushesANameOnlyInNamingModes) {
    struct Lit : TOrnObject {
        explicit Lit(TComponent* o) : TOrnObject(o) { SetColorMaterial(5); }
    };
    auto* o = new Lit(&form);
    o->Color()->SetColor(clRed);
    for (TOrnDrawMode mode : {dmWindow, dmBitmap, dmSelection, dmPick, dmNothing}) {
        SCOPED_TRACE(mode);
        view->mode = mode;
        view->names.clear();
        GLRecorder rec;
        o->Render(view);
        Calls expected{"glPushMatrix()",
                       "glColor4fv({1, 0, 0, 1})",
                       "glEnable(GL_COLOR_MATERIAL)",
                       "glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE)",
                       "glPopMatrix()",
                       "glDisable(GL_COLOR_MATERIAL)"};
        if (mode >= dmSelection) {
            expected.insert(expected.begin() + 1, "glPushName(1)");
            expected.push_back("glPopName()");
            EXPECT_EQ(view->names, (std::vector<std::pair<TObject*, int>>{{o, -1}}));
        }
        EXPECT_EQ(rec.Calls(), expected);
    }
}
