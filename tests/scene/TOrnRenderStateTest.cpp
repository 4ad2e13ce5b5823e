// Display lists, shared state blocks and textures belong to a context (a share group): cached
// components must draw right whatever happens to the contexts and to the components around them.
#include <orn/geometry/TOrnRectangle.h>
#include <orn/geometry/TOrnSphere.h>
#include <orn/scene/TOrnNode.h>
#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnMaterial.h>
#include <orn/state/TOrnTexture.h>

#include "support/GLTestContext.h"
#include "support/TestView.h"
#include "view/ViewTestSupport.h"

#include <gtest/gtest.h>

using namespace orn;
using orn::test::Image;
using orn::test::Rgba;

namespace {

constexpr Rgba kWhite{255, 255, 255, 255};
constexpr Rgba kRed{255, 0, 0, 255};

// A 64 × 64 view of the square −2 … 2, unlit, black, drawing the components in scene.
class RenderCache : public orn::test::ViewTest {
protected:
    void SetUp() override {
        ViewTest::SetUp();
        camera->SetViewWidth(4);
        camera->SetViewHeight(4);
        view->SetBounds(64, 64);
        view->SetCamera(camera);
        view->Coordinates()->SetVisible(false);
        view->OnRender = [this](TOrnView* v) {
            for (TOrnRender* r : scene)
                r->Render(v);
        };
    }
    TOrnSphere* Sphere(float radius, float x) {
        auto* s = new TOrnSphere(&form);
        s->SetRadius(radius);
        s->Transformation()->Translation()->SetX(x);
        s->SetCached(true);
        return s;
    }
    // The window after a repaint, rows counted from the bottom.
    Image Repaint() {
        view->RenderScene();
        return ViewImage(*view);
    }
    TComponent form{nullptr};
    TOrnOrthographicCamera* camera = new TOrnOrthographicCamera(&form);
    TOrnView* view = new TOrnView(&form);
    std::vector<TOrnRender*> scene;
};

} // namespace

TEST_F(RenderCache, EveryChangeDropsTheListsThatHoldIt) {
    auto* node = new TOrnNode(&form);
    TOrnSphere* sphere = Sphere(1, 0);
    node->Add(sphere);
    node->SetCached(true);
    scene = {node};
    view->OpenGLConnect();
    view->RenderScene();
    ASSERT_EQ(std::pair(node->ListId() != 0, sphere->ListId()), std::pair(true, 0u))
        << "the sphere is in the node's list";
    sphere->Color()->SetColor(clRed);
    EXPECT_EQ(Repaint().At(32, 32), kRed);
    ASSERT_NE(node->ListId(), 0u);
    TOrnTextureFlags flags;
    flags.SetMode(txLinearX);
    sphere->SetTextureFlags(&flags); // texture coordinates are geometry too
    EXPECT_EQ(node->ListId(), 0u);
    sphere->Transformation()->Translation()->SetX(-1.5f);
    EXPECT_EQ(Repaint().At(8, 32), kRed);
}

TEST_F(RenderCache, CachedShapeRedrawsAfterAGeometrySetterInBitmapsAndAfterReconnecting) {
    TOrnSphere* sphere = Sphere(0.5f, 0);
    scene = {sphere};
    for (int i = 0; i < 3; ++i) // unconnected: every image has a context of its own
        EXPECT_EQ(view->GetImage(64, 64)->Pixel(32, 32), clWhite) << "image " << i;
    view->OpenGLConnect();
    const std::size_t small = orn::test::CountPixels(Repaint(), kWhite);
    ASSERT_GT(small, 100u);
    sphere->SetRadius(1.5f);
    EXPECT_GT(orn::test::CountPixels(Repaint(), kWhite), small * 8); // nine times the area
    view->OpenGLDisconnect();
    view->OpenGLConnect();
    EXPECT_EQ(Repaint().At(32, 32), kWhite);
    const GLuint list = sphere->ListId();
    sphere->Transformation()->Translation()->SetX(-1.5f); // applied outside the list, which stays
    EXPECT_EQ(std::pair(list != 0, sphere->ListId()), std::pair(true, list));
    sphere->Color()->SetColor(clRed);
    EXPECT_EQ(Repaint().At(8, 32), kRed);
}

