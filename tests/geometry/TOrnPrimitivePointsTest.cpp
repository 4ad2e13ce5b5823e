#include <orn/geometry/TOrnPrimitivePoints.h>
#include <orn/host/EOrnError.h>

#include <gtest/gtest.h>

using namespace orn;

TEST(TOrnPrimitivePoints, GrowsByTwelveNeedsPositionsAndAnswersZeroOutsideItsRange) {
    TOrnPrimitivePoints pool;
    EXPECT_EQ(pool.Add(1, 2, 3), 0);
    EXPECT_EQ(pool.Size(), 12);
    for (int i = 1; i < 12; ++i)
        pool.Add({double(i), 0, 0}, {0, 1, 0}, {0.5, 0.25, 0});
    EXPECT_EQ(pool.Size(), 12);
    EXPECT_EQ(pool.Add(0, 0, 0), 12);
    EXPECT_EQ(pool.Size(), 24);
    EXPECT_EQ(pool.GetVector(11, daNormal), (TOrnMathVector{0, 1, 0}));
    pool.SetFlag(12, 0, true);
    pool.Delete(12, 1);
    EXPECT_EQ(pool.Count(), 12);
    EXPECT_EQ(pool.GetVector(12, daVertex), (TOrnMathVector{0, 0, 0})); // stale, inside Size: answered
    EXPECT_FALSE(pool.GetFlag(12, 0));                                  // beyond Count: false
    EXPECT_EQ(pool.GetVector(11, daVertex), (TOrnMathVector{11, 0, 0}));
    EXPECT_EQ(pool.GetVector(24, daVertex), (TOrnMathVector{}));
    EXPECT_EQ(pool.GetVector(-1, daVertex), (TOrnMathVector{}));
    EXPECT_EQ(pool.GetVector(0, daColor), (TOrnMathVector{})); // not allocated
    pool.SetDefineArrays({daVertex, daNormal, daFlag});        // a kind removed keeps its data
    EXPECT_EQ(pool.GetVector(1, daTexture), (TOrnMathVector{}));
    pool.SetDefineArrays({daVertex, daNormal, daTexture, daFlag});
    EXPECT_EQ(pool.GetVector(1, daTexture), (TOrnMathVector{0.5, 0.25, 0}));
    EXPECT_THROW(pool.SetCount(2000000000), EOrnError); // absurd: refused, nothing changed
    EXPECT_EQ(pool.Count(), 12);

    TOrnPrimitivePoints normalsOnly;
    normalsOnly.SetDefineArrays({daNormal});
    EXPECT_EQ(normalsOnly.Add(1, 2, 3), -1);
    EXPECT_EQ(normalsOnly.Count(), 0);
}

TEST(TOrnPrimitivePoints, FlagsUseBitsZeroToSevenAndSizesClamp) {
    TOrnPrimitivePoints pool;
    pool.SetCount(4);
    pool.SetFlag(0, 8, true);
    pool.SetFlag(0, -1, true);
    pool.SetFlag(0, 7, true);
    pool.SetFlag(0, 2, true);
    pool.SetFlag(0, 2, false);
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
    EXPECT_EQ(pool.Size(), 4);
    EXPECT_EQ(pool.Count(), 4);
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
    EXPECT_EQ(pool.GetValues(0, 3, daVertex), 0);
    EXPECT_EQ(pool.GetValues(40, 0, daVertex), 0);
    TOrnPointItem out;
    pool.GetPoint(0, out);
    EXPECT_EQ(out.Point()->AsMathVector(), (TOrnMathVector{1, 7.5, 3}));
    EXPECT_EQ(out.Normal()->AsMathVector(), (TOrnMathVector{0, 1, 0}));
    EXPECT_EQ(out.Texture()->AsMathVector(), (TOrnMathVector{0.5, 0.75, 0}));
    EXPECT_EQ(out.Color()->Color(), TColor(0x0000FF));
    EXPECT_FLOAT_EQ(out.Color()->Alpha(), 0.25f);
    EXPECT_EQ(out.Flag(), 5);
    EXPECT_FALSE(out.EdgeFlag());
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
    EXPECT_EQ(pool.GetVector(0, daVertex).x, 6);
    EXPECT_EQ(pool.GetVector(1, daVertex).x, 7);
}

TEST(TOrnPrimitivePoints, AddingPoolsScalingAndMovingAndTheVersion) {
    TOrnPrimitivePoints a, b;
    a.Add(1, 0, 0);
    b.Add({2, 0, 0}, {0, 0, 1}, {});
    b.Add({3, 0, 0}, {0, 0, 1}, {});
    b.SetFlag(1, 0, true);
    EXPECT_EQ(a.Add(b), 1);
    EXPECT_EQ(a.Count(), 3);
    EXPECT_TRUE(a.GetFlag(2, 0));
    EXPECT_FALSE(a.GetFlag(1, 0));
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
