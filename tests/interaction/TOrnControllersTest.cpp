// The four controllers: what each key or drag does to the controlled component, checked against
// literal positions and angles.
#include <orn/interaction/TOrnCarController.h>
#include <orn/interaction/TOrnMouseController.h>
#include <orn/interaction/TOrnPersonController.h>
#include <orn/interaction/TOrnPresentationController.h>
#include <orn/scene/TOrnComponent.h>

#include "support/MemoryExchange.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cmath>
#include <functional>
#include <memory>
#include <vector>

using namespace orn;

namespace {

::testing::AssertionResult Near(const TOrnMathVector& a, const TOrnMathVector& b, double tolerance) {
    if (std::fabs(a.x - b.x) <= tolerance && std::fabs(a.y - b.y) <= tolerance &&
        std::fabs(a.z - b.z) <= tolerance)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << a.x << ", " << a.y << ", " << a.z << ") is not (" << b.x
                                         << ", " << b.y << ", " << b.z << ")";
}

// One key (0: none), how many presentation steps follow it, and where the controlled component stands
// after them.
struct KeyStep {
    std::uint16_t key;
    bool handled;
    TOrnMathVector t, r;
    int presents = 0;
    TShiftState shift = {};
};

// A form with a transformed component to steer; every notification of the component is recorded
// with the translation it saw at that moment.
class ControlledTest : public ::testing::Test {
protected:
    ControlledTest() {
        target->OnChange = [this](TObject*) { seen.push_back(T()->AsMathVector()); };
    }
    TOrnTranslation* T() const { return target->Transformation()->Translation(); }
    TOrnRotation* R() const { return target->Transformation()->Rotation(); }
    /// Places the target and forgets the notifications that caused.
    void Place(TOrnMathVector t, TOrnMathVector r) {
        T()->SetAsMathVector(t);
        R()->SetAsMathVector(r);
        seen.clear();
    }
    void ExpectAt(TOrnMathVector t, TOrnMathVector r, double tolerance = 1e-5) {
        EXPECT_TRUE(Near(T()->AsMathVector(), t, tolerance)) << "translation";
        EXPECT_TRUE(Near(R()->AsMathVector(), r, 1e-4)) << "rotation";
    }
    void Press(TOrnCustomController* c, std::initializer_list<KeyStep> steps,
               const std::function<void()>& present = {}) {
        for (const KeyStep& s : steps) {
            SCOPED_TRACE(&s - steps.begin());
            EXPECT_TRUE(s.key == 0 || c->HandleKey(s.key, s.shift) == s.handled);
            for (int i = 0; i < s.presents; ++i)
                present();
            ExpectAt(s.t, s.r);
        }
    }
    template <class C> C* Make() {
        auto* c = new C(form.get());
        c->SetControlled(target);
        return c;
    }

    std::vector<TOrnMathVector> seen; // outlives the form
    std::unique_ptr<TComponent> form = std::make_unique<TComponent>(nullptr);
    TOrnTransformed* target = new TOrnTransformed(form.get());
};

template <class C> class EveryController : public ControlledTest {};
using ControllerTypes = ::testing::Types<TOrnMouseController, TOrnCarController, TOrnPersonController,
                                         TOrnPresentationController>;
TYPED_TEST_SUITE(EveryController, ControllerTypes);

} // namespace

TYPED_TEST(EveryController, TakesRotationBeforeTranslationAndLetsGoOfARemovedComponent) {
    auto* ctl = this->template Make<TypeParam>();
    auto* other = new TOrnTransformed(this->form.get());
    other->Transformation()->SetOrder(toScaTraRot);
    ctl->SetControlled(other);
    EXPECT_EQ(ctl->Controlled(), other);
    EXPECT_EQ(other->Transformation()->Order(), toRotTraSca);
    ctl->SetControlled(this->target);
    delete this->target;
    EXPECT_EQ(ctl->Controlled(), nullptr);
    // Input now must not touch the freed component (ASan).
    for (std::uint16_t key : {VK_UP, VK_LEFT, VK_RIGHT, VK_DOWN})
        EXPECT_FALSE(ctl->HandleKey(key, {}));
    ctl->HandleMouseDown(mbLeft, {}, 0, 0);
    ctl->HandleMouseMove({}, 100, 100);
    ctl->HandleMouseUp(mbLeft, {}, 100, 100);
    auto* outlives = new TOrnTransformed(nullptr); // of another owner
    ctl->SetControlled(outlives);
    delete ctl; // the component must not notify a dead controller later
    delete outlives;
}

