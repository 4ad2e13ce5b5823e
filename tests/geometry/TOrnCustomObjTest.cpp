#include "geometry/GeometryTestSupport.h"
#include "support/MemoryExchange.h"

#include <orn/geometry/TOrnCustomObj.h>
#include <orn/geometry/TOrnPolygon.h>
#include <orn/geometry/TOrnRectangle.h>
#include <orn/host/EOrnError.h>
#include <orn/host/TBitmap.h>

#include <gtest/gtest.h>

using namespace orn;
using namespace orn::test;

namespace {

struct CustomFixture : ::testing::Test {
    TComponent form{nullptr};
    TOrnCustomObj* obj = new TOrnCustomObj(&form);

    /// The unit square in the x-y plane as two triangles facing +z, sharing the diagonal 1–2.
    void Square() {
        obj->AddTriangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
        obj->AddTriangle({0, 1, 0}, {1, 0, 0}, {1, 1, 0});
    }
    int OpenEdges(bool weld = true) { return test::OpenEdges(*obj, weld); }
    TOrnPolygon* poly = new TOrnPolygon(&form);
    void PolySquare() {
        for (auto [x, y] : {std::pair{0.f, 0.f}, {1.f, 0.f}, {1.f, 1.f}, {0.f, 1.f}})
            poly->AddValues(x, y, 0, x, y);
    }
};

/// Every face, by its winding, faces away from centre.
void expectFacesOutward(const TOrnPrimitiveObj& o, const TOrnMathVector& centre) {
    for (int l = 0; l < o.PrimitiveCount(); ++l) {
        if (!o.Primitive(l)->Enabled()) continue;
        for (const auto& t : test::Triangles(*o.Primitive(l))) {
            TOrnMathVector a = At(o, int(t[0])), b = At(o, int(t[1])), c = At(o, int(t[2])), n;
            OrnMathNormalVector(a, b, c, true, n);
            const TOrnMathVector mid{(a.x + b.x + c.x) / 3 - centre.x, (a.y + b.y + c.y) / 3 - centre.y,
                                     (a.z + b.z + c.z) / 3 - centre.z};
            EXPECT_GT(OrnMathDotProduct(n, mid), 0)
                << "list " << l << " at " << mid.x << ", " << mid.y << ", " << mid.z;
        }
    }
}

} // namespace

