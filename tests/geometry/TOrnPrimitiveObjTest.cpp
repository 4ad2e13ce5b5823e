#include "geometry/GeometryTestSupport.h"
#include "geometry/detail/PointGrid.h"
#include "support/GLTestContext.h"
#include "support/TestView.h"

#include <orn/geometry/TOrnPrimitiveArray.h>
#include <orn/geometry/TOrnPrimitivePoints.h>
#include <orn/host/EOrnError.h>
#include <orn/scene/TOrnRegistry.h>
#include <orn/scene/TOrnRender.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <memory>

using namespace orn;
using namespace orn::test;

namespace {

/// A primitive object whose build steps are given by the test and recorded.
class Probe : public TOrnPrimitiveObj {
public:
    using TOrnPrimitiveObj::SetTextureRef;
    using TOrnPrimitiveObj::TextureRender;
    using TOrnPrimitiveObj::TOrnPrimitiveObj;
    std::vector<std::string> calls;
    std::function<void(Probe&)> points;

protected:
    void ClearAll() override {
        calls.push_back("ClearAll");
        TOrnPrimitiveObj::ClearAll();
    }
    void InitPoints() override {
        calls.push_back("InitPoints");
        if (points) points(*this);
    }
    void InitPrimitives() override {
        calls.push_back(Points()->DefineArrays().Contains(daTexture) ? "InitPrimitives+texture"
                                                                     : "InitPrimitives");
    }
};

/// Stands for a texture component, which the object refers to and hears removed: binds texture 77.
class FakeTexture : public TOrnRender {
public:
    using TOrnRender::TOrnRender;

protected:
    void BeforeRender(TOrnCustomView*) override {}
    void AfterRender(TOrnCustomView*) override {}
    void DoRender(TOrnCustomView*) override { glBindTexture(GL_TEXTURE_2D, 77); }
};

/// n points along x from x0 with one normal, then one list per entry.
void Fill(Probe& p, int n, const std::vector<std::pair<GLenum, Idx>>& lists, double x0 = 0,
          TOrnMathVector normal = {0, 0, 1}) {
    for (int i = 0; i < n; ++i)
        p.Points()->Add({x0 + i, 0, 0}, normal, {});
    for (auto& [type, idx] : lists) {
        const int l = p.AddPrimitiveArray(type);
        for (auto i : idx)
            p.AddIndex(i, l);
    }
}

std::unique_ptr<TOrnPrimitiveArray> make(GLenum type, const Idx& indices) {
    auto list = std::make_unique<TOrnPrimitiveArray>(type);
    for (auto i : indices)
        list->AddIndex(i);
    return list;
}

/// A small triangle's corners, each with its own colour and texture coordinate, and one list of all
/// three per type given.
void Corners(Probe& p, const std::vector<GLenum>& types) {
    const TOrnMathVector corners[] = {{0, 0, 0}, {0.5, 0, 0}, {0, 0.5, 0}};
    for (int i = 0; i < 3; ++i) {
        p.Points()->Add(corners[i], {0, 0, 1}, {0.25 * i, 1 - 0.25 * i, 0});
        for (int k = 0; k < 4; ++k)
            p.Points()->SetValues(i, k, daColor, k == i || k == 3 ? 1 : 0);
    }
    for (GLenum t : types)
        Fill(p, 0, {{t, {0, 1, 2}}});
}

/// What GL's feedback mode reports of a render: each primitive's token, and per vertex its window
/// position, colour and texture coordinate (11 values).
struct Primitive {
    GLenum token;
    std::vector<std::vector<float>> vertices;
};

std::vector<Primitive> Feedback(const std::function<void()>& render) {
    std::vector<GLfloat> b(4096);
    glFeedbackBuffer(4096, GL_3D_COLOR_TEXTURE, b.data());
    glRenderMode(GL_FEEDBACK);
    render();
    const auto n = static_cast<std::size_t>(glRenderMode(GL_RENDER));
    std::vector<Primitive> out;
    for (std::size_t i = 0; i < n;) {
        const auto token = static_cast<GLenum>(b[i++]);
        const auto count = token == GL_POLYGON_TOKEN ? static_cast<std::size_t>(b[i++])
                           : token == GL_POINT_TOKEN ? 1u
                                                     : 2u;
        Primitive& p = out.emplace_back(Primitive{token, {}});
        for (std::size_t v = 0; v < count; ++v, i += 11)
            p.vertices.emplace_back(b.data() + i, b.data() + i + 11);
    }
    return out;
}

/// The name stacks of the hits GL's selection mode records while render runs.
std::vector<std::vector<GLuint>> Hits(const std::function<void()>& render) {
    std::vector<GLuint> b(256);
    glSelectBuffer(256, b.data());
    glRenderMode(GL_SELECT);
    render();
    const int hits = glRenderMode(GL_RENDER);
    std::vector<std::vector<GLuint>> out;
    for (std::size_t i = 0; static_cast<int>(out.size()) < hits; i += 3 + b[i])
        out.emplace_back(b.data() + i + 3, b.data() + i + 3 + b[i]);
    return out;
}

struct PrimitiveObjFixture : ::testing::Test {
    TComponent form{nullptr};
    Probe* obj = new Probe(&form);

