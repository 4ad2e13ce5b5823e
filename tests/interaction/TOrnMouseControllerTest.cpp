#include "ControlledFixture.h"

#include "support/MemoryExchange.h"

#include <orn/host/TComponentClass.h>
#include <orn/interaction/TOrnMouseController.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <numbers>
#include <tuple>

using namespace orn;

namespace {

constexpr double kPi = std::numbers::pi;

class MouseControllerTest : public test::ControlledFixture<TOrnMouseController> {
protected:
    MouseControllerTest() { ctl->SetControlled(target); }

    // A drag from (x0, y0) to (x1, y1) with one button; returns what the move reported.
    bool Drag(TMouseButton button, int x0, int y0, int x1, int y1) {
        ctl->HandleMouseDown(button, {}, x0, y0);
        const bool changed = ctl->HandleMouseMove({}, x1, y1);
        ctl->HandleMouseUp(button, {}, x1, y1);
        return changed;
    }
};

} // namespace

TEST_F(MouseControllerTest, SettersNotifyAndSensitivitiesAreAtLeastOne) {
    int changes = 0;
    ctl->OnChange = [&](TObject*) { ++changes; };
    ctl->SetTurnSensitivity(0);
    EXPECT_EQ(ctl->TurnSensitivity(), 1);
    ctl->SetTurnSensitivity(INT_MIN);
    EXPECT_EQ(ctl->TurnSensitivity(), 1);
    ctl->SetMoveSensitivity(-3);
    EXPECT_EQ(ctl->MoveSensitivity(), 1);
    ctl->SetMoveSensitivity(7);
    EXPECT_EQ(ctl->MoveSensitivity(), 7);
    ctl->SetSwitchButtons(true);
    EXPECT_EQ(changes, 4); // the second clamp to 1 changed nothing
}

TEST_F(MouseControllerTest, SetControlledPutsRotationBeforeTranslation) {
    auto* other = new TOrnTransformed(form.get());
    other->Transformation()->SetOrder(toScaTraRot);
    ctl->SetControlled(other);
    EXPECT_EQ(ctl->Controlled(), other);
    EXPECT_EQ(other->Transformation()->Order(), toRotTraSca);
    ctl->SetControlled(nullptr);
    EXPECT_EQ(ctl->Controlled(), nullptr);
}

TEST_F(MouseControllerTest, ButtonsChooseTheDragMode) {
    // button, SwitchButtons, mode before, mode after
    const std::tuple<TMouseButton, bool, int, int> cases[] = {
        {mbLeft, false, 0, 1}, {mbRight, false, 0, 2}, {mbLeft, true, 0, 2}, {mbMiddle, true, 1, 1}};
    for (auto [button, switched, before, after] : cases) {
        ctl->SetSwitchButtons(switched);
        ctl->HandleMouseUp(mbLeft, {}, 0, 0);
        if (before == 1) ctl->HandleMouseDown(switched ? mbRight : mbLeft, {}, 0, 0);
        if (before == 2) ctl->HandleMouseDown(switched ? mbLeft : mbRight, {}, 0, 0);
        ASSERT_EQ(ctl->DragMode(), before);
        EXPECT_FALSE(ctl->HandleMouseDown(button, {ssShift}, 3, 4));
        EXPECT_EQ(ctl->DragMode(), after) << "button " << button << " switched " << switched;
    }
}

TEST_F(MouseControllerTest, AnyButtonUpEndsTheDrag) {
    ctl->HandleMouseDown(mbLeft, {}, 0, 0);
    EXPECT_FALSE(ctl->HandleMouseUp(mbRight, {}, 0, 0));
    EXPECT_EQ(ctl->DragMode(), 0);
    EXPECT_FALSE(ctl->HandleMouseMove({}, 0, 100));
    EXPECT_FLOAT_EQ(T()->Y(), 0.0f);
    EXPECT_TRUE(seen.empty());
}

TEST_F(MouseControllerTest, PrimaryDragMovesAlongYAndTurnsAboutY) {
    EXPECT_TRUE(Drag(mbLeft, 10, 10, 10, 110));
    EXPECT_NEAR(T()->Y(), 0.266, 1e-6); // 100 / 50000 * (128 + 5)
    EXPECT_FLOAT_EQ(R()->Y(), 0.0f);
    EXPECT_TRUE(Drag(mbLeft, 10, 10, 110, 10));
    EXPECT_NEAR(R()->Y(), 6.65, 1e-5); // 100 / 2000 * (128 + 5) degrees
    EXPECT_NEAR(T()->Y(), 0.266, 1e-6);
    EXPECT_FLOAT_EQ(T()->X(), 0.0f);
    EXPECT_FLOAT_EQ(T()->Z(), 0.0f);
}

