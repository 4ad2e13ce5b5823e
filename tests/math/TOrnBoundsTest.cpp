#include <orn/geometry/TOrnBox.h>
#include <orn/geometry/TOrnCylinder.h>
#include <orn/geometry/TOrnDisc.h>
#include <orn/geometry/TOrnSphere.h>
#include <orn/geometry/TOrnTorus.h>
#include <orn/geometry/TOrnTriangle.h>
#include <orn/math/TOrnBounds.h>
#include <orn/math/TOrnTransformation.h>
#include <orn/scene/TOrnNode.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>

using namespace orn;

namespace {

::testing::AssertionResult Inside(const TOrnBounds& inner, const TOrnBounds& outer) {
    const double e = 1e-5;
    if (inner.Lo.x >= outer.Lo.x - e && inner.Lo.y >= outer.Lo.y - e && inner.Lo.z >= outer.Lo.z - e &&
        inner.Hi.x <= outer.Hi.x + e && inner.Hi.y <= outer.Hi.y + e && inner.Hi.z <= outer.Hi.z + e)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "the built bounds reach outside those known before";
}

} // namespace

// A shape's bounds before building must hold what the build makes, and come close to it.
TEST(TOrnBounds, ShapesKnowTheirExtentWithoutBuilding) {
    TComponent form(nullptr);
    auto* sphere = new TOrnSphere(&form);
    sphere->SetRadius(-2);
    auto* box = new TOrnBox(&form);
    box->SetWidth(3);
    box->SetDepth(-0.5f);
    auto* cone = new TOrnCylinder(&form);
    cone->SetHeight(-2);
    cone->SetTopRadius(0);
    cone->SetBaseRadius(1.5f);
    auto* disc = new TOrnDisc(&form);
    disc->SetInnerRadius(2);
    disc->SetOuterRadius(1);
    auto* torus = new TOrnTorus(&form);
    torus->SetTubeRadius(0.5f);
    for (TOrnPrimitiveObj* shape : std::initializer_list<TOrnPrimitiveObj*>{sphere, box, cone, disc, torus}) {
        TOrnBounds before;
        ASSERT_TRUE(shape->GetBounds(before)) << shape->ClassName();
        EXPECT_FALSE(shape->Initialized()) << shape->ClassName();
        shape->Init();
        TOrnBounds built;
        ASSERT_TRUE(shape->GetBounds(built));
        EXPECT_TRUE(Inside(built, before)) << shape->ClassName();
        EXPECT_NEAR(built.Radius(), before.Radius(), 0.05 * before.Radius()) << shape->ClassName();
    }
    // Points moved after the build are seen at the next call.
    TOrnBounds moved;
    box->Points()->MovePoints(10, 0, 0);
    box->GetBounds(moved);
    EXPECT_NEAR(moved.Lo.x, 8.5, 1e-9);
}

TEST(TOrnBounds, NodePlacesItemsByTheirTransformationAndSkipsDisabledOnes) {
    TComponent form(nullptr);
    auto* root = new TOrnNode(&form);
    auto* inner = new TOrnNode(&form);
    auto* triangle = new TOrnTriangle(&form); // no extent of its own: built and measured
    auto* far = new TOrnSphere(&form);
    root->Add(inner);
    inner->Add(triangle);
    root->Add(far);
    triangle->SetBase(2);
    triangle->SetHeight(1);
    inner->Transformation()->Translation()->SetValues(10, 0, 0);
    inner->Transformation()->Scale()->SetValues(2, 2, 2); // scaled first, then moved
    far->Transformation()->Translation()->SetValues(0, 0, -100);
    far->SetEnabled(false);
    TOrnBounds got;
    ASSERT_TRUE(root->GetBounds(got));
    EXPECT_EQ((std::array{got.Lo, got.Hi, got.Centre()}),
              (std::array{ToVec(8, 0, 0), ToVec(12, 0, 2), ToVec(10, 0, 1)}));
    EXPECT_DOUBLE_EQ(got.Radius(), std::sqrt(5.0));
    // Nodes that hold each other end the walk instead of recursing for ever.
    inner->AddIndirect(root);
    TOrnBounds cycle;
    EXPECT_TRUE(root->GetBounds(cycle));
    TOrnBounds empty;
    EXPECT_FALSE((new TOrnNode(&form))->GetBounds(empty));
    EXPECT_TRUE(empty.Empty());
}

TEST(TOrnBounds, TransformedHoldsEveryTurnedCorner) {
    TOrnBounds box, empty;
    box.Add(ToVec(0, 0, 0));
    box.Add(ToVec(1, 2, 3));
    TOrnTransformation t;
    t.Rotation()->SetValues(45, 0, 45); // the far corner (1, 2, 3) alone reaches the top
    const TOrnBounds turned = box.Transformed(t);
    const double want[6] = {-1.4142136, -2.1213203, 0, 0.7071068, 1.5, 3.6213203};
    const double got[6] = {turned.Lo.x, turned.Lo.y, turned.Lo.z, turned.Hi.x, turned.Hi.y, turned.Hi.z};
    for (int i = 0; i < 6; ++i)
        EXPECT_NEAR(got[i], want[i], 1e-6) << i;
    EXPECT_TRUE(empty.Transformed(t).Empty());
}
