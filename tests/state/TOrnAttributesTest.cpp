#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnMaterial.h>
#include <orn/state/TOrnTexture.h>

#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <tuple>

using namespace orn;
using orn::test::TestView;
using AttributesGL = orn::test::ViewGLTest;

TEST_F(AttributesGL, EachPropertyReachesItsOwnStateOverThePreviousBlock) {
    TOrnColor red, blue;
    red.SetColor(clRed);
    blue.SetColor(clBlue);
    auto* on = new TOrnAttributes(&form);
    on->SetAntialiasing(true);
    on->SetColorAmbient(&red);
    on->SetCullFace(cfFront);
    on->SetDithering(true);
    on->SetLighting(true);
    on->SetLightTwoSide(true);
    on->SetPolygonMode(pmLine);
    on->SetPerspectiveCorrection(quNicest);
    on->SetShadeModel(smFlat);
    on->SetTransparency(tmAlpha);
    on->SetLineStipple(lsDash);
    on->SetLineWidth(2);
    on->SetPointSize(4);
    auto* other = new TOrnAttributes(&form);
    other->SetColorAmbient(&blue);
    other->SetCullFace(cfBack);
    other->SetLighting(true);
    other->SetPolygonMode(pmPoint);
    other->SetPerspectiveCorrection(quFastest);
    other->SetTransparency(tmAddAlpha);
    other->SetLineStipple(lsDot);
    other->StippleFactor = 3;
    other->SetLineWidth(3);
    other->SetPointSize(5);
    auto* off = new TOrnAttributes(&form); // the defaults but for a width GL accepts
    off->SetLineWidth(1);
    constexpr float kAny = NAN; // left as the block before set it
    const struct {
        GLenum name;
        int index; // -1: the capability itself
        float on, other, off;
    } rows[] = {
        {GL_POINT_SMOOTH, -1, 1, 0, 0},
        {GL_LINE_SMOOTH, -1, 1, 0, 0},
        {GL_POLYGON_SMOOTH, -1, 1, 0, 0},
        {GL_LINE_SMOOTH_HINT, 0, GL_DONT_CARE, GL_DONT_CARE, GL_DONT_CARE}, // hints name the capability
        {GL_LIGHT_MODEL_AMBIENT, 0, 1, 0, 0.2f},
        {GL_LIGHT_MODEL_AMBIENT, 2, 0, 1, 0.2f},
        {GL_LIGHT_MODEL_AMBIENT, 3, 1, 1, 1},
        {GL_CULL_FACE, -1, 1, 1, 0},
        {GL_CULL_FACE_MODE, 0, GL_FRONT, GL_BACK, kAny},
        {GL_DITHER, -1, 1, 0, 0},
        {GL_LIGHTING, -1, 1, 1, 0},
        {GL_LIGHT_MODEL_TWO_SIDE, 0, 1, 0, 0},
        {GL_POLYGON_MODE, 0, GL_LINE, GL_POINT, GL_FILL},
        {GL_POLYGON_MODE, 1, GL_LINE, GL_POINT, GL_FILL},
        {GL_PERSPECTIVE_CORRECTION_HINT, 0, GL_NICEST, GL_FASTEST, GL_DONT_CARE},
        {GL_SHADE_MODEL, 0, GL_FLAT, GL_SMOOTH, GL_SMOOTH},
        {GL_BLEND, -1, 1, 1, 0},
        {GL_BLEND_SRC, 0, GL_SRC_ALPHA, GL_SRC_ALPHA, kAny},
        {GL_BLEND_DST, 0, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, kAny},
        {GL_LINE_STIPPLE, -1, 1, 1, 0},
        {GL_LINE_STIPPLE_PATTERN, 0, 0xF0F0, 0x5555, kAny},
        {GL_LINE_STIPPLE_REPEAT, 0, 1, 3, kAny},
        {GL_LINE_WIDTH, 0, 2, 3, 1},
        {GL_POINT_SIZE, 0, 4, 5, 1},
    };
    for (int column = 0; column < 3; ++column) {
        (column == 0 ? on : column == 1 ? other : off)->Render(view);
        for (const auto& row : rows) {
            const float expected = column == 0 ? row.on : column == 1 ? row.other : row.off;
            if (std::isnan(expected)) continue;
            float got[4] = {};
            if (row.index < 0)
                got[0] = glIsEnabled(row.name);
            else
                glGetFloatv(row.name, got);
            EXPECT_NEAR(got[std::max(row.index, 0)], expected, 1e-6)
                << "block " << column << ", GL name 0x" << std::hex << row.name << " [" << row.index << "]";
        }
    }
}

