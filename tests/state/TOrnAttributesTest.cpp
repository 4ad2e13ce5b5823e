#include <orn/scene/TOrnObject.h>
#include <orn/scene/TOrnRegistry.h>
#include <orn/state/TOrnAttributes.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"
#include "support/MemoryExchange.h"
#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

using namespace orn;
using orn::test::GLRecorder;
using orn::test::TestView;
using Calls = std::vector<std::string>;

namespace {

class AttributesGL : public orn::test::GLTest {
protected:
    void SetUp() override {
        GLTest::SetUp();
        view->RenderState()->BeginFrame();
    }
    TComponent form{nullptr};
    TestView* view = new TestView(&form);
    TOrnAttributes* attr = new TOrnAttributes(&form);

    Calls RenderCalls() {
        GLRecorder rec;
        attr->Render(view);
        return rec.Calls();
    }
    // The calls of the block that depend on the property under test.
    Calls BlockCalls(std::initializer_list<std::string_view> names) {
        GLRecorder rec;
        attr->Render(view);
        return rec.Filter(names);
    }
};

} // namespace

TEST(TOrnAttributes, AmbientColourNotifiesThroughItsSetterOnly) {
    TOrnAttributes a(nullptr);
    int changes = 0;
    a.OnChange = [&](TObject*) { ++changes; };
    a.ColorAmbient()->SetColor(clRed);
    EXPECT_EQ(changes, 0);
    TOrnColor blue;
    blue.SetColor(clBlue);
    a.SetColorAmbient(&blue);
    EXPECT_EQ(a.ColorAmbient()->Color(), clBlue);
    EXPECT_EQ(changes, 1);
    a.SetColorAmbient(&blue); // always notifies
    EXPECT_EQ(changes, 2);
    blue.SetColor(clGreen); // the source did not take over the owned colour
    EXPECT_EQ(a.ColorAmbient()->Color(), clBlue);
    EXPECT_EQ(changes, 2);
}

TEST(TOrnAttributes, ObjectForgetsDestroyedAttributes) {
    TComponent form(nullptr);
    auto* object = new TOrnObject(&form);
    auto* a = new TOrnAttributes(&form);
    int changes = 0;
    object->OnChange = [&](TObject*) { ++changes; };
    object->SetAttributes(a);
    EXPECT_EQ(object->Attributes(), a);
    EXPECT_EQ(changes, 1);
    object->SetAttributes(a);
    EXPECT_EQ(changes, 1);
    delete a;
    EXPECT_EQ(object->Attributes(), nullptr);
}

TEST(TOrnAttributes, UnknownEnumerationNameKeepsTheValue) {
    TOrnAttributes a(nullptr);
    a.SetCullFace(cfFront);
    orn::test::MemoryExchange ex;
    ex.Save(a);
    ex.root.keys[4].second = "cfSideways";
    TOrnAttributes b(nullptr);
    b.SetCullFace(cfBack);
    ex.Load(b);
    EXPECT_EQ(b.CullFace(), cfBack);
}

TEST_F(AttributesGL, EverySwitchOnTakesItsBranch) {
    attr->SetAntialiasing(true);
    attr->SetCullFace(cfFront);
    attr->SetDithering(true);
    attr->SetLighting(true);
    attr->SetLightTwoSide(true);
    attr->SetPolygonMode(pmLine);
    attr->SetPerspectiveCorrection(quNicest);
    attr->SetShadeModel(smFlat);
    attr->SetTransparency(tmAlpha);
    attr->SetLineStipple(lsDash);
    attr->SetLineWidth(2);
    attr->SetPointSize(4);
    // The smoothing hints name the capabilities themselves, as they always have.
    EXPECT_EQ(RenderCalls(), (Calls{"glPushMatrix()",
                                    "glEnable(GL_POINT_SMOOTH)",
                                    "glHint(GL_POINT_SMOOTH, GL_NICEST)",
                                    "glEnable(GL_LINE_SMOOTH)",
                                    "glHint(GL_LINE_SMOOTH, GL_NICEST)",
                                    "glEnable(GL_POLYGON_SMOOTH)",
                                    "glHint(GL_POLYGON_SMOOTH, GL_NICEST)",
                                    "glLightModelfv(GL_LIGHT_MODEL_AMBIENT, {0.2, 0.2, 0.2, 1})",
                                    "glEnable(GL_CULL_FACE)",
                                    "glCullFace(GL_FRONT)",
                                    "glEnable(GL_DITHER)",
                                    "glEnable(GL_LIGHTING)",
                                    "glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1)",
                                    "glPolygonMode(GL_FRONT_AND_BACK, GL_LINE)",
                                    "glHint(GL_PERSPECTIVE_CORRECTION_HINT, GL_NICEST)",
                                    "glShadeModel(GL_FLAT)",
                                    "glEnable(GL_BLEND)",
                                    "glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA)",
                                    "glLineStipple(1, 61680)",
                                    "glEnable(GL_LINE_STIPPLE)",
                                    "glLineWidth(2)",
                                    "glPointSize(4)",
                                    "glPopMatrix()"}));
}

