#include "geometry/GeometryTestSupport.h"

#include <orn/geometry/TOrnPrimitiveArray.h>
#include <orn/geometry/TOrnPrimitivePoints.h>
#include <orn/host/EOrnError.h>

#include <gtest/gtest.h>

#include <memory>
#include <tuple>
#include <vector>

using namespace orn;
using Idx = std::vector<std::uint32_t>;

TEST(TOrnPrimitivePoints, GrowsByTwelveNeedsPositionsAndAnswersZeroOutsideItsRange) {
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
}

TEST(TOrnPrimitivePoints, FlagsUseBitsZeroToSevenAndSizesClamp) {
    TOrnPrimitivePoints pool;
    pool.SetCount(4);
    for (auto [bit, on] : {std::pair{8, true}, {-1, true}, {7, true}, {2, true}, {2, false}})
        pool.SetFlag(0, bit, on);
    EXPECT_EQ(pool.Flags()[0], 0x80);
    EXPECT_EQ(pool.GetEdgeFlag(0), 255); // no edge flag array yet
    pool.SetEdgeFlag(0, 0);
    EXPECT_EQ(pool.GetEdgeFlag(0), 255);
    pool.SetDefineArrays(pool.DefineArrays() + TOrnArrays{daEdgeFlag});
    pool.SetEdgeFlag(0, 0);
    EXPECT_EQ(pool.GetEdgeFlag(0), 0);

    pool.SetFlag(3, 1, true);
    pool.SetSize(2); // shrinking cuts Count; growing again clears the new flags
    EXPECT_EQ(pool.Count(), 2);
    pool.SetCount(4);
    EXPECT_FALSE(pool.GetFlag(3, 1));
    pool.SetSize(-1);
    pool.SetCount(-3);
    EXPECT_EQ(std::vector<int>({pool.Size(), pool.Count()}), std::vector<int>({4, 4}));
}

TEST(TOrnPrimitivePoints, WholePointsAndSingleComponents) {
    TOrnPrimitivePoints pool;
    pool.SetDefineArrays({daVertex, daNormal, daTexture, daColor, daEdgeFlag, daFlag});
    TOrnPointItem in;
    in.Point()->SetValues(1, 2, 3);
    in.Normal()->SetValues(0, 1, 0);
    in.Texture()->SetValues(0.5f, 0.75f, 0);
    in.Color()->SetColor(0x0000FF); // red in the host's byte order
    in.SetFlag(5);
    in.SetEdgeFlag(false);
    ASSERT_EQ(pool.Add(in), 0);
    pool.SetValues(0, 3, daColor, 0.25);
    pool.SetValues(0, 1, daVertex, 7.5);
    pool.SetValues(0, 3, daVertex, 9); // no fourth component of a position
    EXPECT_EQ(pool.GetValues(0, 3, daVertex) + pool.GetValues(40, 0, daVertex), 0);
    TOrnPointItem out;
    pool.GetPoint(0, out);
    EXPECT_EQ(std::vector<TOrnMathVector>(
                  {out.Point()->AsMathVector(), out.Normal()->AsMathVector(), out.Texture()->AsMathVector()}),
              std::vector<TOrnMathVector>({{1, 7.5, 3}, {0, 1, 0}, {0.5, 0.75, 0}}));
    EXPECT_EQ(out.Color()->Color(), TColor(0x0000FF));
    EXPECT_FLOAT_EQ(out.Color()->Alpha(), 0.25f);
    EXPECT_TRUE(out.Flag() == 5 && !out.EdgeFlag()) << out.Flag();
}

