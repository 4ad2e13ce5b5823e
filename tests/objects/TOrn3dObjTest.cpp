#include "geometry/GeometryTestSupport.h"

#include <orn/objects/TOrn3dObj.h>
#include <orn/objects/TOrnRotObj.h>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace orn;
using orn::test::Length;

namespace {

struct RotFixture : ::testing::Test {
    TComponent form{nullptr};
    TOrn3dObj* obj = new TOrn3dObj(&form);

    TOrnMathVector pos(int row, int col) const { return obj->Points()->GetVector(row * 11 + col, daVertex); }
    TOrnMathVector nrm(int row, int col) const { return obj->Points()->GetVector(row * 11 + col, daNormal); }
};

double radial(const TOrnMathVector& p) {
    return std::hypot(p.x, p.y);
}

void ExpectNear(const TOrnMathVector& a, const TOrnMathVector& b, double eps = 1e-12) {
    EXPECT_NEAR(a.x, b.x, eps);
    EXPECT_NEAR(a.y, b.y, eps);
    EXPECT_NEAR(a.z, b.z, eps);
}

} // namespace

TEST(RotObj, ColumnsRotateTheProfileAboutZFromTheStartOverTheSweep) {
    TComponent form(nullptr);
    auto* rot = new TOrnRotObj(&form);
    rot->SetRotStartAngle(90);
    rot->SetRotSweepAngle(180);
    ExpectNear(rot->CalcXY({2, 7, 5}, 0), {2, 0, 5}); // the profile's y is dropped
    ExpectNear(rot->CalcXY({2, 7, 5}, 1), {-2, 0, 5});
    ExpectNear(rot->CalcXY({2, 0, 5}, 0.5), {0, -2, 5});
}

TEST(RotObj, HalfSweepBuildsHalfASurfaceAndBadAnglesAreIgnored) {
    TComponent form(nullptr);
    auto* rot = new TOrnRotObj(&form);
    rot->SetRotSweepAngle(180);
    rot->OnCalcZ = [](const TOrnMathVector&, double t) { return TOrnMathVector{1, 0, t}; };
    rot->Init();
    for (int i = 0; i < rot->Points()->Count(); ++i)
        EXPECT_GE(rot->Points()->GetVector(i, daVertex).x, -1e-12);
    ExpectNear(rot->Points()->GetVector(10, daVertex), {0, -1, 0});
    for (int index = 0; index < 4; ++index) {
        rot->setangle(index, 45);
        rot->setangle(index, -1);
    }
    rot->setangle(4, 10);
    rot->setangle(0, std::nanf(""));
    for (float angle :
         {rot->RotStartAngle(), rot->RotSweepAngle(), rot->FuncStartAngle(), rot->FuncSweepAngle()})
        EXPECT_EQ(angle, 45);
}

TEST_F(RotFixture, DefaultIsAnUncappedUnitSphereFromSouthToNorthPole) {
    obj->Init();
    ASSERT_EQ(obj->Points()->Count(), 121);
    EXPECT_EQ(obj->PrimitiveCount(), 10);
    ExpectNear(pos(0, 3), {0, 0, -1});
    ExpectNear(pos(10, 3), {0, 0, 1});
    ExpectNear(pos(5, 0), {0, 1, 0});
    for (int i = 0; i < 121; ++i)
        EXPECT_NEAR(Length(obj->Points()->GetVector(i, daVertex)), 1.0, 1e-12);
    // Away from the poles the normals point outwards.
    for (int row = 1; row < 10; ++row)
        for (int col = 0; col <= 10; ++col) {
            const TOrnMathVector p = pos(row, col), n = nrm(row, col);
            EXPECT_GT(OrnMathDotProduct(p, n), 0.9) << row << " " << col;
            EXPECT_NEAR(Length(n), 1.0, 1e-9);
        }
    obj->SetHeight(2);    // across the axis
    obj->SetRadius(3.0f); // along it
    obj->Init();
    ExpectNear(pos(5, 0), {0, 2, 0});
    ExpectNear(pos(10, 0), {0, 0, 3});
}

