// The four controllers: what each key or drag does to the controlled component, checked against
// literal positions and angles; and the timers, driven by a clock the test sets.
#include <orn/host/TApplication.h>
#include <orn/host/TOrnClock.h>
#include <orn/interaction/TOrnCarController.h>
#include <orn/interaction/TOrnMouseController.h>
#include <orn/interaction/TOrnPersonController.h>
#include <orn/interaction/TOrnPresentationController.h>
#include <orn/interaction/TOrnTimer.h>
#include <orn/scene/TOrnComponent.h>

#include "support/MemoryExchange.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
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

constexpr std::int64_t kNsPerMs = 1'000'000;

// The application starts with no idle handler and active; when the form is gone no handler may be left.
class TOrnTimerTest : public ::testing::Test {
protected:
    void SetUp() override { app.SetActive(true); }
    void TearDown() override {
        form.reset();
        EXPECT_FALSE(app.OnIdle) << "a destroyed timer left its idle handler behind";
        app.OnIdle = std::move(fSavedIdle);
        app.SetActive(fSavedActive);
    }
    // A timer of the form; one given a name writes it into order, and the time and the intervals
    // into ticks, at each tick.
    TOrnTimer* NewTimer(char name = 0) {
        auto* t = new TOrnTimer(form.get());
        if (name)
            t->OnTimer = [this, name, t](TObject* sender, int n) {
                EXPECT_EQ(sender, t);
                order += name;
                ticks.push_back({static_cast<double>(now) / kNsPerMs, n});
            };
        return t;
    }
    std::int64_t Count(char name) const { return std::count(order.begin(), order.end(), name); }
    // Runs the application's idle handler once with the clock at ms milliseconds; returns done.
    bool IdleAt(double ms) {
        now = std::llround(ms * kNsPerMs);
        bool done = true;
        if (app.OnIdle) app.OnIdle(nullptr, done);
        return done;
    }
    std::vector<std::pair<double, int>> ticks; // milliseconds, intervals
    std::string order;
    std::int64_t now = 0;
    TOrnClockOverride clock{[this] { return now; }, 1'000'000'000};
    TApplication& app = TApplication::Instance();
    std::unique_ptr<TComponent> form = std::make_unique<TComponent>(nullptr);

private:
    TApplication::TIdleEvent fSavedIdle = std::exchange(app.OnIdle, nullptr);
    bool fSavedActive = app.Active();
};

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

TEST_F(ControlledTest, KeysMoveAndTurnBadSettingsAreClampedOrIgnoredEvenInScenesEyeHeightIsTheTranslation) {
    auto* person = Make<TOrnPersonController>();
    auto* car = Make<TOrnCarController>();
    auto* show = Make<TOrnPresentationController>();
    person->SetTurnAngle(10);
    car->SetTurnAngle(10);
    show->SetTurnAngle(10);
    const TOrnMathVector ahead{0.0173648, 0, 0.0984808}; // sin 10°, cos 10° of a step of 0.1
    // The controller, the key, whether it is handled, the translation and rotation after it, shift.
    const std::tuple<TOrnCustomController*, std::uint16_t, bool, TOrnMathVector, TOrnMathVector, TShiftState>
        steps[] = {
            {person, VK_UP, true, {0, 0, 0.1}, {}, {}}, // heading 0: along +z
            {person, VK_DOWN, true, {}, {}, {}},
            {person, VK_RIGHT, true, {}, {0, 10, 0}, {}},
            {person, VK_LEFT, true, {}, {0, 0, 0}, {}},
            {person, VK_LEFT, true, {}, {0, 350, 0}, {}},
            {person, VK_UP, true, ahead, {0, 350, 0}, {}},
            {person, VK_NEXT, true, ahead, {10, 350, 0}, {}},
            {person, VK_PRIOR, true, ahead, {0, 350, 0}, {ssCtrl}},
            {person, VK_PRIOR, true, ahead, {350, 350, 0}, {}},
            {person, VK_HOME, true, ahead, {0, 350, 0}, {}}, // the heading stays
            {person, VK_END, false, ahead, {0, 350, 0}, {}},
            {car, VK_RIGHT, true, {}, {0, 10, 0}, {}},
            {car, VK_LEFT, true, {}, {0, 0, 0}, {}},
            {car, VK_LEFT, true, {}, {0, 350, 0}, {}},
            {car, VK_UP, true, {0.0086824, 0, 0.0492404}, {0, 350, 0}, {}},
            {car, VK_DOWN, true, {0.0086824, 0, 0.0492404}, {0, 350, 0}, {}}, // braked to 0
            {car, VK_HOME, false, {0.0086824, 0, 0.0492404}, {0, 350, 0}, {}},
            {show, VK_RIGHT, true, {}, {0, 10, 0}, {}},
            {show, VK_RIGHT, true, {}, {0, 20, 0}, {}},
            {show, VK_LEFT, true, {}, {0, 10, 0}, {}},
            {show, VK_END, true, {}, {0, 10, 0}, {}},
            {show, VK_UP, true, {0, 0, 0.1}, {0, 10, 0}, {}},
            {show, VK_DOWN, true, {}, {0, 10, 0}, {}},
            {show, VK_DOWN, true, {0, 0, -0.1}, {0, 10, 0}, {}},
            {show, VK_HOME, false, {0, 0, -0.1}, {0, 10, 0}, {}},
        };
    // After each key the car drives one step at its speed and the presentation turns once.
    TOrnCustomController* previous = nullptr;
    for (auto [c, key, handled, t, r, shift] : steps) {
        SCOPED_TRACE(testing::Message() << c->ClassName() << " " << key);
        if (c != std::exchange(previous, c)) Place({}, {});
        EXPECT_EQ(c->HandleKey(key, shift), handled);
        if (c == car) car->Move();
        if (c == show) show->Present();
        ExpectAt(t, r);
    }
    Place({0, 1.8, 0}, {0, 270, 0});
    person->Move(2);
    ExpectAt({2, 1.8, 0}, {0, 270, 0});
    // Bad settings are clamped or ignored; the turn angles stay at the 10 degrees set above.
    auto* mouse = new TOrnMouseController(form.get());
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
              (std::vector<float>{1, 1, 1, 0, 0.05f, 0.1f, 10, 0.1f, 10, 10, 0.1f}));
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
    Place({}, {});
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

TEST_F(ControlledTest, MouseButtonsChooseTheDragAndDragsMoveAndTurnAsTheFlagsAllowAlongQuirkyVectors) {
    auto* mouse = Make<TOrnMouseController>();
    EXPECT_FALSE(mouse->HandleMouseMove({}, 0, 100)) << "no button, no drag";
    const TOrnCntrlFlags all = kAllCntrlFlags;
    const int lo = INT_MIN, hi = INT_MAX;
    // One move is 1 / 50000 and one degree of turn 1 / 2000 of (sensitivity + 5) per pixel.
    // Button, switched buttons, flags, turn and move sensitivity, rotation before the drag, the drag from
    // (x0, y0) to (x1, y1), then the translation and rotation after it.
    using V = TOrnMathVector;
    const std::tuple<TMouseButton, bool, TOrnCntrlFlags, int, int, V, int, int, int, int, V, V> cases[] = {
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
    int row = 0;
    for (auto [button, switched, flags, turn, move, from, x0, y0, x1, y1, t, r] : cases) {
        SCOPED_TRACE(row++);
        Place({}, from);
        mouse->SetSwitchButtons(switched);
        mouse->SetCntrlFlags(flags);
        mouse->SetTurnSensitivity(turn);
        mouse->SetMoveSensitivity(move);
        EXPECT_FALSE(mouse->HandleMouseDown(button, {ssShift}, x0, y0));
        EXPECT_EQ(mouse->HandleMouseMove({}, x1, y1), button != mbMiddle);
        EXPECT_FALSE(mouse->HandleMouseUp(mbMiddle, {}, x1, y1)); // any button ends the drag
        ExpectAt(t, r, t.y > 1e6 ? 2.0 : 1e-5);
        EXPECT_TRUE(t != V{} || r != from || seen.empty()) << "no motion, no notification";
    }
    Place({}, {});
    mouse->HandleMouseDown(mbLeft, {}, 0, 0);
    mouse->HandleMouseDown(mbMiddle, {}, 0, 0); // the drag goes on
    EXPECT_TRUE(mouse->HandleMouseMove({}, 0, 100));
    EXPECT_TRUE(mouse->HandleMouseMove({}, 0, 200)); // each move counts from the previous position
    EXPECT_TRUE(mouse->HandleMouseMove({}, 0, 200)); // no motion still reports the drag
    ExpectAt({0, 0.532, 0}, {});
    // The vectors the moves go along, with their quirks: forward (or sideways), the angles, the vector.
    const std::tuple<bool, double, double, double, TOrnMathVector> vectors[] = {
        {false, 1.0, 1.5707963267948966, 0, {0, 0, -1}},
        {false, 0, 1.0471975511965976, 0.5235987755982988, {0.4330127018922193, -0.25, -0.8660254037844386}},
        {true, 0, 0, 0, {1, 0, 1}}, // r = 0 is taken as 1: x is 1, not 0
        {true, 0, 3.141592653589793, 0, {1.2246467991473532e-16, 0, -1}}, // r is sin π, tiny but not 0
        {true, 0, 4.71238898038469, 0, {-1, 0, 0}},    // beyond π the angle turns half round
        {true, 0, -1.5707963267948966, 0, {-1, 0, 0}}, // negative angles are brought to 0 … 2π
        {true, 0.5235987755982988, 0, 0, {0, -0.5, 0.8660254037844386}},
    };
    for (auto [forward, rx, ry, rz, want] : vectors)
        EXPECT_THAT(Parts(forward ? TOrnMouseController::CalcVecZ(rx, ry, rz)
                                  : TOrnMouseController::CalcVecX(rx, ry, rz)),
                    Pointwise(DoubleNear(1e-9), Parts(want)))
            << rx << " " << ry << " " << rz;
    EXPECT_TRUE(std::isnan(TOrnMouseController::CalcVecZ(0, -INFINITY, 0).z));
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

TEST_F(TOrnTimerTest, TicksWhenMoreThanAnIntervalPassedKeepingThePhaseAndWaitsWhileDisabledOrInactive) {
    TOrnTimer* t = NewTimer('t');
    EXPECT_TRUE(t->OwnsIdleHook());
    EXPECT_FALSE(NewTimer()->OwnsIdleHook()) << "the first timer drives the others";
    t->SetIntervall(10);
    for (int ms = 1; ms <= 45; ++ms)
        EXPECT_FALSE(IdleAt(ms)) << "a running timer asks for more";
    for (double ms : {78.0, 80.0, 80.000001}) // a stall of three intervals; the phase stays at 70
        IdleAt(ms);
    now = 100 * kNsPerMs;
    t->Reset(); // a full interval from now
    IdleAt(110);
    IdleAt(110.5);
    t->SetEnabled(false);
    EXPECT_TRUE(IdleAt(250));
    EXPECT_TRUE(t->DoTimer(260 * kNsPerMs));
    t->SetEnabled(true);
    EXPECT_FALSE(IdleAt(300)); // the missed intervals in one tick
    t->SetActiveonly(true);
    app.SetActive(false);
    EXPECT_TRUE(IdleAt(400)) << "inactive";
    app.SetActive(true);
    EXPECT_FALSE(IdleAt(410.5));
    t->SetActiveonly(false); // then the active flag does not matter
    app.SetActive(false);
    EXPECT_FALSE(IdleAt(421));
    const std::vector<std::pair<double, int>> want{{11, 1},     {21, 1},        {31, 1},    {41, 1},
                                                   {78, 3},     {80.000001, 1}, {110.5, 1}, {300, 19},
                                                   {410.5, 11}, {421, 1}};
    EXPECT_EQ(ticks, want);
    // A counter that jumps backwards is no tick; a huge stall is counted without overflow.
    EXPECT_FALSE(t->DoTimer(-5000 * kNsPerMs));
    EXPECT_EQ(ticks.size(), 10u);
    EXPECT_FALSE(t->DoTimer(INT64_MAX));
    EXPECT_EQ(ticks.back().second, INT32_MAX);
}

TEST_F(TOrnTimerTest, IntervallAndRateDescribeOnePeriodTheRateAchievedIsMeasuredAndTheStopwatchNests) {
    // The clock's frequency, whether the value sets the rate (or the interval), the value, then the
    // interval, the rate and the interval in counts of the clock that follow.
    const std::tuple<std::int64_t, bool, int, int, int, std::int64_t> cases[] = {
        {1'000'000'000, true, 6, 167, 6, 166'666'667},    // 166.7 rounds up
        {1'000'000'000, false, 400, 400, 3, 400'000'000}, // 2.5 rounds up
        {1'000'000'000, true, 10'000, 0, 10'000, 100'000},
        {1'000'000'000, false, 3'600'000, 3'600'000, 0, 3'600'000'000'000},
        {1'000'000'000, false, 0, 1000, 1, 1'000'000'000}, // this and the next three: out of range, ignored
        {1'000'000'000, false, 3'600'001, 1000, 1, 1'000'000'000},
        {1'000'000'000, true, -3, 1000, 1, 1'000'000'000},
        {1'000'000'000, true, 10'001, 1000, 1, 1'000'000'000},
        {3'579'545, false, 333, 333, 3, 1'191'988}, // 1,191,988.485
        {3'579'545, true, 3, 333, 3, 1'193'182},    // 1,193,181.67
        {100, false, 1, 1, 1000, 1},                // at least one count
    };
    for (auto [frequency, byRate, value, intervall, rate, counts] : cases) {
        TOrnClockOverride counter([] { return std::int64_t{0}; }, frequency);
        TOrnTimer t(nullptr);
        byRate ? t.SetRate(value) : t.SetIntervall(value);
        EXPECT_EQ((std::tuple{t.Frequency(), t.Intervall(), t.Rate(), t.IntervalTicks()}),
                  (std::tuple{frequency, intervall, rate, counts}))
            << value;
    }
    {
        TOrnTimer once(nullptr); // gone before the timers below hook the idle handler
        once.SetRate(2);
        once.SetRate(1); // the slowest rate there is
        EXPECT_EQ(once.Intervall(), 1000);
    }
    // The rate achieved is measured over each second.
    TOrnTimer* rated = NewTimer();
    rated->SetRate(100);
    for (int ms = 1; ms <= 1000; ++ms)
        IdleAt(ms);
    EXPECT_EQ(rated->MeasuredRate(), 0) << "nothing is measured before a second has passed";
    IdleAt(1001); // 100 ticks in 1.001 s
    EXPECT_EQ(rated->MeasuredRate(), 100);
    // Polled only every 25 ms, the timer ticks 40 times a second whatever its Rate says.
    for (int ms = 1025; ms <= 2025; ms += 25)
        IdleAt(ms);
    EXPECT_EQ(rated->MeasuredRate(), 40);
    TOrnTimer* t = NewTimer();
    // At ms: start (true) or stop (false), and what Stop returns.
    const std::tuple<int, bool, double> steps[] = {{0, false, -1},     {1000, true, 0},
                                                   {1250, true, 0},    {2000, false, 0.75},
                                                   {2500, false, 1.5}, {2600, false, -1}};
    for (auto [ms, start, seconds] : steps) {
        now = ms * kNsPerMs;
        if (start)
            t->Start();
        else
            EXPECT_DOUBLE_EQ(t->Stop(), seconds) << ms;
        EXPECT_EQ(t->IsStarted(), ms >= 1000 && ms < 2500) << ms;
    }
    // The stopwatch and the stall count in the clock's own counts.
    std::int64_t slowNow = 0;
    TOrnClockOverride slow([&] { return slowNow; }, 100);
    TOrnTimer s(nullptr);
    int reported = 0;
    s.OnTimer = [&](TObject*, int n) { reported = n; };
    s.SetIntervall(1); // one count of the clock
    s.DoTimer(7);
    EXPECT_EQ(reported, 7);
    slowNow = 100;
    s.Start();
    slowNow = 350;
    EXPECT_DOUBLE_EQ(s.Stop(), 2.5);
}

TEST_F(TOrnTimerTest, RootDrivesItsTreeInOrderEachAtItsIntervalAndParentsNeverFormACycle) {
    TOrnTimer* root = NewTimer('r');
    TOrnTimer* a = NewTimer('a');
    TOrnTimer* b = NewTimer('b');
    a->SetParent(root);
    b->SetParent(a); // b hangs under the root
    b->SetParent(b);
    root->SetParent(b);
    EXPECT_EQ(std::tuple(b->Parent(), root->Parent(), root->OwnsIdleHook()),
              std::tuple(root, static_cast<TOrnTimer*>(nullptr), true));
    EXPECT_EQ(root->Children(), (std::vector<TOrnTimer*>{a, b}));
    root->SetIntervall(100);
    a->SetIntervall(10);
    b->SetIntervall(50);
    IdleAt(101);
    EXPECT_EQ(order, "rab");
    for (int ms = 102; ms <= 1000; ++ms)
        IdleAt(ms);
    // Phase kept from 101: root 201…901, a every 10 ms from 111, b every 50 ms from 151.
    EXPECT_EQ((std::tuple{Count('r'), Count('a'), Count('b')}), (std::tuple{1 + 8, 1 + 89, 1 + 17}));
    // Any running timer of the tree keeps the loop busy.
    root->SetEnabled(false);
    b->SetEnabled(false);
    EXPECT_FALSE(IdleAt(1001));
    a->SetEnabled(false);
    EXPECT_TRUE(IdleAt(1002));
}

TEST_F(TOrnTimerTest, TheHookFollowsTheRootAndTimersLeftWithoutParentTickOnce) {
    TOrnTimer* first = NewTimer('1');
    TOrnTimer* second = NewTimer('2');
    TOrnTimer* third = NewTimer('3');
    first->SetParent(second); // the hook owner attached: the new root takes the hook
    third->SetParent(second);
    EXPECT_EQ(std::pair(first->OwnsIdleHook(), second->OwnsIdleHook()), std::pair(false, true));
    third->SetParent(nullptr); // the former root keeps driving it
    EXPECT_EQ(third->Parent(), nullptr);
    IdleAt(1001);
    second->SetParent(third); // third still hangs below: a cycle
    EXPECT_EQ(second->Parent(), nullptr);
    TOrnTimer* fourth = NewTimer('4');
    fourth->SetParent(second);
    third->SetParent(fourth); // it leaves the list it was in, so it is not driven twice
    EXPECT_EQ(second->Children(), (std::vector<TOrnTimer*>{first, fourth, third}));
    IdleAt(2002);
    delete first; // must not take the owner's handler with it
    IdleAt(3003);
    delete second; // every child goes on ticking, the first driving the others
    EXPECT_TRUE(third->Parent() == nullptr && fourth->Parent() == nullptr && fourth->OwnsIdleHook());
    IdleAt(4004);
    delete third; // it leaves the list it is in
    EXPECT_TRUE(fourth->Children().empty());
    IdleAt(5005);
    EXPECT_EQ(order, "2132143243434"); // 213, 2143, 243, 43, 4
}

TEST_F(TOrnTimerTest, StepPollsWhileATimerRunsHandlersOfTheAppAreLeftAloneAndTimersMayBeFreedWhileDriven) {
    // The application's step polls again while a timer runs and waits otherwise.
    struct Source : TEventSource {
        int polls = 0, waits = 0;
        void PollEvents() override { ++polls; }
        void WaitEvents(double) override { ++waits; }
        ~Source() override { TApplication::Instance().RemoveEventSource(this); }
    } source;
    app.AddEventSource(&source);
    app.Step(0.5);
    EXPECT_EQ(source.waits, 1) << "without a timer there is nothing to poll for";
    TOrnTimer* t = NewTimer('t');
    now = 1500 * kNsPerMs;
    app.Step(0.5);
    EXPECT_EQ(order, "t");
    EXPECT_EQ((std::pair{source.waits, source.polls}), (std::pair{1, 3}));
    t->SetEnabled(false);
    app.Step(0.5);
    EXPECT_EQ(source.waits, 2);
    delete t;
    EXPECT_FALSE(app.OnIdle);
    now = 0;
    int calls = 0;
    app.OnIdle = [&](TObject*, bool&) { ++calls; };
    t = NewTimer();
    EXPECT_FALSE(t->OwnsIdleHook());
    IdleAt(1);
    delete t;
    EXPECT_TRUE(app.OnIdle);
    app.OnIdle = nullptr;
    // Replaced after the timer hooked in, it survives the timer too.
    t = NewTimer();
    ASSERT_TRUE(t->OwnsIdleHook());
    app.OnIdle = [&](TObject*, bool&) { ++calls; };
    delete t;
    ASSERT_TRUE(app.OnIdle);
    IdleAt(2);
    EXPECT_EQ(calls, 2);
    app.OnIdle = nullptr;
    t = NewTimer(); // the hook of a timer that came later is not this one's to remove
    app.OnIdle = nullptr;
    TOrnTimer* later = NewTimer();
    delete t;
    EXPECT_TRUE(later->OwnsIdleHook() && app.OnIdle);
    delete later;
    now = 0;
    TOrnTimer* root = NewTimer();
    TOrnTimer* a = NewTimer();
    TOrnTimer* b = NewTimer();
    a->SetParent(root);
    b->SetParent(root);
    // a frees its sibling, then the root frees itself from its own event.
    a->OnTimer = [&](TObject*, int) { delete std::exchange(b, nullptr); };
    IdleAt(1001);
    EXPECT_TRUE(b == nullptr && root->Children() == std::vector<TOrnTimer*>{a});
    root->OnTimer = [&](TObject* sender, int) { delete static_cast<TOrnTimer*>(sender); };
    IdleAt(2002);
    EXPECT_TRUE(a->OwnsIdleHook());
    // The handler may also replace itself while it runs.
    a->OnTimer = [&](TObject*, int) { a->OnTimer = nullptr; };
    IdleAt(3003);
    EXPECT_FALSE(a->OnTimer);
}
