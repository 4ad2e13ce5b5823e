#include "geometry/GeometryTestSupport.h"

#include <orn/geometry/TOrnBox.h>
#include <orn/geometry/TOrnCylinder.h>
#include <orn/geometry/TOrnDisc.h>
#include <orn/geometry/TOrnSphere.h>
#include <orn/geometry/TOrnTorus.h>
#include <orn/scene/TOrnRegistry.h>

#include <gtest/gtest.h>

#include <functional>

using namespace orn;

namespace {

struct ShapeFixture : ::testing::Test {
    TComponent form{nullptr};
};

TOrnMathVector at(const TOrnPrimitiveObj& o, int i, TOrnArray kind = daVertex) {
    return o.Points()->GetVector(i, kind);
}

/// Every stored normal has length 1 and the one CalcNormals derives from the faces points the
/// same way (so every strip winds outwards).
void expectUnitOutwardNormals(TOrnPrimitiveObj& o, const std::string& what) {
    std::vector<TOrnMathVector> stored;
    for (int i = 0; i < o.Points()->Count(); ++i) {
        stored.push_back(at(o, i, daNormal));
        ASSERT_NEAR(test::Length(stored.back()), 1, 1e-12) << what << " point " << i;
    }
    o.CalcNormals();
    int agree = 0;
    for (int i = 0; i < o.Points()->Count(); ++i)
        if (OrnMathDotProduct(stored[static_cast<std::size_t>(i)], at(o, i, daNormal)) > 0.7) ++agree;
    EXPECT_EQ(agree, o.Points()->Count()) << what;
}

int openEdges(TOrnPrimitiveObj& o) {
    std::vector<T2DIntPoint> edges;
    int count = -1;
    o.GetOpenEdges(edges, count, true);
    return count;
}

} // namespace

TEST_F(ShapeFixture, SpherePointsLieOnItAndItIsClosed) {
    for (auto [slices, stacks] : {std::pair{3, 2}, {8, 5}, {24, 16}, {61, 40}}) {
        TOrnSphere s(&form);
        s.SetRadius(2.5f);
        s.SetSlices(slices);
        s.SetStacks(stacks);
        s.Init();
        const std::string what = "sphere " + std::to_string(slices) + "x" + std::to_string(stacks);
        ASSERT_EQ(s.Points()->Count(), (slices + 1) * (stacks + 1)) << what;
        for (int i = 0; i < s.Points()->Count(); ++i) {
            EXPECT_NEAR(test::Length(at(s, i)), 2.5, 1e-12) << what;
            const TOrnMathVector n = at(s, i, daNormal), p = at(s, i);
            EXPECT_NEAR(OrnMathVectorDist({n.x * 2.5, n.y * 2.5, n.z * 2.5}, p), 0, 1e-12) << what;
        }
        EXPECT_EQ(openEdges(s), 0) << what;
        expectUnitOutwardNormals(s, what);
    }
}

TEST_F(ShapeFixture, SphereFlagsItsSeamAndPolesAndHonoursPartialSweeps) {
    TOrnSphere s(&form);
    s.SetSlices(4);
    s.SetStacks(2);
    s.SetTextured(true);
    s.Init();
    EXPECT_TRUE(s.Points()->GetFlag(0, 0));  // pole row
    EXPECT_TRUE(s.Points()->GetFlag(5, 0));  // seam, first column
    EXPECT_TRUE(s.Points()->GetFlag(9, 0));  // seam, last column
    EXPECT_FALSE(s.Points()->GetFlag(6, 0)); // inside
    EXPECT_EQ(at(s, 0), (TOrnMathVector{0, 1, 0}));
    EXPECT_EQ(at(s, 0, daTexture), (TOrnMathVector{0, 1, 0}));

    s.SetSweepAngle(180);
    s.SetTopAngle(90);
    s.Init();
    for (int i = 0; i < s.Points()->Count(); ++i) {
        EXPECT_GE(at(s, i).x, -1e-12); // the half towards +x
        EXPECT_LE(at(s, i).y, 1e-12);  // below the equator
    }
    EXPECT_FALSE(s.Points()->GetFlag(4, 0)); // an open sweep has no seam
    EXPECT_GT(openEdges(s), 0);
}

TEST_F(ShapeFixture, CylinderSidesAndCapsAreClosedAndCanBeACone) {
    for (auto [slices, stacks] : {std::pair{3, 1}, {16, 4}, {40, 7}}) {
        TOrnCylinder c(&form);
        c.SetSlices(slices);
        c.SetStacks(stacks);
        c.SetBaseRadius(2);
        c.SetTopRadius(1);
        c.SetHeight(3);
        c.Init();
        const std::string what = "cylinder " + std::to_string(slices) + "x" + std::to_string(stacks);
        for (int i = 0; i < (slices + 1) * (stacks + 1); ++i) {
            const TOrnMathVector p = at(c, i);
            EXPECT_NEAR(std::hypot(p.x, p.z), 2 - p.y / 3, 1e-12) << what;
        }
        EXPECT_EQ(openEdges(c), 0) << what;
        expectUnitOutwardNormals(c, what);
    }
    TOrnCylinder cone(&form);
    cone.SetTopRadius(0);
    cone.SetStacks(3);
    cone.Init();
    expectUnitOutwardNormals(cone, "cone");
    EXPECT_EQ(cone.PrimitiveCount(), 4); // three side bands and the base cap
    EXPECT_EQ(openEdges(cone), 0);
    cone.SetCaps(false);
    cone.Init();
    EXPECT_EQ(openEdges(cone), 24); // the rim of the base
}

