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
#include <orn/objects/TOrn3DText.h>
#include <orn/objects/TOrn3dObj.h>
#include <orn/objects/TOrnPointSet.h>
#include <orn/objects/TOrnTube.h>
#include <orn/scene/TOrnNode.h>
#include <orn/scene/TOrnRegistry.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <set>

using namespace orn;
using namespace orn::test;

namespace {

struct ShapeFixture : ::testing::Test {
    TComponent form{nullptr};
    template <class T> T& Make(test::Values values = {}) {
        auto* t = new T(&form);
        test::Set(*t, values);
        return *t;
    }
    /// Built with texture coordinates, which come with texturing only.
    template <class T> T& Built(test::Values values, test::Values texture = {}) {
        T& t = Make<T>(values);
        test::Set(*t.TextureFlags(), texture);
        t.SetTextured(true);
        t.Init();
        return t;
    }
};

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

TEST_F(ShapeFixture, SmallShapesAndFlatFiguresInXZPutTheirPointsNormalsAndTextureWhereTheySay) {
    auto& point = Built<TOrnPoint>({});
    ASSERT_EQ(point.Points()->Count(), 1);
    expectPoints(point, {{0, {0, 0, 0}, {0, 0, 1}, 0, 0}});
    auto& line = Built<TOrnLine>({{"Length", 2.5}}); // from the origin along +z
    expectPoints(line, {{0, {0, 0, 0}, {0, 0, 1}, 0, 0}, {1, {0, 0, 2.5}, {0, 0, 1}, 0, 1}});
    EXPECT_EQ((std::array{point.Primitive(0)->Type(), line.Primitive(0)->Type()}),
              (std::array<GLenum, 2>{GL_POINTS, GL_LINES}));
    EXPECT_EQ((std::array{Entries(point.Primitive(0)), Entries(line.Primitive(0))}),
              (std::array{Idx{0}, Idx{0, 1}}));
    // The triangle's apex at the origin, its base at z = Height, its texture scaled and shifted.
    auto& tri = Built<TOrnTriangle>({{"Base", 2}, {"Height", 3}},
                                    {{"ScaleX", 2}, {"ShiftX", 1}, {"ScaleY", 4}, {"ShiftY", 0.5}});
    expectPoints(tri, {{0, {0, 0, 0}, {0, 1, 0}, 2, 4.5},
                       {1, {-1, 0, 3}, {0, 1, 0}, 1, 0.5},
                       {2, {1, 0, 3}, {0, 1, 0}, 3, 0.5}});
    // The rectangle centred in x, from z = Height at row 0 down to z = 0.
    auto& r = Built<TOrnRectangle>({{"DetailX", 3}, {"DetailY", 2}, {"Width", 6}, {"Height", 4}},
                                   {{"ScaleX", 2}, {"ShiftX", 1}, {"ScaleY", 4}, {"ShiftY", 0.5}});
    EXPECT_EQ(r.Points()->Count(), 12);
    ASSERT_EQ(r.PrimitiveCount(), 2);
    EXPECT_EQ(r.Primitive(1)->Type(), static_cast<GLenum>(GL_QUAD_STRIP));
    EXPECT_EQ(test::Entries(r.Primitive(0)), (Idx{4, 0, 5, 1, 6, 2, 7, 3}));
    EXPECT_EQ(test::Entries(r.Primitive(1)), (Idx{8, 4, 9, 5, 10, 6, 11, 7}));
    expectPoints(r, {{0, {-3, 0, 4}, {0, 1, 0}, 1, 0.5},
                     {6, {1, 0, 2}, {0, 1, 0}, 7.0 / 3, 2.5},
                     {11, {3, 0, 0}, {0, 1, 0}, 3, 4.5}});
    // The sphere's rows from the north pole down, columns from +z towards +x.
    auto& s = Built<TOrnSphere>({{"Radius", 2}, {"Slices", 4}, {"Stacks", 2}});
    ASSERT_EQ(s.Points()->Count(), 15);
    expectPoints(s, {{0, {0, 2, 0}, {0, 1, 0}, 0, 1},
                     {5, {0, 0, 2}, {0, 0, 1}, 0, 0.5},
                     {6, {2, 0, 0}, {1, 0, 0}, 0.25, 0.5},
                     {9, {0, 0, 2}, {0, 0, 1}, 1, 0.5}, // the seam: the first column again at s = 1
                     {14, {0, -2, 0}, {0, -1, 0}, 1, 0}});
    // Cylinder side rows from the base up, then the bottom and the top cap.
    auto& c = Built<TOrnCylinder>(
        {{"Slices", 4}, {"Stacks", 1}, {"BaseRadius", 2}, {"TopRadius", 1}, {"Height", 3}});
    ASSERT_EQ(c.Points()->Count(), 10 + 6 + 6);
    const double k = 1 / std::sqrt(10.0); // the side leans in by 1 over a height of 3
    expectPoints(c, {{0, {0, 0, 2}, {0, k, 3 * k}, 0, 0},
                     {1, {2, 0, 0}, {3 * k, k, 0}, 0.25, 0},
                     {5, {0, 3, 1}, {0, k, 3 * k}, 0, 1},
                     {10, {0, 0, 0}, {0, -1, 0}, 0.5, 0.5},
                     {16, {0, 3, 0}, {0, 1, 0}, 0.5, 0.5},
                     {17, {0, 3, 1}, {0, 1, 0}, 0.5, 1}});
    // Disc loops from the inner rim out, texture planar over the outer radius.
    auto& d = Built<TOrnDisc>({{"Slices", 4}, {"Loops", 1}, {"InnerRadius", 0.5}, {"OuterRadius", 2}});
    ASSERT_EQ(d.Points()->Count(), 10);
    expectPoints(d, {{0, {0, 0, 0.5}, {0, 1, 0}, 0.5, 0.625}, {6, {2, 0, 0}, {0, 1, 0}, 1, 0.5}});
    // Torus rings around y from +z, sides around the tube from outside.
    auto& t = Built<TOrnTorus>({{"Sides", 4}, {"Rings", 4}, {"RingRadius", 2}, {"TubeRadius", 0.5}});
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
    // Box faces are quads of their size, each with its own normal and the full texture.
    auto& b = Built<TOrnBox>({{"Width", 2}, {"Height", 4}, {"Depth", 6}});
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
    test::Set(b, {{"DetailX", 2}, {"DetailY", 3}});
    b.Init();
    EXPECT_EQ(b.Points()->Count(), 2 * 3 * 4 + 2 * 4 * 2 + 2 * 3 * 2);
}

TEST_F(ShapeFixture, EveryDetailGivesAClosedSurfaceOnItsShapeWithOutwardNormalsUnlessOpen) {
    auto& cone = Make<TOrnCylinder>({{"BaseRadius", 2}, {"TopRadius", 1}, {"Height", 3}});
    const struct {
        TOrnPrimitiveObj* shape;
        const char *a, *b;
        std::function<double(const TOrnMathVector&)> off; // distance from the surface
        const char* c = nullptr;                          // a third detail, set to a + b
    } cases[] = {
        {&Make<TOrnSphere>({{"Radius", 2.5}}), "Slices", "Stacks",
         [](const TOrnMathVector& p) { return test::Length(p) - 2.5; }},
        {&cone, "Slices", "Stacks",
         [](const TOrnMathVector& p) { return std::hypot(p.x, p.z) - (2 - p.y / 3); }},
        {&Make<TOrnTorus>({{"RingRadius", 2}, {"TubeRadius", 0.5}}), "Sides", "Rings",
         [](const TOrnMathVector& p) { return std::hypot(std::hypot(p.x, p.z) - 2, p.y) - 0.5; }},
        {&Make<TOrnBox>({{"Width", 2}, {"Height", 4}, {"Depth", 6}}), "DetailX", "DetailY",
         [](const TOrnMathVector& p) {
             return std::max({std::fabs(p.x) - 1, std::fabs(p.y) - 2, std::fabs(p.z) - 3});
         },
         "DetailZ"},
    };
    for (const auto& c : cases)
        for (auto [a, b] : {std::pair{3, 3}, {8, 5}, {61, 40}}) {
            const std::string what =
                std::string(c.shape->ClassName()) + " " + std::to_string(a) + "x" + std::to_string(b);
            test::Set(*c.shape, {{c.a, a}, {c.b, b}, {c.c ? c.c : c.a, c.c ? a + b : a}});
            c.shape->Init();
            const int sides = c.shape == &cone ? (a + 1) * (b + 1) : c.shape->Points()->Count();
            for (int i = 0; i < sides; ++i)
                ASSERT_NEAR(c.off(At(*c.shape, i)), 0, 1e-12) << what << " point " << i;
            EXPECT_EQ(OpenEdges(*c.shape), 0) << what;
            test::ExpectSoundMesh(*c.shape, what);
        }
    // A partial sweep, a pointed cone with and without its cap, a full and a partial disc.
    auto& s = Make<TOrnSphere>({{"Slices", 4}, {"Stacks", 2}, {"SweepAngle", 180}, {"TopAngle", 90}});
    s.Init();
    for (int i = 0; i < s.Points()->Count(); ++i)
        EXPECT_TRUE(At(s, i).x >= -1e-12 && At(s, i).y <= 1e-12) << i; // towards +x, below the equator
    EXPECT_FALSE(s.Points()->GetFlag(4, 0));                           // an open sweep has no seam
    EXPECT_GT(OpenEdges(s), 0);
    auto& pointed = Make<TOrnCylinder>({{"TopRadius", 0}, {"Stacks", 3}});
    pointed.Init();
    EXPECT_EQ(pointed.PrimitiveCount(), 4); // three side bands and the base cap
    EXPECT_EQ(OpenEdges(pointed), 0);
    test::Set(pointed, {{"Caps", 0}});
    pointed.Init();
    EXPECT_EQ(OpenEdges(pointed), 24); // the rim of the base
    auto& full = Make<TOrnDisc>({{"Slices", 10}, {"Loops", 2}});
    full.Init();
    EXPECT_EQ(OpenEdges(full), 10); // the centre closes up
    test::Set(full, {{"SweepAngle", 90}});
    full.Init();
    EXPECT_EQ(OpenEdges(full), 10 + 2 * 2); // the rim and two radial sides of two loops
}

// Every class, fresh and in shapes that exercise its other paths (caps, partial sweeps, counters,
// tube caps, grids), builds indices that name its points and faces wound the way its normals point;
// the basic shapes at their defaults wrap the whole texture once.
TEST_F(ShapeFixture, EveryShapeAndObjectBuildsASoundMeshWrapsItsTextureAndRefusesOrClampsValuesOutOfRange) {
    std::vector<TOrnPrimitiveObj*> objects;
    for (TComponentClass cls : GetRenderClassList())
        if (auto* o = dynamic_cast<TOrnPrimitiveObj*>(cls->Create(&form))) objects.push_back(o);
    ASSERT_GE(objects.size(), 15u);
    const std::size_t fresh = objects.size();
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
    objects.insert(objects.end(), {&Make<TOrnSphere>({{"SweepAngle", 180}, {"TopAngle", 90}}),
                                   &Make<TOrnCylinder>({{"TopRadius", 0}, {"Stacks", 3}}),
                                   &Make<TOrnDisc>({{"SweepAngle", 90}, {"Loops", 2}}), tube, text, grid});
    const std::set<std::string> wrapOnce = {"TOrnBox",       "TOrnCylinder", "TOrnDisc",
                                            "TOrnRectangle", "TOrnSphere",   "TOrnTorus"};
    for (bool textured : {false, true})
        for (std::size_t k = 0; k < objects.size(); ++k) {
            TOrnPrimitiveObj* o = objects[k];
            o->SetTextured(textured);
            o->Init();
            test::ExpectSoundMesh(*o, std::string(o->ClassName()) + (textured ? " textured" : ""));
            EXPECT_EQ(o->Points()->HasArray(daTexture), textured && o->Points()->Count() > 0)
                << o->ClassName();
            if (!textured || k >= fresh || !wrapOnce.count(o->ClassName())) continue;
            std::array<double, 4> span{1, 0, 1, 0}; // s from, s to, t from, t to: the whole texture once
            for (int i = 0; i < o->Points()->Count(); ++i) {
                const TOrnMathVector st = At(*o, i, daTexture);
                span = {std::min(span[0], st.x), std::max(span[1], st.x), std::min(span[2], st.y),
                        std::max(span[3], st.y)};
            }
            EXPECT_EQ(span, (std::array<double, 4>{0, 1, 0, 1})) << o->ClassName();
        }
    // What a setter refuses leaves the value and the build as they were (a kept value of NAN), or is
    // clamped to the value given: details below one, negative or undefined depths, sizes and steps.
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
        const TOrnPropInfo* p = test::Prop(*item, c.prop);
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
    EXPECT_THROW(Make<TOrnRectangle>({{"DetailX", 1 << 20}, {"DetailY", 1 << 20}}).Init(), EOrnError);
}

// A shape's bounds before building must hold what the build makes, and come close to it.
TEST_F(ShapeFixture, ShapesKnowTheirExtentWithoutBuildingAndNodesPlaceTheirItems) {
    auto& box = Make<TOrnBox>({{"Width", 3}, {"Depth", -0.5}});
    for (TOrnPrimitiveObj* shape : std::initializer_list<TOrnPrimitiveObj*>{
             &Make<TOrnSphere>({{"Radius", -2}}), &box,
             &Make<TOrnCylinder>({{"Height", -2}, {"TopRadius", 0}, {"BaseRadius", 1.5}}),
             &Make<TOrnDisc>({{"InnerRadius", 2}, {"OuterRadius", 1}}),
             &Make<TOrnTorus>({{"TubeRadius", 0.5}})}) {
        TOrnBounds before;
        ASSERT_TRUE(shape->GetBounds(before)) << shape->ClassName();
        EXPECT_FALSE(shape->Initialized()) << shape->ClassName();
        shape->Init();
        TOrnBounds built;
        ASSERT_TRUE(shape->GetBounds(built));
        const double e = 1e-5;
        EXPECT_TRUE(built.Lo.x >= before.Lo.x - e && built.Lo.y >= before.Lo.y - e &&
                    built.Lo.z >= before.Lo.z - e && built.Hi.x <= before.Hi.x + e &&
                    built.Hi.y <= before.Hi.y + e && built.Hi.z <= before.Hi.z + e)
            << shape->ClassName() << " reaches outside the bounds known before";
        EXPECT_NEAR(built.Radius(), before.Radius(), 0.05 * before.Radius()) << shape->ClassName();
    }
    // Points moved after the build are seen at the next call.
    TOrnBounds moved;
    box.Points()->MovePoints(10, 0, 0);
    box.GetBounds(moved);
    EXPECT_NEAR(moved.Lo.x, 8.5, 1e-9);
    auto* root = new TOrnNode(&form);
    auto* inner = new TOrnNode(&form);
    auto& far = Make<TOrnSphere>({{"Enabled", 0}});
    root->Add(inner);
    inner->Add(&Make<TOrnTriangle>({{"Base", 2}, {"Height", 1}})); // no extent of its own: built and measured
    root->Add(&far);
    inner->Transformation()->Translation()->SetValues(10, 0, 0);
    inner->Transformation()->Scale()->SetValues(2, 2, 2); // scaled first, then moved
    far.Transformation()->Translation()->SetValues(0, 0, -100);
    TOrnBounds got;
    ASSERT_TRUE(root->GetBounds(got));
    EXPECT_EQ((std::array{got.Lo, got.Hi, got.Centre()}),
              (std::array{ToVec(8, 0, 0), ToVec(12, 0, 2), ToVec(10, 0, 1)}));
    EXPECT_DOUBLE_EQ(got.Radius(), std::sqrt(5.0));
    // Nodes that hold each other end the walk instead of recursing for ever.
    inner->AddIndirect(root);
    TOrnBounds cycle;
    EXPECT_TRUE(root->GetBounds(cycle));
    TOrnBounds empty;
    EXPECT_FALSE((new TOrnNode(&form))->GetBounds(empty));
    EXPECT_TRUE(empty.Empty());
}