TEST_F(RotFixture, HalfSphereWithBottomCapClosesAtTheEquator) {
    obj->SetFuncSweepAngle(180);
    obj->SetClosed(TOrnClosed::Bottom);
    obj->Init();
    EXPECT_EQ(obj->OverDraw(), 2);
    ASSERT_EQ(obj->Points()->Count(), 21 * 11);
    // Rows 0 … 10: the disc at z = 0 growing to the equator; then the dome up to the pole.
    ExpectNear(pos(0, 0), {0, 0, 0});
    ExpectNear(pos(5, 0), {0, 0.5, 0}, 1e-12);
    ExpectNear(pos(10, 0), {0, 1, 0}, 1e-12);
    ExpectNear(pos(20, 0), {0, 0, 1}, 1e-12);
}

TEST_F(RotFixture, CylinderClosedTopBottomHas31RowsWithTheDiscsWhereTheyBelong) {
    obj->SetObjArt(TOrn3dObjects::Cylinder);
    obj->SetHeight(2);
    obj->SetRadius(1.0f);
    obj->SetTopRadius(1.0f);
    obj->SetClosed(TOrnClosed::TopBottom);
    EXPECT_EQ(obj->OverDraw(), 3);
    obj->Init();
    ASSERT_EQ(obj->Points()->Count(), 31 * 11);
    EXPECT_EQ(obj->PrimitiveCount(), 30);
    for (int row = 0; row <= 30; ++row) {
        const TOrnMathVector p = pos(row, 2);
        if (row < 10) { // bottom disc growing outwards at z = −1
            EXPECT_NEAR(p.z, -1, 1e-12) << row;
            EXPECT_NEAR(radial(p), row / 10.0, 1e-12) << row;
        } else if (row <= 20) { // the wall
            EXPECT_NEAR(p.z, (row - 10) / 10.0 * 2 - 1, 1e-12) << row;
            EXPECT_NEAR(radial(p), 1, 1e-12) << row;
        } else { // top disc shrinking inwards at z = +1
            EXPECT_NEAR(p.z, 1, 1e-12) << row;
            EXPECT_NEAR(radial(p), (30 - row) / 10.0, 1e-12) << row;
        }
    }
    for (int col = 0; col <= 10; ++col) {
        for (int row = 1; row <= 8; ++row)
            ExpectNear(nrm(row, col), {0, 0, -1}, 1e-9);
        for (int row = 21; row <= 29; ++row)
            ExpectNear(nrm(row, col), {0, 0, 1}, 1e-9);
        // The wall's normal is horizontal and at most half a slice (18 degrees) off the radius.
        const TOrnMathVector wall = nrm(15, col), p = pos(15, col);
        EXPECT_NEAR(wall.z, 0, 1e-9);
        EXPECT_GE(OrnMathDotProduct(wall, p), std::cos(std::numbers::pi / 10) - 1e-9);
    }
}

TEST_F(RotFixture, CylinderTopRadiusZeroIsAConeWithItsApexOnTop) {
    obj->SetObjArt(TOrn3dObjects::Cylinder);
    obj->SetHeight(4);
    obj->SetRadius(2.0f);
    obj->SetTopRadius(0);
    obj->Init();
    for (int col = 0; col <= 10; ++col) {
        ExpectNear(pos(10, col), {0, 0, 2});
        EXPECT_NEAR(pos(0, col).z, -2, 1e-12);
        EXPECT_NEAR(radial(pos(0, col)), 2, 1e-12);
        EXPECT_NEAR(radial(pos(4, col)), 2 * 0.6, 1e-12);
        // The normal is the facet's: the wall narrows by 2 over a height of 4, measured through the
        // middle of the facet, half a slice (18 degrees) off the corner.
        const TOrnMathVector n = nrm(4, col);
        EXPECT_NEAR(n.z / radial(n), 0.5 * std::cos(std::numbers::pi / 10), 1e-9);
    }
}

TEST_F(RotFixture, TopCapOnlyStartsWithTheWallAndEndsAtTheAxis) {
    obj->SetObjArt(TOrn3dObjects::Cylinder);
    obj->SetClosed(TOrnClosed::Top);
    obj->Init();
    ASSERT_EQ(obj->Points()->Count(), 21 * 11);
    EXPECT_NEAR(pos(0, 0).z, -0.5, 1e-12); // the wall starts at once
    EXPECT_NEAR(radial(pos(0, 0)), 1, 1e-12);
    EXPECT_NEAR(radial(pos(20, 0)), 0, 1e-12); // the top disc closes at the axis
    EXPECT_NEAR(pos(20, 0).z, 0.5, 1e-12);
}