TEST_F(ControlledTest, OutOfRangeSettingsAreClampedOrIgnored) {
    auto* mouse = new TOrnMouseController(form.get());
    auto* car = Make<TOrnCarController>();
    auto* person = new TOrnPersonController(form.get());
    auto* show = new TOrnPresentationController(form.get());
    const struct {
        const char* what;
        std::function<double()> run;
        double expected;
    } cases[] = {
        {"mouse turn 0", [&] { return mouse->SetTurnSensitivity(0), mouse->TurnSensitivity(); }, 1},
        {"mouse turn INT_MIN", [&] { return mouse->SetTurnSensitivity(INT_MIN), mouse->TurnSensitivity(); },
         1},
        {"mouse move -3", [&] { return mouse->SetMoveSensitivity(-3), mouse->MoveSensitivity(); }, 1},
        {"car speed 5", [&] { return car->SetCurrentSpeed(5), car->CurrentSpeed(); }, 1},
        {"car speed -5", [&] { return car->SetCurrentSpeed(-5), car->CurrentSpeed(); }, 0},
        {"car max lowers speed",
         [&] { return car->SetCurrentSpeed(0.8f), car->SetMaxSpeed(0.5f), car->CurrentSpeed(); }, 0.5},
        {"car max -1", [&] { return car->SetMaxSpeed(-1), car->MaxSpeed(); }, 0.5},
        {"car max NaN", [&] { return car->SetMaxSpeed(NAN), car->MaxSpeed(); }, 0.5},
        {"car reverse 0.5", [&] { return car->SetReverseSpeed(0.5f), car->ReverseSpeed(); }, 0},
        {"car speed -3",
         [&] { return car->SetReverseSpeed(-2), car->SetCurrentSpeed(-3), car->CurrentSpeed(); }, -2},
        {"car reverse raises speed", [&] { return car->SetReverseSpeed(-1), car->CurrentSpeed(); }, -1},
        {"car speed NaN", [&] { return car->SetCurrentSpeed(NAN), car->CurrentSpeed(); }, -1},
        {"car acceleration -1", [&] { return car->SetAcceleration(-1), car->Acceleration(); }, 0.05},
        {"car braking -1", [&] { return car->SetBraking(-1), car->Braking(); }, 0.1},
        {"car turn -1", [&] { return car->SetTurnAngle(-1), car->TurnAngle(); }, 1},
        {"car turn 0", [&] { return car->SetTurnAngle(0), car->TurnAngle(); }, 0},
        {"person step -0.5", [&] { return person->SetStepLength(-0.5f), person->StepLength(); }, 0.1},
        {"person turn -3", [&] { return person->SetTurnAngle(-3), person->TurnAngle(); }, 1},
        {"show turn -1", [&] { return show->SetTurnAngle(-1), show->TurnAngle(); }, 1},
        {"show distance step -1", [&] { return show->SetDistanceStep(-1), show->DistanceStep(); }, 0.1},
    };
    for (const auto& c : cases)
        EXPECT_NEAR(c.run(), c.expected, 1e-6) << c.what;
}

