#include <orn/geometry/TOrnRectangle.h>
#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnTexture.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"
#include "support/MemoryExchange.h"
#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

#include <climits>
#include <filesystem>

using namespace orn;
using orn::test::GLRecorder;
using orn::test::TestView;
using Calls = std::vector<std::string>;
using Bytes = std::vector<std::uint8_t>;

namespace {

// 2 × 2: red, green on the top row; blue, white below.
void FourColours(TBitmap& b) {
    b.SetSize(2, 2);
    b.SetPixel(0, 0, clRed);
    b.SetPixel(1, 0, clLime);
    b.SetPixel(0, 1, clBlue);
    b.SetPixel(1, 1, clWhite);
}

Bytes Channel(std::span<const std::uint8_t> pixels, int channel) {
    Bytes out;
    for (std::size_t i = channel; i < pixels.size(); i += 4)
        out.push_back(pixels[i]);
    return out;
}

} // namespace

TEST(TOrnTexture, ValidSizesArePowersOfTwo) {
    for (int n : {1, 2, 4, 64, 1024, 1 << 30})
        EXPECT_TRUE(TOrnTexture::IsValidSize(n)) << n;
    for (int n : {0, -2, 3, 6, 100, 181, INT_MIN, INT_MAX})
        EXPECT_FALSE(TOrnTexture::IsValidSize(n)) << n;
}

TEST(TOrnTexture, PixelsAreRgbaRowsBottomUp) {
    TOrnTexture t(nullptr);
    FourColours(*t.Bitmap());
    EXPECT_TRUE(t.Valid());
    EXPECT_EQ(Bytes(t.Pixels().begin(), t.Pixels().end()),
              (Bytes{0, 0, 255, 255, 255, 255, 255, 255, 255, 0, 0, 255, 0, 255, 0, 255}));
}

TEST(TOrnTexture, AlphaIsWrittenIntoEveryPixelAndBadValuesAreIgnored) {
    TOrnTexture t(nullptr);
    FourColours(*t.Bitmap());
    t.SetAlpha(0.5f);
    EXPECT_EQ(Channel(t.Pixels(), 3), (Bytes{128, 128, 128, 128})); // 127.5 rounds to even
    t.SetAlpha(1.5f);
    t.SetAlpha(-0.1f);
    EXPECT_EQ(t.Alpha(), 0.5f);
    t.SetAlpha(0.0f);
    EXPECT_EQ(Channel(t.Pixels(), 3), (Bytes{0, 0, 0, 0}));
    TBitmap other;
    FourColours(other);
    t.SetBitmap(&other); // a new bitmap keeps the alpha
    EXPECT_EQ(Channel(t.Pixels(), 3), (Bytes{0, 0, 0, 0}));
}

TEST(TOrnTexture, SidesThatAreNotPowersOfTwoBuildNoPixelsYet) {
    TOrnTexture t(nullptr);
    t.Bitmap()->SetSize(3, 4);
    EXPECT_FALSE(t.Valid());
    EXPECT_TRUE(t.Pixels().empty());
}

TEST(TOrnTexture, MaskAlphaGivesTheMatchingColourTheLastArgument) {
    TOrnTexture t(nullptr);
    EXPECT_FALSE(t.SetMaskAlpha(0.25, clRed, 1.0)) << "no pixels yet";
    FourColours(*t.Bitmap());
    EXPECT_TRUE(t.SetMaskAlpha(0.25, clRed, 1.0));
    // Bottom-up: blue, white, red, green.
    EXPECT_EQ(Channel(t.Pixels(), 3), (Bytes{64, 64, 255, 64}));
    EXPECT_TRUE(t.SetMaskAlpha(1.0, clNone, 0.0));
    EXPECT_EQ(Channel(t.Pixels(), 3), (Bytes{255, 255, 255, 255})) << "a system colour matches no pixel";
}

