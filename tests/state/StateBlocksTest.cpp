// What every state component leaves in GL, when the shared blocks are sent at all, and how it looks.
#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnClip.h>
#include <orn/state/TOrnFog.h>
#include <orn/state/TOrnLight.h>
#include <orn/state/TOrnMaterial.h>
#include <orn/state/TOrnTexture.h>

#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

#include <cmath>

using namespace orn;
using StateBlocks = orn::test::ViewGLTest;
using StatePixels = orn::test::ViewGLTest;

namespace {

using V = std::vector<float>;

// The values of each pname in turn, count of each, read by the query that target names: a light, a material
// face, a clip plane, the texture; 0: glGet (for a capability, whether it is on).
V Held(GLenum target, std::initializer_list<GLenum> pnames, std::size_t count = 1) {
    V all;
    for (GLenum pname : pnames) {
        float v[4] = {};
        double plane[4] = {};
        if (target >= GL_LIGHT0 && target <= GL_LIGHT7)
            glGetLightfv(target, pname, v);
        else if (target == GL_FRONT || target == GL_BACK)
            glGetMaterialfv(target, pname, v);
        else if (target == GL_TEXTURE_2D)
            glGetTexParameterfv(target, pname, v);
        else if (target >= GL_CLIP_PLANE0 && target <= GL_CLIP_PLANE5)
            glGetClipPlane(target, plane), std::copy(plane, plane + 4, v);
        else
            glGetFloatv(pname, v);
        for (std::size_t k = 0; k < count; ++k)
            all.push_back(std::round(v[k] * 1000) / 1000);
    }
    return all;
}

V operator+(V a, const V& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

void Quad(float x0, float y0, float x1, float y1, float z = 0) {
    glBegin(GL_QUADS);
    glVertex3f(x0, y0, z);
    glVertex3f(x1, y0, z);
    glVertex3f(x1, y1, z);
    glVertex3f(x0, y1, z);
    glEnd();
}

} // namespace

// Values are read with glGet (capabilities as 0 or 1). Each block renders over what the one before left, so
// every value must be sent to show.
TEST_F(StateBlocks, EveryPropertyReachesItsOwnGLState) {
    TOrnColor red;
    red.SetColor(clRed);
    auto* a = new TOrnAttributes(&form);
    a->SetAntialiasing(true);
    a->SetColorAmbient(&red);
    a->SetCullFace(cfFront);
    a->SetDithering(true);
    a->SetLightTwoSide(true);
    a->SetPolygonMode(pmLine);
    a->SetPerspectiveCorrection(quNicest);
    a->SetShadeModel(smFlat);
    a->SetTransparency(tmAlpha);
    a->SetLineStipple(lsDash);
    a->SetLineWidth(2);
    a->SetPointSize(4);
    a->SetLighting(true);
    a->Render(view);
    // The smoothing hints name the capabilities, which GL refuses: the hints stay.
    EXPECT_EQ(
        Held(0, {GL_POINT_SMOOTH, GL_LINE_SMOOTH, GL_POLYGON_SMOOTH, GL_CULL_FACE, GL_DITHER, GL_LIGHTING,
                 GL_BLEND, GL_LINE_STIPPLE, GL_LINE_SMOOTH_HINT, GL_CULL_FACE_MODE, GL_LIGHT_MODEL_TWO_SIDE,
                 GL_PERSPECTIVE_CORRECTION_HINT, GL_SHADE_MODEL, GL_BLEND_SRC, GL_BLEND_DST,
                 GL_LINE_STIPPLE_PATTERN, GL_LINE_STIPPLE_REPEAT, GL_LINE_WIDTH, GL_POINT_SIZE}),
        (V{1, 1, 1, 1, 1, 1, 1, 1, GL_DONT_CARE, GL_FRONT, 1, GL_NICEST, GL_FLAT, GL_SRC_ALPHA,
           GL_ONE_MINUS_SRC_ALPHA, 0xF0F0, 1, 2, 4}));
    EXPECT_EQ(Held(0, {GL_POLYGON_MODE, GL_LIGHT_MODEL_AMBIENT}, 4), (V{GL_LINE, GL_LINE, 0, 0, 1, 0, 0, 1}));
    a = new TOrnAttributes(&form);
    a->SetLineWidth(1); // GL refuses the default 0
    a->Render(view);
    EXPECT_EQ(Held(0, {GL_POINT_SMOOTH, GL_LINE_SMOOTH, GL_POLYGON_SMOOTH, GL_CULL_FACE, GL_DITHER,
                       GL_LIGHTING, GL_BLEND, GL_LINE_STIPPLE, GL_LIGHT_MODEL_TWO_SIDE,
                       GL_PERSPECTIVE_CORRECTION_HINT, GL_SHADE_MODEL, GL_POINT_SIZE}),
              (V{0, 0, 0, 0, 0, 0, 0, 0, 0, GL_DONT_CARE, GL_SMOOTH, 1}));
    EXPECT_EQ(Held(0, {GL_POLYGON_MODE, GL_LIGHT_MODEL_AMBIENT}, 4),
              (V{GL_FILL, GL_FILL, 0, 0, 0.2f, 0.2f, 0.2f, 1}));
    auto* fog = new TOrnFog(&form);
    fog->SetMode(fmLinear);
    fog->SetQuality(quFastest);
    fog->SetDensity(0.5f);
    fog->SetStartDepth(2);
    fog->SetEndDepth(5);
    fog->Color()->SetColor(clBlue);
    fog->Render(view);
    EXPECT_EQ(Held(0, {GL_FOG, GL_FOG_MODE, GL_FOG_DENSITY, GL_FOG_START, GL_FOG_END, GL_FOG_HINT}) +
                  Held(0, {GL_FOG_COLOR}, 4),
              (V{1, GL_LINEAR, 0.5, 2, 5, GL_FASTEST, 0, 0, 1, 1}));
    fog = new TOrnFog(&form);
    fog->SetQuality(quNicest);
    fog->Render(view);
    EXPECT_EQ(Held(0, {GL_FOG_MODE, GL_FOG_DENSITY, GL_FOG_START, GL_FOG_END, GL_FOG_HINT}),
              (V{GL_EXP, 0.2, 0, 1, GL_NICEST}));
    fog->SetMode(fmExp2);
    fog->SetQuality(quDontCare);
    fog->Render(view);
    EXPECT_EQ(Held(0, {GL_FOG_MODE, GL_FOG_HINT}), (V{GL_EXP2, GL_DONT_CARE}));
    fog->SetEnabled(false);
    fog->Render(view);
    EXPECT_EQ(Held(0, {GL_FOG}), (V{0}));
    // Ambient, diffuse, specular, position, spot direction, cut-off: four values each.
    const std::initializer_list<GLenum> lightParts{GL_AMBIENT,  GL_DIFFUSE,        GL_SPECULAR,
                                                   GL_POSITION, GL_SPOT_DIRECTION, GL_SPOT_CUTOFF};
    auto* light = new TOrnLight(&form);
    light->SetID(idLight3);
    light->SetKind(lkDirection);
    light->SetCutOff(30); // only a spot takes it
    light->ColorAmbient()->SetColor(clRed);
    light->ColorDiffuse()->SetColor(clLime);
    light->ColorSpecular()->SetColor(clBlue);
    light->Direction()->SetValues(0.5f, -1, 0);
    light->Render(view);
    EXPECT_EQ(Held(0, {GL_LIGHT3, GL_LIGHT0}) + Held(GL_LIGHT3, lightParts, 4),
              (V{1, 0, 1, 0, 0, 1, 0, 1, 0, 1, 0, 0, 1, 1, 0.5f, -1, 0, 0, 0, 0, -1, 0, 180, 0, 0, 0}));
    light->SetKind(lkSpot);
    light->SetCutOff(30);
    light->Render(view);
    EXPECT_EQ(Held(GL_LIGHT3, lightParts, 4),
              (V{1, 0, 0, 1, 0, 1, 0, 1, 0, 0, 1, 1, 0, 0, 0, 1, 0.5f, -1, 0, 0, 30, 0, 0, 0}));
    light->SetKind(lkPoint);
    light->Render(view);
    EXPECT_EQ(Held(GL_LIGHT3, {GL_SPOT_CUTOFF}), V{180});
    light = new TOrnLight(&form);
    light->SetID(idLight7);
    light->Render(view);
    EXPECT_EQ(Held(0, {GL_LIGHT7}), (V{1}));
    light->SetEnabled(false);
    light->Render(view);
    EXPECT_EQ(Held(0, {GL_LIGHT3, GL_LIGHT7}), (V{1, 0}));
    auto* material = new TOrnMaterial(&form);
    material->ColorDiffuse()->SetAlpha(0.5f); // passed on unchanged, for blending
    material->ColorSpecular()->SetColor(clRed);
    material->ColorEmission()->SetColor(clBlue);
    material->SetShininess(64);
    material->Render(view);
    for (GLenum face : {GL_FRONT, GL_BACK})
        EXPECT_EQ(Held(face, {GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR, GL_EMISSION, GL_SHININESS}, 4),
                  (V{0.2f, 0.2f, 0.2f, 1, 0.8f, 0.8f, 0.8f, 0.5f, 1, 0, 0, 1, 0, 0, 1, 1, 64, 0, 0, 0}));
    for (auto [face, shininess, front, back] : {std::tuple{mfFront, 32, 32, 64}, {mfBack, 16, 32, 16}}) {
        material->SetFace(face);
        material->SetShininess(shininess);
        material->Render(view);
        EXPECT_EQ(Held(GL_FRONT, {GL_SHININESS}) + Held(GL_BACK, {GL_SHININESS}),
                  (V{float(front), float(back)}))
            << kMaterialFaceNames[face];
    }
    auto* clip = new TOrnClip(&form);
    clip->SetID(idClipPlane5);
    clip->SetPlane(1, 2);
    clip->Transformation()->Translation()->SetY(1); // x + 2y + 1 ≥ 0 one unit up
    clip->Render(view);
    EXPECT_EQ(Held(0, {GL_CLIP_PLANE5, GL_CLIP_PLANE0}) + Held(GL_CLIP_PLANE5, {0}, 4),
              (V{1, 0, 1, 2, 0, -1}));
    clip->SetEnabled(false);
    clip->Render(view);
    EXPECT_EQ(Held(0, {GL_CLIP_PLANE5}), (V{0}));
    auto* texture = new TOrnTexture(&form);
    texture->Bitmap()->SetSize(2, 2);
    texture->Render(view);
    EXPECT_EQ(Held(0, {GL_TEXTURE_2D}) + Held(GL_TEXTURE_2D, {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER,
                                                              GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}),
              (V{1, GL_NEAREST, GL_NEAREST, GL_REPEAT, GL_REPEAT}));
    texture->SetEnabled(false);
    texture->Render(view);
    EXPECT_EQ(Held(0, {GL_TEXTURE_2D}), (V{0}));
}

TEST_F(StateBlocks, StipplePatternIsRotatedByTheShiftAndRepeatedByTheFactor) {
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
        EXPECT_EQ(Held(0, {GL_LINE_STIPPLE_PATTERN, GL_LINE_STIPPLE_REPEAT, GL_LINE_STIPPLE}),
                  (V{float(pattern), float(factor), 1}))
            << shift;
    }
}

