#include "geometry/GeometryTestSupport.h"

#include <orn/geometry/TOrnBox.h>
#include <orn/geometry/TOrnCylinder.h>
#include <orn/geometry/TOrnDisc.h>
#include <orn/geometry/TOrnLine.h>
#include <orn/geometry/TOrnPoint.h>
#include <orn/geometry/TOrnRectangle.h>
#include <orn/geometry/TOrnSphere.h>
#include <orn/geometry/TOrnTorus.h>
#include <orn/geometry/TOrnTriangle.h>
#include <orn/host/EOrnError.h>
#include <orn/math/TOrnCustomExchange.h>
#include <orn/math/TOrnPropList.h>
#include <orn/objects/TOrn3DText.h>
#include <orn/objects/TOrn3dObj.h>
#include <orn/objects/TOrnPointSet.h>
#include <orn/objects/TOrnTube.h>
#include <orn/scene/TOrnRegistry.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <set>

using namespace orn;
using orn::test::At;
using orn::test::OpenEdges;
using Idx = std::vector<std::uint32_t>;

namespace {

struct ShapeFixture : ::testing::Test {
    TComponent form{nullptr};
};

/// Builds o with texture coordinates, which come with texturing only.
void BuildTextured(TOrnPrimitiveObj& o) {
    o.SetTextured(true);
    o.Init();
}

struct PointAt {
    int i;
    TOrnMathVector p, n;
    double s, t;
};

/// Each point i sits at p with normal n and texture coordinate (s, t).
void expectPoints(const TOrnPrimitiveObj& o, std::initializer_list<PointAt> points) {
    for (const PointAt& e : points) {
        const std::string what = std::string(o.ClassName()) + " point " + std::to_string(e.i);
        test::ExpectNear(At(o, e.i), e.p, what);
        test::ExpectNear(At(o, e.i, daNormal), e.n, what + " normal");
        test::ExpectNear(At(o, e.i, daTexture), {e.s, e.t, 0}, what + " texture");
    }
}

} // namespace

TEST_F(ShapeFixture, FlatFiguresLieInXZFacingWhereTheirWindingSays) {
    TOrnPoint point(&form);
    BuildTextured(point);
    ASSERT_EQ(point.Points()->Count(), 1);
    expectPoints(point, {{0, {0, 0, 0}, {0, 0, 1}, 0, 0}});
    TOrnLine line(&form); // from the origin along +z
    line.SetLength(2.5f);
    BuildTextured(line);
    expectPoints(line, {{0, {0, 0, 0}, {0, 0, 1}, 0, 0}, {1, {0, 0, 2.5}, {0, 0, 1}, 0, 1}});
    for (auto [o, type, idx] :
         {std::tuple<TOrnPrimitiveObj*, GLenum, Idx>{&point, GL_POINTS, {0}}, {&line, GL_LINES, {0, 1}}}) {
        EXPECT_EQ(o->Primitive(0)->Type(), static_cast<GLenum>(type));
        EXPECT_EQ(test::Entries(o->Primitive(0)), idx);
    }

    TOrnTriangle t(&form); // apex at the origin, base at z = Height, texture scaled and shifted
    t.SetBase(2);
    t.SetHeight(3);
    t.TextureFlags()->SetScaleX(2);
    t.TextureFlags()->SetShiftX(1);
    t.TextureFlags()->SetScaleY(4);
    t.TextureFlags()->SetShiftY(0.5);
    BuildTextured(t);
    expectPoints(t, {{0, {0, 0, 0}, {0, 1, 0}, 2, 4.5},
                     {1, {-1, 0, 3}, {0, 1, 0}, 1, 0.5},
                     {2, {1, 0, 3}, {0, 1, 0}, 3, 0.5}});

    TOrnRectangle r(&form); // centred in x, from z = Height at row 0 down to z = 0
    r.SetDetX(3);
    r.SetDetY(2);
    r.SetWidth(6);
    r.SetHeight(4);
    BuildTextured(r);
    EXPECT_EQ(r.Points()->Count(), 12);
    ASSERT_EQ(r.PrimitiveCount(), 2);
    EXPECT_EQ(r.Primitive(1)->Type(), static_cast<GLenum>(GL_QUAD_STRIP));
    EXPECT_EQ(test::Entries(r.Primitive(0)), (Idx{4, 0, 5, 1, 6, 2, 7, 3}));
    EXPECT_EQ(test::Entries(r.Primitive(1)), (Idx{8, 4, 9, 5, 10, 6, 11, 7}));
    expectPoints(r, {{0, {-3, 0, 4}, {0, 1, 0}, 0, 0},
                     {6, {1, 0, 2}, {0, 1, 0}, 2.0 / 3, 0.5},
                     {11, {3, 0, 0}, {0, 1, 0}, 1, 1}});
}