TEST(TOrnTexture, AlphaBitmapStretchesAGreyMaskTopToTop) {
    TOrnTexture t(nullptr);
    t.Bitmap()->SetSize(4, 2);
    TBitmap mask(1, 2);
    mask.SetPixel(0, 0, clWhite);
    mask.SetPixel(0, 1, 0x303030);
    t.SetAlphaBitmap(&mask);
    EXPECT_EQ(Channel(t.Pixels(), 3), (Bytes{0x30, 0x30, 0x30, 0x30, 255, 255, 255, 255}));
    TBitmap coloured(1, 1);
    coloured.SetPixel(0, 0, 0x0000FF); // pure red: (255 + 0 + 0) div 3
    t.SetAlphaBitmap(&coloured);
    EXPECT_EQ(Channel(t.Pixels(), 3), Bytes(8, 85));
    t.SetAlphaBitmap(nullptr); // nothing to read: pixels stay
    EXPECT_EQ(Channel(t.Pixels(), 3), Bytes(8, 85));
}

TEST(TOrnTexture, ChangesStayInsideTheTexture) {
    TOrnTexture t(nullptr);
    int changes = 0;
    t.OnChange = [&](TObject*) { ++changes; };
    FourColours(*t.Bitmap());
    t.SetMode(tmDecal);
    t.SetAlpha(0.3f);
    t.Transformation()->Scale()->SetX(2);
    EXPECT_EQ(changes, 0);
}

TEST(TOrnTexture, ExchangeKeysAndTheBitmapFileBesideTheScene) {
    const auto folder = std::filesystem::temp_directory_path() / "orn-texture-exchange";
    std::filesystem::create_directories(folder);
    TOrnTexture src(nullptr);
    src.SetAlpha(0.75f);
    src.SetMode(tmReplace);
    src.BlendColor()->SetColor(clYellow);
    FourColours(*src.Bitmap());
    orn::test::MemoryExchange ex;
    ex.folder = folder.string();
    ex.Save(src);
    EXPECT_EQ(ex.root.KeyNames(),
              (std::vector<std::string>{"name", "Enabled", "Cached", "Alpha", "Mode", "Bitmap"}));
    EXPECT_EQ(ex.root.ChildTags(), (std::vector<std::string>{"Transformation", "BlendColor"}));
    EXPECT_EQ(*ex.root.Find("Mode"), "tmReplace");
    const std::string file = *ex.root.Find("Bitmap");
    EXPECT_TRUE(std::filesystem::exists(folder / file));

    TOrnTexture dst(nullptr);
    ex.Load(dst);
    EXPECT_EQ(dst.Alpha(), 0.75f);
    EXPECT_EQ(dst.Mode(), tmReplace);
    EXPECT_EQ(dst.BlendColor()->Color(), clYellow);
    ASSERT_EQ(dst.Bitmap()->Width(), 2);
    EXPECT_EQ(dst.Bitmap()->Pixel(0, 1), clBlue);
    EXPECT_EQ(Channel(dst.Pixels(), 3), Bytes(4, 191));

    ex.folder.clear(); // a reference outside the scene's folder is ignored
    TOrnTexture third(nullptr);
    ex.Load(third);
    EXPECT_TRUE(third.Bitmap()->Empty());
    std::filesystem::remove_all(folder);
}

TEST(TOrnTexture, EmptyBitmapWritesNoFile) {
    TOrnTexture t(nullptr);
    orn::test::MemoryExchange ex;
    ex.Save(t);
    EXPECT_EQ(ex.root.Find("Bitmap"), nullptr);
    EXPECT_EQ(*ex.root.Find("Alpha"), "1") << "written also at its default";
}

namespace {

class TextureGL : public orn::test::GLTest {
protected:
    void SetUp() override {
        GLTest::SetUp();
        view->RenderState()->BeginFrame();
    }
    int TextureListCount() { return view->RenderState()->Group()->TextureCount(); }
    int SetMaxTexture(int count) { return view->RenderState()->Group()->SetMaxTexture(count); }

    TOrnTexture* NewTexture() {
        auto* t = new TOrnTexture(&form);
        FourColours(*t->Bitmap());
        return t;
    }

    TComponent form{nullptr};
    TestView* view = new TestView(&form);
};

} // namespace

