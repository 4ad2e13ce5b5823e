#include <orn/host/TApplication.h>
#include <orn/host/TComponentClass.h>
#include <orn/host/TOrnClock.h>
#include <orn/interaction/TOrnTimer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

using namespace orn;

namespace {

constexpr std::int64_t kNsPerMs = 1'000'000;

// Puts a clock in place that only moves when the test says so.
class FakeClock {
public:
    explicit FakeClock(std::int64_t frequency = 1'000'000'000) : fGuard([this] { return now; }, frequency) {}
    std::int64_t now = 0;

private:
    TOrnClockOverride fGuard;
};

class EventSourceSpy : public TEventSource {
public:
    int polls = 0;
    int waits = 0;
    void PollEvents() override { ++polls; }
    void WaitEvents(double) override { ++waits; }
};

// Every test starts with an application that has no idle handler and is active, and a form that
// owns the timers; after the form is gone no handler may be left behind.
class TOrnTimerTest : public ::testing::Test {
protected:
    void SetUp() override {
        fSavedIdle = std::move(app.OnIdle);
        app.OnIdle = nullptr;
        fSavedActive = app.Active();
        app.SetActive(true);
    }
    void TearDown() override {
        form.reset();
        EXPECT_FALSE(app.OnIdle) << "a destroyed timer left its idle handler behind";
        app.OnIdle = std::move(fSavedIdle);
        app.SetActive(fSavedActive);
    }

    TOrnTimer* NewTimer() { return new TOrnTimer(form.get()); }

    // Runs the application's idle handler once with the clock at ms milliseconds; returns done.
    bool IdleAt(double ms) {
        clock.now = std::llround(ms * kNsPerMs);
        bool done = true;
        if (app.OnIdle) app.OnIdle(nullptr, done);
        return done;
    }

    // Records (time in ms, intervals) of every OnTimer call of timer.
    struct Tick {
        double ms;
        int intervals;
        bool operator==(const Tick&) const = default;
        friend void PrintTo(const Tick& t, std::ostream* os) {
            *os << '{' << t.ms << " ms, " << t.intervals << '}';
        }
    };
    void Record(TOrnTimer* timer, std::vector<Tick>& ticks) {
        timer->OnTimer = [this, &ticks](TObject*, int n) {
            ticks.push_back({static_cast<double>(clock.now) / kNsPerMs, n});
        };
    }