TEST(TOrnPrimitivePoints, DeletesMoveTheTailDownAndClampTheirRange) {
    TOrnPrimitivePoints pool;
    for (int i = 0; i < 6; ++i)
        pool.Add({double(i), 0, 0}, {0, 0, double(i)}, {});
    pool.SetFlag(5, 3, true);
    pool.DeleteMarked({true, false, true, true, false, false});
    for (int i = 6; i < 9; ++i)
        pool.Add(i, 0, 0);
    ASSERT_EQ(pool.Count(), 6); // 1 4 5 6 7 8
    EXPECT_EQ(pool.GetVector(1, daNormal).z, 4);
    EXPECT_TRUE(pool.GetFlag(2, 3));
    pool.Delete(1, 2);
    EXPECT_EQ(pool.GetVector(1, daVertex).x, 6);
    pool.Delete(3, 10);
    pool.Delete(-1, 2); // only position 0 of −1 … 0
    ASSERT_EQ(pool.Count(), 2);
    EXPECT_EQ(std::vector<double>({pool.GetVector(0, daVertex).x, pool.GetVector(1, daVertex).x}),
              std::vector<double>({6, 7}));
}

TEST(TOrnPrimitivePoints, AddingPoolsScalingAndMovingAndTheVersion) {
    TOrnPrimitivePoints a, b;
    a.Add(1, 0, 0);
    b.Add({2, 0, 0}, {0, 0, 1}, {});
    b.Add({3, 0, 0}, {0, 0, 1}, {});
    b.SetFlag(1, 0, true);
    EXPECT_EQ(a.Add(b), 1);
    EXPECT_EQ(a.Count(), 3);
    EXPECT_TRUE(a.GetFlag(2, 0) && !a.GetFlag(1, 0));
    const auto version = a.Version();
    a.Add(4, 0, 0); // appends leave the version
    EXPECT_EQ(a.Version(), version);
    a.ScalePoints(2, 3, 4);
    a.MovePoints(1, 1, 1);
    EXPECT_NE(a.Version(), version);
    EXPECT_EQ(a.GetVector(2, daVertex), (TOrnMathVector{7, 1, 1}));
    a.LiftPoint(2, 2); // along the normal
    EXPECT_EQ(a.GetVector(2, daVertex), (TOrnMathVector{7, 1, 3}));
}

namespace {

std::unique_ptr<TOrnPrimitiveArray> make(GLenum type, const Idx& indices) {
    auto list = std::make_unique<TOrnPrimitiveArray>(type);
    for (auto i : indices)
        list->AddIndex(i);
    return list;
}

} // namespace

TEST(TOrnPrimitiveArray, GrowsByTwelveClampsEveryPositionAndAddsOnlyItsOwnType) {
    auto list = make(GL_TRIANGLES, {1, 2});
    EXPECT_EQ(list->Size(), 12);
    list->SetIndices(11, 9); // indices reach Size, not Count
    EXPECT_EQ(list->Indices(11), 9u);
    list->SetIndices(12, 9);
    EXPECT_EQ(list->Indices(12) + list->Indices(-1), 0u);
    list->Insert(-5, 0);
    list->Insert(99, 3);
    list->Insert(2, 9);
    EXPECT_EQ(test::Entries(list.get()), (Idx{0, 1, 9, 2, 3}));
    list->Delete(-2, 4); // only positions 0 and 1 of −2 … 1 exist
    list->Delete(-3, 2);
    list->Delete(0, 0);
    EXPECT_EQ(test::Entries(list.get()), (Idx{9, 2, 3}));
    list->Delete(1, 99);
    list->Add(*make(GL_TRIANGLES, {0, 2, 1}), 10);
    list->Add(*make(GL_QUADS, {0, 1, 2, 3}), 10);
    EXPECT_EQ(test::Entries(list.get()), (Idx{9, 10, 12, 11}));
    for (std::uint32_t i = 0; i < 9; ++i)
        list->AddIndex(i);
    EXPECT_EQ(list->Count(), 13);
    EXPECT_EQ(list->Size(), 24);
    list->SetSize(2);
    EXPECT_EQ(test::Entries(list.get()), (Idx{9, 10}));
}

