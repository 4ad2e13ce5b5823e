#include "geometry/GeometryTestSupport.h"

#include <orn/geometry/TOrnPrimitivePoints.h>
#include <orn/host/EOrnError.h>

#include <gtest/gtest.h>

using namespace orn;

TEST(TOrnPrimitivePoints, AddGrowsSizeInStepsOfTwelve) {
    TOrnPrimitivePoints pool;
    EXPECT_EQ(pool.Add(1, 2, 3), 0);
    EXPECT_EQ(pool.Size(), 12);
    for (int i = 1; i < 12; ++i)
        pool.Add(i, 0, 0);
    EXPECT_EQ(pool.Size(), 12);
    EXPECT_EQ(pool.Add(0, 0, 0), 12);
    EXPECT_EQ(pool.Size(), 24);
    EXPECT_EQ(pool.Count(), 13);
    EXPECT_EQ(pool.GetVector(0, daVertex), (TOrnMathVector{1, 2, 3}));
}

TEST(TOrnPrimitivePoints, ManyAppendsKeepTheirValuesAndReportedSize) {
    TOrnPrimitivePoints pool;
    const int n = 100000;
    for (int i = 0; i < n; ++i)
        pool.Add({double(i), 0, 0}, {0, 1, 0}, {0, 0, 0});
    EXPECT_EQ(pool.Count(), n);
    EXPECT_EQ(pool.Size(), (n + 11) / 12 * 12);
    EXPECT_EQ(pool.GetVector(n - 1, daVertex).x, n - 1);
    EXPECT_EQ(pool.GetVector(n / 2, daNormal), (TOrnMathVector{0, 1, 0}));
}

TEST(TOrnPrimitivePoints, AddWithoutPositionsAnswersMinusOneAndKeepsCount) {
    TOrnPrimitivePoints pool;
    pool.SetDefineArrays({daNormal});
    EXPECT_EQ(pool.Add(1, 2, 3), -1);
    EXPECT_EQ(pool.Count(), 0);
    EXPECT_EQ(pool.Size(), 12);
}

TEST(TOrnPrimitivePoints, RemovedKindKeepsItsDataUntilAddedBack) {
    TOrnPrimitivePoints pool;
    pool.Add({1, 2, 3}, {0, 0, 1}, {0.5, 0.25, 0});
    pool.SetDefineArrays({daVertex, daNormal, daFlag});
    EXPECT_EQ(pool.GetVector(0, daTexture), (TOrnMathVector{})); // not allocated: zero
    pool.SetDefineArrays({daVertex, daNormal, daTexture, daFlag});
    EXPECT_EQ(pool.GetVector(0, daTexture), (TOrnMathVector{0.5, 0.25, 0}));
}

TEST(TOrnPrimitivePoints, StaleSlotsAnswerVectorsButNoFlags) {
    TOrnPrimitivePoints pool;
    pool.Add(1, 1, 1);
    pool.Add(2, 2, 2);
    pool.SetFlag(1, 0, true);
    pool.Delete(1, 1);
    EXPECT_EQ(pool.Count(), 1);
    EXPECT_EQ(pool.GetVector(1, daVertex), (TOrnMathVector{2, 2, 2})); // stale, inside Size: answered
    EXPECT_FALSE(pool.GetFlag(1, 0));                                  // beyond Count: false
    EXPECT_EQ(pool.GetVector(12, daVertex), (TOrnMathVector{}));       // beyond Size: zero
    EXPECT_EQ(pool.GetVector(-1, daVertex), (TOrnMathVector{}));
    EXPECT_EQ(pool.GetVector(0, daColor), (TOrnMathVector{}));
}

TEST(TOrnPrimitivePoints, FlagsUseBitsZeroToSevenOnly) {
    TOrnPrimitivePoints pool;
    pool.Add(0, 0, 0);
    pool.SetFlag(0, 9, true);
    pool.SetFlag(0, -1, true);
    for (int bit = 0; bit < 8; ++bit)
        EXPECT_FALSE(pool.GetFlag(0, bit));
    pool.SetFlag(0, 7, true);
    pool.SetFlag(0, 2, true);
    pool.SetFlag(0, 2, false);
    EXPECT_TRUE(pool.GetFlag(0, 7));
    EXPECT_FALSE(pool.GetFlag(0, 2));
    EXPECT_EQ(pool.Flags()[0], 0x80);
}

