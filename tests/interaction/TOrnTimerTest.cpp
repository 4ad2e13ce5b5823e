#include <orn/host/TApplication.h>
#include <orn/host/TOrnClock.h>
#include <orn/interaction/TOrnTimer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using namespace orn;

namespace {

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
    const struct {
        std::int64_t frequency;
        bool byRate;
        int value, intervall, rate;
        std::int64_t ticks;
    } cases[] = {
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
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        TOrnClockOverride counter([] { return std::int64_t{0}; }, c.frequency);
        TOrnTimer t(nullptr);
        c.byRate ? t.SetRate(c.value) : t.SetIntervall(c.value);
        EXPECT_EQ((std::tuple{t.Frequency(), t.Intervall(), t.Rate(), t.IntervalTicks()}),
                  (std::tuple{c.frequency, c.intervall, c.rate, c.ticks}));
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
