#include <orn/geometry/TOrnRectangle.h>
#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnMaterial.h>
#include <orn/state/TOrnTexture.h>

#include "support/MemoryExchange.h"
#include "support/TestView.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

#include <climits>
#include <filesystem>

using namespace orn;
using orn::test::ColorNear;
using orn::test::TestView;
using Bytes = std::vector<std::uint8_t>;

namespace {

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

} // namespace

TEST(TOrnTexture, PixelsAreRgbaRowsBottomUpForPowerOfTwoSidesAndAlphaComesFromMaskOrBitmap) {
    std::vector<bool> valid;
    for (int n : {1, 2, 64, 1 << 30, 0, -2, 3, 6, 181, INT_MIN, INT_MAX})
        valid.push_back(TOrnTexture::IsValidSize(n));
    EXPECT_EQ(valid,
              (std::vector<bool>{true, true, true, true, false, false, false, false, false, false, false}));
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

namespace {

class TextureGL : public orn::test::ViewGLTest {
protected:
    TOrnTexture* NewTexture() {
        auto* t = new TOrnTexture(&form);
        FourColours(*t->Bitmap());
        return t;
    }
    // Binds name; the image GL holds under it, empty when none.
    static Bytes Image(GLuint name, int* width = nullptr) {
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
    static GLint Bound() {
        GLint name = 0;
        return glGetIntegerv(GL_TEXTURE_BINDING_2D, &name), name;
    }
    // The whole viewport in colour rgb, texture coordinates 0 … 1 on both axes.
    static void TexturedQuad(float r = 1, float g = 1, float b = 1) {
        glColor3f(r, g, b);
        glBegin(GL_QUADS);
        for (auto [u, v] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 1}}) {
            glTexCoord2f(u, v);
            glVertex2f(2 * u - 1, 2 * v - 1);
        }
        glEnd();
    }
};

} // namespace

TEST_F(TextureGL, UploadsOncePerShareGroupAndAgainForNewPixelsButNoneWithoutPixels) {
    TOrnTexture* a = NewTexture();
    a->Render(view);
    const GLuint name = a->TextureName();
    EXPECT_EQ(Image(name), kFourColours);
    const std::uint8_t marker[4] = {1, 2, 3, 4}; // in place of the first texel
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, marker);
    glBindTexture(GL_TEXTURE_2D, 0);
    view->RenderState()->BeginFrame();
    a->Render(view);
    EXPECT_EQ(std::pair(Bound(), Image(name)[0]), std::pair(GLint(name), std::uint8_t{1}))
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
    EXPECT_EQ(Bound(), 0) << "an empty bitmap binds nothing";
    TComponent designForm(nullptr);
    designForm.SetDesigning(true);
    auto* designed = new TOrnTexture(&designForm);
    FourColours(*designed->Bitmap());
    EXPECT_EQ(std::pair(designed->Valid(), designed->Pixels().empty()), std::pair(true, true));
    designed->Render(view);
    EXPECT_EQ(Image(designed->TextureName()), Bytes{}) << "no pixels at design time";
}

TEST_F(TextureGL, ObjectsForgetADestroyedTextureMaterialOrAttributesAndTheTextureNameIsFreed) {
    TOrnTexture* t = NewTexture();
    auto* material = new TOrnMaterial(&form);
    auto* attributes = new TOrnAttributes(&form);
    auto* a = new TOrnRectangle(&form);
    auto* b = new TOrnRectangle(&form);
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
    EXPECT_EQ(Bound(), 0);
}

TEST_F(TextureGL, TheLeastRecentlyRenderedIsEvictedBeyondTheMaximumAndUploadsAgain) {
    std::vector<TOrnTexture*> textures;
    for (int i = 0; i < 6; ++i)
        textures.push_back(NewTexture());
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

TEST_F(TextureGL, SidesAreScaledToPowersOfTwoKeepingThePicture) {
    TBitmap picture(256, 100, pf32bit);
    picture.Canvas().Brush().SetColor(clRed);
    picture.Canvas().FillRect(Rect(0, 0, 256, 50));
    picture.Canvas().Brush().SetColor(clBlue);
    picture.Canvas().FillRect(Rect(0, 50, 256, 100));
    auto* t = new TOrnTexture(&form);
    t->SetBitmap(&picture);
    t->Render(view);
    EXPECT_EQ(t->Bitmap()->PixelFormat(), pf24bit);
    ClearTo(0, 0, 0);
    TexturedQuad();
    EXPECT_TRUE(ColorNear(ReadPixelTop(32, 8), {255, 0, 0, 255}) &&
                ColorNear(ReadPixelTop(32, 56), {0, 0, 255, 255}));
    int width = 0;
    EXPECT_EQ(std::pair(Image(t->TextureName(), &width).size(), width),
              std::pair(std::size_t{256 * 128 * 4}, 256));
    t->Bitmap()->SetSize(181, 182); // the exponent is rounded: 181 → 128, 182 → 256
    t->Render(view);
    EXPECT_EQ(std::pair(t->Bitmap()->Width(), t->Bitmap()->Height()), std::pair(128, 256));
}

TEST_F(TextureGL, ImageStandsUprightAndRepeatsAsTheTextureTransformationScalesIt) {
    TOrnTexture* t = NewTexture();
    t->Transformation()->Scale()->SetValues(4, 2, 1); // four repeats across, two down
    t->Render(view);
    GLint mode = 0;
    EXPECT_EQ((glGetIntegerv(GL_MATRIX_MODE, &mode), mode), GL_MODELVIEW);
    ClearTo(0, 0, 0);
    TexturedQuad(); // texels of 8 × 16 pixels
    const orn::test::Rgba red{255, 0, 0, 255}, green{0, 255, 0, 255}, blue{0, 0, 255, 255},
        white{255, 255, 255, 255};
    const orn::test::Rgba rows[2][2] = {{red, green}, {blue, white}};
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 8; ++i)
            // Near the corners too: the edges fall exactly between texels.
            for (int d : {1, 4, 7})
                EXPECT_TRUE(ColorNear(ReadPixelTop(i * 8 + d, j * 16 + 2 * d), rows[j % 2][i % 2]))
                    << "texel " << i << ", " << j;
}

TEST_F(TextureGL, ModesCombineTexelAndFragmentAsNamed) {
    // A white texel of alpha 0.5 over a blue fragment; the blend colour is green.
    const std::pair<TOrnTexMode, orn::test::Rgba> cases[] = {{tmModulate, {0, 0, 255, 128}},
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
        TexturedQuad(0, 0, 1);
        EXPECT_TRUE(ColorNear(ReadPixel(32, 32), colour));
    }
}