TEST(TOrnPrimitivePoints, EdgeFlagsNeedTheirArray) {
    TOrnPrimitivePoints pool;
    pool.Add(0, 0, 0);
    EXPECT_EQ(pool.GetEdgeFlag(0), 255);
    pool.SetEdgeFlag(0, 0);
    EXPECT_EQ(pool.GetEdgeFlag(0), 255);
    pool.SetDefineArrays(pool.DefineArrays() + TOrnArrays{daEdgeFlag});
    pool.SetEdgeFlag(0, 0);
    EXPECT_EQ(pool.GetEdgeFlag(0), 0);
    EXPECT_EQ(pool.GetEdgeFlag(1), 255); // beyond Count
}

TEST(TOrnPrimitivePoints, ShrinkingCutsCountAndGrowingClearsNewFlags) {
    TOrnPrimitivePoints pool;
    pool.SetCount(4);
    pool.SetFlag(3, 1, true);
    pool.SetSize(2);
    EXPECT_EQ(pool.Count(), 2);
    pool.SetCount(4);
    EXPECT_FALSE(pool.GetFlag(3, 1));
    pool.SetSize(-1);
    pool.SetCount(-3);
    EXPECT_EQ(pool.Size(), 4);
    EXPECT_EQ(pool.Count(), 4);
}

TEST(TOrnPrimitivePoints, ValuesReadAndWriteSingleComponents) {
    TOrnPrimitivePoints pool;
    pool.SetDefineArrays(pool.DefineArrays() + TOrnArrays{daColor});
    pool.Add(1, 2, 3);
    pool.SetValues(0, 1, daVertex, 7.5);
    pool.SetValues(0, 3, daColor, 0.25);
    pool.SetValues(0, 3, daVertex, 9); // no fourth component of a position
    EXPECT_EQ(pool.GetValues(0, 1, daVertex), 7.5);
    EXPECT_FLOAT_EQ(pool.GetValues(0, 3, daColor), 0.25);
    EXPECT_EQ(pool.GetValues(0, 3, daVertex), 0);
    EXPECT_EQ(pool.GetValues(40, 0, daVertex), 0);
}

TEST(TOrnPrimitivePoints, DeleteMovesTheTailDownAndClampsItsRange) {
    TOrnPrimitivePoints pool;
    for (int i = 0; i < 6; ++i)
        pool.Add(i, 0, 0);
    pool.Delete(1, 2);
    ASSERT_EQ(pool.Count(), 4);
    EXPECT_EQ(pool.GetVector(1, daVertex).x, 3);
    EXPECT_EQ(pool.GetVector(3, daVertex).x, 5);
    pool.Delete(3, 10);
    EXPECT_EQ(pool.Count(), 3);
    pool.Delete(-1, 2);
    EXPECT_EQ(pool.Count(), 2);
    EXPECT_EQ(pool.GetVector(0, daVertex).x, 3);
}

TEST(TOrnPrimitivePoints, DeleteMarkedKeepsOrderOfTheRest) {
    TOrnPrimitivePoints pool;
    for (int i = 0; i < 6; ++i)
        pool.Add({double(i), 0, 0}, {0, 0, double(i)}, {});
    pool.SetFlag(5, 3, true);
    pool.DeleteMarked({true, false, true, true, false, false});
    ASSERT_EQ(pool.Count(), 3);
    EXPECT_EQ(pool.GetVector(0, daVertex).x, 1);
    EXPECT_EQ(pool.GetVector(1, daNormal).z, 4);
    EXPECT_TRUE(pool.GetFlag(2, 3));
}