TEST_F(TextureGL, ModesBlendColourAndTransformationReachGL) {
    TOrnTexture* t = NewTexture();
    TOrnColor half;
    half.SetColor(0x0000FF);
    half.SetAlpha(0.5f);
    t->SetBlendColor(&half);
    t->Transformation()->Scale()->SetValues(2, 3, 1);
    const std::pair<TOrnTexMode, std::string> modes[] = {
        {tmModulate, "GL_MODULATE"}, {tmDecal, "GL_DECAL"}, {tmBlend, "GL_BLEND"}, {tmReplace, "GL_REPLACE"}};
    for (const auto& [mode, name] : modes) {
        t->SetMode(mode);
        GLRecorder rec;
        t->Render(view);
        EXPECT_EQ(
            rec.Filter({"glTexEnvi", "glTexEnviv"}),
            (Calls{"glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, " + name + ")",
                   "glTexEnviv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_COLOR, {2147483647, 0, 0, 1073741824})"}));
    }
    GLRecorder rec;
    t->Invalidate();
    t->Render(view);
    EXPECT_EQ(rec.Filter({"glMatrixMode", "glLoadIdentity", "glScalef"}),
              (Calls{"glScalef(2, 3, 1)", "glMatrixMode(GL_TEXTURE)", "glLoadIdentity()", "glScalef(2, 3, 1)",
                     "glMatrixMode(GL_MODELVIEW)"}))
        << "once on the model-view by the render chain, once on the texture matrix";
    GLfloat matrix[16];
    glMatrixMode(GL_TEXTURE);
    glGetFloatv(GL_TEXTURE_MATRIX, matrix);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    EXPECT_EQ(matrix[0], 2.0f);
    EXPECT_EQ(matrix[5], 3.0f);
}

TEST_F(TextureGL, BoundForSeveralObjectsInOneFrameIssuesItsCommandsOnce) {
    TOrnTexture* t = NewTexture();
    t->Render(view); // uploads
    view->RenderState()->BeginFrame();
    GLRecorder rec;
    for (int object = 0; object < 3; ++object)
        t->Render(view);
    EXPECT_EQ(rec.Count("glBindTexture"), 1u);
    EXPECT_EQ(rec.Count("glTexImage2D"), 0u) << "uploaded already";

    rec.Clear();
    view->RenderState()->BeginFrame();
    t->Render(view);
    t->SetMode(tmDecal); // changed in between
    t->Render(view);
    t->Render(view);
    EXPECT_EQ(rec.Count("glBindTexture"), 2u);

    // Changed before its first render of a frame: that render issues everything, the later skip.
    rec.Clear();
    view->RenderState()->BeginFrame();
    TOrnColor c;
    t->SetBlendColor(&c);
    for (int object = 0; object < 3; ++object)
        t->Render(view);
    EXPECT_EQ(rec.Count("glBindTexture"), 1u);
}

TEST_F(TextureGL, ObjectsSharingATextureBindItOncePerFrameAndForgetItWhenItGoes) {
    TOrnTexture* t = NewTexture();
    auto* a = new TOrnRectangle(&form);
    auto* b = new TOrnRectangle(&form);
    for (TOrnRectangle* r : {a, b}) {
        r->SetTexture(t);
        r->SetTextured(true);
        r->Render(view);
    }
    view->RenderState()->BeginFrame();
    GLRecorder rec;
    a->Render(view);
    b->Render(view);
    EXPECT_EQ(rec.Count("glBindTexture"), 1u);
    EXPECT_EQ(rec.Count("glDrawElements"), 2u);
    delete t;
    EXPECT_EQ(a->Texture(), nullptr);
    EXPECT_EQ(b->Texture(), nullptr);
    rec.Clear();
    a->Render(view);
    EXPECT_EQ(rec.Count("glBindTexture"), 0u);
}

TEST_F(TextureGL, AnotherTextureInBetweenRebindsTheFirst) {
    TOrnTexture* a = NewTexture();
    TOrnTexture* b = NewTexture();
    a->Render(view);
    b->Render(view);
    view->RenderState()->BeginFrame();
    GLRecorder rec;
    a->Render(view);
    b->Render(view);
    a->Render(view);
    a->Render(view);
    EXPECT_EQ(rec.Filter({"glBindTexture"}),
              (Calls{"glBindTexture(GL_TEXTURE_2D, " + std::to_string(a->TextureName()) + ")",
                     "glBindTexture(GL_TEXTURE_2D, " + std::to_string(b->TextureName()) + ")",
                     "glBindTexture(GL_TEXTURE_2D, " + std::to_string(a->TextureName()) + ")"}));
}

