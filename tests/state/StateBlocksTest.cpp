// What every state component leaves in GL, and when the shared blocks are sent at all.
#include <orn/scene/TOrnObject.h>
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
#include <functional>
#include <tuple>

using namespace orn;
using StateBlocks = orn::test::ViewGLTest;

namespace {

using V = std::vector<float>;

// The values of pname, read by the query that target names: a light, a material face, a clip plane, the
// texture; 0: glGet (for a capability, whether it is on).
V Held(GLenum target, GLenum pname, std::size_t count = 1) {
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
    for (float& f : v)
        f = std::round(f * 1000) / 1000;
    return {v, v + count};
}

// Pairs of a GL name and the first value glGet gives for it.
void ExpectGet(const char* what, std::initializer_list<double> pairs) {
    for (auto it = pairs.begin(); it != pairs.end(); it += 2)
        EXPECT_EQ(Held(0, GLenum(it[0])), V{float(it[1])})
            << what << ": GL name 0x" << std::hex << GLenum(it[0]);
}

} // namespace

// Each block renders over what the one before left, so every value must be sent to show.
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
    glEnable(GL_LIGHTING); // to be switched off
    a->Render(view);
    ExpectGet("attributes on", {GL_POINT_SMOOTH, 1, GL_LINE_SMOOTH, 1, GL_POLYGON_SMOOTH, 1, GL_CULL_FACE, 1,
                                GL_DITHER, 1, GL_LIGHTING, 0, GL_BLEND, 1});
    ExpectGet("attributes on", {GL_LINE_STIPPLE, 1});
    // The smoothing hints name the capabilities, which GL refuses: the hints stay.
    ExpectGet("attributes on",
              {GL_LINE_SMOOTH_HINT, GL_DONT_CARE, GL_CULL_FACE_MODE, GL_FRONT, GL_LIGHT_MODEL_TWO_SIDE, 1,
               GL_PERSPECTIVE_CORRECTION_HINT, GL_NICEST, GL_SHADE_MODEL, GL_FLAT, GL_BLEND_SRC, GL_SRC_ALPHA,
               GL_BLEND_DST, GL_ONE_MINUS_SRC_ALPHA});
    ExpectGet("attributes on", {GL_LINE_STIPPLE_PATTERN, 0xF0F0, GL_LINE_STIPPLE_REPEAT, 1, GL_LINE_WIDTH, 2,
                                GL_POINT_SIZE, 4});
    EXPECT_EQ(Held(0, GL_POLYGON_MODE, 2), (V{GL_LINE, GL_LINE}));
    EXPECT_EQ(Held(0, GL_LIGHT_MODEL_AMBIENT, 4), (V{1, 0, 0, 1}));
    a = new TOrnAttributes(&form);
    a->SetLineWidth(1); // GL refuses the default 0
    a->Render(view);
    ExpectGet("attributes off", {GL_POINT_SMOOTH, 0, GL_LINE_SMOOTH, 0, GL_POLYGON_SMOOTH, 0, GL_CULL_FACE, 0,
                                 GL_DITHER, 0, GL_LIGHTING, 0, GL_BLEND, 0});
    ExpectGet("attributes off",
              {GL_LINE_STIPPLE, 0, GL_LIGHT_MODEL_TWO_SIDE, 0, GL_PERSPECTIVE_CORRECTION_HINT, GL_DONT_CARE,
               GL_SHADE_MODEL, GL_SMOOTH, GL_POINT_SIZE, 1});
    EXPECT_EQ(Held(0, GL_POLYGON_MODE, 2), (V{GL_FILL, GL_FILL}));
    EXPECT_EQ(Held(0, GL_LIGHT_MODEL_AMBIENT, 4), (V{0.2f, 0.2f, 0.2f, 1}));

    auto* fog = new TOrnFog(&form);
    fog->SetMode(fmLinear);
    fog->SetQuality(quFastest);
    fog->SetDensity(0.5f);
    fog->SetStartDepth(2);
    fog->SetEndDepth(5);
    fog->Color()->SetColor(clBlue);
    fog->Render(view);
    ExpectGet("fog", {GL_FOG, 1});
    ExpectGet("fog", {GL_FOG_MODE, GL_LINEAR, GL_FOG_DENSITY, 0.5, GL_FOG_START, 2, GL_FOG_END, 5,
                      GL_FOG_HINT, GL_FASTEST});
    EXPECT_EQ(Held(0, GL_FOG_COLOR, 4), (V{0, 0, 1, 1}));
    fog = new TOrnFog(&form);
    fog->SetQuality(quNicest);
    fog->Render(view);
    ExpectGet("fog exp", {GL_FOG_MODE, GL_EXP, GL_FOG_DENSITY, 0.2, GL_FOG_START, 0, GL_FOG_END, 1,
                          GL_FOG_HINT, GL_NICEST});
    fog->SetMode(fmExp2);
    fog->SetQuality(quDontCare);
    fog->Render(view);
    ExpectGet("fog exp2", {GL_FOG_MODE, GL_EXP2, GL_FOG_HINT, GL_DONT_CARE});
    fog->SetEnabled(false);
    fog->Render(view);
    ExpectGet("fog disabled", {GL_FOG, 0});

    auto* light = new TOrnLight(&form);
    light->SetID(idLight3);
    light->SetKind(lkDirection);
    light->SetCutOff(30); // only a spot takes it
    light->ColorAmbient()->SetColor(clRed);
    light->ColorDiffuse()->SetColor(clLime);
    light->ColorSpecular()->SetColor(clBlue);
    light->Direction()->SetValues(0.5f, -1, 0);
    light->Render(view);
    ExpectGet("light 3", {GL_LIGHT3, 1, GL_LIGHT0, 0});
    EXPECT_EQ(Held(GL_LIGHT3, GL_AMBIENT, 4), (V{1, 0, 0, 1}));
    EXPECT_EQ(Held(GL_LIGHT3, GL_DIFFUSE, 4), (V{0, 1, 0, 1}));
    EXPECT_EQ(Held(GL_LIGHT3, GL_SPECULAR, 4), (V{0, 0, 1, 1}));
    EXPECT_EQ(Held(GL_LIGHT3, GL_POSITION, 4), (V{0.5f, -1, 0, 0}));
    EXPECT_EQ(Held(GL_LIGHT3, GL_SPOT_CUTOFF), V{180});
    EXPECT_EQ(Held(GL_LIGHT3, GL_SPOT_DIRECTION, 3), (V{0, 0, -1})) << "only a spot sends it";
    light->SetKind(lkSpot);
    light->SetCutOff(30);
    light->Render(view);
    EXPECT_EQ(Held(GL_LIGHT3, GL_POSITION, 4), (V{0, 0, 0, 1}));
    EXPECT_EQ(Held(GL_LIGHT3, GL_SPOT_CUTOFF), V{30});
    EXPECT_EQ(Held(GL_LIGHT3, GL_SPOT_DIRECTION, 3), (V{0.5f, -1, 0}));
    light->SetKind(lkPoint);
    light->Render(view);
    EXPECT_EQ(Held(GL_LIGHT3, GL_SPOT_CUTOFF), V{180});
    light = new TOrnLight(&form);
    light->SetID(idLight7);
    light->Render(view);
    ExpectGet("light 7", {GL_LIGHT7, 1});
    EXPECT_EQ(Held(GL_LIGHT7, GL_DIFFUSE, 4), (V{1, 1, 1, 1}));
    light->SetEnabled(false);
    light->Render(view);
    ExpectGet("light 7 disabled", {GL_LIGHT3, 1, GL_LIGHT7, 0});

    auto* material = new TOrnMaterial(&form);
    material->ColorDiffuse()->SetAlpha(0.5f); // passed on unchanged, for blending
    material->ColorSpecular()->SetColor(clRed);
    material->ColorEmission()->SetColor(clBlue);
    material->SetShininess(64);
    material->Render(view);
    for (GLenum face : {GL_FRONT, GL_BACK}) {
        EXPECT_EQ(Held(face, GL_AMBIENT, 4), (V{0.2f, 0.2f, 0.2f, 1}));
        EXPECT_EQ(Held(face, GL_DIFFUSE, 4), (V{0.8f, 0.8f, 0.8f, 0.5f}));
        EXPECT_EQ(Held(face, GL_SPECULAR, 4), (V{1, 0, 0, 1}));
        EXPECT_EQ(Held(face, GL_EMISSION, 4), (V{0, 0, 1, 1}));
        EXPECT_EQ(Held(face, GL_SHININESS), V{64});
    }
    for (auto [face, shininess, front, back] : {std::tuple{mfFront, 32, 32, 64}, {mfBack, 16, 32, 16}}) {
        material->SetFace(face);
        material->SetShininess(shininess);
        material->Render(view);
        EXPECT_EQ(Held(GL_FRONT, GL_SHININESS), V{float(front)}) << kMaterialFaceNames[face];
        EXPECT_EQ(Held(GL_BACK, GL_SHININESS), V{float(back)}) << kMaterialFaceNames[face];
    }

    auto* clip = new TOrnClip(&form);
    clip->SetID(idClipPlane5);
    clip->SetPlane(1, 2);
    clip->Transformation()->Translation()->SetY(1); // x + 2y + 1 ≥ 0 one unit up
    clip->Render(view);
    ExpectGet("clip plane 5", {GL_CLIP_PLANE5, 1, GL_CLIP_PLANE0, 0});
    EXPECT_EQ(Held(GL_CLIP_PLANE5, 1, 4), (V{1, 2, 0, -1}));
    clip->SetEnabled(false);
    clip->Render(view);
    ExpectGet("clip plane 5 disabled", {GL_CLIP_PLANE5, 0});

    auto* texture = new TOrnTexture(&form);
    texture->Bitmap()->SetSize(2, 2);
    texture->Render(view);
    ExpectGet("texture", {GL_TEXTURE_2D, 1});
    for (auto [name, value] : {std::pair{GL_TEXTURE_MIN_FILTER, GL_NEAREST},
                               {GL_TEXTURE_MAG_FILTER, GL_NEAREST},
                               {GL_TEXTURE_WRAP_S, GL_REPEAT},
                               {GL_TEXTURE_WRAP_T, GL_REPEAT}})
        EXPECT_EQ(Held(GL_TEXTURE_2D, name), V{float(value)}) << std::hex << name;
    texture->SetEnabled(false);
    texture->Render(view);
    ExpectGet("texture disabled", {GL_TEXTURE_2D, 0});
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
        EXPECT_EQ(Held(0, GL_LINE_STIPPLE_PATTERN), V{float(pattern)}) << shift;
        EXPECT_EQ(Held(0, GL_LINE_STIPPLE_REPEAT), V{float(factor)}) << shift;
        EXPECT_TRUE(glIsEnabled(GL_LINE_STIPPLE));
    }
}

