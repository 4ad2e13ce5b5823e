#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/scene/TOrnRegistry.h>

#include "support/GLTestContext.h"
#include "support/TestView.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

using namespace orn;
using orn::test::TestView;

namespace {

/// A primitive object filled by the test: a small triangle's corners, each with its own colour and
/// texture coordinate, and one list of all three per type given.
class Lists : public TOrnPrimitiveObj {
public:
    using TOrnPrimitiveObj::SetTextureRef;
    using TOrnPrimitiveObj::TOrnPrimitiveObj;
    std::vector<GLenum> types;

protected:
    void InitPoints() override {
        const TOrnMathVector corners[] = {{0, 0, 0}, {0.5, 0, 0}, {0, 0.5, 0}};
        for (int i = 0; i < 3; ++i) {
            fPoints->Add(corners[i], {0, 0, 1}, {0.25 * i, 1 - 0.25 * i, 0});
            for (int k = 0; k < 4; ++k)
                fPoints->SetValues(i, k, daColor, k == i || k == 3 ? 1 : 0);
        }
    }
    void InitPrimitives() override {
        for (GLenum t : types) {
            const int l = AddPrimitiveArray(t);
            for (std::uint32_t i = 0; i < 3; ++i)
                AddIndex(i, l);
        }
    }
};

/// What GL's feedback mode reports of a render: each primitive's token, and per vertex its window
/// position, colour and texture coordinate (11 values).
struct Primitive {
    GLenum token;
    std::vector<std::vector<float>> vertices;
};

std::vector<Primitive> Feedback(const std::function<void()>& render) {
    std::vector<GLfloat> buffer(4096);
    glFeedbackBuffer(static_cast<GLsizei>(buffer.size()), GL_3D_COLOR_TEXTURE, buffer.data());
    glRenderMode(GL_FEEDBACK);
    render();
    const int n = glRenderMode(GL_RENDER);
    std::vector<Primitive> out;
    for (int i = 0; i < n;) {
        const auto token = static_cast<GLenum>(buffer[static_cast<std::size_t>(i++)]);
        const int count = token == GL_POLYGON_TOKEN ? static_cast<int>(buffer[static_cast<std::size_t>(i++)])
                          : token == GL_LINE_TOKEN || token == GL_LINE_RESET_TOKEN ? 2
                                                                                   : 1;
        Primitive& p = out.emplace_back(Primitive{token == GL_LINE_RESET_TOKEN ? GL_LINE_TOKEN : token, {}});
        for (int v = 0; v < count; ++v, i += 11)
            p.vertices.emplace_back(buffer.begin() + i, buffer.begin() + i + 11);
    }
    return out;
}

/// The name stacks of the hits GL's selection mode records while render runs.
std::vector<std::vector<GLuint>> Hits(const std::function<void()>& render) {
    std::vector<GLuint> buffer(256);
    glSelectBuffer(static_cast<GLsizei>(buffer.size()), buffer.data());
    glRenderMode(GL_SELECT);
    render();
    const int hits = glRenderMode(GL_RENDER);
    std::vector<std::vector<GLuint>> out;
    for (std::size_t i = 0; static_cast<int>(out.size()) < hits; i += 3 + buffer[i])
        out.emplace_back(buffer.begin() + static_cast<long>(i) + 3,
                         buffer.begin() + static_cast<long>(i + 3 + buffer[i]));
    return out;
}

/// Stands for a texture component: binds texture 77, a red texel the test made.
class RedTexture : public TOrnRender {
public:
    using TOrnRender::TOrnRender;

protected:
    void BeforeRender(TOrnCustomView*) override {}
    void AfterRender(TOrnCustomView*) override {}
    void DoRender(TOrnCustomView*) override { glBindTexture(GL_TEXTURE_2D, 77); }
};

class GeometryDrawing : public orn::test::GLTest {
protected:
    TComponent form{nullptr};
    TestView* view = new TestView(&form);
    Lists* obj = new Lists(&form);
};

} // namespace

