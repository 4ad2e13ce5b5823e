// The four controllers: what each key or drag does to the controlled component, checked against
// literal positions and angles.
#include <orn/interaction/TOrnCarController.h>
#include <orn/interaction/TOrnMouseController.h>
#include <orn/interaction/TOrnPersonController.h>
#include <orn/interaction/TOrnPresentationController.h>
#include <orn/scene/TOrnComponent.h>

#include "support/MemoryExchange.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <memory>
#include <vector>

using namespace orn;

namespace {

using ::testing::DoubleNear;
using ::testing::Pointwise;

// A form with a transformed component to steer; every notification of the component is recorded
// with the translation it saw at that moment.
class ControlledTest : public ::testing::Test {
protected:
    ControlledTest() {
        target->OnChange = [this](TObject*) { seen.push_back(T()->AsMathVector()); };
    }
    TOrnTranslation* T() const { return target->Transformation()->Translation(); }
    TOrnRotation* R() const { return target->Transformation()->Rotation(); }
    static std::vector<double> Parts(const TOrnMathVector& v) { return {v.x, v.y, v.z}; }
    void Place(TOrnMathVector t, TOrnMathVector r) {
        T()->SetAsMathVector(t);
        R()->SetAsMathVector(r);
        seen.clear();
    }
    void ExpectAt(TOrnMathVector t, TOrnMathVector r, double tolerance = 1e-5) {
        EXPECT_THAT(Parts(T()->AsMathVector()), Pointwise(DoubleNear(tolerance), Parts(t))) << "translation";
        EXPECT_THAT(Parts(R()->AsMathVector()), Pointwise(DoubleNear(1e-4), Parts(r))) << "rotation";
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

TEST_F(ControlledTest, BadSettingsAreClampedOrIgnoredAlsoInScenesAndEyeHeightAndDistanceAreTheTranslation) {
    auto* mouse = new TOrnMouseController(form.get());
    auto* car = Make<TOrnCarController>();
    auto* person = Make<TOrnPersonController>();
    auto* show = Make<TOrnPresentationController>();
    mouse->SetTurnSensitivity(INT_MIN);
    mouse->SetMoveSensitivity(0);
    for (float bad : {-1.0f, NAN}) {
        car->SetMaxSpeed(bad);
        car->SetAcceleration(bad);
        car->SetBraking(bad);
        car->SetTurnAngle(bad);
        person->SetStepLength(bad);
        person->SetTurnAngle(bad);
        show->SetTurnAngle(bad);
        show->SetDistanceStep(bad);
    }
    car->SetReverseSpeed(0.5f);
    EXPECT_EQ((std::vector<float>{float(mouse->TurnSensitivity()), float(mouse->MoveSensitivity()),
                                  car->MaxSpeed(), car->ReverseSpeed(), car->Acceleration(), car->Braking(),
                                  car->TurnAngle(), person->StepLength(), person->TurnAngle(),
                                  show->TurnAngle(), show->DistanceStep()}),
              (std::vector<float>{1, 1, 1, 0, 0.05f, 0.1f, 1, 0.1f, 1, 1, 0.1f}));
    car->SetTurnAngle(0);
    EXPECT_EQ(car->TurnAngle(), 0.0f);
    // The speed stays between the reverse and the top speed, whichever of them moves; keys and
    // steps go by the magnitude of their amounts.
    using Car = TOrnCarController;
    std::vector<float> speeds;
    for (auto set : std::initializer_list<void (*)(Car*)>{
             [](Car* c) { c->SetCurrentSpeed(5); }, [](Car* c) { c->SetCurrentSpeed(-5); },
             [](Car* c) { c->SetCurrentSpeed(0.8f), c->SetMaxSpeed(0.5f); },
             [](Car* c) { c->SetReverseSpeed(-2), c->SetCurrentSpeed(-3); },
             [](Car* c) { c->SetReverseSpeed(-1); }, [](Car* c) { c->SetCurrentSpeed(NAN); },
             [](Car* c) { c->SetReverseSpeed(0); },
             [](Car* c) { c->SetCurrentSpeed(0.25f), c->HandleKey(VK_DOWN, {}); },
             [](Car* c) { c->HandleKey(VK_DOWN, {}); }, [](Car* c) { c->HandleKey(VK_DOWN, {}); },
             [](Car* c) { c->SetReverseSpeed(-0.15f), c->HandleKey(VK_DOWN, {}); },
             [](Car* c) { c->HandleKey(VK_DOWN, {}); }, [](Car* c) { c->Accelerate(-0.3f); },
             [](Car* c) { c->Brake(-0.1f); }, [](Car* c) { c->Stop(); }}) {
        set(car);
        speeds.push_back(car->CurrentSpeed());
    }
    EXPECT_THAT(speeds, Pointwise(::testing::FloatNear(1e-6f),
                                  std::vector<float>{1, 0, 0.5f, -2, -1, -1, 0, 0.15f, 0.05f, 0, -0.1f,
                                                     -0.15f, 0.15f, 0.05f, 0}));
    car->SetEyeHeight(1.7f);
    person->SetEyeHeight(1.6f);
    show->SetDistance(7);
    EXPECT_EQ(T()->AsMathVector(), (TOrnMathVector{0, 1.6f, 7}));
    T()->SetValues(0, 2.5f, 3);
    EXPECT_EQ((std::vector{car->EyeHeight(), person->EyeHeight(), show->EyeHeight(), show->Distance()}),
              (std::vector{2.5f, 2.5f, 2.5f, 3.0f}));
    show->SetEyeHeight(1.5f);
    car->SetControlled(nullptr);
    car->SetEyeHeight(3);
    EXPECT_EQ(std::pair(car->EyeHeight(), T()->Y()), std::pair(0.0f, 1.5f));
    // Scene files: flag lists are read leniently, and the car's limits before its speed.
    TOrnMouseController read(nullptr);
    test::MemoryExchange file;
    file.Set("MoveSensitivity", "99999999999"); // outside 32 bits: the value stays
    const std::pair<const char*, TOrnCntrlFlags> flags[] = {
        {"[ teMoveX , TETURNZ ]", {teMoveX, teTurnZ}}, {"teMoveX,teJump", {teMoveX, teTurnZ}}, {"", {}}};
    for (auto [text, want] : flags) {
        file.Set("CntrlFlags", text);
        file.Load(read);
        EXPECT_EQ(read.CntrlFlags(), want) << text; // an unknown name keeps the flags
    }
    EXPECT_EQ(read.MoveSensitivity(), 128);
    car->SetMaxSpeed(2);
    car->SetReverseSpeed(-0.5f);
    car->SetCurrentSpeed(1.5f);
    test::MemoryExchange saved;
    saved.Save(*car);
    TOrnCarController back(nullptr);
    saved.Load(back); // the limits come first, so 1.5 survives a default MaxSpeed of 1
    EXPECT_EQ(back.CurrentSpeed(), 1.5f);
    saved.Set("CurrentSpeed", "-1e300");
    saved.Load(back);
    EXPECT_EQ(back.CurrentSpeed(), -0.5f);
}

// After each key the car drives one step at its speed and the presentation turns once.
TEST_F(ControlledTest, KeysTurnStepNodAccelerateAndChooseWhatEachControllerDoes) {
    auto* person = Make<TOrnPersonController>();
    auto* car = Make<TOrnCarController>();
    auto* show = Make<TOrnPresentationController>();
    person->SetTurnAngle(10);
    car->SetTurnAngle(10);
    show->SetTurnAngle(10);
    const TOrnMathVector ahead{0.0173648, 0, 0.0984808}; // sin 10°, cos 10° of a step of 0.1
    const struct {
        TOrnCustomController* c;
        std::uint16_t key;
        bool handled;
        TOrnMathVector t, r;
        TShiftState shift = {};
    } steps[] = {
        {person, VK_UP, true, {0, 0, 0.1}, {}}, // heading 0: along +z
        {person, VK_DOWN, true, {}, {}},
        {person, VK_RIGHT, true, {}, {0, 10, 0}},
        {person, VK_LEFT, true, {}, {0, 0, 0}},
        {person, VK_LEFT, true, {}, {0, 350, 0}},
        {person, VK_UP, true, ahead, {0, 350, 0}},
        {person, VK_NEXT, true, ahead, {10, 350, 0}},
        {person, VK_PRIOR, true, ahead, {0, 350, 0}, {ssCtrl}},
        {person, VK_PRIOR, true, ahead, {350, 350, 0}},
        {person, VK_HOME, true, ahead, {0, 350, 0}}, // the heading stays
        {person, VK_END, false, ahead, {0, 350, 0}},
        {car, VK_RIGHT, true, {}, {0, 10, 0}},
        {car, VK_LEFT, true, {}, {0, 0, 0}},
        {car, VK_LEFT, true, {}, {0, 350, 0}},
        {car, VK_UP, true, {0.0086824, 0, 0.0492404}, {0, 350, 0}},
        {car, VK_DOWN, true, {0.0086824, 0, 0.0492404}, {0, 350, 0}}, // braked to 0
        {car, VK_HOME, false, {0.0086824, 0, 0.0492404}, {0, 350, 0}},
        {show, VK_RIGHT, true, {}, {0, 10, 0}},
        {show, VK_RIGHT, true, {}, {0, 20, 0}},
        {show, VK_LEFT, true, {}, {0, 10, 0}},
        {show, VK_END, true, {}, {0, 10, 0}},
        {show, VK_UP, true, {0, 0, 0.1}, {0, 10, 0}},
        {show, VK_DOWN, true, {}, {0, 10, 0}},
        {show, VK_DOWN, true, {0, 0, -0.1}, {0, 10, 0}},
        {show, VK_HOME, false, {0, 0, -0.1}, {0, 10, 0}},
    };
    for (const auto& s : steps) {
        SCOPED_TRACE(&s - steps);
        if (&s == steps || s.c != (&s - 1)->c) Place({}, {});
        EXPECT_EQ(s.c->HandleKey(s.key, s.shift), s.handled);
        if (s.c == car) car->Move();
        if (s.c == show) show->Present();
        ExpectAt(s.t, s.r);
    }
    Place({0, 1.8, 0}, {0, 270, 0});
    person->Move(2);
    ExpectAt({2, 1.8, 0}, {0, 270, 0});
}

TEST_F(ControlledTest, MouseButtonsChooseTheDragAndDragsMoveAndTurnAsTheFlagsAllowAlongQuirkyVectors) {
    auto* mouse = Make<TOrnMouseController>();
    EXPECT_FALSE(mouse->HandleMouseMove({}, 0, 100)) << "no button, no drag";
    const TOrnCntrlFlags all = kAllCntrlFlags;
    const int lo = INT_MIN, hi = INT_MAX;
    // One move is 1 / 50000 and one degree of turn 1 / 2000 of (sensitivity + 5) per pixel.
    const struct {
        TMouseButton button;
        bool switched;
        TOrnCntrlFlags flags;
        int turn, move;
        TOrnMathVector from; // rotation before the drag
        int x0, y0, x1, y1;
        TOrnMathVector t, r;
    } cases[] = {
        {mbLeft, false, all, 128, 128, {}, 10, 10, 10, 110, {0, 0.266, 0}, {}},
        {mbLeft, false, all, 128, 128, {}, 10, 10, 110, 10, {}, {0, 6.65, 0}},
        {mbLeft, false, all, 1, 45, {}, 0, 0, -100, -100, {0, -0.1, 0}, {0, 359.7, 0}}, // kept in 0 … 360
        {mbRight, false, all, 128, 128, {}, 0, 0, 100, 0, {-0.266, 0, 0}, {}}, // sideways is (1, 0, 0)
        {mbRight, true, all, 128, 128, {}, 0, 0, 0, 100, {0, 0.266, 0}, {}},
        {mbLeft, true, all, 128, 128, {}, 0, 0, 100, 0, {-0.266, 0, 0}, {}},
        {mbMiddle, false, all, 128, 128, {}, 0, 0, 100, 100, {}, {}},
        // At 90 degrees the forward vector is (1, 0, cos 90°): upwards goes along -x.
        {mbRight, false, all, 128, 128, {0, 90, 0}, 0, 100, 0, 0, {-0.266, 0, 0}, {0, 90, 0}},
        {mbLeft, false, {teTurnY, teTurnX, teTurnZ}, 128, 128, {}, 0, 0, 100, 100, {}, {0, 6.65, 0}},
        {mbRight, false, {teMoveZ}, 128, 128, {}, 0, 100, 100, 0, {-0.266, 0, 0.266}, {}}, // forward only
        {mbRight, false, {teMoveX}, 128, 128, {}, 0, 100, 100, 0, {-0.266, 0, 0}, {}},     // sideways only
        {mbLeft, false, {teMoveY, teTurnX, teTurnZ}, 128, 128, {}, lo, lo, hi, hi, {0, 11424613, 0}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        Place({}, c.from);
        mouse->SetSwitchButtons(c.switched);
        mouse->SetCntrlFlags(c.flags);
        mouse->SetTurnSensitivity(c.turn);
        mouse->SetMoveSensitivity(c.move);
        EXPECT_FALSE(mouse->HandleMouseDown(c.button, {ssShift}, c.x0, c.y0));
        EXPECT_EQ(mouse->HandleMouseMove({}, c.x1, c.y1), c.button != mbMiddle);
        EXPECT_FALSE(mouse->HandleMouseUp(mbMiddle, {}, c.x1, c.y1)); // any button ends the drag
        ExpectAt(c.t, c.r, c.t.y > 1e6 ? 2.0 : 1e-5);
        EXPECT_TRUE(c.t != TOrnMathVector{} || c.r != c.from || seen.empty()) << "no motion, no notification";
    }
    Place({}, {});
    mouse->HandleMouseDown(mbLeft, {}, 0, 0);
    mouse->HandleMouseDown(mbMiddle, {}, 0, 0); // the drag goes on
    EXPECT_TRUE(mouse->HandleMouseMove({}, 0, 100));
    EXPECT_TRUE(mouse->HandleMouseMove({}, 0, 200)); // each move counts from the previous position
    EXPECT_TRUE(mouse->HandleMouseMove({}, 0, 200)); // no motion still reports the drag
    ExpectAt({0, 0.532, 0}, {});
    // The vectors the moves go along, with their quirks.
    const struct {
        bool forward;
        double rx, ry, rz;
        TOrnMathVector want;
    } vectors[] = {
        {false, 1.0, 1.5707963267948966, 0, {0, 0, -1}},
        {false, 0, 1.0471975511965976, 0.5235987755982988, {0.4330127018922193, -0.25, -0.8660254037844386}},
        {true, 0, 0, 0, {1, 0, 1}}, // r = 0 is taken as 1: x is 1, not 0
        {true, 0, 3.141592653589793, 0, {1.2246467991473532e-16, 0, -1}}, // r is sin π, tiny but not 0
        {true, 0, 4.71238898038469, 0, {-1, 0, 0}},    // beyond π the angle turns half round
        {true, 0, -1.5707963267948966, 0, {-1, 0, 0}}, // negative angles are brought to 0 … 2π
        {true, 0.5235987755982988, 0, 0, {0, -0.5, 0.8660254037844386}},
    };
    for (const auto& c : vectors)
        EXPECT_THAT(Parts(c.forward ? TOrnMouseController::CalcVecZ(c.rx, c.ry, c.rz)
                                    : TOrnMouseController::CalcVecX(c.rx, c.ry, c.rz)),
                    Pointwise(DoubleNear(1e-9), Parts(c.want)))
            << &c - vectors;
    EXPECT_TRUE(std::isnan(TOrnMouseController::CalcVecZ(0, -INFINITY, 0).z));
    mouse->SetCntrlFlags(all);
    Place({1, 2, 3}, {30, 45, 0}); // forward is (0.6124, -0.5, 0.6124) at these angles
    mouse->MoveZ(0.5);
    ExpectAt({0.6938137, 2.25, 3.3061862}, {30, 45, 0});
    Place({0, 5, 0}, {0, 30, 60}); // sideways is (0.866, -0.75, -0.5) here; its y part is not applied
    mouse->MoveX(2);
    auto* idle = new TOrnMouseController(form.get()); // without Controlled nothing moves
    EXPECT_TRUE(idle->HandleMouseDown(mbLeft, {}, 0, 0) || idle->HandleMouseMove({}, 100, 100));
    idle->TurnY(10);
    idle->MoveY(1);
    ExpectAt({-0.8660254, 5, -1}, {0, 30, 60});
}