TEST_F(CustomFixture, TrianglesWeldUntilCloseEdgesAndAMeshFromArraysSurvivesInitUnlessItDoesNotAddUp) {
    const TOrnMathVector a{0, 0, 0}, b{1, 0, 0}, c{0, 1, 0}, d{1, 1, 0};
    obj->OnConstruct = [&](TObject*) {
        obj->AddTriangle(a, b, c);
        obj->AddTriangle(c, b, d);
    };
    obj->Init();
    EXPECT_EQ(std::pair(obj->Points()->Count(), obj->Points()->GetFlag(3, 1)), std::pair(4, true));
    ASSERT_EQ(obj->PrimitiveCount(), 1);
    EXPECT_EQ(Entries(obj->Primitive(0)), (Idx{0, 1, 2, 2, 1, 3}));
    EXPECT_EQ(At(*obj, 0, daNormal), (TOrnMathVector{0, 0, 1})); // AutoCalcNormals
    obj->OnConstruct = [&](TObject*) {
        obj->AddTriangle(a, b, c);
        obj->CloseEdges();
        obj->AddTriangle(c, b, d);
    };
    obj->Init();
    EXPECT_TRUE(obj->Points()->Count() == 6 && obj->Points()->GetFlag(2, 2) && !obj->Points()->GetFlag(3, 2));
    EXPECT_EQ(std::pair(OpenEdges(false), OpenEdges(true)), std::pair(6, 4)); // welded, no longer open
    obj = new TOrnCustomObj(&form);
    // A unit square as two triangles, with the application's own normals and (s, t) pairs.
    obj->SetMesh({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}, {0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1},
                 {0, 0, 1, 0, 1, 1, 0, 1}, {0, 1, 2, 0, 2, 3});
    obj->OnConstruct = [](TObject* sender) {
        static_cast<TOrnCustomObj*>(sender)->AddTriangle({5, 5, 5}, {6, 5, 5}, {5, 6, 5});
    };
    for (int build = 0; build < 2; ++build) {
        obj->Init();
        const TOrnPrimitivePoints& pool = *obj->Points();
        ASSERT_EQ(pool.Count(), 7) << build;
        EXPECT_EQ((std::array{pool.GetVector(2, daVertex), pool.GetVector(3, daNormal),
                              pool.GetVector(1, daTexture)}),
                  (std::array<TOrnMathVector, 3>{{{1, 1, 0}, {0, 0, -1}, {1, 0, 0}}})); // normals kept
        ASSERT_EQ(obj->PrimitiveCount(), 1); // the event's triangle joined the mesh's list
        EXPECT_EQ(Entries(obj->Primitive(0)), (Idx{0, 1, 2, 0, 2, 3, 4, 5, 6}));
    }
    // Without normals they are computed; a second mesh replaces the first.
    obj->OnConstruct = nullptr;
    obj->SetMesh({0, 0, 0, 0, 1, 0, 0, 0, 1}, {}, {}, {0, 1, 2}, GL_TRIANGLES);
    obj->Init();
    ASSERT_EQ(obj->Points()->Count(), 3);
    EXPECT_NEAR(std::fabs(At(*obj, 0, daNormal).x), 1.0, 1e-9);
    const struct {
        std::vector<double> positions, normals, tex;
        std::vector<std::uint32_t> indices;
        GLenum type;
    } bad[] = {
        {{0, 0, 0, 1}, {}, {}, {}, GL_TRIANGLES},       // not 3 per point
        {{0, 0, 0}, {0, 0}, {}, {0}, GL_POINTS},        // normals short
        {{0, 0, 0}, {}, {0, 0, 0, 0}, {0}, GL_POINTS},  // 4 texture values for 1 point
        {{0, 0, 0, 1, 1, 1}, {}, {}, {0, 2}, GL_LINES}, // index beyond the points
        {{0, 0, 0}, {}, {}, {0}, 0x1234},               // no GL primitive
    };
    for (const auto& b : bad)
        EXPECT_THROW(obj->SetMesh(b.positions, b.normals, b.tex, b.indices, b.type), EOrnError);
    obj->Init();
    EXPECT_EQ(obj->Points()->Count(), 3);
    obj->ClearMesh();
    obj->Init(); // neither a mesh nor OnConstruct: empty
    EXPECT_EQ(obj->Points()->Count() + obj->PrimitiveCount(), 0);
}

TEST_F(CustomFixture,
       QuadsGoToTheirOwnListWeldWithinToleranceSinceTheLastCloseEdgesAndAreReachedByInterface) {
    test::Set(*obj->TextureFlags(), {{"Mode", txLinearXY}, {"ScaleX", 2}});
    obj->AddQuad({0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0});
    obj->AddQuad({1.0009, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1.0011, 0}); // the last just outside
    obj->AddTriangle({0, 0, 0}, {0, 0, 1}, {0, 1, 0});
    ASSERT_EQ(obj->PrimitiveCount(), 2);
    EXPECT_EQ(Entries(obj->Primitive(0)), (Idx{0, 1, 2, 3, 1, 4, 5, 6}));
    EXPECT_EQ(Entries(obj->Primitive(1)), (Idx{0, 7, 3}));
    EXPECT_EQ(At(*obj, 5, daTexture), (TOrnMathVector{4, 1, 0})); // computed at once
    // The search runs down from the newest point and stops at the first from before CloseEdges.
    obj->CloseEdges();
    EXPECT_EQ((std::array{obj->GetPointIndex({5, 5, 5}), obj->GetPointIndex({0, 0, 0}),
                          obj->GetPointIndex({5, 5, 5.0005})}),
              (std::array{8, 9, 8}));
    obj->Points()->SetFlag(9, 2, true);
    EXPECT_EQ(obj->GetPointIndex({5, 5, 5}), 10);
    obj->Points()->SetFlag(9, 2, false);
    obj->Points()->SetFlag(7, 2, false);
    EXPECT_EQ(obj->GetPointIndex({0, 0, 1}), 7);      // the mark cleared, the search goes on down
    obj->Points()->SetVector(8, daVertex, {7, 7, 7}); // moved and deleted points are found anew
    EXPECT_EQ(obj->GetPointIndex({7, 7, 7.0005}), 8);
    obj->Points()->Delete(8, 1);
    EXPECT_EQ(obj->GetPointIndex({0, 0, 0}), 8); // what was 9
    obj = new TOrnCustomObj(&form);
    obj->AddQuad({0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0});
    obj->AddTriangle({5, 5, 5}, {6, 5, 5}, {5, 6, 5});
    EXPECT_TRUE(!obj->GetInterface(2, GL_QUADS) && !obj->GetInterface(1, GL_TRIANGLE_STRIP));
    TOrnPrimitiveInterface* face = obj->GetInterface(0, GL_QUADS);
    ASSERT_NE(face, nullptr);
    EXPECT_EQ(std::pair(face->VertexCount(), face->GetPoint(3)), std::pair(4, TOrnMathVector{1, 1, 0}));
    face->SetPoint(3, {2, 2, 0});
    EXPECT_EQ(At(*obj, 2), (TOrnMathVector{2, 2, 0}));
    TOrnPrimitiveInterface* tri = obj->GetInterface(1, GL_TRIANGLES);
    EXPECT_EQ(tri, face); // one interface, repositioned
    EXPECT_EQ(tri->GetPoint(4), (TOrnMathVector{}));
    tri->SetPoint(4, {9, 9, 9});
    tri->SetPoint(0, {9, 9, 9});
    EXPECT_EQ(tri->GetPoint(1), (TOrnMathVector{5, 5, 5}));
    EXPECT_EQ(At(*obj, 3), (TOrnMathVector{0, 1, 0}));
}