TEST_F(GeometryDrawing, EachEnabledListDrawsItsPrimitiveFromEveryEnabledArrayAndTheNamingModesNameIt) {
    obj->types = {GL_TRIANGLES, GL_LINES, GL_POINTS};
    obj->Points()->SetDefineArrays({daVertex, daNormal, daTexture, daColor, daEdgeFlag, daFlag});
    obj->Points()->SetEnabledArrays({daVertex, daNormal, daTexture, daColor, daEdgeFlag});
    obj->Init();
    obj->Points()->SetEdgeFlag(1, 0); // the triangle's edge from corner 1 to 2 is inner
    obj->Primitive(1)->SetEnabled(false);
    const std::vector<float> red = {1, 0, 0, 1}, green = {0, 1, 0, 1}, blue = {0, 0, 1, 1};
    const auto drawn = Feedback([&] { obj->Render(view); });
    ASSERT_EQ(drawn.size(), 4u);
    EXPECT_EQ(drawn[0].token, static_cast<GLenum>(GL_POLYGON_TOKEN));
    ASSERT_EQ(drawn[0].vertices.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(drawn[i + 1].token, static_cast<GLenum>(GL_POINT_TOKEN));
        const std::vector<float>& v = drawn[i + 1].vertices.at(0);
        EXPECT_EQ(v, drawn[0].vertices[i]);
        // 64 × 64 pixels over −1 … 1: the corners at 32 and 48 pixels; colour and texture per corner.
        EXPECT_EQ(std::vector<float>(v.begin(), v.begin() + 2),
                  (std::vector<float>{i == 1 ? 48.f : 32.f, i == 2 ? 48.f : 32.f}));
        EXPECT_EQ(std::vector<float>(v.begin() + 3, v.begin() + 7), (i == 0 ? red : i == 1 ? green : blue));
        EXPECT_EQ(std::vector<float>(v.begin() + 7, v.end()),
                  (std::vector<float>{0.25f * i, 1 - 0.25f * i, 0, 1}));
    }
    // Lit from +z, the pool's normals (not the current one) face the light.
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    const GLfloat none[] = {0, 0, 0, 1};
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, none);
    glNormal3f(0, 0, -1);
    for (const Primitive& p : Feedback([&] { obj->Render(view); }))
        EXPECT_NEAR(p.vertices.at(0).at(3), 0.8, 1e-6); // the default material's diffuse
    // Outlined, the edge flags leave the inner edge out; the current edge flag is back on afterwards.
    glEdgeFlag(GL_FALSE);
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    ClearTo(0, 0, 0);
    obj->Render(view);
    GLboolean edgeFlag = GL_FALSE;
    glGetBooleanv(GL_EDGE_FLAG, &edgeFlag);
    EXPECT_TRUE(edgeFlag);
    const auto lit = [&](int x, int y) { // a line along a pixel border may take either side
        for (auto [dx, dy] : {std::pair{0, 0}, {-1, 0}, {0, -1}, {-1, -1}})
            if (ReadPixel(x + dx, y + dy)[0] > 0) return true;
        return false;
    };
    EXPECT_EQ(std::vector<bool>({lit(40, 32), lit(32, 40), lit(40, 40)}),
              std::vector<bool>({true, true, false}));
    for (GLenum array :
         {GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_TEXTURE_COORD_ARRAY, GL_COLOR_ARRAY, GL_EDGE_FLAG_ARRAY})
        EXPECT_FALSE(glIsEnabled(array)) << array;

    // The object's own name, then one per enabled list around its draw: hits name both.
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    for (TOrnDrawMode mode : {dmWindow, dmBitmap, dmSelection, dmPick, dmNothing}) {
        view->mode = mode;
        view->names.clear();
        using Names = std::vector<std::vector<GLuint>>;
        using Ids = std::vector<std::pair<TObject*, int>>;
        const bool named = mode != dmWindow && mode != dmBitmap;
        EXPECT_EQ(Hits([&] { obj->Render(view); }), (named ? Names{{1, 2}, {1, 3}} : Names{{}})) << mode;
        EXPECT_EQ(view->names, (named ? Ids{{obj, -1}, {obj, 0}, {obj, 2}} : Ids{})) << mode;
    }
}

// Every render class, drawn fresh, leaves the stacks as it found them, every client array off and no
// GL error; a shape builds on its first draw.
TEST_F(GeometryDrawing, EveryRenderClassLeavesTheStacksAndClientArraysAsItFoundThem) {
    const GLenum stacks[] = {GL_ATTRIB_STACK_DEPTH, GL_CLIENT_ATTRIB_STACK_DEPTH, GL_MODELVIEW_STACK_DEPTH,
                             GL_PROJECTION_STACK_DEPTH, GL_TEXTURE_STACK_DEPTH};
    auto depths = [&] {
        std::vector<GLint> d;
        for (GLenum s : stacks)
            glGetIntegerv(s, &d.emplace_back());
        return d;
    };
    int drawn = 0;
    for (TComponentClass cls : GetRenderClassList()) {
        auto* item = dynamic_cast<TOrnRender*>(cls->Create(&form));
        for (TOrnDrawMode mode : {dmWindow, dmSelection}) {
            if (!item) break;
            view->mode = mode;
            const std::vector<GLint> before = depths();
            item->Render(view);
            EXPECT_EQ(depths(), before) << cls->Name << " in mode " << mode;
            // Attributes hand their default line width of 0 to GL as it is, which GL refuses: intended.
            const GLenum error = glGetError();
            EXPECT_TRUE(error == GL_NO_ERROR || std::string(cls->Name) == "TOrnAttributes") << cls->Name;
            for (GLenum array : {GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_TEXTURE_COORD_ARRAY, GL_COLOR_ARRAY,
                                 GL_EDGE_FLAG_ARRAY})
                EXPECT_FALSE(glIsEnabled(array)) << cls->Name << " leaves " << array << " on";
            ++drawn;
        }
        const auto* shape = dynamic_cast<TOrnPrimitiveObj*>(item);
        EXPECT_TRUE(!shape || shape->Initialized()) << cls->Name;
    }
    EXPECT_GE(drawn, 2 * 20);
}

TEST_F(GeometryDrawing, TexturedListsDrawWithTheirTextureAndUntexturedOnesWithout) {
    glBindTexture(GL_TEXTURE_2D, 77);
    const GLubyte texel[] = {255, 0, 0, 255};
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, texel);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glBindTexture(GL_TEXTURE_2D, 0);
    auto* texture = new RedTexture(&form);
    obj->types = {GL_TRIANGLES, GL_POINTS};
    obj->SetTextureRef(reinterpret_cast<TOrnTexture*>(texture), texture);
    obj->SetTextured(true);
    obj->Init();
    obj->Primitive(1)->SetTextured(false);
    ClearTo(0, 0, 0);
    glPointSize(5);
    obj->Render(view);
    GLint bound = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    EXPECT_EQ(bound, 77);
    // The triangle's inside takes the red texel; the point below its right corner stays white.
    EXPECT_EQ(ReadPixel(36, 36), (orn::test::Rgba{255, 0, 0, 255}));
    EXPECT_EQ(ReadPixel(49, 30), (orn::test::Rgba{255, 255, 255, 255}));
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));
    const GLuint name = 77; // textures live on in the shared context
    glDeleteTextures(1, &name);
}