// Attributes, materials and textures share the block cache of the render state.
TEST_F(StateBlocks, EachBlockIsSentOncePerFrameAndContextAgainAfterAChangeOrAnotherInBetween) {
    const auto texture = [&] {
        auto* t = new TOrnTexture(&form);
        t->Bitmap()->SetSize(2, 2);
        return t;
    };
    // Point size, shininess and texture binding disturbed, then r rendered into v: whether r put its own
    // back.
    const auto sent = [](TOrnRender* r, TOrnCustomView* v) {
        glPointSize(9);
        glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, 99);
        glBindTexture(GL_TEXTURE_2D, 0);
        r->Render(v);
        return Held(0, {GL_POINT_SIZE}) + Held(GL_BACK, {GL_SHININESS}) + Held(0, {GL_TEXTURE_BINDING_2D}) !=
               V{9, 99, 0};
    };
    const std::pair<TOrnRender*, TOrnRender*> blocks[] = {
        {new TOrnAttributes(&form), new TOrnAttributes(&form)},
        {new TOrnMaterial(&form), new TOrnMaterial(&form)},
        {texture(), texture()}};
    auto* bitmapContext = new orn::test::TestView(&form); // another context knows nothing of the first's
    for (auto [block, other] : blocks) {
        // A braced list runs its elements in order.
        const std::vector<bool> got = {sent(block, view),
                                       sent(block, view),
                                       sent(other, view),
                                       sent(block, view),
                                       (block->Changed(), sent(block, view)),
                                       sent(block, view),
                                       (view->RenderState()->BeginFrame(), sent(block, view)),
                                       sent(block, bitmapContext)};
        EXPECT_EQ(got, (std::vector<bool>{true, false, true, true, true, false, true, true}))
            << block->ClassName();
    }
    blocks[0].second->SetEnabled(false);
    EXPECT_FALSE(sent(blocks[0].second, view)) << "disabled attributes send nothing";
}