TEST_F(AttributesGL, StipplePatternIsRotatedByTheShiftAndRepeatedByTheFactor) {
    auto* attr = new TOrnAttributes(&form);
    const std::tuple<TOrnLineStipple, int, int, int> cases[] = {
        {lsClear, 0, 1, 0}, // enabled with nothing drawn
        {lsDashDot, 0, 1, 0x7272},
        {lsDashDotDot, 0, 1, 0xEAEA},
        {lsDash, 4, 1, 0x0F0F},     // rotated left by 4
        {lsDashDot, 1, 1, 0xE4E4},  // rotated left by 1
        {lsDashDot, 17, 2, 0xE4E4}, // only the low four bits count
        {lsDashDotDot, 16, 1, 0xEAEA},
    };
    for (auto [stipple, shift, factor, pattern] : cases) {
        attr->SetLineStipple(stipple);
        attr->StippleShift = shift;
        attr->StippleFactor = factor;
        attr->Changed();
        attr->Render(view);
        GLint got[2] = {};
        glGetIntegerv(GL_LINE_STIPPLE_PATTERN, &got[0]);
        glGetIntegerv(GL_LINE_STIPPLE_REPEAT, &got[1]);
        EXPECT_EQ(got[0], pattern) << kLineStippleNames[stipple] << " shift " << shift;
        EXPECT_EQ(got[1], factor) << kLineStippleNames[stipple] << " shift " << shift;
        EXPECT_TRUE(glIsEnabled(GL_LINE_STIPPLE));
    }
}

// Attributes, materials and textures share the block cache of the render state. Before each step GL is
// disturbed: a block that is sent puts its own value back, one that is skipped leaves the disturbance.
TEST_F(AttributesGL, EachBlockIsSentOncePerFrameAndContextAgainAfterAChangeOrAnotherInBetween) {
    const auto texture = [&] {
        auto* t = new TOrnTexture(&form);
        t->Bitmap()->SetSize(2, 2);
        return t;
    };
    auto* attr = new TOrnAttributes(&form);
    auto* material = new TOrnMaterial(&form);
    auto* tex = texture();
    const auto pointSize = [] {
        float size = 0;
        glGetFloatv(GL_POINT_SIZE, &size);
        return size;
    };
    const struct {
        TOrnRender *block, *other;
        std::function<void()> change, disturb;
        std::function<bool()> disturbed;
    } blocks[] = {
        {attr, new TOrnAttributes(&form), [&] { attr->SetLineWidth(3); }, [] { glPointSize(9); },
         [&] { return pointSize() == 9; }},
        {material, new TOrnMaterial(&form), [&] { material->SetShininess(20); },
         [] { glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, 99); },
         [] {
             float s = 0;
             glGetMaterialfv(GL_BACK, GL_SHININESS, &s);
             return s == 99;
         }},
        {tex, texture(), [&] { tex->SetMode(tmDecal); }, [] { glBindTexture(GL_TEXTURE_2D, 0); },
         [] {
             GLint name = -1;
             glGetIntegerv(GL_TEXTURE_BINDING_2D, &name);
             return name == 0;
         }},
    };
    auto* bitmapContext = new TestView(&form); // another context knows nothing of the first's state
    for (const auto& b : blocks) {
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
        std::vector<bool> sent;
        for (const auto& step : steps) {
            b.disturb();
            step();
            sent.push_back(!b.disturbed());
        }
        EXPECT_EQ(sent, (std::vector<bool>{true, false, true, true, true, false, true, true}))
            << b.block->ClassName();
    }
    blocks[0].other->SetEnabled(false);
    glPointSize(9);
    blocks[0].other->Render(view);
    EXPECT_EQ(pointSize(), 9) << "disabled attributes send nothing";
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