TEST_F(ControlledTest, EyeHeightAndDistanceAreTheTranslation) {
    auto* car = Make<TOrnCarController>();
    auto* person = Make<TOrnPersonController>();
    auto* show = Make<TOrnPresentationController>();
    car->SetEyeHeight(1.7f);
    EXPECT_EQ(T()->Y(), 1.7f);
    person->SetEyeHeight(1.6f);
    EXPECT_EQ(car->EyeHeight(), 1.6f);
    show->SetDistance(7);
    show->SetEyeHeight(1.5f);
    EXPECT_EQ(T()->AsMathVector(), (TOrnMathVector{0, 1.5, 7}));
    T()->SetValues(0, 2.5f, 3);
    EXPECT_EQ((std::array{person->EyeHeight(), show->EyeHeight(), show->Distance()}),
              (std::array{2.5f, 2.5f, 3.0f}));
    car->SetControlled(nullptr);
    car->SetEyeHeight(3);
    EXPECT_EQ(car->EyeHeight(), 0.0f);
    EXPECT_EQ(T()->Y(), 2.5f);
}

TEST_F(ControlledTest, PersonStepsTurnsNodsAndLooksAhead) {
    auto* person = Make<TOrnPersonController>();
    person->SetTurnAngle(10);
    const TOrnMathVector ahead{0.0173648, 0, 0.0984808}; // sin 10°, cos 10° of a step
    Press(person, {
                      {VK_UP, true, {0, 0, 0.1}, {}}, // heading 0: along +z
                      {VK_DOWN, true, {}, {}},
                      {VK_RIGHT, true, {}, {0, 10, 0}},
                      {VK_LEFT, true, {}, {0, 0, 0}},
                      {VK_LEFT, true, {}, {0, 350, 0}},
                      {VK_UP, true, ahead, {0, 350, 0}},
                      {VK_NEXT, true, ahead, {10, 350, 0}},
                      {VK_PRIOR, true, ahead, {0, 350, 0}, 0, {ssCtrl}},
                      {VK_PRIOR, true, ahead, {350, 350, 0}},
                      {VK_HOME, true, ahead, {0, 350, 0}}, // the heading stays
                      {VK_END, false, ahead, {0, 350, 0}},
                      {VK_ESCAPE, false, ahead, {0, 350, 0}},
                  });
    Place({0, 1.8, 0}, {0, 270, 0});
    person->Move(2);
    ExpectAt({2, 1.8, 0}, {0, 270, 0});
}

TEST_F(ControlledTest, CarKeysChangeSpeedAndHeadingAndMoveGoesAlongTheHeading) {
    auto* car = Make<TOrnCarController>();
    car->SetTurnAngle(15);
    Press(car, {{VK_RIGHT, true, {}, {0, 15, 0}},
                {VK_LEFT, true, {}, {0, 0, 0}},
                {VK_LEFT, true, {}, {0, 345, 0}},
                {VK_UP, true, {}, {0, 345, 0}}});
    for (int key : std::initializer_list<int>{VK_PRIOR, VK_NEXT, VK_END, VK_HOME, VK_SPACE, 0, 65535})
        EXPECT_FALSE(car->HandleKey(static_cast<std::uint16_t>(key), {})) << key;
    EXPECT_FLOAT_EQ(car->CurrentSpeed(), 0.05f);
    seen.clear();
    car->Move();
    ExpectAt({0.0129410, 0, 0.0482963}, {0, 345, 0}); // sin 15°, cos 15° of 0.05
    EXPECT_EQ(seen.size(), 2u) << "X, then Z, each through its own setter";
    Place({1, 2, 3}, {0, 90, 0});
    car->SetCurrentSpeed(0.5f);
    car->Move();
    ExpectAt({0.5, 2, 3}, {0, 90, 0});

    car->Stop();
    for (int i = 1; i <= 25; ++i) {
        ASSERT_TRUE(car->HandleKey(VK_UP, {}));
        EXPECT_EQ(car->CurrentSpeed() < 1.0f, i < 20) << "the top after twenty presses, no further: " << i;
    }
    car->SetCurrentSpeed(0.25f);
    for (float want : {0.15f, 0.05f, 0.0f, 0.0f, -0.1f, -0.15f}) {
        if (want < 0) car->SetReverseSpeed(-0.15f); // no reverse by default
        car->HandleKey(VK_DOWN, {});
        EXPECT_NEAR(car->CurrentSpeed(), want, 1e-6);
    }
    car->Accelerate(-0.3f); // the magnitude counts
    EXPECT_FLOAT_EQ(car->CurrentSpeed(), 0.15f);
    car->Brake(-0.1f);
    EXPECT_FLOAT_EQ(car->CurrentSpeed(), 0.05f);
}