    void Fill(int n, std::vector<std::pair<GLenum, Idx>> lists) { ::Fill(*obj, n, lists); }
    TOrnMathVector Normal(int i) const { return At(*obj, i, daNormal); }
    void Add(std::initializer_list<TOrnMathVector> positions) {
        for (const TOrnMathVector& p : positions)
            obj->Points()->Add(p, {}, {});
    }
};

class GeometryDrawing : public orn::test::GLTest {
protected:
    TComponent form{nullptr};
    test::TestView* view = new test::TestView(&form);
    Probe* obj = new Probe(&form);
};

} // namespace

TEST_F(GeometryDrawing, EachEnabledListDrawsItsPrimitiveFromEveryEnabledArrayAndTheNamingModesNameIt) {
    obj->points = [](Probe& p) { Corners(p, {GL_TRIANGLES, GL_LINES, GL_POINTS}); };
    obj->Points()->SetDefineArrays({daVertex, daNormal, daTexture, daColor, daEdgeFlag, daFlag});
    obj->Points()->SetEnabledArrays({daVertex, daNormal, daTexture, daColor, daEdgeFlag});
    obj->Init();
    obj->Points()->SetEdgeFlag(1, 0); // the triangle's edge from corner 1 to 2 is inner
    obj->Primitive(1)->SetEnabled(false);
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
        EXPECT_EQ(std::vector<float>({v[0], v[1], v[3], v[4], v[5], v[6], v[7], v[8], v[9], v[10]}),
                  (std::vector<float>{i == 1 ? 48.f : 32.f, i == 2 ? 48.f : 32.f, float(i == 0),
                                      float(i == 1), float(i == 2), 1, 0.25f * i, 1 - 0.25f * i, 0, 1}));
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

// Textured lists draw with their texture, untextured ones without; every render class, drawn fresh,
// leaves the stacks as it found them, client arrays off and no GL error, and a shape is built.
TEST_F(GeometryDrawing, TexturedListsDrawWithTheirTextureAndEveryRenderClassLeavesTheStacksAsItFoundThem) {
    glBindTexture(GL_TEXTURE_2D, 77);
    const GLubyte texel[] = {255, 0, 0, 255};
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, texel);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glBindTexture(GL_TEXTURE_2D, 0);
    auto* texture = new FakeTexture(&form);
    obj->points = [](Probe& p) { Corners(p, {GL_TRIANGLES, GL_POINTS}); };
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

TEST_F(PrimitiveObjFixture, InitRunsItsStepsInOrderAndListAndPointEditsRenumberOrSkipWhatDoesNotExist) {
    obj->points = [](Probe& p) { p.Points()->SetCount(1000); };
    obj->Init();
    EXPECT_EQ(std::pair(obj->Points()->HasArray(daTexture), obj->Points()->AllocatedBytes()),
              std::pair(false, std::size_t(1000 * (24 + 24 + 1)))); // position, normal, flags
    obj->OnAfterInit = [this](TObject* sender) { obj->calls.push_back(sender == obj ? "OnAfterInit" : "?"); };
    obj->calls.clear();
    obj->SetTextured(true);
    EXPECT_FALSE(obj->Initialized());
    obj->Init();
    EXPECT_EQ(obj->calls,
              (std::vector<std::string>{"ClearAll", "InitPoints", "InitPrimitives+texture", "OnAfterInit"}));
    EXPECT_EQ(obj->Points()->AllocatedBytes(), 1000u * (24 + 24 + 24 + 1));
    obj->SetTextured(false);
    EXPECT_TRUE(obj->Initialized()); // the coordinates stay until the next build
    obj->Init();
    EXPECT_FALSE(obj->Points()->HasArray(daTexture));
    obj = new Probe(&form); // freeing points renumbers the lists and disables those left dangling
    Fill(6, {{GL_TRIANGLES, {0, 2, 5}}, {GL_TRIANGLES, {0, 4, 5}}});
    obj->FreePoints(1, 2);
    obj->FreePoints(4, 1); // first beyond Count
    EXPECT_TRUE(obj->Points()->Count() == 4 && !obj->Primitive(0)->Enabled() && obj->Primitive(1)->Enabled());
    EXPECT_EQ(Entries(obj->Primitive(0)), (Idx{0, 2, 3})); // the dangling 2, the last freed, kept
    EXPECT_EQ(Entries(obj->Primitive(1)), (Idx{0, 2, 3}));
    EXPECT_EQ(At(*obj, 2).x, 4);
    // Unused: not in an enabled list. Here 0 2 4 stay as 0 1 2, and list 0 with them.
    obj->DeletePrimitiveArray(0, 2);
    obj->Points()->SetCount(0);
    Fill(6, {{GL_TRIANGLES, {4, 0, 2}}, {GL_LINES, {1, 5}}});
    obj->Primitive(1)->SetEnabled(false);
    obj->FreeUnusedPoints();
    ASSERT_EQ(obj->Points()->Count(), 3);
    EXPECT_EQ(std::pair(At(*obj, 1).x, At(*obj, 2).x), std::pair(2.0, 4.0));
    EXPECT_EQ(Entries(obj->Primitive(0)), (Idx{2, 0, 1}));
    obj = new Probe(&form); // list edits skip what does not exist
    Fill(1, {{GL_POINTS, {0}}, {GL_LINES, {0}}, {GL_TRIANGLES, {0}}, {GL_QUADS, {0}}});
    EXPECT_EQ(std::vector<int>({obj->AddIndex(0, 3), obj->AddIndex(0, 4), obj->AddIndex(0, -1)}),
              std::vector<int>({1, -1, -1}));
    EXPECT_EQ(obj->Primitive(4), nullptr);
    obj->DeletePrimitiveArray(3, 5);
    obj->DeletePrimitiveArray(0, 0);
    obj->DeletePrimitiveArray(-2, 3); // only position 0 exists of −2 … 0
    auto* other = new Probe(&form);   // built, its indices shifted past the points there are
    other->points = [](Probe& p) { ::Fill(p, 2, {{GL_LINES, {0, 1}}}, 5); };
    EXPECT_EQ(obj->AddPrimitiveObj(other), 1);
    EXPECT_TRUE(other->Initialized());
    ASSERT_EQ(obj->PrimitiveCount(), 3);
    EXPECT_EQ((std::array{obj->Primitive(0)->Type(), obj->Primitive(1)->Type(), obj->Primitive(2)->Type()}),
              (std::array<GLenum, 3>{GL_LINES, GL_TRIANGLES, GL_LINES}));
    EXPECT_EQ(Entries(obj->Primitive(2)), (Idx{1, 2}));
    EXPECT_EQ(At(*obj, 2), (TOrnMathVector{6, 0, 0}));
}

TEST_F(PrimitiveObjFixture, TextureReachesEveryListIsForgottenRemovedAndEveryModeMapsTheRightAxesAtTheBuild) {
    Fill(1, {{GL_POINTS, {0}}});
    obj->SetTextured(true);
    EXPECT_TRUE(obj->Points()->EnabledArrays().Contains(daTexture) &&
                obj->Primitive(obj->AddPrimitiveArray(GL_LINES))->Textured());
    obj->SetTextured(false);
    EXPECT_FALSE(obj->Primitive(1)->Textured());
    TComponent other{nullptr};
    for (TComponent* owner : {&form, &other}) {
        auto* texture = new FakeTexture(owner);
        obj->SetTextureRef(reinterpret_cast<TOrnTexture*>(texture), texture);
        EXPECT_EQ(obj->Primitive(obj->AddPrimitiveArray(GL_LINES))->TextureRender(), texture);
        EXPECT_EQ(obj->Primitive(0)->TextureRender(), texture);
        delete texture;
        EXPECT_TRUE(obj->Texture() == nullptr && obj->TextureRender() == nullptr);
        for (int l = 0; l < obj->PrimitiveCount(); ++l)
            EXPECT_EQ(obj->Primitive(l)->TextureRender(), nullptr);
    }
    obj = new Probe(&form); // every texture mode maps the right axes, at the build only
    const std::pair<TOrnTextureMode, TOrnMathVector> cases[] = {
        {txStandard, {0.25, 0.5, 0}}, {txLinearX, {11, 0, 0}},
        {txLinearY, {21, 0, 0}},      {txLinearZ, {31, 0, 0}},
        {txLinearXY, {11, 202, 0}},   {txLinearYZ, {21, 302, 0}},
        {txLinearZX, {31, 102, 0}},   {txSphereZ, {1 + 10 * std::sqrt(14.0), 0, 0}}};
    obj->points = [](Probe& p) { p.Points()->Add({1, 2, 3}, {}, {0.25, 0.5, 0}); };
    test::Set(*obj->TextureFlags(), {{"ScaleX", 10}, {"ShiftX", 1}, {"ScaleY", 100}, {"ShiftY", 2}});
    obj->SetTextured(true);
    for (const auto& [mode, expect] : cases) {
        obj->TextureFlags()->SetMode(mode);
        obj->Init();
        test::ExpectNear(At(*obj, 0, daTexture), expect, kTextureModeNames[mode], 1e-12);
    }
    obj->TextureFlags()->SetMode(txLinearX);
    obj->Init();
    obj->Points()->SetVector(0, daVertex, {5, 0, 0});
    EXPECT_EQ(At(*obj, 0, daTexture).x, 11); // computed at the build only
    obj->CalcTexturePoint(1);
    obj->CalcTexturePoint(-1); // neither exists
    EXPECT_EQ(At(*obj, 0, daTexture).x, 11);
    obj->CalcTexturePoint(0);
    EXPECT_EQ(At(*obj, 0, daTexture).x, 51);
}

// A point's normal is the mean of its faces' unit normals, shared across seams; each face's follows its
// winding, and lines and collapsed faces leave normals alone.
TEST_F(PrimitiveObjFixture, NormalsFollowTheWindingOfEveryFaceTypeAndAreMeansOfUnitNormalsSharedAcrossSeams) {
    // A unit square in the x-y plane, counter-clockwise seen from +z, as every face type draws it.
    Add({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}});
    const std::pair<GLenum, Idx> cases[] = {
        {GL_TRIANGLES, {0, 1, 2, 0, 2, 3}}, {GL_TRIANGLE_STRIP, {0, 1, 3, 2}},
        {GL_TRIANGLE_FAN, {0, 1, 2, 3}},    {GL_QUADS, {0, 1, 2, 3}},
        {GL_QUAD_STRIP, {0, 1, 3, 2}},      {GL_POLYGON, {0, 1, 2, 3}}};
    for (const auto& [type, idx] : cases) {
        obj->DeletePrimitiveArray(0, obj->PrimitiveCount());
        Fill(0, {{type, idx}});
        obj->CalcNormals();
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(Normal(i), (TOrnMathVector{0, 0, 1})) << "type " << type << " point " << i;
        obj->Invert();
        obj->CalcNormals();
        EXPECT_EQ(Normal(2), (TOrnMathVector{0, 0, -1})) << "type " << type;
    }
    // Lines, disabled lists and collapsed strips (on the x axis) leave normals alone.
    obj->Points()->SetCount(0);
    obj->DeletePrimitiveArray(0, obj->PrimitiveCount());
    ::Fill(*obj, 6, {{GL_LINES, {0}}, {GL_TRIANGLE_STRIP, {2, 3, 4}}, {GL_TRIANGLES, {5, 0, 1}}}, 0,
           {0, 1, 0});
    obj->Primitive(2)->SetEnabled(false);
    obj->CalcNormals();
    EXPECT_EQ(Normal(0), (TOrnMathVector{0, 0, 1})); // a line's point: the default
    for (int i = 1; i < 6; ++i)
        EXPECT_EQ(Normal(i), (TOrnMathVector{0, 1, 0})) << i;
    obj = new Probe(&form);
    // Point 0 is a corner of two small faces facing +z and one three times larger facing +x:
    // unit normals averaged give (1, 0, 2)/sqrt 5; weighting by area would give (3, 0, 2).
    Add({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 1, 0}, {-1, 0, 0}, {0, 1, 0}, {0, 0, 3}});
    Fill(0, {{GL_TRIANGLES, {0, 1, 2, 0, 3, 4, 0, 5, 6}}});
    obj->CalcNormals();
    EXPECT_LT(OrnMathVectorDist(Normal(0), {1 / std::sqrt(5.0), 0, 2 / std::sqrt(5.0)}), 1e-12);
    EXPECT_EQ((std::array{Normal(6), Normal(4)}),
              (std::array{TOrnMathVector{1, 0, 0}, TOrnMathVector{0, 0, 1}}));
    // Two triangles meeting at a crease, their shared corner stored twice within 0.001.
    obj->Points()->SetCount(0);
    obj->DeletePrimitiveArray(0, 1);
    Add({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0.0005, 0, 0}, {0, 1, 0}, {0, 0, 1}});
    obj->Points()->SetFlag(0, 0, true); // seam marks
    obj->Points()->SetFlag(3, 0, true);
    Fill(0, {{GL_TRIANGLES, {0, 1, 2, 3, 4, 5}}});
    obj->CalcNormals();
    EXPECT_EQ(Normal(3), Normal(0));
    EXPECT_LT(OrnMathVectorDist(Normal(0), {std::sqrt(0.5), 0, std::sqrt(0.5)}), 1e-3); // between +z and +x
    EXPECT_EQ(Normal(1), (TOrnMathVector{0, 0, 1}));
    obj->Points()->SetFlag(3, 0, false);
    obj->CalcNormals();
    EXPECT_EQ(Normal(0), (TOrnMathVector{0, 0, 1}));
}

