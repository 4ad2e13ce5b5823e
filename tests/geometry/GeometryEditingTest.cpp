#include "geometry/GeometryTestSupport.h"

#include <orn/geometry/TOrnCustomObj.h>
#include <orn/geometry/TOrnRectangle.h>
#include <orn/host/TBitmap.h>

#include <gtest/gtest.h>

#include <random>

using namespace orn;
using orn::test::Entries;
using Idx = std::vector<std::uint32_t>;

namespace {

struct EditFixture : ::testing::Test {
    TComponent form{nullptr};
    TOrnCustomObj* obj = new TOrnCustomObj(&form);

    /// The unit square in the x-y plane as two triangles facing +z, sharing the diagonal 1–2.
    void Square() {
        obj->AddTriangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
        obj->AddTriangle({0, 1, 0}, {1, 0, 0}, {1, 1, 0});
    }
    int OpenEdges(bool weld = true) { return test::OpenEdges(*obj, weld); }
};

/// Every face, by its winding, faces away from centre.
void expectFacesOutward(const TOrnPrimitiveObj& o, const TOrnMathVector& centre) {
    for (int l = 0; l < o.PrimitiveCount(); ++l) {
        if (!o.Primitive(l)->Enabled()) continue;
        for (const auto& t : test::Triangles(*o.Primitive(l))) {
            TOrnMathVector a = test::At(o, int(t[0])), b = test::At(o, int(t[1])), c = test::At(o, int(t[2])),
                           n;
            OrnMathNormalVector(a, b, c, true, n);
            const TOrnMathVector mid{(a.x + b.x + c.x) / 3 - centre.x, (a.y + b.y + c.y) / 3 - centre.y,
                                     (a.z + b.z + c.z) / 3 - centre.z};
            EXPECT_GT(OrnMathDotProduct(n, mid), 0)
                << "list " << l << " at " << mid.x << ", " << mid.y << ", " << mid.z;
        }
    }
}

} // namespace

TEST_F(EditFixture, OpenEdgesAreThoseOfOneFaceOrientedAsItRuns) {
    Square();
    std::vector<T2DIntPoint> edges;
    int count = 0;
    obj->GetOpenEdges(edges, count, false);
    EXPECT_EQ(edges, (std::vector<T2DIntPoint>{{0, 1}, {2, 0}, {1, 3}, {3, 2}}));
    obj->CloseEdges(); // the same square far away
    obj->AddTriangle({5, 5, 0}, {6, 5, 0}, {5, 6, 0});
    obj->AddTriangle({5, 6, 0}, {6, 5, 0}, {6, 6, 0});
    EXPECT_EQ(OpenEdges(false), 8);
}

TEST_F(EditFixture, ExtrudingMakesClosedOutwardSolidsOrOpenTubes) {
    Square();
    obj->Extrude(2, 3, true); // along the faces' normal
    EXPECT_EQ(OpenEdges(), 0);
    for (int i = 0; i < obj->Points()->Count(); ++i)
        EXPECT_TRUE(test::At(*obj, i).z >= 0 && test::At(*obj, i).z <= 2) << i;
    expectFacesOutward(*obj, {0.5, 0.5, 1});

    obj = new TOrnCustomObj(&form);
    Square();
    obj->ExtrudeByVec({0, 0, -1}, 1, true);
    EXPECT_EQ(OpenEdges(), 0);
    expectFacesOutward(*obj, {0.5, 0.5, -0.5});

    TOrnRectangle r(&form);
    r.SetDetX(2);
    r.Init();
    r.Extrude(1, 1, true);
    EXPECT_EQ(test::OpenEdges(r), 0);
    expectFacesOutward(r, {0, 0.5, 0.5});
}

TEST_F(EditFixture, ExtrudingWithoutCapsLeavesATubeWithTextureAlongTheSweep) {
    Square();
    obj->ExtrudeByVec({0, 0, 1}, 2, false, true);
    EXPECT_EQ(OpenEdges(), 8);
    EXPECT_FALSE(obj->Primitive(0)->Enabled()); // the original faces are not drawn
    // Texture coordinates on the walls: t along the sweep, s around the outline.
    int top = 0;
    for (int i = 6; i < obj->Points()->Count(); ++i) {
        const TOrnMathVector p = test::At(*obj, i), t = test::At(*obj, i, daTexture);
        EXPECT_DOUBLE_EQ(t.y, p.z);
        EXPECT_TRUE(t.x >= 0 && t.x <= 1);
        top += p.z == 1;
    }
    EXPECT_EQ(top, 8);
    obj->DeletePrimitiveArray(0, obj->PrimitiveCount());
    obj->Points()->SetCount(0);
    Square();
    obj->ExtrudePrimitiveObj(3, 1, false, true, true, {0, 0, 5}, false);
    EXPECT_EQ(obj->PrimitiveCount(), 2); // the original and its moved copy, no walls
    EXPECT_EQ(obj->Points()->GetVector(obj->Points()->Count() - 1, daVertex).z, 3);
    obj->ExtrudePrimitiveObj(1, 1, true, true, true, {0, 0, 0}, false); // no direction: nothing
    EXPECT_EQ(obj->PrimitiveCount(), 2);
}