TEST_F(MouseControllerTest, SensitivityScalesTheDrag) {
    ctl->SetTurnSensitivity(1);
    ctl->SetMoveSensitivity(45);
    Drag(mbLeft, 0, 0, -100, -100);
    EXPECT_NEAR(T()->Y(), -0.1, 1e-6);        // -100 / 50000 * 50
    EXPECT_NEAR(R()->Y(), 360.0 - 0.3, 1e-4); // -100 / 2000 * 6, kept within 0 … 360
}

TEST_F(MouseControllerTest, EachMoveCountsFromThePreviousPosition) {
    ctl->HandleMouseDown(mbLeft, {}, 0, 0);
    EXPECT_TRUE(ctl->HandleMouseMove({}, 0, 100));
    EXPECT_TRUE(ctl->HandleMouseMove({}, 0, 200));
    EXPECT_TRUE(ctl->HandleMouseMove({}, 0, 200)); // no motion still reports the drag
    EXPECT_NEAR(T()->Y(), 0.532, 1e-6);
}

TEST_F(MouseControllerTest, SecondaryDragMovesSidewaysAndForward) {
    EXPECT_TRUE(Drag(mbRight, 0, 0, 100, 0));
    EXPECT_NEAR(T()->X(), -0.266, 1e-6); // the sideways vector at rest is (1, 0, 0)
    EXPECT_FLOAT_EQ(T()->Z(), 0.0f);
    Place({}, {0, 90, 0});
    EXPECT_TRUE(Drag(mbRight, 0, 100, 0, 0)); // upwards: forward by 0.266
    // At 90 degrees the forward vector is (1, 0, cos 90°): the move goes along -X.
    EXPECT_NEAR(T()->X(), -0.266, 1e-6);
    EXPECT_NEAR(T()->Y(), 0.0, 1e-6);
    EXPECT_NEAR(T()->Z(), 0.0, 1e-6);
}

TEST_F(MouseControllerTest, EmptyCntrlFlagsReportChangeButMoveNothing) {
    ctl->SetCntrlFlags({});
    EXPECT_TRUE(Drag(mbLeft, 0, 0, 100, 100));
    EXPECT_TRUE(Drag(mbRight, 0, 0, 100, 100));
    EXPECT_EQ(T()->AsMathVector(), (TOrnMathVector{}));
    EXPECT_EQ(R()->AsMathVector(), (TOrnMathVector{}));
    EXPECT_TRUE(seen.empty());
}

TEST_F(MouseControllerTest, EachFlagGuardsItsOwnMotion) {
    ctl->SetCntrlFlags({teTurnY, teTurnX, teTurnZ});
    Drag(mbLeft, 0, 0, 100, 100);
    EXPECT_FLOAT_EQ(T()->Y(), 0.0f);
    EXPECT_NEAR(R()->Y(), 6.65, 1e-5);
    Drag(mbRight, 0, 0, 100, 100);
    EXPECT_EQ(T()->AsMathVector(), (TOrnMathVector{}));
    EXPECT_FLOAT_EQ(R()->X(), 0.0f); // teTurnX and teTurnZ have no effect
    EXPECT_FLOAT_EQ(R()->Z(), 0.0f);

    Place({}, {});
    ctl->SetCntrlFlags({teMoveZ});
    Drag(mbRight, 0, 100, 100, 0);
    EXPECT_NEAR(T()->X(), -0.266, 1e-6); // from the forward move only, not the sideways one
    EXPECT_NEAR(T()->Z(), 0.266, 1e-6);
}

TEST_F(MouseControllerTest, SidewaysVectorFollowsTheAngles) {
    const auto v = TOrnMouseController::CalcVecX(1.0, kPi / 2, 0);
    EXPECT_NEAR(v.x, 0, 1e-12);
    EXPECT_NEAR(v.y, 0, 1e-12);
    EXPECT_NEAR(v.z, -1, 1e-12);
    const auto w = TOrnMouseController::CalcVecX(0, kPi / 3, kPi / 6);
    EXPECT_NEAR(w.x, std::cos(kPi / 6) * 0.5, 1e-12);
    EXPECT_NEAR(w.y, -0.25, 1e-12);
    EXPECT_NEAR(w.z, -std::sin(kPi / 3), 1e-12);
}

TEST_F(MouseControllerTest, ForwardVectorKeepsItsQuirks) {
    struct Case {
        double rx, ry, rz;
        TOrnMathVector want;
    };
    const Case cases[] = {
        {0, 0, 0, {1, 0, 1}},                // r = 0 is taken as 1: x is 1, not 0
        {0, kPi, 0, {std::sin(kPi), 0, -1}}, // 180°: r is sin π, tiny but not 0
        {0, 3 * kPi / 2, 0, {-1, 0, 0}},     // beyond π the angle turns half round
        {0, -kPi / 2, 0, {-1, 0, 0}},        // negative angles are brought to 0 … 2π
        {kPi / 6, 0, 0, {0, -0.5, std::cos(kPi / 6)}},
    };
    for (const Case& c : cases) {
        const auto v = TOrnMouseController::CalcVecZ(c.rx, c.ry, c.rz);
        EXPECT_NEAR(v.x, c.want.x, 1e-9) << c.rx << " " << c.ry << " " << c.rz;
        EXPECT_NEAR(v.y, c.want.y, 1e-9) << c.rx << " " << c.ry << " " << c.rz;
        EXPECT_NEAR(v.z, c.want.z, 1e-9) << c.rx << " " << c.ry << " " << c.rz;
    }
}

