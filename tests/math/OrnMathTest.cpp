#include <orn/math/OrnMath.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace orn;

TEST(TOrnMathVector, RoutinesOnSmallCases) {
    TOrnMathVector r;
    OrnMathVectorAddition(ToVec(1, 2, 3), ToVec(-4, 5, 0.5), r);
    EXPECT_EQ(r, ToVec(-3, 7, 3.5));
    OrnMathVectorInterpolate(ToVec(0, 0, 0), ToVec(2, 4, 6), r);
    EXPECT_EQ(r, ToVec(1, 2, 3));
    OrnMathScalarProduct(ToVec(1, -2, 3), 2, r);
    EXPECT_EQ(r, ToVec(2, -4, 6));
    OrnMathCrossProduct(ToVec(1, 0, 0), ToVec(0, 1, 0), r);
    EXPECT_EQ(r, ToVec(0, 0, 1));
    EXPECT_EQ(OrnMathDotProduct(ToVec(1, 2, 3), ToVec(4, -5, 6)), 12);
    EXPECT_EQ(OrnMathVectorDist(ToVec(1, 1, 1), ToVec(4, 5, 1)), 5);
    EXPECT_EQ(OrnMathVectorLength(ToVec(0, 3, 4)), 5);
    r = ToVec(3, 0, 4);
    OrnMathNormalize(r);
    EXPECT_EQ(r, ToVec(0.6, 0, 0.8));
    r = ToVec(0, 0, 0);
    OrnMathNormalize(r);
    EXPECT_EQ(r, ToVec(0, 0, 0));
    r = ToVec(std::numeric_limits<double>::quiet_NaN(), 1, 1);
    OrnMathNormalize(r);
    EXPECT_TRUE(std::isnan(r.x));
    EXPECT_EQ(r.y, 1);
    // Counter-clockwise seen from +z: the normal points at the viewer.
    OrnMathNormalVector(ToVec(0, 0, 0), ToVec(1, 0, 0), ToVec(0, 1, 0), true, r);
    EXPECT_EQ(r, ToVec(0, 0, 1));
    OrnMathNormalVector(ToVec(0, 0, 0), ToVec(2, 0, 0), ToVec(0, 2, 0), false, r);
    EXPECT_EQ(r, ToVec(0, 0, 4)); // twice the area when not normalised
    OrnMathNormalVector(ToVec(0, 0, 0), ToVec(1, 1, 1), ToVec(2, 2, 2), true, r);
    EXPECT_EQ(r, ToVec(0, 0, 0)); // collinear
    // The plane's d is the distance along the normal, not negated.
    EXPECT_EQ(OrnMathPlanefromPoints(ToVec(0, 0, 1), ToVec(1, 0, 1), ToVec(0, 1, 1)), ToVec4D(0, 0, 1, 1));
    EXPECT_EQ(OrnMathPlanefromPoints(ToVec(1, 1, 1), ToVec(2, 2, 2), ToVec(3, 3, 3)), ToVec4D(0, 0, 0, 0));
}

TEST(TOrnMathVector, OutputMayAliasEitherInput) {
    const TOrnMathVector a = ToVec(1, 2, 3), b = ToVec(-4, 5, 0.5);
    auto check = [&](auto op) {
        TOrnMathVector separate, first = a, second = b;
        op(a, b, separate);
        op(first, b, first);
        op(a, second, second);
        EXPECT_EQ(first, separate);
        EXPECT_EQ(second, separate);
    };
    check([](const auto& x, const auto& y, auto& r) { OrnMathVectorAddition(x, y, r); });
    check([](const auto& x, const auto& y, auto& r) { OrnMathCrossProduct(x, y, r); });
    check([](const auto& x, const auto& y, auto& r) { OrnMathVectorInterpolate(x, y, r); });
    check([](const auto& x, const auto& y, auto& r) { OrnMathNormalVector(x, y, ToVec(7, 1, 2), true, r); });
    check([](const auto& x, const auto& y, auto& r) { OrnMathNormalVector(ToVec(7, 1, 2), x, y, false, r); });
}
