// What every state component leaves in GL, when the shared blocks are sent at all, and how it looks.
#include <orn/geometry/TOrnRectangle.h>
#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnClip.h>
#include <orn/state/TOrnFog.h>
#include <orn/state/TOrnLight.h>
#include <orn/state/TOrnMaterial.h>
#include <orn/state/TOrnTexture.h>

#include "support/MemoryExchange.h"
#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

#include <climits>
#include <cmath>
#include <filesystem>

using namespace orn;
using StateBlocks = orn::test::ViewGLTest;
using TextureGL = orn::test::ViewGLTest;
using orn::test::ColorNear;
using orn::test::Rgba;
using orn::test::TestView;
using Bytes = std::vector<std::uint8_t>;

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

// Corners (x0, y0), (x1, y0), (x1, y1), (x0, y1) in turn, with texture coordinates 0 … 1 on both axes.
void Quad(float x0, float y0, float x1, float y1, float z = 0) {
    glBegin(GL_QUADS);
    for (auto [u, v] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 1}}) {
        glTexCoord2f(u, v);
        glVertex3f(u ? x1 : x0, v ? y1 : y0, z);
    }
    glEnd();
}

// FourColours as uploaded: RGBA rows bottom-up.
const Bytes kFourColours{0, 0, 255, 255, 255, 255, 255, 255, 255, 0, 0, 255, 0, 255, 0, 255};

// 2 × 2: red, green on the top row; blue, white below.
void FourColours(TBitmap& b) {
    b.SetSize(2, 2);
    b.SetPixel(0, 0, clRed);
    b.SetPixel(1, 0, clLime);
    b.SetPixel(0, 1, clBlue);
    b.SetPixel(1, 1, clWhite);
}

Bytes Alphas(std::span<const std::uint8_t> pixels) {
    Bytes out;
    for (std::size_t i = 3; i < pixels.size(); i += 4)
        out.push_back(pixels[i]);
    return out;
}

// Binds name; the image GL holds under it, empty when none.
Bytes Image(GLuint name, int* width = nullptr) {
    glBindTexture(GL_TEXTURE_2D, name);
    GLint w = 0, h = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &w);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &h);
    if (width) *width = w;
    Bytes pixels(std::size_t(w) * h * 4);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    if (!pixels.empty()) glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    return pixels;
}