TEST_F(ShapeFixture, SmallShapesPutTheirPointsNormalsAndTextureWhereTheySay) {
    TOrnSphere s(&form); // rows from the north pole down, columns from +z towards +x
    s.SetRadius(2);
    s.SetSlices(4);
    s.SetStacks(2);
    BuildTextured(s);
    ASSERT_EQ(s.Points()->Count(), 15);
    expectPoints(s, {{0, {0, 2, 0}, {0, 1, 0}, 0, 1},
                     {5, {0, 0, 2}, {0, 0, 1}, 0, 0.5},
                     {6, {2, 0, 0}, {1, 0, 0}, 0.25, 0.5},
                     {9, {0, 0, 2}, {0, 0, 1}, 1, 0.5}, // the seam: the first column again at s = 1
                     {14, {0, -2, 0}, {0, -1, 0}, 1, 0}});

    TOrnCylinder c(&form); // side rows from the base up, then the bottom and the top cap
    c.SetSlices(4);
    c.SetStacks(1);
    c.SetBaseRadius(2);
    c.SetTopRadius(1);
    c.SetHeight(3);
    BuildTextured(c);
    ASSERT_EQ(c.Points()->Count(), 10 + 6 + 6);
    const double k = 1 / std::sqrt(10.0); // the side leans in by 1 over a height of 3
    expectPoints(c, {{0, {0, 0, 2}, {0, k, 3 * k}, 0, 0},
                     {1, {2, 0, 0}, {3 * k, k, 0}, 0.25, 0},
                     {5, {0, 3, 1}, {0, k, 3 * k}, 0, 1},
                     {10, {0, 0, 0}, {0, -1, 0}, 0.5, 0.5},
                     {16, {0, 3, 0}, {0, 1, 0}, 0.5, 0.5},
                     {17, {0, 3, 1}, {0, 1, 0}, 0.5, 1}});

    TOrnDisc d(&form); // loops from the inner rim out, texture planar over the outer radius
    d.SetSlices(4);
    d.SetLoops(1);
    d.SetInnerRadius(0.5f);
    d.SetOuterRadius(2);
    BuildTextured(d);
    ASSERT_EQ(d.Points()->Count(), 10);
    expectPoints(d, {{0, {0, 0, 0.5}, {0, 1, 0}, 0.5, 0.625}, {6, {2, 0, 0}, {0, 1, 0}, 1, 0.5}});

    TOrnTorus t(&form); // rings around y from +z, sides around the tube from outside
    t.SetSides(4);
    t.SetRings(4);
    t.SetRingRadius(2);
    t.SetTubeRadius(0.5f);
    BuildTextured(t);
    ASSERT_EQ(t.Points()->Count(), 25);
    expectPoints(t, {{0, {0, 0, 2.5}, {0, 0, 1}, 0, 0},
                     {2, {0, 0, 1.5}, {0, 0, -1}, 0, 0.5},
                     {6, {2, 0.5, 0}, {0, 1, 0}, 0.25, 0.25}});
    EXPECT_EQ(std::vector<int>({s.PrimitiveCount(), c.PrimitiveCount(), t.PrimitiveCount()}),
              std::vector<int>({2, 3, 4}));
    // Seams: the sphere's poles and first and last columns, the torus's first and last rings and sides.
    using Seam = std::tuple<TOrnPrimitiveObj*, int, bool>;
    for (auto [o, i, seam] : {Seam{&s, 0, true}, Seam{&s, 5, true}, Seam{&s, 9, true}, Seam{&s, 6, false},
                              Seam{&s, 14, true}, Seam{&t, 22, true}, Seam{&t, 9, true}, Seam{&t, 12, false}})
        EXPECT_EQ(o->Points()->GetFlag(i, 0), seam) << o->ClassName() << " point " << i;
}