TEST_F(MouseControllerTest, ForwardVectorOfInfiniteAngleEnds) {
    const auto v = TOrnMouseController::CalcVecZ(0, -INFINITY, 0);
    EXPECT_TRUE(std::isnan(v.z));
}

TEST_F(MouseControllerTest, ForwardMoveWritesEachComponentThroughItsSetter) {
    Place({1, 2, 3}, {30, 45, 0}); // forward is (sqrt 3/8, -1/2, sqrt 3/8) at these angles
    const double side = std::sqrt(0.375);
    ctl->MoveZ(0.5);
    ASSERT_EQ(seen.size(), 3u); // one notification per component, X first, then Y, then Z
    EXPECT_NEAR(seen[0].x, 1 - side * 0.5, 1e-6);
    EXPECT_FLOAT_EQ(seen[0].y, 2);
    EXPECT_FLOAT_EQ(seen[0].z, 3);
    EXPECT_NEAR(seen[1].y, 2.25, 1e-6);
    EXPECT_FLOAT_EQ(seen[1].z, 3);
    EXPECT_NEAR(seen[2].z, 3 + side * 0.5, 1e-6);
}

TEST_F(MouseControllerTest, SidewaysMoveLeavesYAlone) {
    Place({0, 5, 0}, {0, 30, 60}); // sideways is (sqrt 3/4, -3/4, -1/2) here; its y part is not applied
    ctl->MoveX(2);
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_NEAR(T()->X(), -std::sqrt(3.0) / 2, 1e-6);
    EXPECT_FLOAT_EQ(T()->Y(), 5.0f);
    EXPECT_NEAR(T()->Z(), -1, 1e-6);
}

TEST_F(MouseControllerTest, ExtremeCoordinatesDoNotOverflow) {
    ctl->SetCntrlFlags({teMoveY});
    ctl->HandleMouseDown(mbLeft, {}, INT_MIN, INT_MIN);
    EXPECT_TRUE(ctl->HandleMouseMove({}, INT_MAX, INT_MAX));
    EXPECT_NEAR(T()->Y(), (double(INT_MAX) - INT_MIN) / 50000 * 133, 1e3);
}

TEST_F(MouseControllerTest, WithoutControlledDragsMoveNothing) {
    auto* idle = new TOrnMouseController(form.get());
    EXPECT_TRUE(idle->HandleMouseDown(mbLeft, {}, 0, 0) == false);
    EXPECT_TRUE(idle->HandleMouseMove({}, 100, 100));
    idle->TurnY(10);
    idle->MoveX(1);
    idle->MoveY(1);
    idle->MoveZ(1);
    EXPECT_TRUE(seen.empty());
}

TEST_F(MouseControllerTest, RemovingTheControlledComponentClearsControlled) {
    delete target;
    EXPECT_EQ(ctl->Controlled(), nullptr);
    EXPECT_TRUE(Drag(mbLeft, 0, 0, 100, 100));     // must not touch the freed component (ASan)
    auto* outlives = new TOrnTransformed(nullptr); // of another owner
    ctl->SetControlled(outlives);
    delete ctl; // the component must not notify a dead controller later
    delete outlives;
}

TEST_F(MouseControllerTest, ExchangeReadsOddValuesSafely) {
    test::MemoryExchange file;
    file.Set("turnsensitivity", "-40");
    file.Set("MoveSensitivity", "99999999999");
    file.Set("CntrlFlags", "[ teMoveX , TETURNZ ]");
    file.Load(*ctl);
    EXPECT_EQ(ctl->TurnSensitivity(), 1);
    EXPECT_EQ(ctl->MoveSensitivity(), 128); // outside 32 bits: the value stays
    EXPECT_EQ(ctl->CntrlFlags(), (TOrnCntrlFlags{teMoveX, teTurnZ}));

    file.Set("CntrlFlags", "teMoveX,teJump");
    file.Load(*ctl);
    EXPECT_EQ(ctl->CntrlFlags(), (TOrnCntrlFlags{teMoveX, teTurnZ})); // unknown name: kept
    file.Set("CntrlFlags", "");
    file.Load(*ctl);
    EXPECT_TRUE(ctl->CntrlFlags().Empty());
}