TEST_F(CustomFixture, OpenEdgesRunAsTheirFaceAndExtrudingMakesClosedSolidsOrTubesAndReliefRaisesPoints) {
    Square();
    std::vector<T2DIntPoint> edges;
    int count = 0;
    obj->GetOpenEdges(edges, count, false);
    EXPECT_EQ(edges, (std::vector<T2DIntPoint>{{0, 1}, {2, 0}, {1, 3}, {3, 2}}));
    obj->Extrude(2, 3, true); // along the faces' normal
    EXPECT_EQ(OpenEdges(), 0);
    for (int i = 0; i < obj->Points()->Count(); ++i)
        EXPECT_TRUE(At(*obj, i).z >= 0 && At(*obj, i).z <= 2) << i;
    expectFacesOutward(*obj, {0.5, 0.5, 1});
    obj = new TOrnCustomObj(&form);
    Square();
    obj->ExtrudeByVec({0, 0, -1}, 1, true);
    EXPECT_EQ(OpenEdges(), 0);
    expectFacesOutward(*obj, {0.5, 0.5, -0.5});
    obj->CloseEdges(); // the same square far away
    obj->AddTriangle({5, 5, 0}, {6, 5, 0}, {5, 6, 0});
    obj->AddTriangle({5, 6, 0}, {6, 5, 0}, {6, 6, 0});
    EXPECT_EQ(OpenEdges(), 4);
    TOrnRectangle r(&form);
    r.SetDetX(2);
    r.Init();
    r.Extrude(1, 1, true);
    EXPECT_EQ(test::OpenEdges(r), 0);
    expectFacesOutward(r, {0, 0.5, 0.5});
    obj = new TOrnCustomObj(&form); // without caps: a tube, its texture along the sweep
    Square();
    obj->ExtrudeByVec({0, 0, 1}, 2, false, true);
    EXPECT_EQ(std::pair(OpenEdges(), obj->Primitive(0)->Enabled()), std::pair(8, false)); // faces not drawn
    // Texture coordinates on the walls: t along the sweep, s around the outline.
    int top = 0;
    for (int i = 6; i < obj->Points()->Count(); ++i) {
        const TOrnMathVector p = At(*obj, i), t = At(*obj, i, daTexture);
        EXPECT_DOUBLE_EQ(t.y, p.z);
        EXPECT_TRUE(t.x >= 0 && t.x <= 1);
        top += p.z == 1;
    }
    EXPECT_EQ(top, 8);
    obj->DeletePrimitiveArray(0, obj->PrimitiveCount());
    obj->Points()->SetCount(0);
    Square();
    obj->ExtrudePrimitiveObj(3, 1, false, true, true, {0, 0, 5}, false);
    EXPECT_EQ(std::pair(obj->PrimitiveCount(), At(*obj, obj->Points()->Count() - 1).z),
              std::pair(2, 3.0)); // the original and its moved copy, no walls
    obj->ExtrudePrimitiveObj(1, 1, true, true, true, {0, 0, 0}, false); // no direction: nothing
    EXPECT_EQ(obj->PrimitiveCount(), 2);
    TOrnRectangle relief(&form); // raised along the normals by brightness
    relief.SetDetX(8);
    relief.Init();
    relief.SetRelief([](double s, double) { return s; }, 2, 0.5f, 2); // height 0.5 + 2 × s²
    for (int i = 0; i < relief.Points()->Count(); ++i)
        EXPECT_DOUBLE_EQ(At(relief, i).y, 0.5 + 2 * std::pow(At(relief, i, daTexture).x, 2)) << i;
    relief.Init();
    relief.SetRelief([](double, double) { return 7.0; }, 1, 0, 0); // brightness clamped to 1, gamma 1
    EXPECT_DOUBLE_EQ(At(relief, 3).y, 1);
    // A bitmap: left half black, right half white, sampled at each point's texture coordinate.
    TBitmap bitmap(4, 2);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 4; ++x)
            bitmap.SetPixel(x, y, x < 2 ? clBlack : clWhite);
    relief.Init();
    relief.SetReliefBitmap(&bitmap, 1, 0, 1);
    for (int i = 0; i < relief.Points()->Count(); ++i) {
        const double s = At(relief, i, daTexture).x, y = At(relief, i).y;
        EXPECT_EQ(y, s > 0.2 && s < 0.3 ? 0 : s > 0.6 && s < 0.9 ? 1 : s == 0.5 ? 0.5 : y) << "s " << s;
    }
    for (int y = 0; y < 2; ++y) // blue on top, as bright as blue's share of the luma, black below
        for (int x = 0; x < 4; ++x)
            bitmap.SetPixel(x, y, y == 0 ? clBlue : clBlack);
    relief.SetDetY(4);
    relief.Init();
    relief.SetReliefBitmap(&bitmap, 1, 0, 1);
    double upper = 0, lower = 1;
    for (int i = 0; i < relief.Points()->Count(); ++i) {
        const double t = At(relief, i, daTexture).y, y = At(relief, i).y;
        upper = t > 0.7 && t < 0.8 ? std::max(upper, y) : upper;
        lower = t > 0.2 && t < 0.3 ? std::min(lower, y) : lower;
    }
    EXPECT_EQ(std::pair(std::round(upper * 1000), lower), std::pair(114.0, 0.0));
    const double before = At(relief, 8).y;
    TBitmap empty;
    relief.SetReliefBitmap(nullptr, 1, 1, 1);
    relief.SetReliefBitmap(&empty, 1, 1, 1);
    EXPECT_EQ(At(relief, 8).y, before);
}

