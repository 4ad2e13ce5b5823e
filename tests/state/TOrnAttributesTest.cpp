#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnMaterial.h>
#include <orn/state/TOrnTexture.h>

#include "support/GLRecorder.h"
#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

#include <functional>
#include <tuple>

using namespace orn;
using orn::test::GLRecorder;
using orn::test::TestView;
using Calls = std::vector<std::string>;

namespace {

class AttributesGL : public orn::test::ViewGLTest {
protected:
    TOrnAttributes* attr = new TOrnAttributes(&form);

    // The calls of the block to the functions named (all of them when none is named).
    Calls BlockCalls(std::initializer_list<std::string_view> names) {
        GLRecorder rec;
        attr->Render(view);
        return names.size() == 0 ? rec.Calls() : rec.Filter(names);
    }
};

} // namespace

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
    EXPECT_EQ(BlockCalls({"glHint", "glLightModelfv"}),
              (Calls{"glHint(GL_POINT_SMOOTH, GL_NICEST)", "glHint(GL_LINE_SMOOTH, GL_NICEST)",
                     "glHint(GL_POLYGON_SMOOTH, GL_NICEST)",
                     "glLightModelfv(GL_LIGHT_MODEL_AMBIENT, {0.2, 0.2, 0.2, 1})",
                     "glHint(GL_PERSPECTIVE_CORRECTION_HINT, GL_NICEST)"}));
    for (GLenum cap : {GL_POINT_SMOOTH, GL_LINE_SMOOTH, GL_POLYGON_SMOOTH, GL_CULL_FACE, GL_DITHER,
                       GL_LIGHTING, GL_BLEND, GL_LINE_STIPPLE})
        EXPECT_TRUE(glIsEnabled(cap)) << std::hex << cap;
    std::vector<GLint> values;
    for (GLenum name :
         {GL_CULL_FACE_MODE, GL_LIGHT_MODEL_TWO_SIDE, GL_POLYGON_MODE, GL_SHADE_MODEL, GL_BLEND_SRC,
          GL_BLEND_DST, GL_LINE_STIPPLE_PATTERN, GL_LINE_STIPPLE_REPEAT, GL_LINE_WIDTH, GL_POINT_SIZE}) {
        GLint got[2] = {};
        glGetIntegerv(name, got);
        values.push_back(got[0]);
    }
    EXPECT_EQ(values, (std::vector<GLint>{GL_FRONT, 1, GL_LINE, GL_FLAT, GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA,
                                          0xF0F0, 1, 2, 4}));
    attr->SetAntialiasing(false);
    attr->SetPerspectiveCorrection(quFastest);
    attr->SetPolygonMode(pmPoint);
    EXPECT_EQ(BlockCalls({"glHint", "glPolygonMode"}),
              (Calls{"glPolygonMode(GL_FRONT_AND_BACK, GL_POINT)",
                     "glHint(GL_PERSPECTIVE_CORRECTION_HINT, GL_FASTEST)"}));
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