TEST_F(RenderCache, BitmapOfAWindowDrawsWhatTheWindowCached) {
    view->SetSurfaceFactory([](TOrnView&) { return std::make_unique<orn::test::WindowLikeSurface>(); });
    TOrnSphere* left = Sphere(0.25f, -1);
    scene = {left};
    view->OpenGLConnect();
    view->RenderScene();
    ASSERT_NE(left->ListId(), 0u);
    EXPECT_EQ(view->GetImage(64, 64)->Pixel(16, 32), clWhite) << "the window's list is not the bitmap's";
    // A second object compiled first in a bitmap must not take the window's list number.
    TOrnSphere* right = Sphere(0.75f, 1);
    scene = {left, right};
    view->GetImage(64, 64);
    EXPECT_EQ(Repaint().At(58, 32), kWhite) << "the right sphere, not the left one's list";
    right->SetCached(false);
    EXPECT_EQ(Repaint().At(16, 32), kWhite) << "uncaching one object keeps the other's list";
}

TEST_F(RenderCache, TextureNameIsDeletedInItsOwnContext) {
    auto* texture = new TOrnTexture(&form);
    texture->Bitmap()->SetSize(2, 2);
    auto* rectangle = new TOrnRectangle(&form);
    rectangle->SetTexture(texture);
    rectangle->SetTextured(true);
    scene = {rectangle};
    view->OpenGLConnect();
    view->RenderScene();
    const GLuint name = texture->TextureName();
    detail::EglContext other;
    other.Create(8, 8);
    other.MakeCurrent();
    delete texture;
    view->SetCurrent(true);
    EXPECT_EQ(std::pair(name != 0, bool(glIsTexture(name))), std::pair(true, false));
    view->SetCurrent(false);
}

using RenderStateGL = orn::test::GLTest;

TEST_F(RenderStateGL, MaterialAndTextureAreCompiledIntoACachedObjectAndCountAsAppliedAfterItsListRuns) {
    TComponent form{nullptr};
    auto* view = new orn::test::TestView(&form);
    auto* material = new TOrnMaterial(&form);
    material->SetShininess(5);
    auto* texture = new TOrnTexture(&form);
    texture->Bitmap()->SetSize(2, 2);
    TOrnRectangle* objects[2]; // live, cached
    for (TOrnRectangle*& r : objects) {
        r = new TOrnRectangle(&form);
        r->SetMaterial(material);
        r->SetTexture(texture);
        r->SetTextured(true);
    }
    auto [live, cached] = objects;
    cached->SetCached(true);
    auto* attributes = new TOrnAttributes(&form); // the list does not touch it: it stays applied
    attributes->SetLineWidth(2);
    live->SetAttributes(attributes);
    // Disturbs shininess, texture binding and line width, then renders: what is sent puts them back.
    const auto render = [&](TOrnRender* r) {
        glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, 99);
        glBindTexture(GL_TEXTURE_2D, 0);
        glLineWidth(9);
        r->Render(view);
        float held[3] = {};
        glGetMaterialfv(GL_FRONT, GL_SHININESS, &held[0]);
        glGetFloatv(GL_TEXTURE_BINDING_2D, &held[1]);
        glGetFloatv(GL_LINE_WIDTH, &held[2]);
        return std::vector<float>(held, held + 3);
    };
    auto* other = new TOrnMaterial(&form); // applied in between, for the list to replace
    view->RenderState()->BeginFrame();
    const std::vector<float> first = render(live);
    ASSERT_NE(texture->TextureName(), 0u);
    EXPECT_EQ(first, (std::vector<float>{5, float(texture->TextureName()), 2}));
    const std::vector<float> sent{5, first[1], 9}; // the list holds no attributes
    const std::vector<float> skipped{99, 0, 9};
    other->Render(view);
    EXPECT_EQ(render(cached), sent) << "compiled with all it needs though the live object sent it";
    const GLuint list = cached->ListId();
    EXPECT_EQ(render(live), skipped) << "what the compiled list applied counts as applied";
    other->Render(view);
    EXPECT_EQ(render(cached), sent) << "the list called";
    EXPECT_EQ(std::pair(list != 0, cached->ListId()), std::pair(true, list));
    EXPECT_EQ(render(live), skipped) << "what the called list applied counts as applied";
    material->SetShininess(9); // the list holds the old material: compiled again
    EXPECT_EQ(render(cached)[0], 9);
    EXPECT_EQ(std::pair(bool(glIsList(list)), cached->ListId() != 0), std::pair(false, true));
}
