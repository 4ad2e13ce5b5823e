#include "geometry/GeometryTestSupport.h"

#include <orn/host/EOrnError.h>
#include <orn/objects/TOrn3dObj.h>
#include <orn/objects/TOrnFuncObj.h>
#include <orn/objects/TOrnRotObj.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <vector>

using namespace orn;
using orn::test::At;
using orn::test::ExpectNear;
using orn::test::Length;

namespace {

/// Exposes the connect mode, which no published class changes.
class ConnectedFuncObj : public TOrnFuncObj {
public:
    using TOrnFuncObj::SetConnectMode;
    using TOrnFuncObj::TOrnFuncObj;
};

struct FuncFixture : ::testing::Test {
    TComponent form{nullptr};
    ConnectedFuncObj* obj = new ConnectedFuncObj(&form);
    std::vector<double> rows, cols; // the parameters the functions are called with, by Record

    TOrnMathVector pos(int i) const { return At(*obj, i); }
    TOrnMathVector tex(int i) const { return At(*obj, i, daTexture); }
    /// A flat grid: rows along y by the row parameter, columns along x by the column parameter.
    void Plane() {
        obj->SetOnCalc(1, [](const TOrnMathVector&, double t) { return TOrnMathVector{0, t, 0}; });
        obj->SetOnCalc(0, [](const TOrnMathVector& v, double t) { return TOrnMathVector{t, v.y, v.z}; });
    }
    void Record() {
        obj->SetOnCalc(1, [this](const TOrnMathVector& v, double t) { return rows.push_back(t), v; });
        obj->SetOnCalc(0, [this](const TOrnMathVector& v, double t) { return cols.push_back(t), v; });
    }
};

} // namespace

TEST_F(FuncFixture, DefaultGridIsTenQuadStripsOf22WithNormalsFromTheFunctions) {
    Plane();
    obj->Init();
    ASSERT_EQ(obj->Points()->Count(), 121);
    ASSERT_EQ(obj->PrimitiveCount(), 10);
    for (int r = 1; r <= 10; ++r) {
        const TOrnPrimitiveArray* strip = obj->Primitive(r - 1);
        EXPECT_EQ(strip->Type(), static_cast<GLenum>(GL_QUAD_STRIP));
        ASSERT_EQ(strip->Count(), 22);
        for (std::uint32_t c = 0; c <= 10; ++c)
            EXPECT_TRUE(strip->Indices(2 * c) == (r - 1) * 11 + c && strip->Indices(2 * c + 1) == r * 11 + c)
                << "strip " << r << " column " << c;
    }
    ExpectNear(pos(3 * 11 + 7), {0.7, 0.3, 0}, "point (3, 7)"); // point (i, j) has index i × 11 + j
    for (int bit : {0, 1, 2})
        EXPECT_EQ(obj->Points()->GetFlag(120, bit), bit < 2) << bit;
    for (int i : {0, 17, 60, 120}) // columns along +x, rows along +y: the three-point normal faces −z
        ExpectNear(At(*obj, i, daNormal), {0, 0, -1}, "normal " + std::to_string(i));
    obj->Points()->SetVector(60, daVertex, {5, 5, 5}); // CalcNormal evaluates the functions again
    ExpectNear(obj->CalcNormal(5, 10, 5, 10), {0, 0, -1});

    obj->SetOverDraw(3); // 31 rows, the row parameter running to three
    obj->Init();
    EXPECT_EQ(obj->Points()->Count() + obj->PrimitiveCount(), 31 * 11 + 30);
    ExpectNear(pos(30 * 11 + 10), {1, 3, 0});
}

TEST_F(FuncFixture, RowsChainFromTheirOwnStartAndEmptyOneRowAndHugeGridsAreSafe) {
    // Each row adds one to the previous row's z; the build first calls it once at t = 0.
    obj->SetOnCalc(1, [](const TOrnMathVector& v, double) { return TOrnMathVector{v.x, v.y, v.z + 1}; });
    obj->SetStacks(2);
    obj->SetSlices(1);
    obj->Init();
    ASSERT_EQ(obj->Points()->Count(), 6);
    EXPECT_EQ(std::vector<double>({pos(0).z, pos(2).z, pos(4).z}), std::vector<double>({2, 3, 4}));
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
    EXPECT_EQ(std::vector<int>({obj->Points()->Count(), obj->PrimitiveCount()}), std::vector<int>({11, 0}));
    obj->SetOnCalc(2, [](const TOrnMathVector&, double) { return TOrnMathVector{1, 1, 1}; });
    EXPECT_TRUE(obj->Initialized()); // no third function
    obj->SetOverDraw(1);
    obj->SetStacks(1 << 20);
    obj->SetSlices(1 << 20);
    EXPECT_THROW(obj->Init(), EOrnError); // refused before allocating
}