TEST(TOrnPrimitiveArray, SetTypeConvertsOnlyTheAllowedPairs) {
    const std::tuple<GLenum, GLenum, GLenum> cases[] = {
        {GL_LINE_STRIP, GL_TRIANGLES, GL_LINE_STRIP}, {GL_LINE_STRIP, GL_POLYGON, GL_POLYGON},
        {GL_POLYGON, GL_LINE_LOOP, GL_LINE_LOOP},     {GL_TRIANGLE_STRIP, GL_QUAD_STRIP, GL_QUAD_STRIP},
        {GL_QUAD_STRIP, GL_POINTS, GL_QUAD_STRIP},    {GL_TRIANGLE_FAN, GL_QUADS, GL_TRIANGLE_FAN}};
    for (auto [from, to, result] : cases) {
        auto list = make(from, {0, 1, 2, 3});
        list->SetType(to);
        EXPECT_EQ(list->Type(), result) << from << " -> " << to;
        EXPECT_EQ(test::Entries(list.get()), (Idx{0, 1, 2, 3}));
    }
    TOrnPrimitiveArray empty(GL_LINE_STRIP); // an empty list takes any type
    empty.SetType(GL_TRIANGLES);
    EXPECT_EQ(empty.Type(), static_cast<GLenum>(GL_TRIANGLES));
}

TEST(TOrnPrimitiveArray, SwitchingToTrianglesOrQuadsKeepsEveryFaceAndItsWinding) {
    const struct {
        GLenum from, to;
        Idx in, out;
    } cases[] = {
        {GL_TRIANGLE_STRIP, GL_TRIANGLES, {0, 1, 2, 3, 4}, {0, 1, 2, 2, 1, 3, 2, 3, 4}},
        {GL_QUADS, GL_TRIANGLES, {0, 1, 2, 3, 4, 5, 6, 7}, {0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7}},
        {GL_TRIANGLE_FAN, GL_TRIANGLES, {0, 1, 2, 3}, {1, 2, 0, 2, 3, 0}},
        {GL_QUAD_STRIP, GL_TRIANGLES, {0, 1, 2, 3, 4}, {0, 1, 2, 2, 1, 3}}, // odd: the last is dropped
        {GL_QUAD_STRIP, GL_QUADS, {0, 1, 2, 3, 4, 5}, {0, 1, 3, 2, 2, 3, 5, 4}},
        {GL_QUAD_STRIP, GL_QUADS, {0, 1, 2, 3, 4}, {0, 1, 3, 2, 2, 3, 4, 4}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.from << " -> " << c.to << " of " << c.in.size());
        auto list = make(c.from, c.in);
        list->SetType(c.to);
        EXPECT_EQ(list->Type(), c.to);
        EXPECT_EQ(test::Entries(list.get()), c.out);
    }
}

TEST(TOrnPrimitiveArray, InvertFlipsEveryFaceOfEveryType) {
    const std::tuple<GLenum, Idx, Idx> cases[] = {
        {GL_TRIANGLES, {0, 1, 2, 3, 4, 5}, {1, 0, 2, 4, 3, 5}},
        {GL_TRIANGLE_FAN, {0, 1, 2, 3}, {0, 3, 2, 1}},
        {GL_TRIANGLE_STRIP, {0, 1, 2, 3, 4}, {4, 3, 2, 1, 0}},
        {GL_TRIANGLE_STRIP, {0, 1, 2, 3}, {0, 0, 1, 2, 3}}, // even: a degenerate first shifts the parity
        {GL_QUADS, {0, 1, 2, 3}, {0, 3, 2, 1}},
        {GL_QUAD_STRIP, {0, 1, 2, 3}, {1, 0, 3, 2}},
        {GL_POLYGON, {0, 1, 2, 3}, {3, 2, 1, 0}},
        {GL_LINE_STRIP, {0, 1, 2, 3}, {0, 1, 2, 3}}};
    for (const auto& [type, in, out] : cases) {
        auto list = make(type, in);
        list->Invert();
        EXPECT_EQ(test::Entries(list.get()), out) << type << " of " << in.size();
    }
}