TEST_F(AttributesGL, TransparencyModesSetTheirBlendFunctions) {
    const std::pair<TOrnTransparencyMode, std::string> cases[] = {
        {tmAlpha, "glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA)"},
        {tmAddAlpha, "glBlendFunc(GL_SRC_ALPHA, GL_ONE)"},
        {tmAddColor, "glBlendFunc(GL_DST_COLOR, GL_SRC_COLOR)"},
        {tmSubColor, "glBlendFunc(GL_ONE_MINUS_DST_COLOR, GL_ONE_MINUS_SRC_COLOR)"},
    };
    for (const auto& [mode, call] : cases) {
        attr->SetTransparency(mode);
        EXPECT_EQ(BlockCalls({"glBlendFunc"}), (Calls{call})) << kTransparencyModeNames[mode];
    }
    attr->SetTransparency(tmNone);
    EXPECT_EQ(BlockCalls({"glBlendFunc"}), Calls{});
}

TEST_F(AttributesGL, CullFaceAndQualityChooseTheirEnumerants) {
    attr->SetCullFace(cfBack);
    attr->SetPerspectiveCorrection(quFastest);
    EXPECT_EQ(BlockCalls({"glCullFace", "glHint"}),
              (Calls{"glCullFace(GL_BACK)", "glHint(GL_PERSPECTIVE_CORRECTION_HINT, GL_FASTEST)"}));
    attr->SetPolygonMode(pmPoint);
    EXPECT_EQ(BlockCalls({"glPolygonMode"}), (Calls{"glPolygonMode(GL_FRONT_AND_BACK, GL_POINT)"}));
}

TEST_F(AttributesGL, StipplePatternsAndRotation) {
    struct Case {
        TOrnLineStipple stipple;
        int shift;
        int factor;
        std::string call;
    };
    const Case cases[] = {
        {lsClear, 0, 1, "glLineStipple(1, 0)"},          // enabled with nothing drawn
        {lsDash, 0, 1, "glLineStipple(1, 61680)"},       // 0xF0F0
        {lsDot, 0, 3, "glLineStipple(3, 21845)"},        // 0x5555
        {lsDashDot, 0, 1, "glLineStipple(1, 29298)"},    // 0x7272
        {lsDashDotDot, 0, 1, "glLineStipple(1, 60138)"}, // 0xEAEA
        {lsDash, 4, 1, "glLineStipple(1, 3855)"},        // 0xF0F0 rotated left 4: 0x0F0F
        {lsDashDot, 1, 1, "glLineStipple(1, 58596)"},    // 0x7272 rotated left 1: 0xE4E4
        {lsDashDot, 17, 1, "glLineStipple(1, 58596)"},   // only the low four bits count
        {lsDashDotDot, 16, 2, "glLineStipple(2, 60138)"},
    };
    for (const Case& c : cases) {
        attr->SetLineStipple(c.stipple);
        attr->StippleShift = c.shift;
        attr->StippleFactor = c.factor;
        attr->Changed();
        EXPECT_EQ(BlockCalls({"glLineStipple", "glEnable"}), (Calls{c.call, "glEnable(GL_LINE_STIPPLE)"}))
            << kLineStippleNames[c.stipple] << " shift " << c.shift;
    }
    attr->SetLineStipple(lsSolid);
    EXPECT_EQ(BlockCalls({"glLineStipple", "glDisable"}).back(), "glDisable(GL_LINE_STIPPLE)");
    EXPECT_EQ(BlockCalls({"glLineStipple"}), Calls{}) << "not sent again within the frame";
}