TEST_F(ControlledTest, PresentationKeysChooseTheTurnAndTheDistance) {
    auto* show = Make<TOrnPresentationController>();
    show->SetTurnAngle(5);
    Place({0, 0, 5}, {});
    Press(show,
          {
              {0, false, {0, 0, 5}, {}, 1},
              {VK_RIGHT, true, {0, 0, 5}, {}}, // the key only chooses
              {VK_RIGHT, true, {0, 0, 5}, {0, 10, 0}, 2},
              {VK_LEFT, true, {0, 0, 5}, {0, 355, 0}, 3},
              {VK_END, true, {0, 0, 5}, {0, 355, 0}, 1},
              {VK_UP, true, {0, 0, 5.1}, {0, 355, 0}},
              {VK_DOWN, true, {0, 0, 5}, {0, 355, 0}},
              {VK_DOWN, true, {0, 0, 4.9}, {0, 355, 0}},
              {VK_HOME, false, {0, 0, 4.9}, {0, 355, 0}},
              {VK_PRIOR, false, {0, 0, 4.9}, {0, 355, 0}},
              {VK_RETURN, false, {0, 0, 4.9}, {0, 355, 0}},
          },
          [&] { show->Present(); });
    EXPECT_EQ(seen.size(), 8u) << "two turns, three turns, three distance steps";
}

