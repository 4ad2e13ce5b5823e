#include "geometry/GeometryTestSupport.h"
#include "support/GLTestContext.h"
#include "support/TestView.h"

#include <orn/host/EOrnError.h>
#include <orn/objects/TOrn3dObj.h>
#include <orn/objects/TOrnFuncObj.h>
#include <orn/objects/TOrnRotObj.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <vector>

using namespace orn;
using orn::test::Entries;
using orn::test::Length;

namespace {

struct FuncFixture : ::testing::Test {
    TComponent form{nullptr};
    TOrnFuncObj* obj = new TOrnFuncObj(&form);

    TOrnMathVector pos(int i) const { return obj->Points()->GetVector(i, daVertex); }
    TOrnMathVector nrm(int i) const { return obj->Points()->GetVector(i, daNormal); }
    TOrnMathVector tex(int i) const { return obj->Points()->GetVector(i, daTexture); }
    /// A flat grid: rows along y by the row parameter, columns along x by the column parameter.
    void Plane() {
        obj->SetOnCalc(1, [](const TOrnMathVector&, double t) { return TOrnMathVector{0, t, 0}; });
        obj->SetOnCalc(0, [](const TOrnMathVector& v, double t) { return TOrnMathVector{t, v.y, v.z}; });
    }
};

/// Exposes the connect mode, which no published class changes.
class ConnectedFuncObj : public TOrnCustomFuncObj {
public:
    using TOrnCustomFuncObj::SetConnectMode;
    using TOrnCustomFuncObj::TOrnCustomFuncObj;
};

void ExpectNear(const TOrnMathVector& a, const TOrnMathVector& b, double eps = 1e-12) {
    EXPECT_NEAR(a.x, b.x, eps);
    EXPECT_NEAR(a.y, b.y, eps);
    EXPECT_NEAR(a.z, b.z, eps);
}

} // namespace

TEST_F(FuncFixture, DefaultsGive121PointsAndTenStripsOf22) {
    Plane();
    obj->Init();
    ASSERT_EQ(obj->Points()->Count(), 121);
    ASSERT_EQ(obj->PrimitiveCount(), 10);
    for (int r = 1; r <= 10; ++r) {
        const TOrnPrimitiveArray* strip = obj->Primitive(r - 1);
        EXPECT_EQ(strip->Type(), static_cast<GLenum>(GL_QUAD_STRIP));
        ASSERT_EQ(strip->Count(), 22);
        for (std::uint32_t c = 0; c <= 10; ++c) {
            EXPECT_EQ(strip->Indices(2 * c), (r - 1) * 11 + c);
            EXPECT_EQ(strip->Indices(2 * c + 1), r * 11 + c);
        }
    }
    // Point (i, j) has index i × 11 + j.
    ExpectNear(pos(3 * 11 + 7), {0.7, 0.3, 0});
    EXPECT_TRUE(obj->Points()->GetFlag(120, 0));
    EXPECT_TRUE(obj->Points()->GetFlag(120, 1));
    EXPECT_FALSE(obj->Points()->GetFlag(120, 2));
}

TEST_F(FuncFixture, OverDrawThreeGives31RowsWithTheRowParameterRunningToThree) {
    Plane();
    obj->SetOverDraw(3);
    obj->Init();
    EXPECT_EQ(obj->Points()->Count(), 31 * 11);
    EXPECT_EQ(obj->PrimitiveCount(), 30);
    ExpectNear(pos(30 * 11), {0, 3, 0});
    ExpectNear(pos(30 * 11 + 10), {1, 3, 0});
}

TEST_F(FuncFixture, RowFunctionIsChainedFromItsOwnStart) {
    // Each row adds one to the previous row's z; the build first calls it once at t = 0.
    obj->SetOnCalc(1, [](const TOrnMathVector& v, double) { return TOrnMathVector{v.x, v.y, v.z + 1}; });
    obj->SetStacks(2);
    obj->SetSlices(1);
    obj->Init();
    ASSERT_EQ(obj->Points()->Count(), 6);
    EXPECT_EQ(pos(0).z, 2);
    EXPECT_EQ(pos(2).z, 3);
    EXPECT_EQ(pos(4).z, 4);
}

TEST_F(FuncFixture, EmptyOneRowAndHugeGrids) {
    Plane();
    for (auto [stacks, slices] : {std::pair{0, 10}, {10, 0}, {-3, 10}, {10, -1}}) {
        obj->SetStacks(stacks);
        obj->SetSlices(slices);
        obj->Init();
        EXPECT_EQ(obj->Points()->Count() + obj->PrimitiveCount(), 0) << stacks << " " << slices;
        EXPECT_TRUE(obj->Initialized());
    }
    EXPECT_EQ(obj->CalcNormal(0, 0, 0, 10), (TOrnMathVector{0, 0, 0}));
    obj->SetStacks(10);
    obj->SetSlices(10);
    obj->SetOverDraw(0); // one row, no strip
    obj->Init();
    EXPECT_EQ(obj->Points()->Count(), 11);
    EXPECT_EQ(obj->PrimitiveCount(), 0);
    obj->SetOnCalc(2, [](const TOrnMathVector&, double) { return TOrnMathVector{1, 1, 1}; });
    EXPECT_TRUE(obj->Initialized()); // no third function
    obj->SetOverDraw(1);
    obj->SetStacks(1 << 20);
    obj->SetSlices(1 << 20);
    EXPECT_THROW(obj->Init(), EOrnError); // refused before allocating
}

