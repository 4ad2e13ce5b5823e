#include "geometry/GeometryTestSupport.h"
#include "support/MemoryExchange.h"

#include <orn/objects/TOrnTube.h>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace orn;
using orn::test::Length;

namespace {

constexpr double kPi = std::numbers::pi;

struct TubeFixture : ::testing::Test {
    TComponent form{nullptr};
    TOrnTube* tube = new TOrnTube(&form);

    TOrnMathVector pos(int i) const { return test::At(*tube, i); }
    TOrnMathVector nrm(int i) const { return test::At(*tube, i, daNormal); }
};

double angle(const TOrnMathVector& a, const TOrnMathVector& b) {
    return std::acos(std::clamp(OrnMathDotProduct(a, b) / (Length(a) * Length(b)), -1.0, 1.0));
}

/// Parallel transport turns each normal no more than the tangent turns (plus slack, for the share of a
/// closed loop's twist), and keeps the frame orthonormal: what a flip or a sudden twist would break.
void ExpectSmoothFrames(const std::vector<TOrnTubeFrame>& frames, double slack = 1e-6) {
    for (std::size_t k = 0; k < frames.size(); ++k) {
        const TOrnTubeFrame& f = frames[k];
        EXPECT_NEAR(OrnMathDotProduct(f.tangent, f.normal), 0, 1e-9) << k;
        EXPECT_NEAR(Length(f.normal), 1, 1e-9) << k;
        EXPECT_NEAR(Length(f.binormal), 1, 1e-9) << k;
        if (k == 0) continue;
        const double turn = angle(frames[k - 1].tangent, f.tangent);
        EXPECT_LE(angle(frames[k - 1].normal, f.normal), turn + slack) << k;
    }
}

} // namespace

TEST_F(TubeFixture, StraightLineIsACylinderWithoutTwistAndRadiiPerPointMakeACone) {
    tube->SetRadius(0.5);
    tube->SetSlices(16);
    const double zs[] = {0, 0.5, 2, 3};
    for (double z : zs)
        tube->Add({1, 2, z});
    tube->Init();
    ASSERT_EQ(tube->Points()->Count(), 4 * 17);
    ASSERT_EQ(tube->PrimitiveCount(), 3);
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
        EXPECT_EQ(tube->Points()->GetFlag(i, 0), seam) << i;
    tube->Clear(); // a radius per point makes a cone whose normals lean
    tube->Add({0, 0, 0}, 1.0);
    tube->Add({0, 0, 1}, 0.5);
    tube->Add({0, 0, 2}); // the tube's radius
    tube->SetRadius(0.0);
    tube->Init();
    EXPECT_NEAR(Length(pos(0)), 1.0, 1e-12);
    EXPECT_NEAR(std::hypot(pos(17).x, pos(17).y), 0.5, 1e-12); // 16 slices: 17 points a ring
    EXPECT_NEAR(std::hypot(pos(34).x, pos(34).y), 0.0, 1e-12);
    // Radius falls by 0.5 per unit: the normal leans towards +z by atan(0.5).
    const TOrnMathVector n = nrm(17);
    EXPECT_NEAR(n.z / std::hypot(n.x, n.y), 0.5, 1e-9);
}

// How faces wind against the normals, every class checks (ShapesTest); here: where the caps face.
TEST_F(TubeFixture, CapsAreFansAtTheEndsFacingAwayFromTheTube) {
    tube->Add({0, 0, 0});
    tube->Add({2, 0, 0});
    tube->SetCapStart(true);
    tube->SetCapEnd(true);
    tube->Init();
    ASSERT_EQ(tube->PrimitiveCount(), 3);
    EXPECT_EQ(tube->Primitive(0)->Type(), static_cast<GLenum>(GL_QUAD_STRIP));
    for (auto [list, direction] : {std::pair{1, -1.0}, {2, 1.0}}) {
        const TOrnPrimitiveArray* fan = tube->Primitive(list);
        EXPECT_EQ(fan->Type(), static_cast<GLenum>(GL_TRIANGLE_FAN));
        EXPECT_EQ(fan->Count(), 2 + 12);
        EXPECT_EQ(nrm(static_cast<int>(fan->Indices(0))), (TOrnMathVector{direction, 0, 0}));
        EXPECT_NEAR(pos(static_cast<int>(fan->Indices(0))).x, direction > 0 ? 2 : 0, 1e-12);
    }
}