TEST_F(FuncFixture, StandardTextureRunsBackwardsAcrossColumnsOtherModesTakeTheirRule) {
    Plane();
    TOrnTextureFlags& f = *obj->TextureFlags();
    f.SetScaleX(2);
    f.SetShiftX(0.5);
    f.SetScaleY(0.5);
    f.SetShiftY(1);
    obj->SetTextured(true);
    obj->Init();
    // (a / ScaleX − ShiftX, b / ScaleY − ShiftY) with a = (S − j) / S, b = (i + 1) / Stacks.
    ExpectNear(tex(0), {1.0 / 2 - 0.5, 0.1 / 0.5 - 1, 0});
    ExpectNear(tex(10 * 11 + 10), {0.0 / 2 - 0.5, 1.1 / 0.5 - 1, 0});
    ExpectNear(tex(4 * 11 + 3), {0.7 / 2 - 0.5, 0.5 / 0.5 - 1, 0});
    f.SetMode(txLinearXY); // s = x × ScaleX + ShiftX, t = y × ScaleY + ShiftY
    f.SetScaleX(3);
    obj->Init();
    ExpectNear(tex(2 * 11 + 5), {0.5 * 3 + 0.5, 0.2 * 0.5 + 1, 0});
    EXPECT_EQ(obj->TextureIt({1, 2, 3}, 0.5, 0.5), (TOrnMathVector{0, 0, 0}));
}

TEST_F(FuncFixture, CalcNormalCallsTheFunctionsAtTheNeighbouringParameters) {
    std::vector<std::pair<TOrnMathVector, double>> calls;
    obj->SetOnCalc(1, [&](const TOrnMathVector& v, double t) {
        calls.emplace_back(v, t);
        return TOrnMathVector{v.x, v.y + t, v.z};
    });
    obj->CalcNormal(3, 10, 2, 10); // the row function starts from (0, 0, 1) and is chained
    EXPECT_EQ(calls, (std::vector<std::pair<TOrnMathVector, double>>{{{0, 0, 1}, 0.3}, {{0, 0.3, 1}, 0.4}}));
    calls.clear();
    obj->CalcNormal(10, 10, 2, 10); // the last row falls back to rows R − 2 and R − 1
    EXPECT_EQ(calls, (std::vector<std::pair<TOrnMathVector, double>>{{{0, 0, 1}, 0.8}, {{0, 0.8, 1}, 0.9}}));

    Record(); // a single-row band and the last column look backwards
    obj->SetStacks(1);
    obj->CalcNormal(0, 1, 10, 10);
    EXPECT_EQ(rows, (std::vector<double>{-1, 0}));
    EXPECT_EQ(cols, (std::vector<double>{1.0, 0.9, 1.0}));
    // Connected, the indices wrap round; in y only, the rows stay open.
    for (auto [mode, rowsThen] : {std::pair{cmConnectBoth, std::vector<double>{0.9, 0.0}},
                                  {cmConnectY, std::vector<double>{0.8, 0.9}}}) {
        rows.clear();
        cols.clear();
        obj->SetConnectMode(mode);
        obj->CalcNormal(9, 10, 9, 10);
        EXPECT_EQ(rows, rowsThen) << mode;
        EXPECT_EQ(cols, (std::vector<double>{0.0, 0.9, 0.0})) << mode;
    }
}