TEST_F(ShapeFixture, BoxFacesAreQuadsOfTheirSizeEachWithItsOwnNormalAndFullTexture) {
    TOrnBox b(&form);
    b.SetWidth(2);
    b.SetHeight(4);
    b.SetDepth(6);
    BuildTextured(b);
    ASSERT_EQ(b.Points()->Count(), 24);
    std::map<std::tuple<double, double, double>, std::set<std::pair<double, double>>> faces;
    for (int i = 0; i < 24; ++i) {
        const TOrnMathVector p = At(b, i), n = At(b, i, daNormal), tx = At(b, i, daTexture);
        EXPECT_EQ(std::fabs(p.x) + std::fabs(p.y) * 10 + std::fabs(p.z) * 100, 1 + 20 + 300) << i; // a corner
        EXPECT_EQ(p.x * n.x + p.y * n.y + p.z * n.z,
                  std::fabs(n.x) * 1 + std::fabs(n.y) * 2 + std::fabs(n.z) * 3)
            << i; // on the face its normal names
        faces[{n.x, n.y, n.z}].insert({tx.x, tx.y});
    }
    const std::set<std::pair<double, double>> corners = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
    EXPECT_EQ(faces, (decltype(faces){{{1, 0, 0}, corners},
                                      {{-1, 0, 0}, corners},
                                      {{0, 1, 0}, corners},
                                      {{0, -1, 0}, corners},
                                      {{0, 0, 1}, corners},
                                      {{0, 0, -1}, corners}}));
    b.SetDetailX(2);
    b.SetDetailY(3);
    b.Init();
    EXPECT_EQ(b.Points()->Count(), 2 * 3 * 4 + 2 * 4 * 2 + 2 * 3 * 2);
}

TEST_F(ShapeFixture, EveryDetailGivesAClosedSurfaceOnItsShapeWithOutwardNormals) {
    TOrnSphere sphere(&form);
    sphere.SetRadius(2.5f);
    TOrnCylinder cone(&form);
    cone.SetBaseRadius(2);
    cone.SetTopRadius(1);
    cone.SetHeight(3);
    TOrnTorus torus(&form);
    torus.SetRingRadius(2);
    torus.SetTubeRadius(0.5f);
    TOrnBox box(&form);
    box.SetWidth(2);
    box.SetHeight(4);
    box.SetDepth(6);
    const struct {
        TOrnPrimitiveObj* shape;
        std::function<void(int, int)> detail;
        std::function<double(const TOrnMathVector&)> off; // distance from the surface
    } cases[] = {
        {&sphere, [&](int a, int b) { sphere.SetSlices(a), sphere.SetStacks(b); },
         [](const TOrnMathVector& p) { return test::Length(p) - 2.5; }},
        {&cone, [&](int a, int b) { cone.SetSlices(a), cone.SetStacks(b); },
         [](const TOrnMathVector& p) { return std::hypot(p.x, p.z) - (2 - p.y / 3); }},
        {&torus, [&](int a, int b) { torus.SetSides(a), torus.SetRings(b); },
         [](const TOrnMathVector& p) { return std::hypot(std::hypot(p.x, p.z) - 2, p.y) - 0.5; }},
        {&box, [&](int a, int b) { box.SetDetailX(a), box.SetDetailY(b), box.SetDetailZ(a + b); },
         [](const TOrnMathVector& p) {
             return std::max({std::fabs(p.x) - 1, std::fabs(p.y) - 2, std::fabs(p.z) - 3});
         }},
    };
    for (const auto& c : cases)
        for (auto [a, b] : {std::pair{3, 3}, {8, 5}, {61, 40}}) {
            const std::string what =
                std::string(c.shape->ClassName()) + " " + std::to_string(a) + "x" + std::to_string(b);
            c.detail(a, b);
            c.shape->Init();
            const int sides = c.shape == &cone ? (a + 1) * (b + 1) : c.shape->Points()->Count();
            for (int i = 0; i < sides; ++i)
                ASSERT_NEAR(c.off(At(*c.shape, i)), 0, 1e-12) << what << " point " << i;
            EXPECT_EQ(OpenEdges(*c.shape), 0) << what;
            test::ExpectSoundMesh(*c.shape, what);
        }
}