TEST_F(AttributesGL, SharedAttributesAreSentOncePerFrameAndAgainAfterAChange) {
    auto* first = new TOrnObject(&form);
    auto* second = new TOrnObject(&form);
    first->SetAttributes(attr);
    second->SetAttributes(attr);
    GLRecorder rec;
    first->Render(view);
    second->Render(view);
    EXPECT_EQ(rec.Count("glLightModelfv"), 1u);
    EXPECT_EQ(rec.Count("glColor4fv"), 2u) << "the objects themselves still render";

    rec.Clear();
    attr->SetLineWidth(3);
    first->Render(view);
    second->Render(view);
    EXPECT_EQ(rec.Filter({"glLineWidth"}), (Calls{"glLineWidth(3)"}));

    rec.Clear();
    view->RenderState()->BeginFrame();
    first->Render(view);
    second->Render(view);
    EXPECT_EQ(rec.Count("glLineWidth"), 1u);

    rec.Clear();
    auto* bitmapContext = new TestView(&form); // another context knows nothing of the first's state
    first->Render(bitmapContext);
    EXPECT_EQ(rec.Count("glLineWidth"), 1u);
}

TEST_F(AttributesGL, TwoComponentsTakeTurnsAndEachIsResent) {
    auto* other = new TOrnAttributes(&form);
    other->SetLineWidth(5);
    GLRecorder rec;
    attr->Render(view);
    other->Render(view);
    attr->Render(view);
    attr->Render(view);
    EXPECT_EQ(rec.Filter({"glLineWidth"}), (Calls{"glLineWidth(0)", "glLineWidth(5)", "glLineWidth(0)"}));
}

TEST_F(AttributesGL, DisabledAttributesSendNothing) {
    attr->SetEnabled(false);
    EXPECT_EQ(RenderCalls(), Calls{});
}

namespace {

// Each case starts a fresh frame on black and applies its attributes to flat, depth-free quads.
class AttributePixels : public orn::test::GLTest {
protected:
    void Apply(TOrnAttributes& attr) {
        view.RenderState()->BeginFrame();
        ClearTo(0, 0, 0);
        attr.Render(&view);
        glDisable(GL_DEPTH_TEST);
    }
    TComponent form{nullptr};
    orn::test::TestView view{&form};
};

void Quad(float x0, float y0, float x1, float y1) {
    glBegin(GL_QUADS);
    glVertex2f(x0, y0);
    glVertex2f(x1, y0);
    glVertex2f(x1, y1);
    glVertex2f(x0, y1);
    glEnd();
}

} // namespace

TEST_F(AttributePixels, HalfTransparentQuadBlendsAsTheBlendFunctionSays) {
    struct Case {
        TOrnTransparencyMode mode;
        orn::test::Rgba overlap;
    };
    // Red below, blue with alpha 0.5 above.
    const Case cases[] = {
        {tmAlpha, {128, 0, 128, 191}},    // src·a + dst·(1 − a), alpha too
        {tmAddAlpha, {255, 0, 128, 255}}, // src·a + dst
        {tmNone, {0, 0, 255, 128}},       // no blending: the upper quad replaces
    };
    for (const Case& c : cases) {
        TOrnAttributes attr(nullptr);
        attr.SetTransparency(c.mode);
        Apply(attr);
        glColor4f(1, 0, 0, 1);
        Quad(-1, -1, 0.5f, 0.5f);
        glColor4f(0, 0, 1, 0.5f);
        Quad(-0.5f, -0.5f, 1, 1);
        EXPECT_TRUE(orn::test::ColorNear(ReadPixel(32, 32), c.overlap, 2)) << kTransparencyModeNames[c.mode];
        EXPECT_TRUE(orn::test::ColorNear(ReadPixel(4, 4), {255, 0, 0, 255}, 1));
    }
}

TEST_F(AttributePixels, CullFaceHidesTheFacesItNames) {
    struct Case {
        TOrnCullFace cull;
        bool frontShows;
        bool backShows;
    };
    const Case cases[] = {{cfNone, true, true}, {cfBack, true, false}, {cfFront, false, true}};
    for (const Case& c : cases) {
        TOrnAttributes attr(nullptr);
        attr.SetCullFace(c.cull);
        Apply(attr);
        glColor3f(1, 1, 1);
        Quad(-1, -1, 0, 1); // counter-clockwise: the front face, on the left
        Quad(1, -1, 0, 1);  // clockwise: the back face, on the right
        EXPECT_EQ(ReadPixel(16, 32)[0] > 128, c.frontShows) << kCullFaceNames[c.cull];
        EXPECT_EQ(ReadPixel(48, 32)[0] > 128, c.backShows) << kCullFaceNames[c.cull];
    }
}