TEST(PointGrid, FirstSamePlaceIsTheLowestMatchAcrossCellBordersFarAndNonFinitePoints) {
    const double inf = std::numeric_limits<double>::infinity(),
                 nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<double> pos = {
        0.0039999, 0, 0,     0.0040001,    0, 0, // 0, 1: the same place across a cell border
        -0.0004,   5, 5,     0.0005,       5, 5, // 2, 3: across zero
        0.0075,    1, 1,     0.0086,       1, 1, // 4, 5: 0.0011 apart: not the same
        3e6,       0, 0,     3e6 + 0.0005, 0, 0, // 6, 7: far out
        nan,       0, 0,     nan,          0, 0, // never the same, not even as themselves
        inf,       0, 0,     inf,          0, 0, //
        0.0040001, 0, 0.0009};                   // 12: the same as 0 and 1
    const std::vector<std::uint8_t> flags = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2};
    EXPECT_EQ(detail::FirstSamePlace(pos.data(), 13, flags.data(), 0),
              (std::vector<int>{0, 0, 2, 2, 4, 5, 6, 6, 8, 9, 10, 11, 0}));
    EXPECT_EQ(detail::FirstSamePlace(pos.data(), 13, flags.data(), 1), // 12 takes no part
              (std::vector<int>{0, 0, 2, 2, 4, 5, 6, 6, 8, 9, 10, 11, 12}));
}