TEST_F(TextureGL, CachedTextureCompilesAllItsCommandsIntoTheList) {
    TOrnTexture* t = NewTexture();
    t->Render(view);
    t->Render(view); // bound last, unchanged
    t->SetCached(true);
    GLRecorder rec;
    t->Render(view);
    t->Render(view);
    ASSERT_EQ(rec.Count("glNewList"), 1u);
    EXPECT_EQ(rec.Count("glBindTexture"), 1u) << "recorded inside the list";
    EXPECT_EQ(rec.Count("glCallList"), 1u);
}

TEST_F(TextureGL, UploadsOnlyWhenNeeded) {
    TOrnTexture* t = NewTexture();
    GLRecorder rec;
    t->Render(view);
    view->RenderState()->BeginFrame();
    t->Render(view);
    EXPECT_EQ(rec.Count("glTexImage2D"), 1u);
    EXPECT_EQ(rec.Count("glIsTexture"), 1u) << "the second render asks whether the name is still alive";

    rec.Clear();
    t->SetAlpha(0.5f); // new pixels
    t->Render(view);
    EXPECT_EQ(rec.Count("glTexImage2D"), 1u);

    rec.Clear();
    auto* bitmapContext = new TestView(&form); // a context of another share group holds no image
    t->Render(bitmapContext);
    EXPECT_EQ(rec.Filter({"glIsTexture", "glTexImage2D"}),
              (Calls{"glTexImage2D(GL_TEXTURE_2D, 0, 4, 2, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE, ptr)"}));
}

TEST_F(TextureGL, FiveTexturesEvictTheFirstWhichUploadsAgain) {
    std::vector<TOrnTexture*> textures;
    for (int i = 0; i < 5; ++i)
        textures.push_back(NewTexture());
    GLRecorder rec;
    for (int i = 0; i < 4; ++i)
        textures[i]->Render(view);
    const GLuint firstName = textures[0]->TextureName();
    EXPECT_EQ(TextureListCount(), 4);
    rec.Clear();
    textures[4]->Render(view);
    EXPECT_EQ(textures[0]->TextureName(), 0u);
    EXPECT_EQ(rec.Filter({"glDeleteTextures"}),
              (Calls{"glDeleteTextures(1, {" + std::to_string(firstName) + "})"}));
    EXPECT_EQ(TextureListCount(), 4);

    rec.Clear();
    textures[0]->Render(view);
    EXPECT_NE(textures[0]->TextureName(), 0u);
    EXPECT_EQ(rec.Count("glGenTextures"), 1u);
    EXPECT_EQ(rec.Count("glTexImage2D"), 1u);
    EXPECT_EQ(textures[1]->TextureName(), 0u) << "now the least recently rendered went";
    EXPECT_NE(textures[2]->TextureName(), 0u);
}

TEST_F(TextureGL, RecentRenderProtectsFromEviction) {
    std::vector<TOrnTexture*> textures;
    for (int i = 0; i < 5; ++i)
        textures.push_back(NewTexture());
    for (int i = 0; i < 4; ++i)
        textures[i]->Render(view);
    view->RenderState()->BeginFrame();
    textures[0]->Render(view); // most recent now
    textures[4]->Render(view);
    EXPECT_NE(textures[0]->TextureName(), 0u);
    EXPECT_EQ(textures[1]->TextureName(), 0u);
}

TEST_F(TextureGL, MaximumTextureCount) {
    std::vector<TOrnTexture*> textures;
    for (int i = 0; i < 4; ++i) {
        textures.push_back(NewTexture());
        textures.back()->Render(view);
    }
    EXPECT_EQ(SetMaxTexture(0), 4) << "ignored";
    EXPECT_EQ(TextureListCount(), 4);
    EXPECT_EQ(SetMaxTexture(2), 2);
    EXPECT_EQ(TextureListCount(), 2);
    EXPECT_EQ(textures[0]->TextureName(), 0u);
    EXPECT_EQ(textures[1]->TextureName(), 0u);
    EXPECT_NE(textures[3]->TextureName(), 0u);
    EXPECT_EQ(SetMaxTexture(6), 6);
    for (TOrnTexture* t : textures)
        t->Render(view);
    EXPECT_EQ(TextureListCount(), 4);
}

