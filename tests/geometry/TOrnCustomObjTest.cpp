#include "geometry/GeometryTestSupport.h"

#include <orn/geometry/TOrnCustomObj.h>

#include <gtest/gtest.h>

#include <random>

using namespace orn;
using orn::test::Entries;

namespace {

struct CustomFixture : ::testing::Test {
    TComponent form{nullptr};
    TOrnCustomObj* obj = new TOrnCustomObj(&form);
};

/// The welding rule as a plain scan from the top of the pool down: the index to reuse, or −1.
int scanWeld(const TOrnPrimitivePoints& pool, const TOrnMathVector& v) {
    for (int i = pool.Count() - 1; i >= 0; --i) {
        if (pool.GetFlag(i, 2)) return -1;
        const TOrnMathVector p = pool.GetVector(i, daVertex);
        if (std::fabs(p.x - v.x) < 0.001 && std::fabs(p.y - v.y) < 0.001 && std::fabs(p.z - v.z) < 0.001)
            return i;
    }
    return -1;
}

double tricky(std::mt19937& rng) {
    const double base = static_cast<double>(static_cast<int>(rng() % 5) - 2) * 0.001;
    const double offsets[] = {0,     1e-12,        -1e-12,       0.0005, 0.000999999,
                              0.001, 0.0010000001, -0.000999999, 0.002};
    return base + offsets[rng() % (sizeof offsets / sizeof offsets[0])];
}

} // namespace

TEST_F(CustomFixture, TwoTrianglesSharingAnEdgeWeldToFourPointsAndSixAfterCloseEdges) {
    const TOrnMathVector a{0, 0, 0}, b{1, 0, 0}, c{0, 1, 0}, d{1, 1, 0};
    obj->OnConstruct = [&](TObject*) {
        obj->AddTriangle(a, b, c);
        obj->AddTriangle(c, b, d);
    };
    obj->Init();
    EXPECT_EQ(obj->Points()->Count(), 4);
    ASSERT_EQ(obj->PrimitiveCount(), 1);
    EXPECT_EQ(Entries(obj->Primitive(0)), (std::vector<std::uint32_t>{0, 1, 2, 2, 1, 3}));
    EXPECT_TRUE(obj->Points()->GetFlag(3, 1));
    EXPECT_EQ(obj->Points()->GetVector(0, daNormal), (TOrnMathVector{0, 0, 1})); // AutoCalcNormals

    obj->OnConstruct = [&](TObject*) {
        obj->AddTriangle(a, b, c);
        obj->CloseEdges();
        obj->AddTriangle(c, b, d);
    };
    obj->Init();
    EXPECT_EQ(obj->Points()->Count(), 6);
    EXPECT_TRUE(obj->Points()->GetFlag(2, 2));
    EXPECT_FALSE(obj->Points()->GetFlag(3, 2));
}

TEST_F(CustomFixture, QuadsGoToTheirOwnListAndWeldWithinTolerance) {
    obj->AddQuad({0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0});
    obj->AddQuad({1.0009, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1.0011, 0}); // the last just outside
    obj->AddTriangle({0, 0, 0}, {0, 0, 1}, {0, 1, 0});
    ASSERT_EQ(obj->PrimitiveCount(), 2);
    EXPECT_EQ(Entries(obj->Primitive(0)), (std::vector<std::uint32_t>{0, 1, 2, 3, 1, 4, 5, 6}));
    EXPECT_EQ(Entries(obj->Primitive(1)), (std::vector<std::uint32_t>{0, 7, 3}));
}

TEST_F(CustomFixture, NewPointsGetTheirTextureCoordinateAtOnce) {
    obj->TextureFlags()->SetMode(txLinearXY);
    obj->TextureFlags()->SetScaleX(2);
    const int i = obj->GetPointIndex({1, 3, 0});
    EXPECT_EQ(obj->Points()->GetVector(i, daTexture), (TOrnMathVector{2, 3, 0}));
}

TEST_F(CustomFixture, WeldingEqualsAScanUnderEditsAndCloseEdges) {
    std::mt19937 rng(5);
    auto& pool = *obj->Points();
    for (int step = 0; step < 6000; ++step) {
        const int action = static_cast<int>(rng() % 100);
        if (action < 2) {
            obj->CloseEdges();
        } else if (action < 4 && pool.Count() > 0) {
            pool.SetFlag(static_cast<int>(rng() % pool.Count()), 2, rng() % 2 == 0);
        } else if (action < 6 && pool.Count() > 0) {
            pool.SetVector(static_cast<int>(rng() % pool.Count()), daVertex,
                           {tricky(rng), tricky(rng), tricky(rng)});
        } else if (action < 7 && pool.Count() > 0) {
            pool.Delete(static_cast<int>(rng() % pool.Count()), 1);
        } else {
            const TOrnMathVector v{tricky(rng), tricky(rng), tricky(rng)};
            const int expect = scanWeld(pool, v);
            const int count = pool.Count();
            const int got = obj->GetPointIndex(v);
            ASSERT_EQ(got, expect < 0 ? count : expect) << "step " << step;
        }
    }
}

TEST_F(CustomFixture, InterfaceReadsAndMovesTheCornersOfOneFace) {
    obj->AddQuad({0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0});
    obj->AddTriangle({5, 5, 5}, {6, 5, 5}, {5, 6, 5});
    EXPECT_EQ(obj->GetInterface(2, GL_QUADS), nullptr);
    EXPECT_EQ(obj->GetInterface(1, GL_TRIANGLE_STRIP), nullptr);
    TOrnPrimitiveInterface* face = obj->GetInterface(0, GL_QUADS);
    ASSERT_NE(face, nullptr);
    EXPECT_EQ(face->VertexCount(), 4);
    EXPECT_EQ(face->GetPoint(3), (TOrnMathVector{1, 1, 0}));
    face->SetPoint(3, {2, 2, 0});
    EXPECT_EQ(obj->Points()->GetVector(2, daVertex), (TOrnMathVector{2, 2, 0}));
    TOrnPrimitiveInterface* tri = obj->GetInterface(1, GL_TRIANGLES);
    EXPECT_EQ(tri, face); // one interface, repositioned
    EXPECT_EQ(tri->GetPoint(4), (TOrnMathVector{}));
    tri->SetPoint(4, {9, 9, 9});
    tri->SetPoint(0, {9, 9, 9});
    EXPECT_EQ(tri->GetPoint(1), (TOrnMathVector{5, 5, 5}));
    EXPECT_EQ(obj->Points()->GetVector(3, daVertex), (TOrnMathVector{0, 1, 0}));
}

TEST_F(CustomFixture, WithoutOnConstructItBuildsEmpty) {
    obj->Init();
    EXPECT_EQ(obj->Points()->Count(), 0);
    EXPECT_EQ(obj->PrimitiveCount(), 0);
}