TEST_F(CustomFixture, SplitTriangleSplitsItsNeighbourAcrossTheLongestEdgeAndIgnoresWhatIsNotATriangle) {
    obj->AddQuad({0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0});
    obj->SplitTriangle(0, 0);
    Square();
    for (auto [list, face] : {std::pair{1, 2}, {1, -1}, {5, 0}})
        obj->SplitTriangle(list, face);
    EXPECT_EQ(std::pair(obj->Points()->Count(), Entries(obj->Primitive(0))), std::pair(4, Idx{0, 1, 2, 3}));
    obj->Points()->Add({0.9, 0.2, 0}, {}, {}); // 4, in no list
    EXPECT_EQ((std::array{obj->getNearPoint(-1, {0.8, 0.3, 0}), obj->getNearPoint(-1, {0.8, 0.8, 0}),
                          obj->getNearPoint(1, {0.8, 0.3, 0}), obj->getNearPoint(0, {0.1, 0.9, 5}),
                          obj->getNearPoint(3, {})}),
              (std::array{4, 2, 1, 3, -1})); // any point, then within a list; no list 3
    obj = new TOrnCustomObj(&form);
    Square();
    obj->SplitTriangle(0, 0); // longest edge: the diagonal 1–2, shared with triangle 1
    EXPECT_EQ(std::tuple(obj->Points()->Count(), At(*obj, 4), obj->Primitive(0)->Count()),
              std::tuple(5, TOrnMathVector{0.5, 0.5, 0}, 12));
    EXPECT_EQ(OpenEdges(false), 4); // no crack along the diagonal
    obj->CalcNormals();
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(At(*obj, i, daNormal), (TOrnMathVector{0, 0, 1})) << i;
    const Idx t = Entries(obj->Primitive(0));
    double area = 0; // the four triangles cover the square once
    for (std::size_t k = 0; k + 2 < t.size(); k += 3) {
        TOrnMathVector n;
        OrnMathNormalVector(At(*obj, t[k]), At(*obj, t[k + 1]), At(*obj, t[k + 2]), false, n);
        area += n.z / 2;
    }
    EXPECT_DOUBLE_EQ(area, 1);
}