TOrnTexture* NewTexture(TComponent* owner) {
    auto* t = new TOrnTexture(owner);
    FourColours(*t->Bitmap());
    return t;
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
    // Clear is enabled with nothing drawn; only the low four bits of the shift count.
    const std::tuple<TOrnLineStipple, int, int, int> cases[] = {
        {lsClear, 0, 1, 0},           {lsDashDot, 0, 1, 0x7272}, {lsDashDotDot, 0, 1, 0xEAEA},
        {lsDash, 4, 1, 0x0F0F},       {lsDashDot, 1, 1, 0xE4E4}, {lsDashDot, 17, 2, 0xE4E4},
        {lsDashDotDot, 16, 1, 0xEAEA}};
    for (auto [stipple, shift, factor, pattern] : cases) {
        a->SetLineStipple(stipple);
        a->StippleShift = shift;
        a->StippleFactor = factor;
        a->Changed();
        a->Render(view);
        EXPECT_EQ(Held(0, {GL_LINE_STIPPLE_PATTERN, GL_LINE_STIPPLE_REPEAT, GL_LINE_STIPPLE}),
                  (V{float(pattern), float(factor), 1}));
    }
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

// Attributes, materials and textures share the block cache of the render state.
TEST_F(StateBlocks, EachBlockIsSentOncePerFrameAndContextAgainAfterAChangeOrAnotherInBetween) {
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
        {NewTexture(&form), NewTexture(&form)}};
    auto* bitmapContext = new TestView(&form); // another context knows nothing of the first's
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

TEST_F(StateBlocks, BlendingCullingClipPlanesAndLinearFogShowAsTheirPropertiesSay) {
    // Blue of alpha 0.25 over grey. Alpha: src·a + dst·(1 − a); add alpha: src·a + dst; add colour:
    // src·dst + dst·src; subtract colour: src·(1 − dst) + dst·(1 − src); none: src.
    const std::pair<TOrnTransparencyMode, Rgba> blends[] = {{tmAlpha, {96, 96, 160, 207}},
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
        EXPECT_TRUE(ColorNear(ReadPixel(32, 32), expected, 2)) << kTransparencyModeNames[mode];
    }
    for (auto [cull, frontShows, backShows] :
         {std::tuple{cfBack, true, false}, {cfFront, false, true}, {cfNone, true, true}}) {
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
    EXPECT_TRUE(ColorNear(ReadPixel(16, 32), {128, 0, 128, 255}, 2)) << "the even mix";
    EXPECT_TRUE(ColorNear(ReadPixel(48, 32), {191, 0, 64, 255}, 2)) << "a quarter of the fog";
}

TEST(TOrnTexture, PixelsAreRgbaRowsBottomUpForPowerOfTwoSidesAndAlphaComesFromMaskOrBitmap) {
    const int sizes[] = {1, 2, 64, 1 << 30, 0, -2, 3, 6, 181, INT_MIN, INT_MAX}; // the first four are valid
    for (std::size_t i = 0; i < std::size(sizes); ++i)
        EXPECT_EQ(TOrnTexture::IsValidSize(sizes[i]), i < 4) << sizes[i];
    TOrnTexture t(nullptr);
    FourColours(*t.Bitmap());
    EXPECT_EQ(Bytes(t.Pixels().begin(), t.Pixels().end()), kFourColours);
    t.Bitmap()->SetSize(3, 4);
    EXPECT_EQ(std::pair(t.Valid(), t.Pixels().empty()), std::pair(false, true));
    EXPECT_FALSE(t.SetMaskAlpha(0.25, clRed, 1.0)) << "no pixels";
    FourColours(*t.Bitmap());
    t.SetAlpha(0.5f);
    EXPECT_EQ(Alphas(t.Pixels()), Bytes(4, 128)); // 127.5 rounds to even
    t.SetAlpha(1.5f);
    t.SetAlpha(-0.1f);
    EXPECT_EQ(t.Alpha(), 0.5f);
    t.SetAlpha(0.0f);
    TBitmap other;
    FourColours(other);
    t.SetBitmap(&other); // a new bitmap keeps the alpha
    EXPECT_EQ(Alphas(t.Pixels()), Bytes(4, 0));
    EXPECT_TRUE(t.SetMaskAlpha(0.25, clRed, 1.0));
    EXPECT_EQ(Alphas(t.Pixels()), (Bytes{64, 64, 255, 64})); // bottom-up: blue, white, red, green
    EXPECT_TRUE(t.SetMaskAlpha(1.0, clNone, 0.0));
    EXPECT_EQ(Alphas(t.Pixels()), Bytes(4, 255)) << "a system colour matches no pixel";
    t.Bitmap()->SetSize(4, 2);
    TBitmap mask(1, 2); // stretched top to top
    mask.SetPixel(0, 0, clWhite);
    mask.SetPixel(0, 1, 0x303030);
    t.SetAlphaBitmap(&mask);
    EXPECT_EQ(Alphas(t.Pixels()), (Bytes{0x30, 0x30, 0x30, 0x30, 255, 255, 255, 255}));
    TBitmap coloured(1, 1);
    coloured.SetPixel(0, 0, 0x0000FF); // pure red: (255 + 0 + 0) div 3
    t.SetAlphaBitmap(&coloured);
    t.SetAlphaBitmap(nullptr); // nothing to read: pixels stay
    EXPECT_EQ(Alphas(t.Pixels()), Bytes(8, 85));
    // A bitmap loaded from a scene file takes the alpha.
    const auto folder = std::filesystem::temp_directory_path() / "orn-texture-exchange";
    std::filesystem::create_directories(folder);
    TOrnTexture src(nullptr), dst(nullptr);
    orn::test::MemoryExchange ex;
    ex.folder = folder.string();
    src.SetAlpha(0.75f);
    FourColours(*src.Bitmap());
    ex.Save(src);
    ex.Load(dst);
    EXPECT_EQ(std::pair(dst.Bitmap()->Pixel(0, 1), Alphas(dst.Pixels())), std::pair(clBlue, Bytes(4, 191)));
    std::filesystem::remove_all(folder);
}

TEST_F(TextureGL, UploadsOncePerShareGroupAndAgainForNewPixelsButNoneWithoutPixels) {
    TOrnTexture* a = NewTexture(&form);
    a->Render(view);
    const GLuint name = a->TextureName();
    EXPECT_EQ(Image(name), kFourColours);
    const std::uint8_t marker[4] = {1, 2, 3, 4}; // in place of the first texel
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, marker);
    glBindTexture(GL_TEXTURE_2D, 0);
    view->RenderState()->BeginFrame();
    a->Render(view);
    const V bound = Held(0, {GL_TEXTURE_BINDING_2D});
    EXPECT_EQ(std::pair(bound, Image(name)[0]), std::pair(V{float(name)}, std::uint8_t{1}))
        << "bound again in a new frame, but not uploaded again";
    a->SetAlpha(0.5f); // new pixels
    a->Render(view);
    EXPECT_EQ(Alphas(Image(name)), Bytes(4, 128));
    auto* bitmapContext = new TestView(&form); // a context of another share group holds no image
    a->Render(bitmapContext);
    ASSERT_NE(a->TextureName(), name);
    EXPECT_EQ(Alphas(Image(a->TextureName())), Bytes(4, 128));
    glBindTexture(GL_TEXTURE_2D, 0);
    (new TOrnTexture(&form))->Render(view);
    EXPECT_EQ(Held(0, {GL_TEXTURE_BINDING_2D}), V{0}) << "an empty bitmap binds nothing";
    TComponent designForm(nullptr);
    designForm.SetDesigning(true);
    auto* designed = NewTexture(&designForm);
    EXPECT_EQ(std::pair(designed->Valid(), designed->Pixels().empty()), std::pair(true, true));
    designed->Render(view);
    EXPECT_EQ(Image(designed->TextureName()), Bytes{}) << "no pixels at design time";
}

TEST_F(TextureGL, ObjectsForgetADestroyedTextureMaterialOrAttributesAndTheTextureNameIsFreed) {
    TOrnTexture* t = NewTexture(&form);
    auto* material = new TOrnMaterial(&form);
    auto* attributes = new TOrnAttributes(&form);
    TOrnRectangle *a = new TOrnRectangle(&form), *b = new TOrnRectangle(&form);
    for (TOrnRectangle* r : {a, b}) {
        r->SetTexture(t);
        r->SetTextured(true);
        r->SetMaterial(material);
        r->SetAttributes(attributes);
        r->Render(view);
    }
    const GLuint name = t->TextureName();
    delete t;
    delete material;
    EXPECT_EQ(std::tuple(a->Texture(), b->Texture(), a->Material(), a->Attributes()),
              std::tuple(nullptr, nullptr, nullptr, attributes));
    delete attributes;
    EXPECT_EQ(std::tuple(b->Attributes(), view->RenderState()->Group()->TextureCount(), glIsTexture(name)),
              std::tuple(nullptr, 0, GL_FALSE));
    glBindTexture(GL_TEXTURE_2D, 0);
    a->Render(view);
    EXPECT_EQ(Held(0, {GL_TEXTURE_BINDING_2D}), V{0});
}

TEST_F(TextureGL, TheLeastRecentlyRenderedIsEvictedBeyondTheMaximumAndUploadsAgain) {
    std::vector<TOrnTexture*> textures;
    for (int i = 0; i < 6; ++i)
        textures.push_back(NewTexture(&form));
    auto* shape = new TOrnRectangle(&form);
    shape->SetTexture(textures[0]);
    shape->SetTextured(true);
    shape->SetCached(true);
    shape->Render(view);
    for (int i = 1; i < 4; ++i)
        textures[i]->Render(view);
    view->RenderState()->BeginFrame();
    textures[1]->Render(view); // most recent now
    const GLuint firstName = textures[0]->TextureName();
    textures[4]->Render(view);
    const auto group = view->RenderState()->Group();
    EXPECT_EQ(std::tuple(glIsTexture(firstName), textures[0]->TextureName(), textures[1]->TextureName() != 0,
                         group->TextureCount()),
              std::tuple(GL_FALSE, 0u, true, 4));
    shape->Render(view); // its list bound the evicted name: compiled again
    EXPECT_EQ(std::pair(Image(textures[0]->TextureName()), textures[2]->TextureName()),
              std::pair(kFourColours, 0u));
    EXPECT_EQ(group->SetMaxTexture(0), 4) << "ignored";
    EXPECT_EQ(group->SetMaxTexture(2), 2);
    EXPECT_EQ(std::tuple(group->TextureCount(), textures[3]->TextureName(), textures[0]->TextureName() != 0),
              std::tuple(2, 0u, true));
    EXPECT_EQ(group->SetMaxTexture(6), 6);
    for (TOrnTexture* t : textures)
        t->Render(view);
    EXPECT_EQ(group->TextureCount(), 6);
}

TEST_F(TextureGL, ImageStandsUprightRepeatsAsTheTextureTransformationScalesItAndSidesAreScaledToPowersOfTwo) {
    TBitmap halves(256, 100, pf32bit);
    halves.Canvas().Brush().SetColor(clRed);
    halves.Canvas().FillRect(Rect(0, 0, 256, 50));
    halves.Canvas().Brush().SetColor(clBlue);
    halves.Canvas().FillRect(Rect(0, 50, 256, 100));
    auto* t = new TOrnTexture(&form); // red above blue
    t->SetBitmap(&halves);
    t->Render(view);
    EXPECT_EQ(t->Bitmap()->PixelFormat(), pf24bit);
    ClearTo(0, 0, 0);
    glColor3f(1, 1, 1);
    Quad(-1, -1, 1, 1);
    EXPECT_TRUE(ColorNear(ReadPixelTop(32, 8), {255, 0, 0, 255}) &&
                ColorNear(ReadPixelTop(32, 56), {0, 0, 255, 255}));
    int width = 0;
    EXPECT_EQ(std::pair(Image(t->TextureName(), &width).size(), width),
              std::pair(std::size_t{256 * 128 * 4}, 256));
    t->Bitmap()->SetSize(181, 182); // the exponent is rounded: 181 → 128, 182 → 256
    t->Render(view);
    EXPECT_EQ(std::pair(t->Bitmap()->Width(), t->Bitmap()->Height()), std::pair(128, 256));
    t = NewTexture(&form);
    t->Transformation()->Scale()->SetValues(4, 2, 1); // four repeats across, two down
    t->Render(view);
    GLint mode = 0;
    EXPECT_EQ((glGetIntegerv(GL_MATRIX_MODE, &mode), mode), GL_MODELVIEW);
    ClearTo(0, 0, 0);
    Quad(-1, -1, 1, 1); // texels of 8 × 16 pixels
    const Rgba rows[2][2] = {{{255, 0, 0, 255}, {0, 255, 0, 255}}, {{0, 0, 255, 255}, {255, 255, 255, 255}}};
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 8; ++i)
            // Near the corners too: the edges fall exactly between texels.
            for (int d : {1, 4, 7})
                EXPECT_TRUE(ColorNear(ReadPixelTop(i * 8 + d, j * 16 + 2 * d), rows[j % 2][i % 2]))
                    << "texel " << i << ", " << j;
}

TEST_F(TextureGL, ModesCombineTexelAndFragmentAsNamed) {
    // A white texel of alpha 0.5 over a blue fragment; the blend colour is green.
    const std::pair<TOrnTexMode, Rgba> cases[] = {{tmModulate, {0, 0, 255, 128}},
                                                  {tmDecal, {128, 128, 255, 255}},
                                                  {tmBlend, {0, 255, 0, 128}},
                                                  {tmReplace, {255, 255, 255, 128}}};
    auto* t = new TOrnTexture(&form);
    TBitmap white(1, 1);
    white.SetPixel(0, 0, clWhite);
    t->SetBitmap(&white);
    t->SetAlpha(0.5f);
    t->BlendColor()->SetColor(clLime);
    for (const auto& [mode, colour] : cases) {
        SCOPED_TRACE(static_cast<int>(mode));
        view->RenderState()->BeginFrame();
        ClearTo(0, 0, 0);
        t->SetMode(mode);
        t->Render(view);
        glColor3f(0, 0, 1);
        Quad(-1, -1, 1, 1);
        EXPECT_TRUE(ColorNear(ReadPixel(32, 32), colour));
    }
}