TEST_F(ControlledTest, MouseButtonsChooseTheDragModeAndDragsMoveAndTurnAsTheFlagsAllow) {
    auto* mouse = Make<TOrnMouseController>();
    // button, SwitchButtons, mode before, mode after
    const std::tuple<TMouseButton, bool, int, int> buttons[] = {
        {mbLeft, false, 0, 1}, {mbRight, false, 0, 2}, {mbLeft, true, 0, 2}, {mbMiddle, true, 1, 1}};
    for (auto [button, switched, before, after] : buttons) {
        mouse->SetSwitchButtons(switched);
        mouse->HandleMouseUp(mbLeft, {}, 0, 0);
        if (before == 1) mouse->HandleMouseDown(switched ? mbRight : mbLeft, {}, 0, 0);
        ASSERT_EQ(mouse->DragMode(), before);
        EXPECT_FALSE(mouse->HandleMouseDown(button, {ssShift}, 3, 4));
        EXPECT_EQ(mouse->DragMode(), after) << "button " << button << " switched " << switched;
    }
    mouse->SetSwitchButtons(false);
    mouse->HandleMouseDown(mbLeft, {}, 0, 0);
    EXPECT_FALSE(mouse->HandleMouseUp(mbRight, {}, 0, 0));
    EXPECT_EQ(mouse->DragMode(), 0);
    EXPECT_FALSE(mouse->HandleMouseMove({}, 0, 100));
    EXPECT_TRUE(seen.empty());

    const TOrnCntrlFlags all = kAllCntrlFlags, turns{teTurnY, teTurnX, teTurnZ};
    // One move is 1 / 50000 and one degree of turn 1 / 2000 of (sensitivity + 5) per pixel; the
    // sensitivities are 128 unless given.
    const struct {
        TMouseButton button;
        TOrnCntrlFlags flags;
        int turn, move;
        TOrnMathVector from; // rotation before the drag
        int x0, y0, x1, y1;
        TOrnMathVector t, r;
    } cases[] = {
        {mbLeft, all, 128, 128, {}, 10, 10, 10, 110, {0, 0.266, 0}, {}},
        {mbLeft, all, 128, 128, {}, 10, 10, 110, 10, {}, {0, 6.65, 0}},
        {mbLeft, all, 1, 45, {}, 0, 0, -100, -100, {0, -0.1, 0}, {0, 359.7, 0}}, // kept in 0 … 360
        {mbRight, all, 128, 128, {}, 0, 0, 100, 0, {-0.266, 0, 0}, {}},          // sideways is (1, 0, 0)
        // At 90 degrees the forward vector is (1, 0, cos 90°): upwards goes along -x.
        {mbRight, all, 128, 128, {0, 90, 0}, 0, 100, 0, 0, {-0.266, 0, 0}, {0, 90, 0}},
        {mbLeft, {}, 128, 128, {}, 0, 0, 100, 100, {}, {}},
        {mbRight, {}, 128, 128, {}, 0, 0, 100, 100, {}, {}},
        {mbLeft, turns, 128, 128, {}, 0, 0, 100, 100, {}, {0, 6.65, 0}},
        {mbRight, turns, 128, 128, {}, 0, 0, 100, 100, {}, {}},
        {mbRight, {teMoveZ}, 128, 128, {}, 0, 100, 100, 0, {-0.266, 0, 0.266}, {}}, // forward only
        {mbRight, {teMoveX}, 128, 128, {}, 0, 100, 100, 0, {-0.266, 0, 0}, {}},     // sideways only
        {mbLeft, {teMoveY}, 128, 128, {}, INT_MIN, INT_MIN, INT_MAX, INT_MAX, {0, 11424613, 0}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        Place({}, c.from);
        mouse->SetCntrlFlags(c.flags);
        mouse->SetTurnSensitivity(c.turn);
        mouse->SetMoveSensitivity(c.move);
        mouse->HandleMouseDown(c.button, {}, c.x0, c.y0);
        EXPECT_TRUE(mouse->HandleMouseMove({}, c.x1, c.y1));
        mouse->HandleMouseUp(c.button, {}, c.x1, c.y1);
        ExpectAt(c.t, c.r, c.t.y > 1e6 ? 2.0 : 1e-5);
        EXPECT_TRUE(c.t != TOrnMathVector{} || c.r != c.from || seen.empty()) << "no motion, no notification";
    }
    Place({}, {});
    mouse->HandleMouseDown(mbLeft, {}, 0, 0);
    EXPECT_TRUE(mouse->HandleMouseMove({}, 0, 100));
    EXPECT_TRUE(mouse->HandleMouseMove({}, 0, 200)); // each move counts from the previous position
    EXPECT_TRUE(mouse->HandleMouseMove({}, 0, 200)); // no motion still reports the drag
    ExpectAt({0, 0.532, 0}, {});
}

TEST_F(ControlledTest, MouseVectorsKeepTheirQuirksAndMovesWriteEachComponentThroughItsSetter) {
    const struct {
        bool forward;
        double rx, ry, rz;
        TOrnMathVector want;
    } cases[] = {
        {false, 1.0, 1.5707963267948966, 0, {0, 0, -1}},
        {false, 0, 1.0471975511965976, 0.5235987755982988, {0.4330127018922193, -0.25, -0.8660254037844386}},
        {true, 0, 0, 0, {1, 0, 1}}, // r = 0 is taken as 1: x is 1, not 0
        {true, 0, 3.141592653589793, 0, {1.2246467991473532e-16, 0, -1}}, // r is sin π, tiny but not 0
        {true, 0, 4.71238898038469, 0, {-1, 0, 0}},    // beyond π the angle turns half round
        {true, 0, -1.5707963267948966, 0, {-1, 0, 0}}, // negative angles are brought to 0 … 2π
        {true, 0.5235987755982988, 0, 0, {0, -0.5, 0.8660254037844386}},
    };
    for (const auto& c : cases)
        EXPECT_TRUE(Near(c.forward ? TOrnMouseController::CalcVecZ(c.rx, c.ry, c.rz)
                                   : TOrnMouseController::CalcVecX(c.rx, c.ry, c.rz),
                         c.want, 1e-9))
            << &c - cases;
    EXPECT_TRUE(std::isnan(TOrnMouseController::CalcVecZ(0, -INFINITY, 0).z));

    auto* mouse = Make<TOrnMouseController>();
    Place({1, 2, 3}, {30, 45, 0}); // forward is (0.6124, -0.5, 0.6124) at these angles
    mouse->MoveZ(0.5);
    ASSERT_EQ(seen.size(), 3u); // X first, then Y, then Z
    EXPECT_TRUE(Near(seen[0], {0.6938137, 2, 3}, 1e-6) && Near(seen[1], {0.6938137, 2.25, 3}, 1e-6) &&
                Near(seen[2], {0.6938137, 2.25, 3.3061862}, 1e-6));
    Place({0, 5, 0}, {0, 30, 60}); // sideways is (0.866, -0.75, -0.5) here; its y part is not applied
    mouse->MoveX(2);
    EXPECT_EQ(seen.size(), 2u);
    ExpectAt({-0.8660254, 5, -1}, {0, 30, 60});
    auto* idle = new TOrnMouseController(form.get());
    EXPECT_FALSE(idle->HandleMouseDown(mbLeft, {}, 0, 0));
    EXPECT_TRUE(idle->HandleMouseMove({}, 100, 100));
    idle->TurnY(10);
    idle->MoveY(1);
    EXPECT_EQ(seen.size(), 2u) << "without Controlled nothing moves";
}

TEST_F(ControlledTest, ScenesReadOddValuesSafelyAndTheCarsLimitsFirst) {
    TOrnMouseController mouse(nullptr);
    test::MemoryExchange file;
    for (auto [key, value] : {std::pair{"turnsensitivity", "-40"},
                              {"MoveSensitivity", "99999999999"},
                              {"CntrlFlags", "[ teMoveX , TETURNZ ]"}})
        file.Set(key, value);
    file.Load(mouse);
    EXPECT_EQ(mouse.TurnSensitivity(), 1);
    EXPECT_EQ(mouse.MoveSensitivity(), 128); // outside 32 bits: the value stays
    EXPECT_EQ(mouse.CntrlFlags(), (TOrnCntrlFlags{teMoveX, teTurnZ}));
    file.Set("CntrlFlags", "teMoveX,teJump");
    file.Load(mouse);
    EXPECT_EQ(mouse.CntrlFlags(), (TOrnCntrlFlags{teMoveX, teTurnZ})); // unknown name: kept
    file.Set("CntrlFlags", "");
    file.Load(mouse);
    EXPECT_TRUE(mouse.CntrlFlags().Empty());

    TOrnCarController car(nullptr); // the limits are read first, and what is read is clamped
    car.SetMaxSpeed(2);
    car.SetReverseSpeed(-0.5f);
    car.SetCurrentSpeed(1.5f);
    car.SetBraking(0.75f);
    test::MemoryExchange saved;
    saved.Save(car);
    EXPECT_EQ(saved.root.Find("EyeHeight"), nullptr); // derived, not stored
    TOrnCarController back(nullptr);
    saved.Load(back); // the limits come first, so 1.5 survives a default MaxSpeed of 1
    EXPECT_EQ(back.MaxSpeed(), 2.0f);
    EXPECT_EQ(back.CurrentSpeed(), 1.5f);
    for (auto [key, value] : {std::pair{"MaxSpeed", "-3"},
                              {"ReverseSpeed", "1e300"},
                              {"CurrentSpeed", "1e300"},
                              {"Braking", "nan"}})
        saved.Set(key, value);
    saved.Load(back);
    EXPECT_EQ(back.MaxSpeed(), 2.0f);
    EXPECT_EQ(back.ReverseSpeed(), -0.5f);
    EXPECT_EQ(back.CurrentSpeed(), 2.0f);
    EXPECT_EQ(back.Braking(), 0.75f);
}