TEST(PrimitiveObjLimit, EveryShapeRefusesADetailBeyondTheLimitNamingIt) {
    // Every shape's default detail is a few hundred points at most: under a limit of 8 each either
    // fits or refuses to build, saying which limit and how to raise it.
    const std::int64_t old = TOrnPrimitiveObj::MaxBuildPoints();
    TOrnPrimitiveObj::SetMaxBuildPoints(8);
    int refused = 0;
    for (TComponentClass cls : GetRenderClassList()) {
        TComponent form(nullptr);
        auto* shape = dynamic_cast<TOrnPrimitiveObj*>(cls->Create(&form));
        try {
            if (shape) shape->Init();
            EXPECT_LE(shape ? shape->Points()->Count() : 0, 8) << cls->Name;
        } catch (const EOrnError& e) {
            ++refused;
            EXPECT_THAT(e.what(), ::testing::HasSubstr("limit of 8 points (about 100 bytes each); the "
                                                       "environment variable ORN_MAX_POINTS"));
        }
    }
    TOrnPrimitiveObj::SetMaxBuildPoints(old);
    EXPECT_GE(refused, 8); // sphere, cylinder, disc, torus, box, rectangle, function surfaces …
}

TEST(TOrnPrimitivePoints, GrowsByTwelveNeedsPositionsAnswersZeroOutsideItsRangeAndClampsFlagsAndSizes) {
    TOrnPrimitivePoints pool;
    EXPECT_EQ(pool.Add(1, 2, 3), 0);
    for (int i = 1; i < 12; ++i)
        pool.Add({double(i), 0, 0}, {0, 1, 0}, {0.5, 0.25, 0});
    EXPECT_EQ(pool.Size(), 12);
    EXPECT_EQ(std::vector<int>({pool.Add(0, 0, 0), pool.Size()}), std::vector<int>({12, 24}));
    EXPECT_EQ(pool.GetVector(11, daNormal), (TOrnMathVector{0, 1, 0}));
    pool.SetFlag(12, 0, true);
    pool.Delete(12, 1);
    EXPECT_EQ(pool.Count(), 12);
    EXPECT_EQ(pool.GetVector(12, daVertex), (TOrnMathVector{0, 0, 0})); // stale, inside Size: answered
    EXPECT_FALSE(pool.GetFlag(12, 0));                                  // beyond Count: false
    EXPECT_EQ(pool.GetVector(11, daVertex), (TOrnMathVector{11, 0, 0}));
    for (auto [i, kind] : {std::pair{24, daVertex}, {-1, daVertex}, {0, daColor}}) // color: not allocated
        EXPECT_EQ(pool.GetVector(i, kind), (TOrnMathVector{})) << i << " " << kind;
    pool.SetDefineArrays({daVertex, daNormal, daFlag}); // a kind removed keeps its data
    EXPECT_EQ(pool.GetVector(1, daTexture), (TOrnMathVector{}));
    pool.SetDefineArrays({daVertex, daNormal, daTexture, daFlag});
    EXPECT_EQ(pool.GetVector(1, daTexture), (TOrnMathVector{0.5, 0.25, 0}));
    EXPECT_THROW(pool.SetCount(2000000000), EOrnError); // absurd: refused, nothing changed
    EXPECT_EQ(pool.Count(), 12);
    TOrnPrimitivePoints normalsOnly;
    normalsOnly.SetDefineArrays({daNormal});
    EXPECT_EQ(std::vector<int>({normalsOnly.Add(1, 2, 3), normalsOnly.Count()}), std::vector<int>({-1, 0}));
    TOrnPrimitivePoints flags;
    flags.SetCount(4);
    for (auto [bit, on] : {std::pair{8, true}, {-1, true}, {7, true}, {2, true}, {2, false}})
        flags.SetFlag(0, bit, on);
    EXPECT_EQ(std::pair(int(flags.Flags()[0]), int(flags.GetEdgeFlag(0))),
              std::pair(0x80, 255)); // no edge flags
    flags.SetEdgeFlag(0, 0);
    EXPECT_EQ(flags.GetEdgeFlag(0), 255);
    flags.SetDefineArrays(flags.DefineArrays() + TOrnArrays{daEdgeFlag});
    flags.SetEdgeFlag(0, 0);
    EXPECT_EQ(flags.GetEdgeFlag(0), 0);
    flags.SetFlag(3, 1, true);
    flags.SetSize(2); // shrinking cuts Count; growing again clears the new flags
    EXPECT_EQ(flags.Count(), 2);
    flags.SetCount(4);
    EXPECT_FALSE(flags.GetFlag(3, 1));
    flags.SetSize(-1);
    flags.SetCount(-3);
    EXPECT_EQ(std::vector<int>({flags.Size(), flags.Count()}), std::vector<int>({4, 4}));
}