TEST_F(RotFixture, TorusIsARingOfRadiusWithTubeHalfWidthsTopRadiusAndHeight) {
    obj->SetObjArt(TOrn3dObjects::Torus);
    obj->SetRadius(3.0f);
    obj->SetTopRadius(1.0f);
    obj->SetHeight(0.5f);
    obj->Init();
    for (int i = 0; i < obj->Points()->Count(); ++i) {
        const TOrnMathVector p = obj->Points()->GetVector(i, daVertex);
        const double a = radial(p) - 3, b = p.z / 0.5;
        EXPECT_NEAR(a * a + b * b, 1, 1e-9);
    }
    EXPECT_NEAR(radial(pos(0, 0)), 4, 1e-12); // psi = 0: outer equator
    EXPECT_NEAR(radial(pos(5, 0)), 2, 1e-12); // psi = pi: inner equator
    // Outer equator's normal points away from the axis.
    const TOrnMathVector n = nrm(0, 0), p = pos(0, 0);
    EXPECT_GT(OrnMathDotProduct(n, {p.x / 4, p.y / 4, 0}), 0.7);
    EXPECT_GT(n.z, 0); // from the rows of psi 0 and 36 degrees: leaning upwards
}

TEST_F(RotFixture, TextureModeFollowsTheProfileOnlyWhenTextured) {
    obj->SetObjArt(TOrn3dObjects::Cylinder);
    obj->Init();
    EXPECT_EQ(obj->TextureFlags()->Mode(), txStandard); // not textured: untouched
    obj->SetTextured(true);
    obj->SetRadius(1.5f);
    obj->TextureFlags()->SetShiftX(0.25);
    obj->Init();
    const TOrnTextureFlags& f = *obj->TextureFlags();
    EXPECT_EQ(f.Mode(), txLinearXY);
    EXPECT_EQ(std::vector<double>({f.ScaleX(), f.ScaleY(), f.ShiftX(), f.ShiftY()}),
              std::vector<double>({3, 3, 0.25, 1.5})); // the shift of s kept
    // The rule has been applied to the points: s = x × ScaleX + ShiftX.
    EXPECT_NEAR(obj->Points()->GetVector(3 * 11 + 2, daTexture).x, pos(3, 2).x * 3 + 0.25, 1e-12);
    obj->SetObjArt(TOrn3dObjects::Torus);
    obj->Init();
    EXPECT_EQ(std::vector<double>({f.ScaleX(), f.ShiftY(), double(f.Mode())}),
              std::vector<double>({1, 0, txStandard}));

    obj->SetObjArt(TOrn3dObjects::Sphere); // linear only once a cap point is computed
    obj->Init();
    EXPECT_EQ(f.Mode(), txStandard);
    obj->SetClosed(TOrnClosed::Top);
    obj->Init();
    EXPECT_EQ(f.Mode(), txLinearXY);

    obj->SetHeight(4);
    obj->SetTexMode(txLinearZ);
    EXPECT_EQ(f.ScaleY(), 4);
    EXPECT_EQ(f.ScaleX(), 0);
    obj->TextureFlags()->SetScaleX(7);
    obj->SetTexMode(txSphereZ);
    EXPECT_EQ(f.Mode(), txSphereZ);
    EXPECT_EQ(f.ScaleX(), 7);
}

TEST_F(RotFixture, SlicesOrStacksOfZeroBuildNothingAndRadiiGoByIndex) {
    obj->SetSlices(0);
    obj->Init();
    EXPECT_EQ(obj->Points()->Count(), 0);
    obj->SetSlices(10);
    obj->SetStacks(-1);
    obj->SetClosed(TOrnClosed::TopBottom);
    obj->Init();
    EXPECT_EQ(obj->Points()->Count(), 0);
    EXPECT_EQ(obj->PrimitiveCount(), 0);
    obj->SetRadius(0, 2);
    obj->SetRadius(1, 3);
    obj->SetRadius(2, 9);
    EXPECT_EQ(obj->TopRadius(), 2);
    EXPECT_EQ(obj->Radius(), 3);
}