// Attributes, materials and textures share the block cache of the render state.
TEST_F(AttributesGL, EachBlockIsSentOncePerFrameAndContextAgainAfterAChangeOrAnotherInBetween) {
    const auto texture = [&] {
        auto* t = new TOrnTexture(&form);
        t->Bitmap()->SetSize(2, 2);
        return t;
    };
    auto* material = new TOrnMaterial(&form);
    auto* tex = texture();
    const struct {
        TOrnRender *block, *other;
        const char* call;
        std::function<void()> change;
    } blocks[] = {
        {attr, new TOrnAttributes(&form), "glLineWidth", [&] { attr->SetLineWidth(3); }},
        {material, new TOrnMaterial(&form), "glMateriali", [&] { material->SetShininess(20); }},
        {tex, texture(), "glBindTexture", [&] { tex->SetMode(tmDecal); }},
    };
    auto* bitmapContext = new TestView(&form); // another context knows nothing of the first's state
    for (const auto& b : blocks) {
        SCOPED_TRACE(b.call);
        GLRecorder rec;
        std::vector<std::size_t> sent;
        const std::function<void()> steps[] = {
            [&] { b.block->Render(view); },
            [&] { b.block->Render(view); },
            [&] { b.other->Render(view); },
            [&] { b.block->Render(view); },
            [&] { b.change(), b.block->Render(view); },
            [&] { b.block->Render(view); },
            [&] { view->RenderState()->BeginFrame(), b.block->Render(view); },
            [&] { b.block->Render(bitmapContext); },
        };
        for (const auto& step : steps) {
            step();
            sent.push_back(rec.Count(b.call));
        }
        EXPECT_EQ(sent, (std::vector<std::size_t>{1, 1, 2, 3, 4, 4, 5, 6}));
    }
    GLRecorder rec;
    blocks[0].other->SetEnabled(false);
    blocks[0].other->Render(view);
    EXPECT_EQ(rec.Calls(), Calls{}) << "disabled attributes send nothing";
}

namespace {

// Each case starts a fresh frame on black and applies its attributes to flat, depth-free quads.
class AttributePixels : public orn::test::ViewGLTest {
protected:
    void Apply(TOrnAttributes& attr) {
        view->RenderState()->BeginFrame();
        ClearTo(0, 0, 0);
        attr.Render(view);
        glDisable(GL_DEPTH_TEST);
    }
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
        orn::test::Rgba below, overlap, above;
    };
    // On grey: opaque red below, blue with alpha 0.5 above. Alpha: src·a + dst·(1 − a); add alpha:
    // src·a + dst; add colour: src·dst + dst·src; subtract colour: src·(1 − dst) + dst·(1 − src); none:
    // the upper quad replaces.
    const Case cases[] = {
        {tmAlpha, {255, 0, 0, 255}, {128, 0, 128, 191}, {64, 64, 191, 191}},
        {tmAddAlpha, {255, 128, 128, 255}, {255, 128, 255, 255}, {128, 128, 255, 255}},
        {tmAddColor, {255, 0, 0, 255}, {0, 0, 0, 255}, {0, 0, 255, 255}},
        {tmSubColor, {128, 128, 128, 0}, {128, 128, 128, 128}, {128, 128, 128, 128}},
        {tmNone, {255, 0, 0, 255}, {0, 0, 255, 128}, {0, 0, 255, 128}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(kTransparencyModeNames[c.mode]);
        TOrnAttributes attr(nullptr);
        attr.SetTransparency(c.mode);
        Apply(attr);
        ClearTo(0.5f, 0.5f, 0.5f);
        glColor4f(1, 0, 0, 1);
        Quad(-1, -1, 0.5f, 0.5f);
        glColor4f(0, 0, 1, 0.5f);
        Quad(-0.5f, -0.5f, 1, 1);
        EXPECT_TRUE(orn::test::ColorNear(ReadPixel(4, 4), c.below, 2));
        EXPECT_TRUE(orn::test::ColorNear(ReadPixel(32, 32), c.overlap, 2));
        EXPECT_TRUE(orn::test::ColorNear(ReadPixel(60, 60), c.above, 2));
    }
}

TEST_F(AttributePixels, CullFaceHidesTheFacesItNames) {
    for (auto [cull, frontShows, backShows] :
         {std::tuple{cfNone, true, true}, {cfBack, true, false}, {cfFront, false, true}}) {
        TOrnAttributes attr(nullptr);
        attr.SetCullFace(cull);
        Apply(attr);
        glColor3f(1, 1, 1);
        Quad(-1, -1, 0, 1); // counter-clockwise: the front face, on the left
        Quad(1, -1, 0, 1);  // clockwise: the back face, on the right
        EXPECT_EQ(ReadPixel(16, 32)[0] > 128, frontShows) << kCullFaceNames[cull];
        EXPECT_EQ(ReadPixel(48, 32)[0] > 128, backShows) << kCullFaceNames[cull];
    }
}