TEST_F(FuncFixture, StandardTextureRunsBackwardsAcrossColumnsAndFromOneStackOn) {
    Plane();
    obj->TextureFlags()->SetScaleX(2);
    obj->TextureFlags()->SetShiftX(0.5);
    obj->TextureFlags()->SetScaleY(0.5);
    obj->TextureFlags()->SetShiftY(1);
    obj->SetTextured(true);
    obj->Init();
    // (a / ScaleX − ShiftX, b / ScaleY − ShiftY) with a = (S − j) / S, b = (i + 1) / Stacks.
    ExpectNear(tex(0), {1.0 / 2 - 0.5, 0.1 / 0.5 - 1, 0});
    ExpectNear(tex(10 * 11 + 10), {0.0 / 2 - 0.5, 1.1 / 0.5 - 1, 0});
    ExpectNear(tex(4 * 11 + 3), {0.7 / 2 - 0.5, 0.5 / 0.5 - 1, 0});
}

TEST_F(FuncFixture, OtherTextureModesTakeTheRuleInstead) {
    Plane();
    obj->TextureFlags()->SetMode(txLinearXY);
    obj->TextureFlags()->SetScaleX(3);
    obj->SetTextured(true);
    obj->Init();
    ExpectNear(tex(2 * 11 + 5), {0.5 * 3, 0.2, 0});
    EXPECT_EQ(obj->TextureIt({1, 2, 3}, 0.5, 0.5), (TOrnMathVector{0, 0, 0}));
}

TEST_F(FuncFixture, NormalsComeFromTheFunctionsNotFromThePoints) {
    Plane();
    obj->Init();
    // Columns along +x, rows along +y: the three-point normal faces −z.
    for (int i : {0, 17, 60, 120})
        ExpectNear(nrm(i), {0, 0, -1});
    // Moving a stored point changes nothing: CalcNormal evaluates the functions again.
    obj->Points()->SetVector(60, daVertex, {5, 5, 5});
    ExpectNear(obj->CalcNormal(5, 10, 5, 10), {0, 0, -1});
}

TEST_F(FuncFixture, NormalRowFunctionStartsFromZeroZeroOne) {
    std::vector<std::pair<TOrnMathVector, double>> calls;
    obj->SetOnCalc(1, [&](const TOrnMathVector& v, double t) {
        calls.emplace_back(v, t);
        return TOrnMathVector{v.x, v.y + t, v.z};
    });
    obj->CalcNormal(3, 10, 2, 10);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].first, (TOrnMathVector{0, 0, 1}));
    EXPECT_DOUBLE_EQ(calls[0].second, 0.3);
    EXPECT_EQ(calls[1].first, (TOrnMathVector{0, 0.3, 1})); // chained from the first call
    EXPECT_DOUBLE_EQ(calls[1].second, 0.4);

    // The last row falls back to rows R − 2 and R − 1.
    calls.clear();
    obj->CalcNormal(10, 10, 2, 10);
    EXPECT_DOUBLE_EQ(calls[0].second, 0.8);
    EXPECT_DOUBLE_EQ(calls[1].second, 0.9);
}

TEST_F(FuncFixture, ASingleRowBandAndTheLastColumnLookBackwards) {
    std::vector<double> rows, cols;
    obj->SetOnCalc(1, [&](const TOrnMathVector& v, double t) { return rows.push_back(t), v; });
    obj->SetOnCalc(0, [&](const TOrnMathVector& v, double t) { return cols.push_back(t), v; });
    obj->SetStacks(1);
    obj->CalcNormal(0, 1, 10, 10);
    EXPECT_EQ(rows, (std::vector<double>{-1, 0}));
    EXPECT_EQ(cols, (std::vector<double>{1.0, 0.9, 1.0}));
}

TEST(FuncConnect, ConnectModesWrapRowAndColumnIndices) {
    TComponent form(nullptr);
    auto* obj = new ConnectedFuncObj(&form);
    std::vector<double> rows, cols;
    obj->SetOnCalc(1, [&](const TOrnMathVector& v, double t) { return rows.push_back(t), v; });
    obj->SetOnCalc(0, [&](const TOrnMathVector& v, double t) { return cols.push_back(t), v; });
    obj->SetConnectMode(cmConnectBoth);
    obj->CalcNormal(9, 10, 9, 10);
    EXPECT_EQ(rows, (std::vector<double>{0.9, 0.0}));
    EXPECT_EQ(cols, (std::vector<double>{0.0, 0.9, 0.0}));

    rows.clear();
    cols.clear();
    obj->SetConnectMode(cmConnectY);
    obj->CalcNormal(9, 10, 9, 10);
    EXPECT_EQ(rows, (std::vector<double>{0.8, 0.9})); // rows stay open
    EXPECT_EQ(cols, (std::vector<double>{0.0, 0.9, 0.0}));
}

class FuncRender : public orn::test::GLTest {};

TEST_F(FuncRender, AnObjectWithoutEventsRendersAndLeavesTheClientStackBalanced) {
    TComponent form{nullptr};
    auto* view = new orn::test::TestView(&form);
    auto* obj = new TOrnFuncObj(&form);
    GLint depth = 0, after = 0;
    glGetIntegerv(GL_CLIENT_ATTRIB_STACK_DEPTH, &depth);
    obj->Render(view);
    glGetIntegerv(GL_CLIENT_ATTRIB_STACK_DEPTH, &after);
    EXPECT_EQ(after, depth);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_EQ(obj->Points()->Count(), 121);
}

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