TEST_F(ShapeFixture, DiscIsFlatWithinItsRadiiAndOpenAtItsRims) {
    for (auto [slices, loops] : {std::pair{3, 1}, {16, 3}, {50, 9}}) {
        TOrnDisc d(&form);
        d.SetSlices(slices);
        d.SetLoops(loops);
        d.SetInnerRadius(0.5f);
        d.SetOuterRadius(2);
        d.Init();
        const std::string what = "disc " + std::to_string(slices) + "x" + std::to_string(loops);
        for (int i = 0; i < d.Points()->Count(); ++i) {
            const TOrnMathVector p = at(d, i);
            EXPECT_EQ(p.y, 0) << what;
            const double r = std::hypot(p.x, p.z);
            EXPECT_TRUE(r > 0.5 - 1e-12 && r < 2 + 1e-12) << what;
        }
        EXPECT_EQ(openEdges(d), 2 * slices) << what; // inner and outer rim
        expectUnitOutwardNormals(d, what);
    }
    TOrnDisc full(&form);
    full.SetSlices(10);
    full.SetLoops(2);
    full.Init();
    expectUnitOutwardNormals(full, "full disc");
    EXPECT_EQ(openEdges(full), 10); // the centre closes up
    full.SetSweepAngle(90);
    full.Init();
    EXPECT_EQ(openEdges(full), 10 + 2 * 2); // the rim and two radial sides of two loops
}

TEST_F(ShapeFixture, TorusPointsLieOnTheTubeAndItIsClosed) {
    for (auto [sides, rings] : {std::pair{3, 3}, {8, 12}, {24, 48}}) {
        TOrnTorus t(&form);
        t.SetSides(sides);
        t.SetRings(rings);
        t.SetRingRadius(2);
        t.SetTubeRadius(0.5f);
        t.Init();
        const std::string what = "torus " + std::to_string(sides) + "x" + std::to_string(rings);
        for (int i = 0; i < t.Points()->Count(); ++i) {
            const TOrnMathVector p = at(t, i);
            EXPECT_NEAR(std::hypot(std::hypot(p.x, p.z) - 2, p.y), 0.5, 1e-12) << what;
        }
        EXPECT_EQ(openEdges(t), 0) << what;
        expectUnitOutwardNormals(t, what);
    }
}

TEST_F(ShapeFixture, BoxFacesLieOnItsSidesAndItIsClosed) {
    for (int detail : {1, 2, 5}) {
        TOrnBox b(&form);
        b.SetWidth(2);
        b.SetHeight(4);
        b.SetDepth(6);
        b.SetDetailX(detail);
        b.SetDetailY(detail + 1);
        b.SetDetailZ(1);
        b.Init();
        const std::string what = "box " + std::to_string(detail);
        for (int i = 0; i < b.Points()->Count(); ++i) {
            const TOrnMathVector p = at(b, i), n = at(b, i, daNormal);
            // On the face the normal names: that coordinate is at its half size.
            EXPECT_NEAR(p.x * n.x + p.y * n.y + p.z * n.z,
                        std::fabs(n.x) * 1 + std::fabs(n.y) * 2 + std::fabs(n.z) * 3, 1e-12)
                << what;
        }
        EXPECT_EQ(openEdges(b), 0) << what;
        expectUnitOutwardNormals(b, what);
    }
}

TEST_F(ShapeFixture, SettersOnlyMarkARebuildAndRefuseDetailsBelowOne) {
    TOrnSphere s(&form);
    TOrnCylinder c(&form);
    TOrnDisc d(&form);
    TOrnTorus t(&form);
    TOrnBox b(&form);
    const std::vector<std::pair<TOrnPrimitiveObj*, std::function<void(int)>>> details = {
        {&s, [&](int v) { s.SetSlices(v); }},  {&s, [&](int v) { s.SetStacks(v); }},
        {&c, [&](int v) { c.SetSlices(v); }},  {&c, [&](int v) { c.SetStacks(v); }},
        {&d, [&](int v) { d.SetSlices(v); }},  {&d, [&](int v) { d.SetLoops(v); }},
        {&t, [&](int v) { t.SetSides(v); }},   {&t, [&](int v) { t.SetRings(v); }},
        {&b, [&](int v) { b.SetDetailX(v); }}, {&b, [&](int v) { b.SetDetailY(v); }},
        {&b, [&](int v) { b.SetDetailZ(v); }}};
    for (const auto& [obj, set] : details) {
        obj->Init();
        const int points = obj->Points()->Count();
        set(0);
        set(-3);
        EXPECT_TRUE(obj->Initialized()) << obj->ClassName();
        set(5);
        EXPECT_FALSE(obj->Initialized()) << obj->ClassName();
        EXPECT_EQ(obj->Points()->Count(), points) << obj->ClassName(); // nothing rebuilt yet
    }
}