TEST(TOrnPrimitivePoints, DeletesMoveTheTailDownPoolsAddScaleAndMoveAndWholePointsAndComponentsTravel) {
    TOrnPrimitivePoints pool;
    for (int i = 0; i < 6; ++i)
        pool.Add({double(i), 0, 0}, {0, 0, double(i)}, {});
    pool.SetFlag(5, 3, true);
    pool.DeleteMarked({true, false, true, true, false, false});
    for (int i = 6; i < 9; ++i)
        pool.Add(i, 0, 0);
    ASSERT_EQ(pool.Count(), 6); // 1 4 5 6 7 8
    EXPECT_TRUE(pool.GetVector(1, daNormal).z == 4 && pool.GetFlag(2, 3));
    pool.Delete(1, 2);
    EXPECT_EQ(pool.GetVector(1, daVertex).x, 6);
    pool.Delete(3, 10);
    pool.Delete(-1, 2); // only position 0 of −1 … 0
    ASSERT_EQ(pool.Count(), 2);
    EXPECT_EQ(std::pair(pool.GetVector(0, daVertex).x, pool.GetVector(1, daVertex).x), std::pair(6.0, 7.0));
    TOrnPrimitivePoints a, b;
    a.Add(1, 0, 0);
    b.Add({2, 0, 0}, {0, 0, 1}, {});
    b.Add({3, 0, 0}, {0, 0, 1}, {});
    b.SetFlag(1, 0, true);
    EXPECT_EQ(a.Add(b), 1);
    EXPECT_TRUE(a.Count() == 3 && a.GetFlag(2, 0) && !a.GetFlag(1, 0));
    const auto version = a.Version();
    a.Add(4, 0, 0); // appends leave the version
    EXPECT_EQ(a.Version(), version);
    a.ScalePoints(2, 3, 4);
    a.MovePoints(1, 1, 1);
    EXPECT_NE(a.Version(), version);
    EXPECT_EQ(a.GetVector(2, daVertex), (TOrnMathVector{7, 1, 1}));
    a.LiftPoint(2, 2); // along the normal
    EXPECT_EQ(a.GetVector(2, daVertex), (TOrnMathVector{7, 1, 3}));
    TOrnPrimitivePoints whole;
    whole.SetDefineArrays({daVertex, daNormal, daTexture, daColor, daEdgeFlag, daFlag});
    TOrnPointItem in;
    in.Point()->SetValues(1, 2, 3);
    in.Normal()->SetValues(0, 1, 0);
    in.Texture()->SetValues(0.5f, 0.75f, 0);
    in.Color()->SetColor(0x0000FF); // red in the host's byte order
    test::Set(in, {{"Flag", 5}, {"EdgeFlag", 0}});
    ASSERT_EQ(whole.Add(in), 0);
    whole.SetValues(0, 3, daColor, 0.25);
    whole.SetValues(0, 1, daVertex, 7.5);
    whole.SetValues(0, 3, daVertex, 9); // no fourth component of a position
    EXPECT_EQ(whole.GetValues(0, 3, daVertex) + whole.GetValues(40, 0, daVertex), 0);
    TOrnPointItem out;
    whole.GetPoint(0, out);
    EXPECT_EQ((std::array{out.Point()->AsMathVector(), out.Normal()->AsMathVector(),
                          out.Texture()->AsMathVector()}),
              (std::array<TOrnMathVector, 3>{{{1, 7.5, 3}, {0, 1, 0}, {0.5, 0.75, 0}}}));
    EXPECT_EQ(std::tuple(out.Color()->Color(), out.Color()->Alpha(), out.Flag(), out.EdgeFlag()),
              std::tuple(TColor(0x0000FF), 0.25f, 5, false));
}