TEST(RotObj, ColumnsRotateTheProfileAboutZAndAHalfSweepBuildsHalfASurface) {
    TComponent form(nullptr);
    auto* rot = new TOrnRotObj(&form);
    rot->SetRotStartAngle(90);
    rot->SetRotSweepAngle(180);
    ExpectNear(rot->CalcXY({2, 7, 5}, 0), {2, 0, 5}); // the profile's y is dropped
    ExpectNear(rot->CalcXY({2, 7, 5}, 1), {-2, 0, 5});
    ExpectNear(rot->CalcXY({2, 0, 5}, 0.5), {0, -2, 5});
    rot->SetRotStartAngle(0);
    rot->OnCalcZ = [](const TOrnMathVector&, double t) { return TOrnMathVector{1, 0, t}; };
    rot->Init();
    for (int i = 0; i < rot->Points()->Count(); ++i)
        EXPECT_GE(At(*rot, i).x, -1e-12) << i;
    ExpectNear(At(*rot, 10), {0, -1, 0});
    for (int index = 0; index < 4; ++index) { // bad angles and indices are ignored
        rot->setangle(index, 45);
        rot->setangle(index, -1);
    }
    rot->setangle(4, 10);
    rot->setangle(0, std::nanf(""));
    EXPECT_EQ(std::vector<float>(
                  {rot->RotStartAngle(), rot->RotSweepAngle(), rot->FuncStartAngle(), rot->FuncSweepAngle()}),
              std::vector<float>(4, 45));
}

namespace {

struct RotFixture : ::testing::Test {
    TComponent form{nullptr};
    TOrn3dObj* obj = new TOrn3dObj(&form);

    TOrnMathVector pos(int row, int col) const { return At(*obj, row * 11 + col); }
    TOrnMathVector nrm(int row, int col) const { return At(*obj, row * 11 + col, daNormal); }
};

double radial(const TOrnMathVector& p) {
    return std::hypot(p.x, p.y);
}

} // namespace

TEST_F(RotFixture, DefaultIsAnUncappedUnitSphereFromSouthToNorthPoleAndRadiiGoByIndex) {
    obj->Init();
    ASSERT_EQ(obj->Points()->Count(), 121);
    EXPECT_EQ(obj->PrimitiveCount(), 10);
    ExpectNear(pos(0, 3), {0, 0, -1});
    ExpectNear(pos(10, 3), {0, 0, 1});
    ExpectNear(pos(5, 0), {0, 1, 0});
    for (int row = 0; row <= 10; ++row)
        for (int col = 0; col <= 10; ++col) {
            const TOrnMathVector p = pos(row, col), n = nrm(row, col);
            EXPECT_NEAR(Length(p), 1.0, 1e-12);
            if (row == 0 || row == 10) continue; // away from the poles the normals point outwards
            EXPECT_GT(OrnMathDotProduct(p, n), 0.9) << row << " " << col;
            EXPECT_NEAR(Length(n), 1.0, 1e-9);
        }
    obj->SetHeight(2);    // across the axis
    obj->SetRadius(3.0f); // along it
    obj->Init();
    ExpectNear(pos(5, 0), {0, 2, 0});
    ExpectNear(pos(10, 0), {0, 0, 3});
    obj->SetSlices(0);
    obj->Init();
    EXPECT_EQ(obj->Points()->Count(), 0);
    obj->SetSlices(10);
    obj->SetStacks(-1);
    obj->SetClosed(TOrnClosed::TopBottom);
    obj->Init();
    EXPECT_EQ(obj->Points()->Count() + obj->PrimitiveCount(), 0);
    obj->SetRadius(0, 2);
    obj->SetRadius(1, 3);
    obj->SetRadius(2, 9);
    EXPECT_EQ(std::vector<double>({obj->TopRadius(), obj->Radius()}), std::vector<double>({2, 3}));
}