TEST_F(ShapeFixture, OpenShapesConesAndPartialSweeps) {
    TOrnSphere s(&form);
    s.SetSlices(4);
    s.SetStacks(2);
    s.SetSweepAngle(180);
    s.SetTopAngle(90);
    s.Init();
    for (int i = 0; i < s.Points()->Count(); ++i)
        EXPECT_TRUE(At(s, i).x >= -1e-12 && At(s, i).y <= 1e-12) << i; // towards +x, below the equator
    EXPECT_FALSE(s.Points()->GetFlag(4, 0));                           // an open sweep has no seam
    EXPECT_GT(OpenEdges(s), 0);

    TOrnCylinder cone(&form);
    cone.SetTopRadius(0);
    cone.SetStacks(3);
    cone.Init();
    EXPECT_EQ(cone.PrimitiveCount(), 4); // three side bands and the base cap
    EXPECT_EQ(OpenEdges(cone), 0);
    cone.SetCaps(false);
    cone.Init();
    EXPECT_EQ(OpenEdges(cone), 24); // the rim of the base

    TOrnDisc full(&form);
    full.SetSlices(10);
    full.SetLoops(2);
    full.Init();
    EXPECT_EQ(OpenEdges(full), 10); // the centre closes up
    full.SetSweepAngle(90);
    full.Init();
    EXPECT_EQ(OpenEdges(full), 10 + 2 * 2); // the rim and two radial sides of two loops
}

// What a setter refuses leaves the value and the build as they were (a kept value of NAN), or is
// clamped to the value given: details below one, negative or undefined depths, sizes and steps.
TEST_F(ShapeFixture, SettersRefuseOrClampValuesOutOfRangeOfEveryClass) {
    const double kept = NAN;
    const struct {
        const char *cls, *prop;
        double bad, result;
    } cases[] = {{"TOrnRectangle", "DetailX", 0, kept}, {"TOrnRectangle", "DetailY", -3, kept},
                 {"TOrnSphere", "Slices", 0, kept},     {"TOrnSphere", "Stacks", -3, kept},
                 {"TOrnCylinder", "Slices", 0, kept},   {"TOrnCylinder", "Stacks", -3, kept},
                 {"TOrnDisc", "Slices", 0, kept},       {"TOrnDisc", "Loops", -3, kept},
                 {"TOrnTorus", "Sides", 0, kept},       {"TOrnTorus", "Rings", -3, kept},
                 {"TOrnBox", "DetailX", 0, kept},       {"TOrnBox", "DetailY", -3, kept},
                 {"TOrnBox", "DetailZ", 0, kept},       {"TOrnTube", "Slices", 2, kept},
                 {"TOrnTube", "PathSteps", 0, kept},    {"TOrn3DText", "Depth", -1, kept},
                 {"TOrn3DText", "Depth", NAN, kept},    {"TOrn3DText", "Detail", 0, kept},
                 {"TOrn3DText", "Detail", 1.5, kept},   {"TOrn3DText", "Detail", NAN, kept},
                 {"TOrnLabel", "Width", -5, 0},         {"TOrnLabel", "Height", -1, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.cls) + "." + c.prop + " = " + std::to_string(c.bad));
        TComponent* made = GetRenderClass(c.cls)->Create(&form);
        auto* item = dynamic_cast<TOrnExchangeItem*>(made);
        ASSERT_NE(item, nullptr);
        const TOrnPropInfo* p = nullptr;
        for (const TOrnPropInfo* q : item->Properties()->All())
            p = q->name == c.prop ? q : p;
        ASSERT_NE(p, nullptr);
        auto* shape = dynamic_cast<TOrnPrimitiveObj*>(made);
        if (shape) shape->Init();
        const auto number = [&](const TOrnPropValue& v) {
            return p->kind == pkInt ? double(std::get<std::int64_t>(v)) : std::get<double>(v);
        };
        const double before = number(p->get(*item));
        p->set(*item, p->kind == pkInt ? TOrnPropValue(std::int64_t(c.bad)) : TOrnPropValue(c.bad));
        EXPECT_EQ(number(p->get(*item)), std::isnan(c.result) ? before : c.result);
        EXPECT_TRUE(!shape || !std::isnan(c.result) || shape->Initialized());
    }
    TOrnRectangle r(&form);
    r.SetDetX(1 << 20);
    r.SetDetY(1 << 20);
    EXPECT_THROW(r.Init(), EOrnError);
}