// Each list of in, given the type to (or inverted), holds out; a refused switch keeps the type.
TEST(TOrnPrimitiveArray, SetTypeConvertsOnlyTheAllowedPairsKeepingEveryFaceAndItsWindingAndEditsClamp) {
    const GLenum invert = 0xFFFF;
    const struct {
        GLenum from, to;
        Idx in, out;
        bool refused = false;
    } cases[] = {
        {GL_LINE_STRIP, GL_TRIANGLES, {0, 1, 2, 3}, {0, 1, 2, 3}, true},
        {GL_LINE_STRIP, GL_POLYGON, {0, 1, 2, 3}, {0, 1, 2, 3}},
        {GL_POLYGON, GL_LINE_LOOP, {0, 1, 2, 3}, {0, 1, 2, 3}},
        {GL_TRIANGLE_STRIP, GL_QUAD_STRIP, {0, 1, 2, 3}, {0, 1, 2, 3}},
        {GL_QUAD_STRIP, GL_POINTS, {0, 1, 2, 3}, {0, 1, 2, 3}, true},
        {GL_TRIANGLE_FAN, GL_QUADS, {0, 1, 2, 3}, {0, 1, 2, 3}, true},
        {GL_LINE_STRIP, GL_TRIANGLES, {}, {}}, // an empty list takes any type
        {GL_TRIANGLE_STRIP, GL_TRIANGLES, {0, 1, 2, 3, 4}, {0, 1, 2, 2, 1, 3, 2, 3, 4}},
        {GL_QUADS, GL_TRIANGLES, {0, 1, 2, 3, 4, 5, 6, 7}, {0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7}},
        {GL_TRIANGLE_FAN, GL_TRIANGLES, {0, 1, 2, 3}, {1, 2, 0, 2, 3, 0}},
        {GL_QUAD_STRIP, GL_TRIANGLES, {0, 1, 2, 3, 4}, {0, 1, 2, 2, 1, 3}}, // odd: the last is dropped
        {GL_QUAD_STRIP, GL_QUADS, {0, 1, 2, 3, 4, 5}, {0, 1, 3, 2, 2, 3, 5, 4}},
        {GL_QUAD_STRIP, GL_QUADS, {0, 1, 2, 3, 4}, {0, 1, 3, 2, 2, 3, 4, 4}},
        {GL_TRIANGLES, invert, {0, 1, 2, 3, 4, 5}, {1, 0, 2, 4, 3, 5}},
        {GL_TRIANGLE_FAN, invert, {0, 1, 2, 3}, {0, 3, 2, 1}},
        {GL_TRIANGLE_STRIP, invert, {0, 1, 2, 3, 4}, {4, 3, 2, 1, 0}},
        {GL_TRIANGLE_STRIP,
         invert,
         {0, 1, 2, 3},
         {0, 0, 1, 2, 3}}, // even: a degenerate first shifts the parity
        {GL_QUADS, invert, {0, 1, 2, 3}, {0, 3, 2, 1}},
        {GL_QUAD_STRIP, invert, {0, 1, 2, 3}, {1, 0, 3, 2}},
        {GL_POLYGON, invert, {0, 1, 2, 3}, {3, 2, 1, 0}},
        {GL_LINE_STRIP, invert, {0, 1, 2, 3}, {0, 1, 2, 3}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.from << " -> " << c.to << " of " << c.in.size());
        auto list = make(c.from, c.in);
        c.to == invert ? list->Invert() : list->SetType(c.to);
        const GLenum type = c.refused || c.to == invert ? c.from : c.to;
        EXPECT_EQ(std::pair(list->Type(), Entries(list.get())), std::pair(type, c.out));
    }
    // A list grows by twelve, clamps every position and adds only its own type.
    auto grown = make(GL_TRIANGLES, {1, 2});
    EXPECT_EQ(grown->Size(), 12);
    grown->SetIndices(11, 9); // indices reach Size, not Count
    EXPECT_EQ(grown->Indices(11), 9u);
    grown->SetIndices(12, 9);
    EXPECT_EQ(grown->Indices(12) + grown->Indices(-1), 0u);
    grown->Insert(-5, 0);
    grown->Insert(99, 3);
    grown->Insert(2, 9);
    EXPECT_EQ(Entries(grown.get()), (Idx{0, 1, 9, 2, 3}));
    grown->Delete(-2, 4); // only positions 0 and 1 of −2 … 1 exist
    grown->Delete(-3, 2);
    grown->Delete(0, 0);
    EXPECT_EQ(Entries(grown.get()), (Idx{9, 2, 3}));
    grown->Delete(1, 99);
    grown->Add(*make(GL_TRIANGLES, {0, 2, 1}), 10);
    grown->Add(*make(GL_QUADS, {0, 1, 2, 3}), 10);
    EXPECT_EQ(Entries(grown.get()), (Idx{9, 10, 12, 11}));
    for (std::uint32_t i = 0; i < 9; ++i)
        grown->AddIndex(i);
    EXPECT_EQ(std::pair(grown->Count(), grown->Size()), std::pair(13, 24));
    grown->SetSize(2);
    EXPECT_EQ(Entries(grown.get()), (Idx{9, 10}));
}