TEST_F(EditFixture, SplitTriangleSplitsItsNeighbourAcrossTheLongestEdge) {
    Square();
    obj->SplitTriangle(0, 0); // longest edge: the diagonal 1–2, shared with triangle 1
    EXPECT_EQ(obj->Points()->Count(), 5);
    EXPECT_EQ(obj->Points()->GetVector(4, daVertex), (TOrnMathVector{0.5, 0.5, 0}));
    EXPECT_EQ(obj->Primitive(0)->Count(), 12);
    EXPECT_EQ(OpenEdges(false), 4); // no crack along the diagonal
    obj->CalcNormals();
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(obj->Points()->GetVector(i, daNormal), (TOrnMathVector{0, 0, 1})) << i;
    const Idx t = Entries(obj->Primitive(0));
    double area = 0; // the four triangles cover the square once
    for (std::size_t k = 0; k + 2 < t.size(); k += 3) {
        TOrnMathVector n;
        OrnMathNormalVector(test::At(*obj, t[k]), test::At(*obj, t[k + 1]), test::At(*obj, t[k + 2]), false,
                            n);
        area += n.z / 2;
    }
    EXPECT_DOUBLE_EQ(area, 1);
}

TEST_F(EditFixture, SplitTriangleIgnoresWhatIsNotATriangleAndNearPointTakesTheClosest) {
    obj->AddQuad({0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0});
    obj->SplitTriangle(0, 0);
    Square();
    obj->SplitTriangle(1, 2);
    obj->SplitTriangle(1, -1);
    obj->SplitTriangle(5, 0);
    EXPECT_EQ(obj->Points()->Count(), 4);
    EXPECT_EQ(Entries(obj->Primitive(0)), (Idx{0, 1, 2, 3}));
    obj->Points()->Add({0.9, 0.2, 0}, {}, {}); // 4, in no list
    EXPECT_EQ(obj->getNearPoint(-1, {0.8, 0.3, 0}), 4);
    EXPECT_EQ(obj->getNearPoint(-1, {0.8, 0.8, 0}), 2);
    EXPECT_EQ(obj->getNearPoint(1, {0.8, 0.3, 0}), 1); // within the triangles
    EXPECT_EQ(obj->getNearPoint(0, {0.1, 0.9, 5}), 3);
    EXPECT_EQ(obj->getNearPoint(3, {}), -1);
}

TEST_F(EditFixture, ReliefRaisesPointsAlongTheirNormalsByBrightness) {
    TOrnRectangle r(&form);
    r.SetDetX(8);
    r.Init();
    r.SetRelief([](double s, double) { return s; }, 2, 0.5f, 2); // height 0.5 + 2 × s²
    for (int i = 0; i < r.Points()->Count(); ++i) {
        const double s = r.Points()->GetVector(i, daTexture).x;
        EXPECT_DOUBLE_EQ(r.Points()->GetVector(i, daVertex).y, 0.5 + 2 * s * s) << i;
    }
    r.Init();
    r.SetRelief([](double, double) { return 7.0; }, 1, 0, 0); // brightness clamped to 1, gamma 1
    EXPECT_DOUBLE_EQ(r.Points()->GetVector(3, daVertex).y, 1);

    // A bitmap: left half black, right half white, sampled at each point's texture coordinate.
    TBitmap bitmap(4, 2);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 4; ++x)
            bitmap.SetPixel(x, y, x < 2 ? clBlack : clWhite);
    r.Init();
    r.SetReliefBitmap(&bitmap, 1, 0, 1);
    for (int i = 0; i < r.Points()->Count(); ++i) {
        const double s = r.Points()->GetVector(i, daTexture).x, y = r.Points()->GetVector(i, daVertex).y;
        EXPECT_EQ(y, s > 0.2 && s < 0.3 ? 0 : s > 0.6 && s < 0.9 ? 1 : s == 0.5 ? 0.5 : y) << "s " << s;
    }
    const double before = r.Points()->GetVector(8, daVertex).y;
    TBitmap empty;
    r.SetReliefBitmap(nullptr, 1, 1, 1);
    r.SetReliefBitmap(&empty, 1, 1, 1);
    EXPECT_EQ(r.Points()->GetVector(8, daVertex).y, before);
}
