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

// A render component whose DoRender issues one recognisable call, and that records its hooks.
class Probe : public TOrnRender {
public:
    using TOrnRender::TOrnRender;
    int doRenders = 0;
    int disables = 0;

protected:
    void DoRender(TOrnCustomView*) override {
        ++doRenders;
        glPointSize(7);
    }
    void DoDisable(TOrnCustomView*) override {
        ++disables;
        glLineWidth(3);
    }
};

class RenderChain : public orn::test::GLTest {
protected:
    TComponent form{nullptr};
    TestView* view = new TestView(&form);
};

} // namespace

TEST_F(RenderChain, EnabledRenderWrapsDoRenderInMatrixAndEvents) {
    auto* p = new Probe(&form);
    p->Transformation()->Translation()->SetX(1);
    std::vector<std::string> events;
    p->OnBeforeRender = [&](TOrnCustomView* v) { events.push_back(v == view ? "before" : "?"); };
    p->OnAfterRender = [&](TOrnCustomView*) { events.push_back("after"); };
    GLRecorder rec;
    p->Render(view);
    EXPECT_EQ(rec.Calls(),
              (Calls{"glPushMatrix()", "glTranslatef(1, 0, 0)", "glPointSize(7)", "glPopMatrix()"}));
    EXPECT_EQ(events, (std::vector<std::string>{"before", "after"}));
}

TEST_F(RenderChain, DisabledComponentIssuesOnlyDoDisable) {
    auto* p = new Probe(&form);
    int events = 0;
    p->OnBeforeRender = [&](TOrnCustomView*) { ++events; };
    p->OnAfterRender = [&](TOrnCustomView*) { ++events; };
    p->SetEnabled(false);
    GLRecorder rec;
    p->Render(view);
    EXPECT_EQ(rec.Calls(), (Calls{"glLineWidth(3)"}));
    EXPECT_EQ(events, 0);
    EXPECT_EQ(p->doRenders, 0);
}

TEST_F(RenderChain, OnTransformReplacesTheTransformationButChangesStillNotify) {
    auto* p = new Probe(&form);
    p->OnTransform = [](TObject*) { glRotatef(5, 0, 0, 1); };
    int changes = 0;
    p->OnChange = [&](TObject*) { ++changes; };
    p->Transformation()->Translation()->SetX(4);
    EXPECT_EQ(changes, 1);
    GLRecorder rec;
    p->Render(view);
    EXPECT_EQ(rec.Filter({"glTranslatef", "glRotatef"}), (Calls{"glRotatef(5, 0, 0, 1)"}));
}

TEST_F(RenderChain, CachedComponentCompilesOnceInTheFirstViewAndRendersLiveInASecond) {
    auto* p = new Probe(&form);
    p->SetCached(true);
    auto* second = new TestView(&form);
    {
        GLRecorder rec;
        p->Render(view);
        EXPECT_EQ(rec.Count("glNewList"), 1u);
        ASSERT_NE(p->ListId(), 0u);
        EXPECT_EQ(rec.Filter({"glNewList", "glPointSize", "glEndList"}),
                  (Calls{"glNewList(" + std::to_string(p->ListId()) + ", GL_COMPILE_AND_EXECUTE)",
                         "glPointSize(7)", "glEndList()"}));
    }
    EXPECT_EQ(p->View(), view);
    GLRecorder rec;
    p->Render(view);
    p->Render(second);
    EXPECT_EQ(rec.Filter({"glCallList", "glPointSize", "glNewList"}),
              (Calls{"glCallList(" + std::to_string(p->ListId()) + ")", "glPointSize(7)"}));
    EXPECT_EQ(p->doRenders, 2);
}

TEST_F(RenderChain, UncachingDeletesTheListAndRecachingCompilesANewOne) {
    auto* p = new Probe(&form);
    p->SetCached(true);
    p->Render(view);
    const GLuint first = p->ListId();
    GLRecorder rec;
    p->SetCached(false);
    EXPECT_EQ(rec.Calls(), (Calls{"glDeleteLists(" + std::to_string(first) + ", 1)"}));
    EXPECT_EQ(p->ListId(), 0u);
    p->SetCached(true);
    rec.Clear();
    p->Render(view);
    EXPECT_EQ(rec.Count("glNewList"), 1u);
    EXPECT_NE(p->ListId(), 0u);
}

TEST_F(RenderChain, ClearCacheBorrowsTheViewsContextOrWaitsForTheNextFrame) {
    auto* p = new Probe(&form);
    p->SetCached(true);
    p->Render(view);
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
    GLRecorder rec;
    p->ClearCache();
    EXPECT_EQ(p->ListId(), 0u);
    EXPECT_EQ(rec.Count("glDeleteLists"), 0u); // no context now: deleted at the group's next frame
    view->RenderState()->BeginFrame();
    EXPECT_EQ(rec.Calls(), (Calls{"glDeleteLists(" + std::to_string(pending) + ", 1)"}));
}

TEST_F(RenderChain, ChangeInsideANodesItemDropsTheNodesListAndTheNextRenderCompilesAnew) {
    auto* node = new TOrnNode(&form);
    auto* item = new Probe(&form);
    node->Add(item);
    node->SetCached(true);
    node->Render(view);
    const GLuint list = node->ListId();
    ASSERT_NE(list, 0u);
    GLRecorder rec;
    item->Transformation()->Scale()->SetX(2);
    EXPECT_EQ(rec.Calls(), (Calls{"glDeleteLists(" + std::to_string(list) + ", 1)"}));
    EXPECT_EQ(node->ListId(), 0u);
    rec.Clear();
    node->Render(view);
    EXPECT_EQ(rec.Count("glNewList"), 1u);
    EXPECT_EQ(rec.Count("glScalef"), 1u);
}

