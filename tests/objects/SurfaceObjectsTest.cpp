#include "geometry/GeometryTestSupport.h"
#include "support/MemoryExchange.h"

#include <orn/host/EOrnError.h>
#include <orn/objects/TOrn3dObj.h>
#include <orn/objects/TOrnFuncObj.h>
#include <orn/objects/TOrnPointSet.h>
#include <orn/objects/TOrnRotObj.h>
#include <orn/objects/TOrnTube.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <numbers>
#include <sys/stat.h>
#include <unistd.h>

using namespace orn;
using orn::test::At;
using orn::test::ExpectNear;
using orn::test::Length;
using testing::AllOf, testing::HasSubstr, testing::ThrowsMessage;
using Ds = std::vector<double>;

namespace {

constexpr double kPi = std::numbers::pi;

double radial(const TOrnMathVector& p) {
    return std::hypot(p.x, p.y);
}

double angle(const TOrnMathVector& a, const TOrnMathVector& b) {
    return std::acos(std::clamp(OrnMathDotProduct(a, b) / (Length(a) * Length(b)), -1.0, 1.0));
}

/// A fresh T on a form; its points by index, or by row and column of a grid 11 points wide.
template <class T> struct Fresh : ::testing::Test {
    TComponent form{nullptr};
    T* obj = new T(&form);
    TOrnMathVector pos(int i, TOrnArray kind = daVertex) const { return At(*obj, i, kind); }
    TOrnMathVector nrm(int i) const { return pos(i, daNormal); }
    TOrnMathVector pos(int row, int col) const { return pos(row * 11 + col); }
    TOrnMathVector nrm(int row, int col) const { return nrm(row * 11 + col); }
};

/// Exposes the connect mode, which no published class changes.
class ConnectedFuncObj : public TOrnFuncObj {
public:
    using TOrnFuncObj::SetConnectMode;
    using TOrnFuncObj::TOrnFuncObj;
};

struct FuncFixture : Fresh<ConnectedFuncObj> {
    Ds rows, cols; // the parameters the functions are called with, by Record
    TOrnMathVector tex(int i) const { return pos(i, daTexture); }
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
using RotFixture = Fresh<TOrn3dObj>;
using RotObj = Fresh<TOrnRotObj>;
using TubeFixture = Fresh<TOrnTube>;

/// Parallel transport turns each normal no more than the tangent turns (plus slack, for the share of a
/// closed loop's twist), and keeps the frame orthonormal: what a flip or a sudden twist would break.
void ExpectSmoothFrames(const std::vector<TOrnTubeFrame>& frames, double slack = 1e-6) {
    for (std::size_t k = 0; k < frames.size(); ++k) {
        const TOrnTubeFrame& f = frames[k];
        ExpectNear({OrnMathDotProduct(f.tangent, f.normal), Length(f.normal), Length(f.binormal)}, {0, 1, 1},
                   "frame " + std::to_string(k));
        if (k == 0) continue;
        EXPECT_LE(angle(frames[k - 1].normal, f.normal), angle(frames[k - 1].tangent, f.tangent) + slack)
            << k;
    }
}

struct PointSetFixture : Fresh<TOrnPointSet> {
    std::filesystem::path dir =
        std::filesystem::temp_directory_path() / ("orn-pointset-" + std::to_string(::getpid()));
    void SetUp() override { std::filesystem::create_directories(dir); }
    void TearDown() override { std::filesystem::remove_all(dir); }
};

} // namespace

TEST_F(FuncFixture, DefaultGridIsTenQuadStripsOf22WithNormalsFromTheFunctionsAndATextureRunningBackwards) {
    Plane();
    obj->Init();
    ASSERT_EQ(std::pair(obj->Points()->Count(), obj->PrimitiveCount()), std::pair(121, 10));
    for (std::uint32_t r = 0; r < 10; ++r) { // strip r zips row r to row r + 1, column by column
        const TOrnPrimitiveArray* s = obj->Primitive(int(r));
        EXPECT_EQ(
            std::tuple(s->Type(), s->Count(), s->Indices(0), s->Indices(1), s->Indices(2), s->Indices(21)),
            std::tuple(GLenum(GL_QUAD_STRIP), 22, 11 * r, 11 * r + 11, 11 * r + 1, 11 * r + 21));
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
    obj->SetOverDraw(1);
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

TEST_F(FuncFixture, CalcNormalCallsTheNeighboursRowsChainAndEmptyOneRowAndHugeGridsAreSafe) {
    std::vector<std::pair<TOrnMathVector, double>> calls;
    obj->SetOnCalc(1, [&](const TOrnMathVector& v, double t) {
        calls.emplace_back(v, t);
        return TOrnMathVector{v.x, v.y + t, v.z};
    });
    obj->CalcNormal(3, 10, 2, 10);  // the row function starts from (0, 0, 1) and is chained
    obj->CalcNormal(10, 10, 2, 10); // the last row falls back to rows R − 2 and R − 1
    EXPECT_EQ(calls, (std::vector<std::pair<TOrnMathVector, double>>{
                         {{0, 0, 1}, 0.3}, {{0, 0.3, 1}, 0.4}, {{0, 0, 1}, 0.8}, {{0, 0.8, 1}, 0.9}}));
    Record(); // a single-row band and the last column look backwards
    obj->SetStacks(1);
    obj->CalcNormal(0, 1, 10, 10);
    EXPECT_EQ(std::pair(rows, cols), std::pair(Ds{-1, 0}, Ds{1.0, 0.9, 1.0}));
    // Connected, the indices wrap round; in y only, the rows stay open.
    for (auto [mode, rowsThen] : {std::pair{cmConnectBoth, Ds{0.9, 0.0}}, {cmConnectY, Ds{0.8, 0.9}}}) {
        rows.clear();
        cols.clear();
        obj->SetConnectMode(mode);
        obj->CalcNormal(9, 10, 9, 10);
        EXPECT_EQ(std::pair(rows, cols), std::pair(rowsThen, Ds{0.0, 0.9, 0.0})) << mode;
    }
    obj->SetConnectMode(cmConnectNone);
    // Each row adds one to the previous row's z; the build first calls it once at t = 0.
    obj->SetOnCalc(1, [](const TOrnMathVector& v, double) { return TOrnMathVector{v.x, v.y, v.z + 1}; });
    obj->SetStacks(2);
    obj->SetSlices(1);
    obj->Init();
    ASSERT_EQ(obj->Points()->Count(), 6);
    EXPECT_EQ(Ds({pos(0).z, pos(2).z, pos(4).z}), Ds({2, 3, 4}));
    Plane();
    for (auto [stacks, slices] : {std::pair{0, 10}, {10, 0}, {-3, 10}, {10, -1}}) {
        obj->SetStacks(stacks);
        obj->SetSlices(slices);
        obj->Init();
        EXPECT_TRUE(obj->Points()->Count() + obj->PrimitiveCount() == 0 && obj->Initialized())
            << stacks << slices;
    }
    EXPECT_EQ(obj->CalcNormal(0, 0, 0, 10), (TOrnMathVector{0, 0, 0}));
    obj->SetStacks(10);
    obj->SetSlices(10);
    obj->SetOverDraw(0); // one row, no strip
    obj->Init();
    EXPECT_EQ(std::pair(obj->Points()->Count(), obj->PrimitiveCount()), std::pair(11, 0));
    obj->SetOnCalc(2, [](const TOrnMathVector&, double) { return TOrnMathVector{1, 1, 1}; });
    EXPECT_TRUE(obj->Initialized()); // no third function
    obj->SetOverDraw(1);
    obj->SetStacks(1 << 20);
    obj->SetSlices(1 << 20);
    EXPECT_THROW(obj->Init(), EOrnError); // refused before allocating
}

TEST_F(RotObj, ColumnsRotateTheProfileAboutZAndAHalfSweepBuildsHalfASurface) {
    obj->SetRotStartAngle(90);
    obj->SetRotSweepAngle(180);
    ExpectNear(obj->CalcXY({2, 7, 5}, 0), {2, 0, 5}); // the profile's y is dropped
    ExpectNear(obj->CalcXY({2, 7, 5}, 1), {-2, 0, 5});
    ExpectNear(obj->CalcXY({2, 0, 5}, 0.5), {0, -2, 5});
    obj->SetRotStartAngle(0);
    obj->OnCalcZ = [](const TOrnMathVector&, double t) { return TOrnMathVector{1, 0, t}; };
    obj->Init();
    for (int i = 0; i < obj->Points()->Count(); ++i)
        EXPECT_GE(At(*obj, i).x, -1e-12) << i;
    ExpectNear(At(*obj, 10), {0, -1, 0});
    for (int index = 0; index < 4; ++index) { // bad angles and indices are ignored
        obj->setangle(index, 45);
        obj->setangle(index, -1);
    }
    obj->setangle(4, 10);
    obj->setangle(0, std::nanf(""));
    EXPECT_EQ(std::vector<float>(
                  {obj->RotStartAngle(), obj->RotSweepAngle(), obj->FuncStartAngle(), obj->FuncSweepAngle()}),
              std::vector<float>(4, 45));
}

TEST_F(RotFixture, DefaultIsAnUncappedUnitSphereFromSouthToNorthPoleAndRadiiGoByIndex) {
    obj->Init();
    ASSERT_EQ(std::pair(obj->Points()->Count(), obj->PrimitiveCount()), std::pair(121, 10));
    ExpectNear(pos(0, 3), {0, 0, -1});
    ExpectNear(pos(10, 3), {0, 0, 1});
    ExpectNear(pos(5, 0), {0, 1, 0});
    for (int row = 0; row <= 10; ++row)
        for (int col = 0; col <= 10; ++col) {
            const TOrnMathVector p = pos(row, col), n = nrm(row, col);
            EXPECT_NEAR(Length(p), 1.0, 1e-12);
            if (row == 0 || row == 10) continue; // away from the poles the normals point outwards
            EXPECT_TRUE(OrnMathDotProduct(p, n) > 0.9 && std::abs(Length(n) - 1) < 1e-9) << row << " " << col;
        }
    obj->SetHeight(2);    // across the axis
    obj->SetRadius(3.0f); // along it
    obj->Init();
    ExpectNear(pos(5, 0), {0, 2, 0});
    ExpectNear(pos(10, 0), {0, 0, 3});
    obj->SetStacks(-1); // no rows: no caps either
    obj->SetClosed(TOrnClosed::TopBottom);
    obj->Init();
    EXPECT_EQ(obj->Points()->Count() + obj->PrimitiveCount(), 0);
    obj->SetRadius(0, 2);
    obj->SetRadius(1, 3);
    obj->SetRadius(2, 9);
    EXPECT_EQ(Ds({obj->TopRadius(), obj->Radius()}), Ds({2, 3}));
}

// Caps add disc rows before or after the wall (OverDraw one more each): a half sphere capped at the
// bottom grows from the axis at z = 0, a cylinder capped at both ends at z = −1. Rows: (row, z, radius).
TEST_F(RotFixture, CapsAddDiscRowsFacingAwayAndConeAndTorusTakeTheirRadiiAndNormalsFromTheirFacets) {
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
        ASSERT_EQ(std::tuple(obj->OverDraw(), obj->Points()->Count(), obj->PrimitiveCount()),
                  std::tuple(c.rows / 10, c.rows * 11, c.rows - 1));
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
        const TOrnMathVector wall = nrm(15, col);
        EXPECT_TRUE(std::abs(wall.z) < 1e-9 &&
                    OrnMathDotProduct(wall, pos(15, col)) >= std::cos(kPi / 10) - 1e-9)
            << col;
    }
    obj->SetClosed(TOrnClosed::None);
    obj->SetObjArt(TOrn3dObjects::Cylinder);
    obj->SetHeight(4);
    obj->SetRadius(2.0f);
    obj->SetTopRadius(0);
    obj->Init();
    for (int col = 0; col <= 10; ++col) {
        ExpectNear(pos(10, col), {0, 0, 2});
        ExpectNear({pos(0, col).z, radial(pos(0, col)), radial(pos(4, col))}, {-2, 2, 2 * 0.6}, "", 1e-12);
        // The facet's normal: the wall narrows by 2 over 4, measured half a slice (18°) off the corner.
        const TOrnMathVector n = nrm(4, col);
        EXPECT_NEAR(n.z / radial(n), 0.5 * std::cos(kPi / 10), 1e-9);
    }
    obj->SetObjArt(TOrn3dObjects::Torus);
    obj->SetRadius(3.0f);
    obj->SetTopRadius(1.0f);
    obj->SetHeight(0.5f);
    obj->Init();
    for (int i = 0; i < obj->Points()->Count(); ++i)
        EXPECT_NEAR(std::pow(radial(pos(i)) - 3, 2) + std::pow(pos(i).z / 0.5, 2), 1, 1e-9) << i;
    ExpectNear({radial(pos(0, 0)), radial(pos(5, 0)), 0}, {4, 2, 0}, "psi 0 and pi: the equators", 1e-12);
    // The outer equator's normal points away from the axis, leaning upwards (rows of psi 0 and 36°).
    const TOrnMathVector n = nrm(0, 0), p = pos(0, 0);
    EXPECT_TRUE(OrnMathDotProduct(n, {p.x / 4, p.y / 4, 0}) > 0.7 && n.z > 0);
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
    EXPECT_EQ(Ds({f.ScaleX(), f.ScaleY(), f.ShiftX(), f.ShiftY(), double(f.Mode())}),
              Ds({3, 3, 0.25, 1.5, txLinearXY})); // the shift of s kept, s = x × ScaleX + ShiftX
    EXPECT_NEAR(At(*obj, 3 * 11 + 2, daTexture).x, pos(3, 2).x * 3 + 0.25, 1e-12);
    obj->SetObjArt(TOrn3dObjects::Torus);
    obj->Init();
    EXPECT_EQ(Ds({f.ScaleX(), f.ShiftY(), double(f.Mode())}), Ds({1, 0, txStandard}));
    obj->SetObjArt(TOrn3dObjects::Sphere); // linear only once a cap point is computed
    obj->Init();
    EXPECT_EQ(f.Mode(), txStandard);
    obj->SetClosed(TOrnClosed::Top);
    obj->Init();
    EXPECT_EQ(f.Mode(), txLinearXY);
    obj->SetHeight(4);
    obj->SetTexMode(txLinearZ);
    EXPECT_EQ(Ds({f.ScaleX(), f.ScaleY()}), Ds({0, 4}));
    obj->TextureFlags()->SetScaleX(7);
    obj->SetTexMode(txSphereZ);
    EXPECT_EQ(Ds({f.ScaleX(), double(f.Mode())}), Ds({7, txSphereZ}));
}

TEST_F(TubeFixture, StraightLineIsACylinderWithoutTwistRadiiPerPointMakeAConeAndCapsAreFansFacingAway) {
    obj->SetRadius(0.5);
    obj->SetSlices(16);
    const double zs[] = {0, 0.5, 2, 3};
    for (double z : zs)
        obj->Add({1, 2, z});
    obj->Init();
    ASSERT_EQ(std::pair(obj->Points()->Count(), obj->PrimitiveCount()), std::pair(4 * 17, 3));
    for (int k = 0; k < 4; ++k)
        for (int j = 0; j <= 16; ++j) {
            const TOrnMathVector p = pos(k * 17 + j), n = nrm(k * 17 + j);
            // On the ring at its point, the normal straight out from the axis, every ring the same.
            EXPECT_LT(OrnMathVectorDist(p, {1 + 0.5 * n.x, 2 + 0.5 * n.y, zs[k]}), 1e-6) << k << " " << j;
            EXPECT_TRUE(std::abs(n.z) < 1e-9 && std::abs(Length(n) - 1) < 1e-9 &&
                        OrnMathVectorDist(nrm(j), n) < 1e-12)
                << k << " " << j;
        }
    EXPECT_EQ(pos(16), pos(0)); // the seam column repeats the first one exactly
    for (auto [i, seam] : {std::pair{0, true}, {16, true}, {5, false}})
        EXPECT_EQ(obj->Points()->GetFlag(i, 0), seam) << i;
    obj->Clear(); // a radius per point makes a cone whose normals lean
    obj->Add({0, 0, 0}, 1.0);
    obj->Add({0, 0, 1}, 0.5);
    obj->Add({0, 0, 2}); // the tube's radius
    obj->SetRadius(0.0);
    obj->Init();
    ExpectNear({Length(pos(0)), radial(pos(17)), radial(pos(34))}, {1, 0.5, 0}, "radii", 1e-12);
    // Radius falls by 0.5 per unit: the normal leans towards +z by atan(0.5).
    EXPECT_NEAR(nrm(17).z / radial(nrm(17)), 0.5, 1e-9);
    obj->Clear(); // caps: how faces wind, every class checks (ShapesTest); here: where they face
    obj->SetSlices(12);
    obj->SetRadius(0.25);
    obj->Add({0, 0, 0});
    obj->Add({2, 0, 0});
    obj->SetCapStart(true);
    obj->SetCapEnd(true);
    obj->Init();
    ASSERT_EQ(obj->PrimitiveCount(), 3);
    EXPECT_EQ(obj->Primitive(0)->Type(), static_cast<GLenum>(GL_QUAD_STRIP));
    for (auto [list, direction] : {std::pair{1, -1.0}, {2, 1.0}}) {
        const TOrnPrimitiveArray* fan = obj->Primitive(list);
        const int centre = static_cast<int>(fan->Indices(0));
        EXPECT_EQ(std::pair(fan->Type(), fan->Count()), std::pair(GLenum(GL_TRIANGLE_FAN), 2 + 12));
        EXPECT_EQ(nrm(centre), (TOrnMathVector{direction, 0, 0}));
        EXPECT_NEAR(pos(centre).x, direction > 0 ? 2 : 0, 1e-12);
    }
}

TEST_F(TubeFixture, AHelixHasNoFrameFlipAndAClosedTrefoilKnotMeetsItselfWithoutASeam) {
    obj->OnCalcPath = [](const TOrnMathVector&, double t) {
        return TOrnMathVector{std::cos(6 * kPi * t), std::sin(6 * kPi * t), 2 * t};
    };
    obj->SetPathSteps(300);
    obj->SetRadius(0.1);
    obj->Init();
    ASSERT_EQ(obj->Frames().size(), 301u);
    ExpectSmoothFrames(obj->Frames());
    const int ring = obj->Slices() + 1;
    for (int k = 1; k < 301; ++k) // no ring turned round against the next
        EXPECT_LT(OrnMathVectorDist(pos(k * ring + 3), pos((k - 1) * ring + 3)), 0.1) << k;
    obj->OnCalcPath = nullptr;
    constexpr int n = 240;
    for (int i = 0; i < n; ++i) {
        const double t = 2 * kPi * i / n;
        obj->Add({std::sin(t) + 2 * std::sin(2 * t), std::cos(t) - 2 * std::cos(2 * t), -std::sin(3 * t)});
    }
    obj->SetClosedPath(true);
    obj->SetCapStart(true); // a closed path has no ends to cap
    obj->Init();
    ASSERT_EQ(obj->Frames().size(), static_cast<std::size_t>(n + 1));
    ExpectSmoothFrames(obj->Frames(), 3 * kPi / n); // a twist of at most pi, spread over the loop
    ASSERT_EQ(std::pair(obj->Points()->Count(), obj->PrimitiveCount()), std::pair((n + 1) * ring, n));
    for (int j = 0; j < ring; ++j)
        EXPECT_TRUE(OrnMathVectorDist(pos(n * ring + j), pos(j)) < 1e-9 &&
                    obj->Points()->GetFlag(n * ring + j, 0))
            << j;
}

TEST_F(TubeFixture, DegeneratePathsStayFiniteBadPointsAreSkippedAndEditingThePathAndItsKeyIgnoresDamage) {
    for (TOrnMathVector p : {TOrnMathVector{0, 0, 0}, {1, 0, 0}, {0, 0, 0}}) // turns right back
        obj->Add(p);
    obj->Init();
    for (int i = 0; i < obj->Points()->Count(); ++i)
        EXPECT_TRUE(std::isfinite(Length(pos(i))) && std::abs(Length(nrm(i)) - 1) < 1e-9) << i;
    obj->Clear();
    for (TOrnMathVector p : {TOrnMathVector{0, 0, 0}, {0, 0, 0}, {NAN, 0, 1}, {0, 0, INFINITY}})
        obj->Add(p);
    obj->Init();
    EXPECT_EQ(obj->Points()->Count() + obj->PrimitiveCount(), 0);
    obj->Add({0, 0, 1});
    obj->Init();
    EXPECT_EQ(std::pair(obj->Frames().size(), obj->PrimitiveCount()), std::pair(std::size_t(2), 1));
    obj->Clear();
    obj->Add({0, 0, 0});
    obj->Add({0, 0, 2});
    obj->Insert(1, {0, 0, 1}, 0.3);
    obj->Insert(99, {0, 0, 3});
    EXPECT_EQ(std::pair(obj->PathPoint(1), obj->PathPoint(3)),
              std::pair(TOrnMathVector{0, 0, 1}, TOrnMathVector{0, 0, 3}));
    obj->Delete(0);
    obj->Delete(7);
    EXPECT_EQ(std::pair(obj->Count(), obj->PathPoint(9)), std::pair(3, TOrnMathVector{0, 0, 0}));
    obj->Delete(2);
    obj->Add({4, 5, 6.25});
    test::MemoryExchange ex;
    ex.Save(*obj);
    EXPECT_EQ(*ex.root.Find("Points"), "0,0,1,0.3;0,0,2,-1;4,5,6.25,-1");
    ex.Set("Points", "1,2,x");
    ex.Load(*obj);
    EXPECT_EQ(obj->Count(), 3);
}

TEST_F(PointSetFixture, MatrixRowsAreLinesOfNumbersInTheFormsOfOtherToolsXYZLinesPointsAndFormatsConvert) {
    obj->SetSpacingX(2);
    obj->SetSpacingY(0.5);
    obj->SetHeightScale(10);
    obj->ReadFromText("# terrain\n1 2\t3\r\n\n  4, 5 ,6  \n", "t.txt"); // spaces, tabs or commas
    EXPECT_EQ(std::tuple(obj->Rows(), obj->Columns(), obj->Values()), std::tuple(2, 3, Ds{1, 2, 3, 4, 5, 6}));
    obj->SetTextured(true);
    obj->Init();
    ASSERT_EQ(obj->Points()->Count(), 6);
    EXPECT_EQ(std::vector<TOrnMathVector>({At(*obj, 0), At(*obj, 5), At(*obj, 5, daTexture)}),
              std::vector<TOrnMathVector>({{0, 0, 10}, {4, 0.5, 60}, {1, 1, 0}}));
    for (auto [text, rows, values] :
         {std::tuple{"+1.5 -2e3 .25 7. 1E2 # a comment after the numbers\n", 1, Ds{1.5, -2000, 0.25, 7, 100}},
          {"1 2\r3 4\r", 2, Ds{1, 2, 3, 4}},
          {"1 2\r\n3 4\r\n", 2, Ds{1, 2, 3, 4}},
          {"\uFEFF1 2\n\n3 4", 2, Ds{1, 2, 3, 4}},
          {"1e-400 -1e-400 5e-324\n", 1, Ds{0, 0, 5e-324}}}) {
        obj->ReadFromText(text, "n.txt");
        EXPECT_EQ(std::pair(obj->Rows(), obj->Values()), std::pair(rows, values)) << text;
    }
    EXPECT_TRUE(std::signbit(obj->Values()[1]));
    obj = new TOrnPointSet(&form); // x y z lines fill the grid row by row, drawn as up-facing quad strips
    obj->SetFormat(pfXYZ);
    obj->SetColumns(2);
    obj->SetHeightScale(2);
    obj->ReadFromText("0 0 1\n1 0 2\n0 1 3\n1 1 4\n0 2 5\n1 2 6\n", "p.xyz");
    EXPECT_EQ(std::tuple(obj->Rows(), obj->Columns(), obj->GridPoint(2, 1)),
              std::tuple(3, 2, ToVec(1, 2, 6)));
    obj->Init();
    EXPECT_EQ(std::pair(At(*obj, 5), obj->PrimitiveCount()), std::pair(ToVec(1, 2, 12), 2));
    obj->SetFormat(pfMatrix);
    obj->ReadFromText("0 0 0\n0 0 0\n0 0 0\n", "flat.txt");
    obj->Init();
    ASSERT_EQ(obj->PrimitiveCount(), 2);
    EXPECT_EQ(orn::test::Entries(obj->Primitive(1)), (std::vector<std::uint32_t>{6, 3, 7, 4, 8, 5}));
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(At(*obj, i, daNormal), (TOrnMathVector{0, 0, 1}));
    obj->SetSpacingX(2); // a format change converts the grid held
    obj->ReadFromText("1 2\n3 4\n", "m.txt");
    obj->SetFormat(pfXYZ);
    EXPECT_EQ(std::pair(obj->Values(), obj->WriteToText()),
              std::pair(Ds{0, 0, 1, 2, 0, 2, 0, 1, 3, 2, 1, 4}, std::string("0 0 1\n2 0 2\n0 1 3\n2 1 4\n")));
    obj->SetFormat(pfMatrix);
    EXPECT_EQ(obj->WriteToText(), "1 2\n3 4\n");
}

TEST_F(PointSetFixture, BadFilesFoldersAndPipesAreRefusedNamingThemAndWrittenFilesReadBackBitForBit) {
    const struct {
        TOrnPointSetFormat format;
        int columns, maxPoints;
        const char *text, *reason;
    } cases[] = {
        {pfMatrix, 0, 0, "1 2 3\n4 5\n", "line 2: the row has 2 values, the first row 3"},
        {pfMatrix, 0, 0, "1 2\n\n3 4 5\n", "line 3: the row has 3 values"},
        {pfMatrix, 0, 0, "1 2\n3 abc\n", "line 2: 'abc' is not a number"},
        {pfMatrix, 0, 0, "0x1\n", "line 1: '0x1' is not a number"},
        {pfMatrix, 0, 0, "+-1\n", "'+-1' is not a number"},
        {pfMatrix, 0, 0, "1 nan\n", "line 1: 'nan' is not a finite number"},
        {pfMatrix, 0, 0, "1 1e999\n", "line 1: '1e999' is out of range"},
        {pfMatrix, 0, 0, "1 2\r1e400 3\r", "line 2: '1e400' is out of range"},
        {pfMatrix, 0, 0, "1 2\r\n3 x\r\n", "line 2: 'x' is not a number"},
        {pfMatrix, 0, 0, "1,,2\n", "line 1: a value is missing between commas"},
        {pfMatrix, 0, 0, "", "the file holds no points"},
        {pfMatrix, 0, 0, "1 2 \x01\n", "line 1: '?' is not a number"},
        {pfMatrix, 0, 5, "1 2 3\n4 5 6\n", "line 2: the file holds more than 5 points"},
        {pfXYZ, 0, 0, "0 0 1\n", "the number of grid columns is not set"},
        {pfXYZ, 2, 0, "0 0 1\n1 0\n", "line 2: a point needs 3 values (x y z), the line has 2"},
        {pfXYZ, 2, 0, "0 0 1\n1 0 1\n\n0 1 1\n\n", "line 4: 3 points do not fill whole rows of 2 columns"},
    };
    for (const auto& c : cases) {
        obj = new TOrnPointSet(&form);
        obj->SetFormat(c.format);
        if (c.columns) obj->SetColumns(c.columns);
        if (c.maxPoints) obj->SetMaxPoints(c.maxPoints);
        EXPECT_THAT([&] { obj->ReadFromText(c.text, "heights.txt"); },
                    ThrowsMessage<EOrnError>(AllOf(HasSubstr("\"heights.txt\""), HasSubstr(c.reason))))
            << c.text;
    }
    obj->SetFormat(pfMatrix);
    obj->SetMaxPoints(5);
    EXPECT_NO_THROW(obj->ReadFromText("1 2 3 4 5\n", "t.txt")); // exactly the limit
    obj->Init();
    EXPECT_THROW(obj->ReadFromText("1 2\n3\n", "t.txt"), EOrnError); // keeping the grid and geometry
    EXPECT_EQ(std::tuple(obj->Values(), obj->Initialized(), obj->Points()->Count()),
              std::tuple(Ds{1, 2, 3, 4, 5}, true, 5));
    obj->ReadFromText("5\n", "t.txt");
    EXPECT_FALSE(obj->Initialized());
    obj = new TOrnPointSet(&form);
    EXPECT_THAT([&] { obj->SetFileName("/nonexistent/orn/heights.txt"); },
                ThrowsMessage<EOrnError>(HasSubstr("/nonexistent/orn/heights.txt")));
    EXPECT_EQ(obj->FileName(), "");
    EXPECT_THAT([&] { obj->LoadFromFile(dir.string()); },
                ThrowsMessage<EOrnError>(HasSubstr("it is a folder")));
    // Opening a FIFO would wait for a writer for ever.
    const std::string fifo = (dir / "heights.txt").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_THAT([&] { obj->LoadFromFile(fifo); }, ThrowsMessage<EOrnError>(HasSubstr("not a regular file")));
    // Read, write, read gives the same grid bit for bit in both formats.
    const std::string text =
        "0.1 -0 1e-300 2.2250738585072014e-308\n1.7976931348623157e308 -123456.78901234567 "
        "3 4.9406564584124654e-324\n";
    for (TOrnPointSetFormat format : {pfMatrix, pfXYZ}) {
        obj->SetFormat(pfMatrix);
        obj->ReadFromText(text, "in.txt");
        obj->SetFormat(format);
        const std::string path = (dir / "out.txt").string();
        obj->SaveToFile(path);
        auto* again = new TOrnPointSet(&form);
        again->SetFormat(format);
        again->SetColumns(4);
        again->LoadFromFile(path);
        EXPECT_EQ(std::tuple(again->FileName(), again->Rows(), again->Columns()), std::tuple(path, 2, 4));
        EXPECT_EQ(std::pair(again->Values(), again->WriteToText()),
                  std::pair(obj->Values(), obj->WriteToText()));
        EXPECT_TRUE(std::signbit(again->Values()[format == pfMatrix ? 1 : 5])); // −0 stays negative
    }
}

TEST_F(PointSetFixture, ColourByHeightRunsAlongTheRampAndTheSceneKeepsTheDataBesideIt) {
    obj->SetColorRamp({clBlue, clLime, clRed});
    obj->SetColorByHeight(true);
    obj->SetHeightScale(-1); // the ramp follows the drawn heights
    obj->ReadFromText("0 5 10\n", "c.txt");
    obj->Init();
    EXPECT_TRUE(obj->Points()->EnabledArrays().Contains(daColor));
    auto color = [&](int i) {
        Ds rgba;
        for (int k = 0; k < 4; ++k)
            rgba.push_back(obj->Points()->GetValues(i, k, daColor));
        return rgba;
    };
    // Highest drawn: red; lowest drawn: blue.
    EXPECT_EQ((std::vector{color(0), color(1), color(2)}),
              (std::vector<Ds>{{1, 0, 0, 1}, {0, 1, 0, 1}, {0, 0, 1, 1}}));
    obj->SetColorRamp({clYellow});
    obj->ReadFromText("2 2\n2 2\n", "c.txt");
    obj->Init();
    EXPECT_EQ(color(3), (Ds{1, 1, 0, 1}));
    obj->SetColorByHeight(false);
    obj->Init();
    EXPECT_FALSE(obj->Points()->EnabledArrays().Contains(daColor));
    obj = new TOrnPointSet(&form);
    obj->SetFormat(pfXYZ);
    obj->SetColumns(2);
    obj->ReadFromText("0 0 1\n1 0 2\n0 1 3\n1 1 4\n", "p.xyz");
    test::MemoryExchange ex;
    ex.folder = dir.string();
    ex.Save(*obj);
    const std::string file = *ex.root.Find("FileName");
    EXPECT_EQ(std::filesystem::path(file).extension(), ".xyz");
    ASSERT_TRUE(std::filesystem::exists(dir / file));
    auto* other = new TOrnPointSet(&form);
    ex.Load(*other);
    EXPECT_EQ(std::tuple(other->Format(), other->Rows(), other->Values()),
              std::tuple(pfXYZ, 2, obj->Values()));
    auto* outside = new TOrnPointSet(&form);
    ex.Set("FileName", "../../etc/passwd");
    ex.Load(*outside);
    EXPECT_TRUE(outside->Values().empty());
}