TEST_F(TextureGL, DestroyedTextureLeavesTheList) {
    TOrnTexture* t = NewTexture();
    t->Render(view);
    EXPECT_EQ(TextureListCount(), 1);
    const GLuint name = t->TextureName();
    delete t;
    EXPECT_EQ(TextureListCount(), 0);
    EXPECT_FALSE(glIsTexture(name));
}

TEST_F(TextureGL, EmptyBitmapIssuesNothingAndDesignStateUploadsNothing) {
    auto* empty = new TOrnTexture(&form);
    GLRecorder rec;
    empty->Render(view);
    EXPECT_EQ(rec.Calls(), (Calls{"glPushMatrix()", "glPopMatrix()"}));

    TComponent designForm(nullptr);
    designForm.SetDesigning(true);
    auto* designed = new TOrnTexture(&designForm);
    FourColours(*designed->Bitmap());
    designed->SetAlpha(0.5f);
    EXPECT_TRUE(designed->Valid());
    EXPECT_TRUE(designed->Pixels().empty()) << "no pixels are built at design time";
    rec.Clear();
    designed->Render(view);
    EXPECT_EQ(rec.Count("glTexImage2D"), 0u);
}

TEST_F(TextureGL, SidesAreScaledToPowersOfTwoOnTheFirstRender) {
    TOrnTexture* t = NewTexture();
    t->Bitmap()->SetSize(256, 100);
    t->Bitmap()->SetPixelFormat(pf32bit);
    GLRecorder rec;
    t->Render(view);
    EXPECT_EQ(t->Bitmap()->Width(), 256);
    EXPECT_EQ(t->Bitmap()->Height(), 128);
    EXPECT_EQ(t->Bitmap()->PixelFormat(), pf24bit);
    EXPECT_EQ(t->Pixels().size(), 256u * 128u * 4u);
    EXPECT_EQ(rec.Filter({"glTexImage2D"}),
              (Calls{"glTexImage2D(GL_TEXTURE_2D, 0, 4, 256, 128, 0, GL_RGBA, GL_UNSIGNED_BYTE, ptr)"}));

    t->Bitmap()->SetSize(181, 182); // the exponent is rounded: 181 → 128, 182 → 256
    t->Render(view);
    EXPECT_EQ(t->Bitmap()->Width(), 128);
    EXPECT_EQ(t->Bitmap()->Height(), 256);
}

namespace {

class TexturePixels : public orn::test::GLTest {
protected:
    void SetUp() override {
        GLTest::SetUp();
        view->RenderState()->BeginFrame();
        ClearTo(0, 0, 0);
    }
    // The whole viewport, texture coordinates 0 … s on both axes.
    static void TexturedQuad(float s) {
        glColor3f(1, 1, 1);
        glBegin(GL_QUADS);
        glTexCoord2f(0, 0);
        glVertex2f(-1, -1);
        glTexCoord2f(s, 0);
        glVertex2f(1, -1);
        glTexCoord2f(s, s);
        glVertex2f(1, 1);
        glTexCoord2f(0, s);
        glVertex2f(-1, 1);
        glEnd();
    }
    TComponent form{nullptr};
    TestView* view = new TestView(&form);
};

} // namespace

TEST_F(TexturePixels, ImageStandsUprightWhereTheCoordinatesPutIt) {
    auto* t = new TOrnTexture(&form);
    FourColours(*t->Bitmap());
    t->Render(view);
    TexturedQuad(1);
    EXPECT_TRUE(orn::test::ColorNear(ReadPixelTop(16, 16), {255, 0, 0, 255}));
    EXPECT_TRUE(orn::test::ColorNear(ReadPixelTop(48, 16), {0, 255, 0, 255}));
    EXPECT_TRUE(orn::test::ColorNear(ReadPixelTop(16, 48), {0, 0, 255, 255}));
    EXPECT_TRUE(orn::test::ColorNear(ReadPixelTop(48, 48), {255, 255, 255, 255}));
}