TEST_F(TubeFixture, AHelixHasNoFrameFlipAndAClosedTrefoilKnotMeetsItselfWithoutASeam) {
    tube->OnCalcPath = [](const TOrnMathVector&, double t) {
        return TOrnMathVector{std::cos(6 * kPi * t), std::sin(6 * kPi * t), 2 * t};
    };
    tube->SetPathSteps(300);
    tube->SetRadius(0.1);
    tube->Init();
    ASSERT_EQ(tube->Frames().size(), 301u);
    ExpectSmoothFrames(tube->Frames());
    const int ring = tube->Slices() + 1;
    for (int k = 1; k < 301; ++k) // no ring turned round against the next
        EXPECT_LT(OrnMathVectorDist(pos(k * ring + 3), pos((k - 1) * ring + 3)), 0.1) << k;

    tube->OnCalcPath = nullptr;
    constexpr int n = 240;
    for (int i = 0; i < n; ++i) {
        const double t = 2 * kPi * i / n;
        tube->Add({std::sin(t) + 2 * std::sin(2 * t), std::cos(t) - 2 * std::cos(2 * t), -std::sin(3 * t)});
    }
    tube->SetClosedPath(true);
    tube->SetCapStart(true); // a closed path has no ends to cap
    tube->Init();
    ASSERT_EQ(tube->Frames().size(), static_cast<std::size_t>(n + 1));
    ExpectSmoothFrames(tube->Frames(), 3 * kPi / n); // a twist of at most pi, spread over the loop
    ASSERT_EQ(tube->Points()->Count(), (n + 1) * ring);
    EXPECT_EQ(tube->PrimitiveCount(), n);
    for (int j = 0; j < ring; ++j) {
        EXPECT_NEAR(OrnMathVectorDist(pos(n * ring + j), pos(j)), 0, 1e-9);
        EXPECT_TRUE(tube->Points()->GetFlag(n * ring + j, 0));
    }
}

TEST_F(TubeFixture, DegeneratePathsStayFiniteAndBadPointsAreSkipped) {
    for (TOrnMathVector p : {TOrnMathVector{0, 0, 0}, {1, 0, 0}, {0, 0, 0}}) // turns right back
        tube->Add(p);
    tube->Init();
    for (int i = 0; i < tube->Points()->Count(); ++i) {
        const TOrnMathVector p = pos(i);
        EXPECT_TRUE(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z)) << i;
        EXPECT_NEAR(Length(nrm(i)), 1, 1e-9) << i;
    }
    tube->Clear();
    for (TOrnMathVector p : {TOrnMathVector{0, 0, 0}, {0, 0, 0}, {NAN, 0, 1}, {0, 0, INFINITY}})
        tube->Add(p);
    tube->Init();
    EXPECT_EQ(tube->Points()->Count() + tube->PrimitiveCount(), 0);
    tube->Add({0, 0, 1});
    tube->Init();
    EXPECT_EQ(std::vector<int>({int(tube->Frames().size()), tube->PrimitiveCount()}),
              std::vector<int>({2, 1}));
}

TEST_F(TubeFixture, EditingThePathAndItsKeyWithPointsAndRadiiWhereADamagedOneIsIgnored) {
    tube->Add({0, 0, 0});
    tube->Add({0, 0, 2});
    tube->Insert(1, {0, 0, 1}, 0.3);
    tube->Insert(99, {0, 0, 3});
    EXPECT_EQ(std::vector<TOrnMathVector>({tube->PathPoint(1), tube->PathPoint(3)}),
              std::vector<TOrnMathVector>({{0, 0, 1}, {0, 0, 3}}));
    tube->Delete(0);
    tube->Delete(7);
    EXPECT_EQ(tube->Count(), 3);
    EXPECT_EQ(tube->PathPoint(9), (TOrnMathVector{0, 0, 0}));
    tube->Delete(2);
    tube->Add({4, 5, 6.25});
    test::MemoryExchange ex;
    ex.Save(*tube);
    EXPECT_EQ(*ex.root.Find("Points"), "0,0,1,0.3;0,0,2,-1;4,5,6.25,-1");
    ex.Set("Points", "1,2,x");
    ex.Load(*tube);
    EXPECT_EQ(tube->Count(), 3);
}
