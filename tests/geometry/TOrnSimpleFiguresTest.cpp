#include "geometry/GeometryTestSupport.h"

#include <orn/geometry/TOrnLine.h>
#include <orn/geometry/TOrnPoint.h>
#include <orn/geometry/TOrnRectangle.h>
#include <orn/geometry/TOrnTriangle.h>
#include <orn/host/EOrnError.h>
#include <orn/scene/TOrnRegistry.h>

#include <gtest/gtest.h>

using namespace orn;
using orn::test::Entries;

namespace {

struct FigureFixture : ::testing::Test {
    TComponent form{nullptr};
};

TOrnMathVector pos(const TOrnPrimitiveObj& o, int i) {
    return o.Points()->GetVector(i, daVertex);
}
TOrnMathVector tex(const TOrnPrimitiveObj& o, int i) {
    return o.Points()->GetVector(i, daTexture);
}

} // namespace

TEST_F(FigureFixture, PointIsOneNormalZPointAtTheOrigin) {
    TOrnPoint p(&form);
    p.Init();
    ASSERT_EQ(p.Points()->Count(), 1);
    EXPECT_EQ(p.Points()->GetVector(0, daNormal), (TOrnMathVector{0, 0, 1}));
    ASSERT_EQ(p.PrimitiveCount(), 1);
    EXPECT_EQ(p.Primitive(0)->Type(), static_cast<GLenum>(GL_POINTS));
    EXPECT_EQ(Entries(p.Primitive(0)), (std::vector<std::uint32_t>{0}));
}

TEST_F(FigureFixture, LineRunsFromTheOriginAlongZEvenAtLengthZero) {
    TOrnLine line(&form);
    line.SetLength(2.5f);
    line.SetTextured(true);
    line.Init();
    EXPECT_EQ(pos(line, 1), (TOrnMathVector{0, 0, 2.5}));
    EXPECT_EQ(tex(line, 1), (TOrnMathVector{0, 1, 0}));
    EXPECT_EQ(line.Points()->GetVector(1, daNormal), (TOrnMathVector{0, 0, 1}));
    line.SetLength(0);
    EXPECT_FALSE(line.Initialized());
    line.Init();
    EXPECT_EQ(line.Points()->Count(), 2);
    EXPECT_EQ(line.PrimitiveCount(), 1);
    EXPECT_EQ(line.Primitive(0)->Type(), static_cast<GLenum>(GL_LINES));
}

TEST_F(FigureFixture, TriangleApexAtOriginBaseAtHeightWithScaledTexture) {
    TOrnTriangle t(&form);
    t.SetBase(2);
    t.SetHeight(3);
    t.TextureFlags()->SetScaleX(2);
    t.TextureFlags()->SetShiftX(1);
    t.TextureFlags()->SetScaleY(4);
    t.TextureFlags()->SetShiftY(0.5);
    t.SetTextured(true);
    t.Init();
    EXPECT_EQ(pos(t, 0), (TOrnMathVector{0, 0, 0}));
    EXPECT_EQ(pos(t, 1), (TOrnMathVector{-1, 0, 3}));
    EXPECT_EQ(pos(t, 2), (TOrnMathVector{1, 0, 3}));
    EXPECT_EQ(tex(t, 0), (TOrnMathVector{2, 4.5, 0}));
    EXPECT_EQ(tex(t, 1), (TOrnMathVector{1, 0.5, 0}));
    EXPECT_EQ(tex(t, 2), (TOrnMathVector{3, 0.5, 0}));
    // The winding faces +y, as the stored normals say.
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(t.Points()->GetVector(i, daNormal), (TOrnMathVector{0, 1, 0})) << i;
    t.CalcNormals();
    EXPECT_EQ(t.Points()->GetVector(0, daNormal), (TOrnMathVector{0, 1, 0}));
}

TEST_F(FigureFixture, RectangleThreeByTwoHasTwelvePointsAndTwoStripsOfEight) {
    TOrnRectangle r(&form);
    r.SetDetX(3);
    r.SetDetY(2);
    r.SetWidth(6);
    r.SetHeight(4);
    r.SetTextured(true);
    r.Init();
    EXPECT_EQ(r.Points()->Count(), 12);
    ASSERT_EQ(r.PrimitiveCount(), 2);
    for (int j = 0; j < 2; ++j) {
        EXPECT_EQ(r.Primitive(j)->Type(), static_cast<GLenum>(GL_QUAD_STRIP));
        EXPECT_EQ(r.Primitive(j)->Count(), 8);
    }
    EXPECT_EQ(Entries(r.Primitive(0)), (std::vector<std::uint32_t>{4, 0, 5, 1, 6, 2, 7, 3}));
    // Centred in x, from z = Height at row 0 down to z = 0: the intended asymmetry.
    EXPECT_EQ(pos(r, 0), (TOrnMathVector{-3, 0, 4}));
    EXPECT_EQ(pos(r, 11), (TOrnMathVector{3, 0, 0}));
    EXPECT_EQ(tex(r, 11), (TOrnMathVector{1, 1, 0}));
    EXPECT_EQ(r.Points()->GetVector(5, daNormal), (TOrnMathVector{0, 1, 0}));
    r.CalcNormals(); // the strips wind as the stored normals say
    EXPECT_EQ(r.Points()->GetVector(5, daNormal), (TOrnMathVector{0, 1, 0}));
}

TEST_F(FigureFixture, RectangleRefusesDetailsOfZeroOrBelow) {
    TOrnRectangle r(&form);
    r.Init();
    r.SetDetX(0);
    r.SetDetY(-4);
    EXPECT_TRUE(r.Initialized());
    EXPECT_EQ(r.DetailX(), 1);
    EXPECT_EQ(r.DetailY(), 1);
    r.SetDetX(2);
    EXPECT_FALSE(r.Initialized());
}

TEST_F(FigureFixture, RectangleOfAbsurdDetailFailsWithAMessage) {
    TOrnRectangle r(&form);
    r.SetDetX(1 << 20);
    r.SetDetY(1 << 20);
    EXPECT_THROW(r.Init(), EOrnError);
}