TEST(StateValues, LightCutOffFollowsTheKindAndMaterialShininessAndPartsKeepTheirRanges) {
    const std::tuple<TLightKind, float, float> cases[] = {{lkPoint, 45, 180}, {lkDirection, 10, 180},
                                                          {lkSpot, 45, 45},   {lkSpot, 120, 90},
                                                          {lkSpot, -5, 0},    {lkSpot, 90, 90}};
    for (auto [kind, set, expected] : cases) {
        TOrnLight l(nullptr);
        l.SetKind(kind);
        l.SetCutOff(set);
        EXPECT_EQ(l.CutOff(), expected) << kLightKindNames[kind] << " " << set;
    }
    TOrnLight l(nullptr);
    l.SetKind(lkSpot);
    l.SetCutOff(30);
    l.SetKind(lkDirection);
    const float direction = l.CutOff();
    l.SetKind(lkSpot);
    EXPECT_EQ(std::pair(direction, l.CutOff()), std::pair(180.0f, 90.0f));
    TOrnMaterial m(nullptr);
    for (auto [set, kept] : {std::pair{50, 50}, {129, 50}, {-1, 50}, {128, 128}, {0, 0}}) {
        m.SetShininess(set);
        EXPECT_EQ(m.Shininess(), kept) << set;
    }
    TOrnColor red;
    red.SetColor(clRed);
    m.SetPartColor(4, &red);
    for (int bad : {0, 5})
        m.SetPartColor(bad, &red);
    m.SetPartColor(2, nullptr);
    EXPECT_EQ((std::vector<TColor>{m.ColorAmbient()->Color(), m.ColorDiffuse()->Color(),
                                   m.ColorSpecular()->Color(), m.ColorEmission()->Color()}),
              (std::vector<TColor>{0x333333, 0xCCCCCC, clBlack, clRed}));
    TOrnClip clip(nullptr); // indices outside 0 … 3 read -1 and write nothing
    for (int bad : {-1, 4})
        clip.SetPlane(bad, 9.0);
    for (int i : {-1, 0, 1, 2, 3, 4})
        EXPECT_EQ(clip.GetPlane(i), (std::vector<double>{-1, 1, 0, 0, 1, -1}[i + 1])) << i;
}