TEST_F(TexturePixels, CheckerboardRepeatsItsSquares) {
    auto* t = new TOrnTexture(&form);
    TBitmap checker(2, 2);
    checker.SetPixel(0, 0, clWhite);
    checker.SetPixel(1, 1, clWhite);
    t->SetBitmap(&checker);
    t->Render(view);
    TexturedQuad(2); // two repeats each way: 4 × 4 squares of 16 pixels
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 4; ++i) {
            const std::uint8_t v = (i + j) % 2 == 0 ? 255 : 0;
            // Sample near the corners of each square too: the edges fall exactly between squares.
            for (auto [dx, dy] : {std::pair{1, 1}, {8, 8}, {14, 14}})
                EXPECT_TRUE(orn::test::ColorNear(ReadPixelTop(i * 16 + dx, j * 16 + dy), {v, v, v, 255}))
                    << "square " << i << ", " << j;
        }
}

TEST_F(TexturePixels, ScaledBitmapKeepsItsPicture) {
    auto* t = new TOrnTexture(&form);
    TBitmap picture(256, 100);
    picture.Canvas().Brush().SetColor(clRed);
    picture.Canvas().FillRect(Rect(0, 0, 256, 50));
    picture.Canvas().Brush().SetColor(clBlue);
    picture.Canvas().FillRect(Rect(0, 50, 256, 100));
    t->SetBitmap(&picture);
    t->Render(view);
    ASSERT_EQ(t->Bitmap()->Height(), 128);
    TexturedQuad(1);
    EXPECT_TRUE(orn::test::ColorNear(ReadPixelTop(32, 8), {255, 0, 0, 255}));
    EXPECT_TRUE(orn::test::ColorNear(ReadPixelTop(32, 56), {0, 0, 255, 255}));
}

TEST_F(TexturePixels, TextureAlphaBlendsWithAlphaTransparency) {
    auto* attr = new TOrnAttributes(&form);
    attr->SetTransparency(tmAlpha);
    auto* t = new TOrnTexture(&form);
    TBitmap white(1, 1);
    white.SetPixel(0, 0, clWhite);
    t->SetBitmap(&white);
    t->SetAlpha(0.25f);
    glColor3f(0, 0, 1);
    glBegin(GL_QUADS);
    glVertex2f(-1, -1);
    glVertex2f(1, -1);
    glVertex2f(1, 1);
    glVertex2f(-1, 1);
    glEnd();
    attr->Render(view);
    t->Render(view);
    TexturedQuad(1);
    // 0.25 of white over blue: (64, 64, 255).
    const orn::test::Rgba c = ReadPixel(32, 32);
    EXPECT_NEAR(c[0], 64, 2);
    EXPECT_NEAR(c[1], 64, 2);
    EXPECT_NEAR(c[2], 255, 2);
}

TEST_F(TexturePixels, ModesCombineTexelAndFragmentAsNamed) {
    struct Case {
        TOrnTexMode mode;
        orn::test::Rgba colour;
    };
    // A white texel of alpha 0.5 over a blue fragment; the blend colour is green.
    const Case cases[] = {
        {tmModulate, {0, 0, 255, 128}},
        {tmDecal, {128, 128, 255, 255}},
        {tmBlend, {0, 255, 0, 128}},
        {tmReplace, {255, 255, 255, 128}},
    };
    auto* t = new TOrnTexture(&form);
    TBitmap white(1, 1);
    white.SetPixel(0, 0, clWhite);
    t->SetBitmap(&white);
    t->SetAlpha(0.5f);
    t->BlendColor()->SetColor(clLime);
    for (const Case& c : cases) {
        view->RenderState()->BeginFrame();
        ClearTo(0, 0, 0);
        t->SetMode(c.mode);
        t->Render(view);
        glColor3f(0, 0, 1);
        glBegin(GL_QUADS);
        glTexCoord2f(0, 0);
        glVertex2f(-1, -1);
        glTexCoord2f(1, 0);
        glVertex2f(1, -1);
        glTexCoord2f(1, 1);
        glVertex2f(1, 1);
        glTexCoord2f(0, 1);
        glVertex2f(-1, 1);
        glEnd();
        EXPECT_TRUE(orn::test::ColorNear(ReadPixel(32, 32), c.colour, 2))
            << static_cast<int>(c.mode) << " gave " << int(ReadPixel(32, 32)[0]) << ","
            << int(ReadPixel(32, 32)[1]) << "," << int(ReadPixel(32, 32)[2]) << ","
            << int(ReadPixel(32, 32)[3]);
    }
}