    FakeClock clock;
    TApplication& app = TApplication::Instance();
    std::unique_ptr<TComponent> form = std::make_unique<TComponent>(nullptr);

private:
    TApplication::TIdleEvent fSavedIdle;
    bool fSavedActive = true;
};

} // namespace

// ---- Ticking -------------------------------------------------------------------------------------

TEST_F(TOrnTimerTest, DefaultsAndTheFirstTimerTakesTheIdleHook) {
    TOrnTimer* t = NewTimer();
    EXPECT_TRUE(t->Enabled());
    EXPECT_FALSE(t->Activeonly());
    EXPECT_EQ(t->IntervalTicks(), 1'000'000'000);
    EXPECT_TRUE(t->OwnsIdleHook());
    EXPECT_FALSE(NewTimer()->OwnsIdleHook());
}

TEST_F(TOrnTimerTest, TicksOncePerIntervalKeepingThePhase) {
    TOrnTimer* t = NewTimer();
    t->SetIntervall(10);
    std::vector<Tick> ticks;
    Record(t, ticks);
    for (int ms = 1; ms <= 100; ++ms)
        EXPECT_FALSE(IdleAt(ms)) << "a running timer asks for more";
    // More than a whole interval must pass: 10 ms after the last tick is not yet a tick.
    const std::vector<Tick> expected{{11, 1}, {21, 1}, {31, 1}, {41, 1}, {51, 1},
                                     {61, 1}, {71, 1}, {81, 1}, {91, 1}};
    EXPECT_EQ(ticks, expected);
}

TEST_F(TOrnTimerTest, StallReportsMissedIntervalsAndKeepsThePhase) {
    TOrnTimer* t = NewTimer(); // 1000 ms
    std::vector<Tick> ticks;
    Record(t, ticks);
    IdleAt(3500);
    ASSERT_EQ(ticks, (std::vector<Tick>{{3500, 3}}));
    IdleAt(4000); // exactly one interval after the kept phase at 3000
    EXPECT_EQ(ticks.size(), 1u);
    clock.now = 4000 * kNsPerMs + 1;
    bool done = true;
    app.OnIdle(nullptr, done);
    ASSERT_EQ(ticks.size(), 2u) << "the next tick comes half an interval after the stall";
    EXPECT_EQ(ticks[1].intervals, 1);
}

TEST_F(TOrnTimerTest, ReportsHugeStallsWithoutOverflow) {
    TOrnTimer* t = NewTimer();
    t->SetRate(10'000); // 100,000 counts per interval
    int reported = 0;
    t->OnTimer = [&](TObject* sender, int n) {
        EXPECT_EQ(sender, t);
        reported = n;
    };
    // A counter that jumps backwards is no tick.
    EXPECT_FALSE(t->DoTimer(-5000 * kNsPerMs));
    EXPECT_EQ(reported, 0);
    EXPECT_FALSE(t->DoTimer(INT64_MAX));
    EXPECT_EQ(reported, INT32_MAX);
}

TEST_F(TOrnTimerTest, MeasuresTheRateOfTicksAchieved) {
    TOrnTimer* t = NewTimer();
    t->SetRate(100);
    for (int ms = 1; ms <= 1000; ++ms)
        IdleAt(ms);
    EXPECT_EQ(t->MeasuredRate(), 0) << "nothing is measured before a second has passed";
    IdleAt(1001); // 100 ticks in 1.001 s
    EXPECT_EQ(t->MeasuredRate(), 100);

    // Polled only every 25 ms, the timer ticks 40 times a second whatever its Rate says.
    for (int ms = 1025; ms <= 2025; ms += 25)
        IdleAt(ms);
    EXPECT_EQ(t->MeasuredRate(), 40);
}

TEST_F(TOrnTimerTest, ResetStartsAFullIntervalFromNow) {
    TOrnTimer* t = NewTimer();
    std::vector<Tick> ticks;
    Record(t, ticks);
    clock.now = 900 * kNsPerMs;
    t->Reset();
    IdleAt(1500);
    EXPECT_TRUE(ticks.empty());
    IdleAt(1901);
    EXPECT_EQ(ticks, (std::vector<Tick>{{1901, 1}}));
}

TEST_F(TOrnTimerTest, DisabledTimerLetsTheLoopWait) {
    TOrnTimer* t = NewTimer();
    std::vector<Tick> ticks;
    Record(t, ticks);
    t->SetEnabled(false);
    EXPECT_TRUE(IdleAt(2500));
    EXPECT_TRUE(t->DoTimer(5000 * kNsPerMs));
    EXPECT_TRUE(ticks.empty());
    EXPECT_EQ(t->MeasuredRate(), 0);
    // Enabled again, it reports what passed meanwhile in one tick.
    t->SetEnabled(true);
    EXPECT_FALSE(IdleAt(5200));
    EXPECT_EQ(ticks, (std::vector<Tick>{{5200, 5}}));
}

TEST_F(TOrnTimerTest, ActiveonlyTicksOnlyWhileTheApplicationIsActive) {
    TOrnTimer* t = NewTimer();
    std::vector<Tick> ticks;
    Record(t, ticks);
    t->SetActiveonly(true);
    app.SetActive(false);
    EXPECT_TRUE(IdleAt(1500));
    EXPECT_TRUE(ticks.empty());
    app.SetActive(true);
    EXPECT_FALSE(IdleAt(1600));
    EXPECT_EQ(ticks, (std::vector<Tick>{{1600, 1}}));
    // Without Activeonly the active flag does not matter.
    t->SetActiveonly(false);
    app.SetActive(false);
    EXPECT_FALSE(IdleAt(2601));
    EXPECT_EQ(ticks.size(), 2u);
}

// ---- Intervall and Rate --------------------------------------------------------------------------

TEST_F(TOrnTimerTest, IntervallAndRateOutsideTheirRangeAreIgnored) {
    TOrnTimer* t = NewTimer();
    t->SetIntervall(250);
    for (int bad : {0, 3'600'001}) {
        t->SetIntervall(bad);
        t->SetRate(bad == 0 ? -3 : 10'001);
        EXPECT_EQ(t->Intervall(), 250) << bad;
        EXPECT_EQ(t->Rate(), 4) << bad;
        EXPECT_EQ(t->IntervalTicks(), 250 * kNsPerMs) << bad;
    }
}

TEST_F(TOrnTimerTest, IntervallAndRateDescribeTheSamePeriodUpToRounding) {
    struct Case {
        bool byRate;
        int value;
        int intervall, rate;
        std::int64_t ticks;
    };
    const Case cases[] = {{true, 3, 333, 3, 333'333'333},
                          {false, 400, 400, 3, 400'000'000}, // 2.5 rounds up
                          {true, 10'000, 0, 10'000, 100'000},
                          {false, 3'600'000, 3'600'000, 0, 3'600'000'000'000}};
    for (const Case& c : cases) {
        TOrnTimer t(nullptr);
        if (c.byRate)
            t.SetRate(c.value);
        else
            t.SetIntervall(c.value);
        const std::string what = (c.byRate ? "Rate " : "Intervall ") + std::to_string(c.value);
        EXPECT_EQ(t.Intervall(), c.intervall) << what;
        EXPECT_EQ(t.Rate(), c.rate) << what;
        EXPECT_EQ(t.IntervalTicks(), c.ticks) << what;
    }
}

TEST_F(TOrnTimerTest, IntervalCountsFollowTheClocksFrequency) {
    FakeClock pmTimer(3'579'545);
    TOrnTimer t(nullptr);
    EXPECT_EQ(t.Frequency(), 3'579'545);
    EXPECT_EQ(t.IntervalTicks(), 3'579'545);
    t.SetIntervall(333);
    EXPECT_EQ(t.IntervalTicks(), 1'191'988); // 1,191,988.485
    t.SetRate(3);
    EXPECT_EQ(t.IntervalTicks(), 1'193'182); // 1,193,181.67

    // A clock slower than 1 kHz still gives an interval of at least one count.
    FakeClock slow(100);
    TOrnTimer s(nullptr);
    s.SetIntervall(1);
    EXPECT_EQ(s.IntervalTicks(), 1);
    int reported = 0;
    s.OnTimer = [&](TObject*, int n) { reported = n; };
    s.DoTimer(7);
    EXPECT_EQ(reported, 7);
    // The stopwatch counts in the clock's frequency too.
    slow.now = 100;
    s.Start();
    slow.now = 350;
    EXPECT_DOUBLE_EQ(s.Stop(), 2.5);
}

// ---- Stopwatch -----------------------------------------------------------------------------------

TEST_F(TOrnTimerTest, StopwatchNestsAndReportsSeconds) {
    TOrnTimer* t = NewTimer();
    EXPECT_EQ(t->Stop(), -1.0);
    clock.now = 1000 * kNsPerMs;
    t->Start();
    EXPECT_TRUE(t->IsStarted());
    clock.now = 1250 * kNsPerMs;
    t->Start();
    clock.now = 2000 * kNsPerMs;
    EXPECT_DOUBLE_EQ(t->Stop(), 0.75);
    EXPECT_TRUE(t->GetIsStarted());
    clock.now = 2500 * kNsPerMs;
    EXPECT_DOUBLE_EQ(t->Stop(), 1.5);
    EXPECT_FALSE(t->IsStarted());
    EXPECT_EQ(t->Stop(), -1.0);
}

// ---- Tree ----------------------------------------------------------------------------------------

TEST_F(TOrnTimerTest, RootDrivesItsChildrenInOrder) {
    TOrnTimer* root = NewTimer();
    TOrnTimer* a = NewTimer();
    TOrnTimer* b = NewTimer();
    a->SetParent(root);
    b->SetParent(root);
    root->SetIntervall(100);
    a->SetIntervall(10);
    b->SetIntervall(50);
    std::string order;
    int counts[3] = {};
    auto count = [&](char name, int& n) {
        return [&order, &n, name](TObject*, int) {
            order += name;
            ++n;
        };
    };
    root->OnTimer = count('r', counts[0]);
    a->OnTimer = count('a', counts[1]);
    b->OnTimer = count('b', counts[2]);
    IdleAt(101);
    EXPECT_EQ(order, "rab");
    for (int ms = 102; ms <= 1000; ++ms)
        IdleAt(ms);
    // Phase kept from 101: root 201…901, a every 10 ms from 111, b every 50 ms from 151.
    EXPECT_EQ(counts[0], 1 + 8);
    EXPECT_EQ(counts[1], 1 + 89);
    EXPECT_EQ(counts[2], 1 + 17);
}

TEST_F(TOrnTimerTest, AnyRunningTimerInTheTreeKeepsTheLoopBusy) {
    TOrnTimer* root = NewTimer();
    TOrnTimer* child = NewTimer();
    child->SetParent(root);
    root->SetEnabled(false);
    EXPECT_FALSE(IdleAt(1));
    child->SetEnabled(false);
    EXPECT_TRUE(IdleAt(2));
    root->SetEnabled(true);
    EXPECT_FALSE(IdleAt(3));
}

TEST_F(TOrnTimerTest, AttachingUnderADescendantMakesNoCycle) {
    TOrnTimer* a = NewTimer();
    TOrnTimer* b = NewTimer();
    TOrnTimer* c = NewTimer();
    b->SetParent(a);
    c->SetParent(b); // c hangs under a
    EXPECT_EQ(c->Parent(), a);
    c->SetParent(c);
    EXPECT_EQ(c->Parent(), a);
    a->SetParent(c);
    EXPECT_EQ(a->Parent(), nullptr);
    EXPECT_TRUE(a->OwnsIdleHook());
    EXPECT_EQ(a->Children(), (std::vector<TOrnTimer*>{b, c}));
    int ticks = 0;
    for (TOrnTimer* t : {a, b, c})
        t->OnTimer = [&](TObject*, int) { ++ticks; };
    IdleAt(1001);
    EXPECT_EQ(ticks, 3);
}

TEST_F(TOrnTimerTest, ClearingParentKeepsTheTimerDrivenByItsFormerRoot) {
    TOrnTimer* root = NewTimer();
    TOrnTimer* child = NewTimer();
    child->SetParent(root);
    child->SetParent(nullptr);
    EXPECT_EQ(child->Parent(), nullptr);
    int ticks = 0;
    child->OnTimer = [&](TObject*, int) { ++ticks; };
    IdleAt(1001);
    EXPECT_EQ(ticks, 1);

    // Attached elsewhere it leaves the former list, so it is not driven twice.
    TOrnTimer* other = NewTimer();
    other->SetParent(root);
    child->SetParent(other);
    EXPECT_EQ(root->Children(), (std::vector<TOrnTimer*>{other, child}));
    IdleAt(2002);
    EXPECT_EQ(ticks, 2);

    // Nor can the quirk be used to close a cycle.
    child->SetParent(nullptr);
    root->SetParent(child);
    EXPECT_EQ(root->Parent(), nullptr);
    IdleAt(3003);
    EXPECT_EQ(ticks, 3);

    // Deleting it takes it out of the list it is still in.
    child->SetParent(nullptr);
    delete child;
    EXPECT_EQ(root->Children(), (std::vector<TOrnTimer*>{other}));
    IdleAt(4004);
}

// ---- Idle hook -----------------------------------------------------------------------------------

TEST_F(TOrnTimerTest, AttachingTheHookOwnerHandsTheHookToTheNewRoot) {
    TOrnTimer* first = NewTimer();
    TOrnTimer* second = NewTimer();
    ASSERT_TRUE(first->OwnsIdleHook());
    first->SetParent(second);
    EXPECT_FALSE(first->OwnsIdleHook());
    EXPECT_TRUE(second->OwnsIdleHook());
    int ticks = 0;
    first->OnTimer = [&](TObject*, int) { ++ticks; };
    second->OnTimer = [&](TObject*, int) { ticks += 10; };
    IdleAt(1001);
    EXPECT_EQ(ticks, 11);
    // The former owner going away must not take the new owner's handler with it.
    delete first;
    EXPECT_TRUE(app.OnIdle);
    IdleAt(2002);
    EXPECT_EQ(ticks, 21);
}

TEST_F(TOrnTimerTest, DestroyingTheRootKeepsEveryChildTicking) {
    TOrnTimer* root = NewTimer();
    TOrnTimer* a = NewTimer();
    TOrnTimer* b = NewTimer();
    a->SetParent(root);
    b->SetParent(root);
    delete root;
    EXPECT_EQ(a->Parent(), nullptr);
    EXPECT_EQ(b->Parent(), nullptr);
    EXPECT_TRUE(a->OwnsIdleHook()); // the first child drives the others
    int ticks[2] = {};
    a->OnTimer = [&](TObject*, int) { ++ticks[0]; };
    b->OnTimer = [&](TObject*, int) { ++ticks[1]; };
    IdleAt(1001);
    EXPECT_EQ(ticks[0], 1);
    EXPECT_EQ(ticks[1], 1);
    delete a;
    EXPECT_TRUE(b->OwnsIdleHook());
    IdleAt(2002);
    EXPECT_EQ(ticks[1], 2);
}

TEST_F(TOrnTimerTest, ApplicationsOwnHandlerIsLeftAlone) {
    int calls = 0;
    app.OnIdle = [&](TObject*, bool&) { ++calls; };
    TOrnTimer* t = NewTimer();
    EXPECT_FALSE(t->OwnsIdleHook());
    IdleAt(1);
    EXPECT_EQ(calls, 1);
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
}

TEST_F(TOrnTimerTest, HandlerMayFreeTimersWhileTheyAreDriven) {
    TOrnTimer* root = NewTimer();
    TOrnTimer* a = NewTimer();
    TOrnTimer* b = NewTimer();
    a->SetParent(root);
    b->SetParent(root);
    // a frees its sibling, then the root frees itself from its own event.
    a->OnTimer = [&](TObject*, int) {
        delete b;
        b = nullptr;
    };
    IdleAt(1001);
    EXPECT_EQ(b, nullptr);
    EXPECT_EQ(root->Children(), (std::vector<TOrnTimer*>{a}));
    root->OnTimer = [&](TObject* sender, int) { delete static_cast<TOrnTimer*>(sender); };
    IdleAt(2002);
    EXPECT_TRUE(a->OwnsIdleHook());
    // The handler may also replace itself while it runs.
    a->OnTimer = [&](TObject*, int) { a->OnTimer = nullptr; };
    IdleAt(3003);
    EXPECT_FALSE(a->OnTimer);
}

// ---- Application loop ----------------------------------------------------------------------------

TEST_F(TOrnTimerTest, StepPollsAgainWhileATimerRunsAndWaitsOtherwise) {
    EventSourceSpy source;
    app.AddEventSource(&source);
    struct Unregister {
        TEventSource* s;
        ~Unregister() { TApplication::Instance().RemoveEventSource(s); }
    } unregister{&source};

    app.Step(0.5);
    EXPECT_EQ(source.waits, 1) << "without a timer there is nothing to poll for";

    TOrnTimer* t = NewTimer();
    int ticks = 0;
    t->OnTimer = [&](TObject*, int) { ++ticks; };
    clock.now = 1500 * kNsPerMs;
    app.Step(0.5);
    EXPECT_EQ(ticks, 1);
    EXPECT_EQ(source.waits, 1);
    EXPECT_EQ(source.polls, 3);

    t->SetEnabled(false);
    app.Step(0.5);
    EXPECT_EQ(source.waits, 2);
}