TEST_F(StatePixels, TransparencyBlendsAsItsFunctionSaysAndCullFaceHidesTheFacesItNames) {
    // Blue of alpha 0.25 over grey. Alpha: src·a + dst·(1 − a); add alpha: src·a + dst; add colour:
    // src·dst + dst·src; subtract colour: src·(1 − dst) + dst·(1 − src); none: src.
    const std::pair<TOrnTransparencyMode, orn::test::Rgba> blends[] = {{tmAlpha, {96, 96, 160, 207}},
                                                                       {tmAddAlpha, {128, 128, 192, 255}},
                                                                       {tmAddColor, {0, 0, 255, 128}},
                                                                       {tmSubColor, {128, 128, 127, 191}},
                                                                       {tmNone, {0, 0, 255, 64}}};
    for (auto [mode, expected] : blends) {
        TOrnAttributes attr(nullptr);
        attr.SetTransparency(mode);
        attr.Render(view);
        ClearTo(0.5f, 0.5f, 0.5f);
        glColor4f(0, 0, 1, 0.25f);
        Quad(-1, -1, 1, 1);
        EXPECT_TRUE(orn::test::ColorNear(ReadPixel(32, 32), expected, 2)) << kTransparencyModeNames[mode];
    }
    for (auto [cull, frontShows, backShows] :
         {std::tuple{cfNone, true, true}, {cfBack, true, false}, {cfFront, false, true}}) {
        TOrnAttributes attr(nullptr);
        attr.SetCullFace(cull);
        attr.Render(view);
        ClearTo(0, 0, 0);
        glColor3f(1, 1, 1);
        Quad(-1, -1, 0, 1); // counter-clockwise: the front face, on the left
        Quad(1, -1, 0, 1);  // clockwise: the back face, on the right
        EXPECT_EQ(std::pair(ReadPixel(16, 32)[0] > 128, ReadPixel(48, 32)[0] > 128),
                  std::pair(frontShows, backShows))
            << kCullFaceNames[cull];
    }
}

TEST_F(StatePixels, ClipPlaneKeepsWhereItsEquationIsNotNegativeAndLinearFogFromZeroToOneMixesByDepth) {
    TOrnClip clip(nullptr);
    clip.SetPlane(0, -1); // keeps x <= 0.5: columns up to 47 of 64
    clip.SetPlane(3, 0.5);
    ClearTo(0, 0, 0);
    clip.Render(view);
    glColor3f(1, 1, 1);
    Quad(-1, -1, 1, 1);
    EXPECT_EQ(std::tuple(ReadPixel(47, 32)[0], ReadPixel(48, 32)[0]), std::tuple(255, 0));
    clip.SetEnabled(false);
    clip.Render(view);
    TOrnFog linear(nullptr);
    linear.SetMode(fmLinear); // runs from depth 0 to 1 with the constructor values
    linear.Color()->SetColor(clBlue);
    ClearTo(0, 0, 0);
    glMatrixMode(GL_PROJECTION);
    glOrtho(-1, 1, -1, 1, 0, 2);
    glMatrixMode(GL_MODELVIEW);
    linear.Render(view);
    glColor3f(1, 0, 0);
    Quad(-1, -1, 0, 1, -0.5f); // eye depth 0.5 on the left
    Quad(0, -1, 1, 1, -0.25f); // 0.25 on the right
    EXPECT_TRUE(orn::test::ColorNear(ReadPixel(16, 32), {128, 0, 128, 255}, 2)) << "the even mix";
    EXPECT_TRUE(orn::test::ColorNear(ReadPixel(48, 32), {191, 0, 64, 255}, 2)) << "a quarter of the fog";
}
