#include "geometry/GeometryTestSupport.h"
#include "support/GLTestContext.h"
#include "support/TestView.h"

#include <orn/host/EOrnError.h>
#include <orn/objects/TOrnFuncObj.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

using namespace orn;
using orn::test::Entries;

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

// --- the grid --------------------------------------------------------------------------------

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

TEST_F(FuncFixture, StacksOrSlicesOfZeroOrBelowBuildAnEmptyObject) {
    Plane();
    for (auto [stacks, slices] : {std::pair{0, 10}, {10, 0}, {-3, 10}, {10, -1}}) {
        obj->SetStacks(stacks);
        obj->SetSlices(slices);
        obj->Init();
        EXPECT_EQ(obj->Points()->Count(), 0) << stacks << " " << slices;
        EXPECT_EQ(obj->PrimitiveCount(), 0);
        EXPECT_TRUE(obj->Initialized());
    }
    EXPECT_EQ(obj->CalcNormal(0, 0, 0, 10), (TOrnMathVector{0, 0, 0}));
}

TEST_F(FuncFixture, OverDrawZeroBuildsOneRowAndNoStrip) {
    Plane();
    obj->SetOverDraw(0);
    obj->Init();
    EXPECT_EQ(obj->Points()->Count(), 11);
    EXPECT_EQ(obj->PrimitiveCount(), 0);
}

TEST_F(FuncFixture, HugeGridIsRefusedBeforeAllocating) {
    obj->SetStacks(1 << 20);
    obj->SetSlices(1 << 20);
    EXPECT_THROW(obj->Init(), EOrnError);
}

TEST_F(FuncFixture, SettersMarkForRebuildAndSetOnCalcIgnoresOtherIndices) {
    TOrnFuncObj& f = *obj;
    const std::function<void()> setters[] = {[&] { f.SetStacks(4); }, [&] { f.SetSlices(4); },
                                             [&] { f.SetOverDraw(4); }};
    for (const auto& set : setters) {
        f.Init();
        set();
        EXPECT_FALSE(f.Initialized());
    }
    obj->Init();
    EXPECT_EQ(obj->Points()->Count(), 17 * 5);
    obj->SetOnCalc(2, [](const TOrnMathVector&, double) { return TOrnMathVector{1, 1, 1}; });
    EXPECT_TRUE(obj->Initialized());
    EXPECT_FALSE(obj->OnCalcXY);
    EXPECT_FALSE(obj->OnCalcZ);
}

// --- texture coordinates ---------------------------------------------------------------------

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

// --- normals ---------------------------------------------------------------------------------

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

TEST_F(FuncFixture, SingleRowBandEvaluatesTheRowFunctionAtMinusOneStack) {
    std::vector<double> ts;
    obj->SetOnCalc(1, [&](const TOrnMathVector& v, double t) {
        ts.push_back(t);
        return v;
    });
    obj->SetStacks(1);
    obj->CalcNormal(0, 1, 0, 10);
    EXPECT_EQ(ts, (std::vector<double>{-1, 0}));
}

TEST_F(FuncFixture, LastColumnFallsBackToTheColumnBefore) {
    std::vector<double> ts;
    obj->SetOnCalc(0, [&](const TOrnMathVector& v, double t) {
        ts.push_back(t);
        return v;
    });
    obj->CalcNormal(0, 10, 10, 10);
    EXPECT_EQ(ts, (std::vector<double>{1.0, 0.9, 1.0}));
}

TEST(FuncConnect, ConnectModesWrapRowAndColumnIndices) {
    TComponent form(nullptr);
    auto* obj = new ConnectedFuncObj(&form);
    std::vector<double> rows, cols;
    obj->SetOnCalc(1, [&](const TOrnMathVector& v, double t) {
        rows.push_back(t);
        return v;
    });
    obj->SetOnCalc(0, [&](const TOrnMathVector& v, double t) {
        cols.push_back(t);
        return v;
    });
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

// --- rendering -------------------------------------------------------------------------------

class FuncRender : public orn::test::GLTest {
protected:
    TComponent form{nullptr};
    orn::test::TestView* view = new orn::test::TestView(&form);
};

TEST_F(FuncRender, ObjectWithoutEventsRendersWithoutError) {
    auto* obj = new TOrnFuncObj(&form);
    GLint depth = 0, after = 0;
    glGetIntegerv(GL_CLIENT_ATTRIB_STACK_DEPTH, &depth);
    obj->Render(view);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_TRUE(obj->Initialized());
    glGetIntegerv(GL_CLIENT_ATTRIB_STACK_DEPTH, &after);
    EXPECT_EQ(after, depth);
}