// Every class, fresh and in shapes that exercise its other paths (caps, partial sweeps, counters,
// tube caps, grids), builds indices that name its points and faces wound the way its normals point.
TEST_F(ShapeFixture, EveryShapeAndObjectBuildsASoundMeshTexturedOrNot) {
    std::vector<TOrnPrimitiveObj*> objects;
    for (TComponentClass cls : GetRenderClassList())
        if (auto* o = dynamic_cast<TOrnPrimitiveObj*>(cls->Create(&form))) objects.push_back(o);
    ASSERT_GE(objects.size(), 15u);
    auto* sphere = new TOrnSphere(&form);
    sphere->SetSweepAngle(180);
    sphere->SetTopAngle(90);
    auto* cone = new TOrnCylinder(&form);
    cone->SetTopRadius(0);
    cone->SetStacks(3);
    auto* disc = new TOrnDisc(&form);
    disc->SetSweepAngle(90);
    disc->SetLoops(2);
    for (TOrnClosed closed : {TOrnClosed::TopBottom, TOrnClosed::Top})
        for (TOrn3dObjects art : {TOrn3dObjects::Cylinder, TOrn3dObjects::Sphere, TOrn3dObjects::Torus}) {
            auto* rot = new TOrn3dObj(&form);
            rot->SetObjArt(art);
            rot->SetClosed(closed);
            objects.push_back(rot);
        }
    auto* tube = new TOrnTube(&form);
    for (TOrnMathVector p : {TOrnMathVector{0, 0, 0}, {2, 0, 0}, {2, 1, 1}})
        tube->Add(p);
    tube->SetCapStart(true);
    tube->SetCapEnd(true);
    auto* text = new TOrn3DText(&form);
    text->SetCaption("HOLA 8");
    auto* grid = new TOrnPointSet(&form);
    grid->ReadFromText("0 1 2\n1 3 1\n2 1 0\n", "hills.txt");
    objects.insert(objects.end(), {sphere, cone, disc, tube, text, grid});
    for (bool textured : {false, true})
        for (TOrnPrimitiveObj* o : objects) {
            o->SetTextured(textured);
            o->Init();
            test::ExpectSoundMesh(*o, std::string(o->ClassName()) + (textured ? " textured" : ""));
            EXPECT_EQ(o->Points()->HasArray(daTexture), textured && o->Points()->Count() > 0)
                << o->ClassName();
        }
}

TEST_F(ShapeFixture, ShapesAtTheirDefaultsWrapTheWholeTextureOnce) {
    for (TOrnPrimitiveObj* o : std::vector<TOrnPrimitiveObj*>{new TOrnBox(&form), new TOrnCylinder(&form),
                                                              new TOrnDisc(&form), new TOrnRectangle(&form),
                                                              new TOrnSphere(&form), new TOrnTorus(&form)}) {
        BuildTextured(*o);
        std::array<double, 4> span{1, 0, 1, 0}; // s from, s to, t from, t to
        for (int i = 0; i < o->Points()->Count(); ++i) {
            const TOrnMathVector st = At(*o, i, daTexture);
            span = {std::min(span[0], st.x), std::max(span[1], st.x), std::min(span[2], st.y),
                    std::max(span[3], st.y)};
        }
        EXPECT_EQ(span, (std::array<double, 4>{0, 1, 0, 1})) << o->ClassName();
    }
}