// Caps add disc rows before or after the wall, OverDraw growing by one each: a half sphere capped at
// the bottom grows from the axis at z = 0 to the equator, then the dome; a cylinder capped at both
// ends grows at z = −1, rises, and shrinks at z = +1. Rows given as (row, z, distance from the axis).
TEST_F(RotFixture, CapsAddDiscRowsBeforeOrAfterTheWallFacingAwayFromIt) {
    const struct {
        TOrn3dObjects art;
        TOrnClosed closed;
        int rows;
        std::vector<std::array<double, 3>> at;
    } cases[] = {
        {TOrn3dObjects::Cylinder, TOrnClosed::Top, 21, {{0, -0.5, 1}, {20, 0.5, 0}}},
        {TOrn3dObjects::Sphere, TOrnClosed::Bottom, 21, {{0, 0, 0}, {5, 0, 0.5}, {10, 0, 1}, {20, 1, 0}}},
        {TOrn3dObjects::Cylinder,
         TOrnClosed::TopBottom,
         31,
         {{0, -1, 0}, {9, -1, 0.9}, {10, -1, 1}, {11, -0.8, 1}, {20, 1, 1}, {21, 1, 0.9}, {30, 1, 0}}}};
    for (const auto& c : cases) {
        obj->SetObjArt(c.art);
        obj->SetFuncSweepAngle(c.art == TOrn3dObjects::Sphere ? 180 : 360);
        obj->SetHeight(c.rows == 31 ? 2 : 1);
        obj->SetClosed(c.closed);
        obj->Init();
        EXPECT_EQ(obj->OverDraw(), c.rows / 10);
        ASSERT_EQ(obj->Points()->Count(), c.rows * 11);
        EXPECT_EQ(obj->PrimitiveCount(), c.rows - 1);
        for (auto [row, z, r] : c.at) {
            const TOrnMathVector p = pos(static_cast<int>(row), 0);
            EXPECT_TRUE(std::abs(p.z - z) < 1e-12 && std::abs(radial(p) - r) < 1e-12 && std::abs(p.x) < 1e-12)
                << c.rows << " rows, row " << row << ": " << p.x << ", " << p.y << ", " << p.z;
        }
    }
    for (int col = 0; col <= 10; ++col) { // the last: both caps
        for (int row = 1; row <= 29; ++row)
            if (row <= 8 || row >= 21) ExpectNear(nrm(row, col), {0, 0, row <= 8 ? -1.0 : 1.0}, "cap normal");
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

TEST_F(RotFixture, TorusIsARingOfRadiusWithTubeHalfWidthsTopRadiusAndHeight) {
    obj->SetObjArt(TOrn3dObjects::Torus);
    obj->SetRadius(3.0f);
    obj->SetTopRadius(1.0f);
    obj->SetHeight(0.5f);
    obj->Init();
    for (int i = 0; i < obj->Points()->Count(); ++i) {
        const TOrnMathVector p = At(*obj, i);
        EXPECT_NEAR(std::pow(radial(p) - 3, 2) + std::pow(p.z / 0.5, 2), 1, 1e-9);
    }
    EXPECT_NEAR(radial(pos(0, 0)), 4, 1e-12); // psi = 0: outer equator
    EXPECT_NEAR(radial(pos(5, 0)), 2, 1e-12); // psi = pi: inner equator
    // The outer equator's normal points away from the axis, leaning upwards (rows of psi 0 and 36°).
    const TOrnMathVector n = nrm(0, 0), p = pos(0, 0);
    EXPECT_GT(OrnMathDotProduct(n, {p.x / 4, p.y / 4, 0}), 0.7);
    EXPECT_GT(n.z, 0);
}

TEST_F(RotFixture, TextureModeFollowsTheProfileOnlyWhenTextured) {
    obj->SetObjArt(TOrn3dObjects::Cylinder);
    obj->Init();
    const TOrnTextureFlags& f = *obj->TextureFlags();
    EXPECT_EQ(f.Mode(), txStandard); // not textured: untouched
    obj->SetTextured(true);
    obj->SetRadius(1.5f);
    obj->TextureFlags()->SetShiftX(0.25);
    obj->Init();
    EXPECT_EQ(std::vector<double>({f.ScaleX(), f.ScaleY(), f.ShiftX(), f.ShiftY(), double(f.Mode())}),
              std::vector<double>({3, 3, 0.25, 1.5, txLinearXY})); // the shift of s kept
    // The rule has been applied to the points: s = x × ScaleX + ShiftX.
    EXPECT_NEAR(At(*obj, 3 * 11 + 2, daTexture).x, pos(3, 2).x * 3 + 0.25, 1e-12);
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
    EXPECT_EQ(std::vector<double>({f.ScaleX(), f.ScaleY()}), std::vector<double>({0, 4}));
    obj->TextureFlags()->SetScaleX(7);
    obj->SetTexMode(txSphereZ);
    EXPECT_EQ(std::vector<double>({f.ScaleX(), double(f.Mode())}), std::vector<double>({7, txSphereZ}));
}