// Attributes, materials and textures share the block cache of the render state. Before each step GL is
// disturbed: a block that is sent puts its own value back, one that is skipped leaves the disturbance.
TEST_F(StateBlocks, EachBlockIsSentOncePerFrameAndContextAgainAfterAChangeOrAnotherInBetween) {
    const auto texture = [&] {
        auto* t = new TOrnTexture(&form);
        t->Bitmap()->SetSize(2, 2);
        return t;
    };
    auto* attr = new TOrnAttributes(&form);
    auto* material = new TOrnMaterial(&form);
    auto* tex = texture();
    const struct {
        TOrnRender *block, *other;
        std::function<void()> change, disturb;
        V disturbed; // what the witness reads after disturb
        GLenum target, witness;
    } blocks[] = {
        {attr,
         new TOrnAttributes(&form),
         [&] { attr->SetLineWidth(3); },
         [] { glPointSize(9); },
         {9},
         0,
         GL_POINT_SIZE},
        {material,
         new TOrnMaterial(&form),
         [&] { material->SetShininess(20); },
         [] { glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, 99); },
         {99},
         GL_BACK,
         GL_SHININESS},
        {tex,
         texture(),
         [&] { tex->SetMode(tmDecal); },
         [] { glBindTexture(GL_TEXTURE_2D, 0); },
         {0},
         0,
         GL_TEXTURE_BINDING_2D},
    };
    auto* bitmapContext = new orn::test::TestView(&form); // another context knows nothing of the first's
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
            sent.push_back(Held(b.target, b.witness) != b.disturbed);
        }
        EXPECT_EQ(sent, (std::vector<bool>{true, false, true, true, true, false, true, true}))
            << b.block->ClassName();
    }
    blocks[0].other->SetEnabled(false);
    glPointSize(9);
    blocks[0].other->Render(view);
    EXPECT_EQ(Held(0, GL_POINT_SIZE), V{9}) << "disabled attributes send nothing";
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
    EXPECT_EQ(l.CutOff(), 180.0f);
    l.SetKind(lkSpot);
    EXPECT_EQ(l.CutOff(), 90.0f);

    TOrnMaterial m(nullptr);
    for (auto [set, kept] : {std::pair{50, 50}, {129, 50}, {-1, 50}, {128, 128}, {0, 0}}) {
        m.SetShininess(set);
        EXPECT_EQ(m.Shininess(), kept) << set;
    }
    TOrnColor red;
    red.SetColor(clRed);
    m.SetPartColor(4, &red);
    EXPECT_EQ(m.ColorEmission()->Color(), clRed);
    for (int bad : {0, 5})
        m.SetPartColor(bad, &red);
    m.SetPartColor(2, nullptr);
    for (TOrnColor* c : {m.ColorAmbient(), m.ColorDiffuse(), m.ColorSpecular()})
        EXPECT_NE(c->Color(), clRed);

    TOrnClip clip(nullptr); // indices outside 0 … 3 read -1 and write nothing
    for (int bad : {-1, 4})
        clip.SetPlane(bad, 9.0);
    for (int i : {-1, 0, 1, 2, 3, 4})
        EXPECT_EQ(clip.GetPlane(i), (std::vector<double>{-1, 1, 0, 0, 1, -1}[i + 1])) << i;
}

TEST(StateValues, ObjectsForgetADestroyedMaterialOrAttributes) {
    TComponent form(nullptr);
    auto* m = new TOrnMaterial(&form);
    auto* object = new TOrnObject(&form);
    auto* attributes = new TOrnAttributes(&form);
    object->SetMaterial(m);
    object->SetAttributes(attributes);
    delete m;
    EXPECT_EQ(object->Material(), nullptr);
    EXPECT_EQ(object->Attributes(), attributes);
    delete attributes;
    EXPECT_EQ(object->Attributes(), nullptr);
}