// A polygon is an outline in pool order whose type follows Filled and Closed, whose edits the rebuild
// forgets and which OnConstruct fills instead; its points are edited by index and kind.
TEST_F(CustomFixture, PolygonOutlineFollowsFilledAndClosedAndOnConstructAndItsPointsAreEditedByIndexAndKind) {
    PolySquare();
    EXPECT_EQ(poly->Count(), 0); // no outline before the first build
    poly->Init();
    ASSERT_EQ(poly->PrimitiveCount(), 1);
    EXPECT_EQ(Entries(poly->Primitive(0)), (Idx{0, 1, 2, 3}));
    EXPECT_TRUE(poly->Points()->GetFlag(2, 0));
    EXPECT_EQ(At(*poly, 1, daNormal), (TOrnMathVector{0, 0, 1})); // AutoCalcNormals
    const std::tuple<bool, bool, GLenum> cases[] = {{true, false, GL_POLYGON},
                                                    {false, false, GL_LINE_STRIP},
                                                    {false, true, GL_LINE_LOOP},
                                                    {true, true, GL_POLYGON}}; // filled wins
    for (auto [filled, closed, type] : cases) {
        poly->SetFilled(filled);
        poly->SetClosed(closed);
        EXPECT_EQ(poly->Primitive(0)->Type(), type) << filled << closed;
    }
    EXPECT_TRUE(poly->Initialized()); // no rebuild needed
    poly->InsertValues(1, 0.5f, -1, 0, 0, 0);
    EXPECT_EQ(Entries(poly->Primitive(0)), (Idx{0, 4, 1, 2, 3}));
    poly->Delete(2);
    EXPECT_EQ(Entries(poly->Primitive(0)), (Idx{0, 4, 2, 3}));
    EXPECT_EQ(poly->Points()->Count(), 5);
    poly->InsertValues(-9, 2, 2, 0, 0, 0); // clamped to the front
    EXPECT_EQ(poly->Primitive(0)->Indices(0), 5u);
    poly->Init(); // intended: pool order, and the deleted point is back
    EXPECT_EQ(Entries(poly->Primitive(0)), (Idx{0, 1, 2, 3, 4, 5}));
    test::MemoryExchange ex; // damaged points in the scene are ignored
    ex.Save(*poly);
    TOrnPolygon back(&form);
    ex.Load(back);
    ex.Set("Points", "1,2,3;garbage");
    ex.Load(back);
    EXPECT_EQ(back.Points()->Count(), 6);
    poly = new TOrnPolygon(&form); // OnConstruct fills the outline instead
    TOrnNormal n;
    n.SetValues(0, 1, 0);
    poly->SetNormal(&n);
    poly->SetNormal(nullptr); // ignored value, still a change
    poly->AddValues(1, 2, 3, 0.5f, 0.25f);
    EXPECT_EQ(At(*poly, 0, daNormal), (TOrnMathVector{0, 1, 0}));
    EXPECT_EQ(At(*poly, 0, daTexture), (TOrnMathVector{0.5, 0.25, 0}));
    EXPECT_FALSE(poly->Points()->GetFlag(0, 1));
    poly->Points()->SetCount(0);
    PolySquare();
    poly->OnConstruct = [this](TObject* sender) {
        for (std::uint32_t i : {3, 2, 1, 0})
            poly->AddIndex(i, sender == poly ? 0 : 1);
    };
    poly->Init();
    EXPECT_EQ(Entries(poly->Primitive(0)), (Idx{3, 2, 1, 0}));
    EXPECT_EQ(At(*poly, 0, daNormal), (TOrnMathVector{0, 0, -1}));
    poly->SetValues(2, daVertex, {5, 5, 0});
    EXPECT_FALSE(poly->Initialized());
    EXPECT_EQ(poly->GetValues(2, daVertex), (TOrnMathVector{5, 5, 0}));
    for (auto [i, kind] : {std::pair{4, daVertex}, {-1, daVertex}, {0, daColor}})
        poly->SetValues(i, kind, {7, 7, 7});
    EXPECT_EQ(poly->GetValues(4, daVertex), (TOrnMathVector{}));
    EXPECT_EQ(poly->GetValues(0, daVertex), (TOrnMathVector{0, 0, 0}));
    poly->OnConstruct = nullptr;
    poly->SetInitClearPoints(true);
    poly->Init();
    EXPECT_EQ(poly->Points()->Count() + poly->Count(), 0);
}