TEST(TOrnPrimitivePoints, PointItemRoundTripsEveryAllocatedAttribute) {
    TOrnPrimitivePoints pool;
    pool.SetDefineArrays({daVertex, daNormal, daTexture, daColor, daEdgeFlag, daFlag});
    TOrnPointItem in;
    in.Point()->SetValues(1, 2, 3);
    in.Normal()->SetValues(0, 1, 0);
    in.Texture()->SetValues(0.5f, 0.75f, 0);
    in.Color()->SetColor(0x0000FF); // red in the host's byte order
    in.Color()->SetAlpha(0.5f);
    in.SetFlag(5);
    in.SetEdgeFlag(false);
    ASSERT_EQ(pool.Add(in), 0);
    TOrnPointItem out;
    pool.GetPoint(0, out);
    EXPECT_EQ(out.Point()->AsMathVector(), (TOrnMathVector{1, 2, 3}));
    EXPECT_EQ(out.Normal()->AsMathVector(), (TOrnMathVector{0, 1, 0}));
    EXPECT_EQ(out.Texture()->AsMathVector(), (TOrnMathVector{0.5, 0.75, 0}));
    EXPECT_EQ(out.Color()->Color(), in.Color()->Color());
    EXPECT_FLOAT_EQ(out.Color()->Alpha(), 0.5f);
    EXPECT_EQ(out.Flag(), 5);
    EXPECT_FALSE(out.EdgeFlag());
}

TEST(TOrnPrimitivePoints, AddPoolAppendsAndAnswersFirstIndex) {
    TOrnPrimitivePoints a, b;
    a.Add(1, 0, 0);
    b.Add({2, 0, 0}, {0, 0, 1}, {});
    b.Add({3, 0, 0}, {0, 0, 1}, {});
    b.SetFlag(1, 0, true);
    EXPECT_EQ(a.Add(b), 1);
    EXPECT_EQ(a.Count(), 3);
    EXPECT_EQ(a.GetVector(2, daVertex).x, 3);
    EXPECT_TRUE(a.GetFlag(2, 0));
    EXPECT_FALSE(a.GetFlag(1, 0));
}

TEST(TOrnPrimitivePoints, LiftPointNeedsNormalsAndTextureCoordinates) {
    TOrnPrimitivePoints pool;
    pool.Add({0, 0, 0}, {0, 1, 0}, {});
    pool.LiftPoint(0, 2);
    EXPECT_EQ(pool.GetVector(0, daVertex), (TOrnMathVector{0, 2, 0}));
    pool.SetDefineArrays({daVertex, daNormal});
    pool.LiftPoint(0, 2);
    EXPECT_EQ(pool.GetVector(0, daVertex), (TOrnMathVector{0, 2, 0}));
}

TEST(TOrnPrimitivePoints, ScaleAndMoveTouchEveryPosition) {
    TOrnPrimitivePoints pool;
    pool.Add(1, 2, 3);
    pool.Add(-1, 0, 1);
    pool.ScalePoints(2, 3, 4);
    pool.MovePoints(1, 1, 1);
    EXPECT_EQ(pool.GetVector(0, daVertex), (TOrnMathVector{3, 7, 13}));
    EXPECT_EQ(pool.GetVector(1, daVertex), (TOrnMathVector{-1, 1, 5}));
}

TEST(TOrnPrimitivePoints, VersionMovesOnChangesButNotOnAppends) {
    TOrnPrimitivePoints pool;
    pool.Add(0, 0, 0);
    const auto v = pool.Version();
    pool.Add(1, 0, 0);
    pool.Add({2, 0, 0}, {}, {});
    EXPECT_EQ(pool.Version(), v);
    pool.SetVector(0, daVertex, {5, 5, 5});
    EXPECT_NE(pool.Version(), v);
}

TEST(TOrnPrimitivePoints, AbsurdSizesFailWithAMessageAndChangeNothing) {
    TOrnPrimitivePoints pool;
    pool.Add(1, 2, 3);
    EXPECT_THROW(pool.SetCount(2000000000), EOrnError);
    EXPECT_EQ(pool.Count(), 1);
    EXPECT_EQ(pool.GetVector(0, daVertex), (TOrnMathVector{1, 2, 3}));
}