TEST_F(RenderChain, NodeRendersItemsInOrderOrOnlyItsOnRender) {
    auto* node = new TOrnNode(&form);
    auto* a = new Probe(&form);
    auto* b = new Probe(&form);
    a->Transformation()->Translation()->SetX(1);
    b->Transformation()->Translation()->SetX(2);
    node->Add(a);
    node->Add(b);
    {
        GLRecorder rec;
        node->Render(view);
        EXPECT_EQ(rec.Filter("glTranslatef"), (Calls{"glTranslatef(1, 0, 0)", "glTranslatef(2, 0, 0)"}));
        EXPECT_EQ(rec.Count("glPushMatrix"), 3u);
    }
    node->OnRender = [](TOrnCustomView*) { glPointSize(1); };
    GLRecorder rec;
    node->Render(view);
    EXPECT_EQ(rec.Calls(), (Calls{"glPushMatrix()", "glPointSize(1)", "glPopMatrix()"}));
}

TEST_F(RenderChain, ProjectionCaptureHoldsTheModelViewWithOwnTransformation) {
    auto* p = new Probe(&form);
    EXPECT_EQ(p->ProjectionMatrix(), nullptr);
    p->SetProjectionEnabled(true);
    ASSERT_NE(p->ProjectionMatrix(), nullptr);
    p->Transformation()->Translation()->SetValues(1, 2, 3);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glTranslatef(10, 0, 0);
    p->Render(view);
    EXPECT_EQ(p->ProjectionMatrix()->GetValue(0, 3), 11);
    EXPECT_EQ(p->ProjectionMatrix()->GetValue(2, 3), 3);
    // The camera maps world into eye space; the component sits at (11, 2, 3) in eye space, so the
    // eye-space origin under an identity camera is (−11, −2, −3) in its local frame.
    view->hasCamera = true;
    view->camera.SetIdentityMatrix();
    EXPECT_EQ(p->ProjectVector(view, ToVec(0, 0, 0)), ToVec(-11, -2, -3));
    auto* other = new Probe(&form);
    EXPECT_EQ(p->ProjectVector(other, ToVec(1, 1, 1)), ToVec(0, 0, 0)); // no matrix: zero vector
    p->SetProjectionEnabled(false);
    EXPECT_EQ(p->ProjectionMatrix(), nullptr);
    glLoadIdentity();
}

TEST_F(RenderChain, ProjectVectorTakesAScenePointIntoTheComponentsFrame) {
    // Captured: camera (z − 5) · own rotation by 60° about z. A scene point seen through the
    // camera comes out in the component's turned frame, whatever the camera does.
    const double c = 0.5, s = std::sqrt(3.0) / 2;
    auto* p = new Probe(&form);
    p->SetProjectionEnabled(true);
    TOrnMatrix& captured = *p->ProjectionMatrix();
    captured.SetIdentityMatrix();
    captured.SetValue(0, 0, c);
    captured.SetValue(0, 1, -s);
    captured.SetValue(1, 0, s);
    captured.SetValue(1, 1, c);
    captured.SetValue(2, 3, -5);
    view->hasCamera = true;
    view->camera.SetIdentityMatrix();
    view->camera.SetValue(2, 3, -5);
    const TOrnMathVector r = p->ProjectVector(view, ToVec(1, 0, 0));
    EXPECT_NEAR(r.x, c, 1e-12);
    EXPECT_NEAR(r.y, -s, 1e-12);
    EXPECT_NEAR(r.z, 0, 1e-12);
}

TEST_F(RenderChain, ObjectPushesNamesOnlyInNamingModes) {
    auto* o = new TOrnObject(&form);
    for (TOrnDrawMode mode : {dmWindow, dmBitmap, dmSelection, dmPick, dmNothing}) {
        view->mode = mode;
        view->names.clear();
        GLRecorder rec;
        o->Render(view);
        const bool naming = mode >= dmSelection;
        EXPECT_EQ(rec.Count("glPushName"), naming ? 1u : 0u) << mode;
        EXPECT_EQ(rec.Count("glPopName"), naming ? 1u : 0u) << mode;
        if (naming) {
            ASSERT_EQ(view->names.size(), 1u);
            EXPECT_EQ(view->names[0].first, o);
            EXPECT_EQ(view->names[0].second, -1);
            EXPECT_EQ(rec.Calls().front(), "glPushMatrix()");
            EXPECT_EQ(rec.Calls()[1], "glPushName(1)");
            EXPECT_EQ(rec.Calls().back(), "glPopName()");
        }
    }
}

TEST_F(RenderChain, ObjectSendsItsColourAndColourMaterialMode) {
    struct Lit : TOrnObject {
        explicit Lit(TComponent* o) : TOrnObject(o) { SetColorMaterial(5); }
    };
    auto* o = new Lit(&form);
    o->Color()->SetColor(clRed);
    GLRecorder rec;
    o->Render(view);
    EXPECT_EQ(rec.Calls(), (Calls{"glPushMatrix()", "glColor4fv({1, 0, 0, 1})", "glEnable(GL_COLOR_MATERIAL)",
                                  "glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE)",
                                  "glPopMatrix()", "glDisable(GL_COLOR_MATERIAL)"}));
}

TEST_F(RenderChain, DestroyedViewDropsTheListsCachedInIt) {
    auto* p = new Probe(&form);
    p->SetCached(true);
    auto* doomed = new TestView(&form);
    p->Render(doomed);
    ASSERT_EQ(p->View(), doomed);
    GLRecorder rec;
    delete doomed;
    EXPECT_EQ(p->View(), nullptr);
    EXPECT_EQ(p->ListId(), 0u);
    EXPECT_EQ(rec.Count("glDeleteLists"), 1u);
}
