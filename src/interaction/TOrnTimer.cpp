#include <orn/host/TApplication.h>
#include <orn/host/TComponentClass.h>
#include <orn/host/TOrnClock.h>
#include <orn/interaction/TOrnTimer.h>

#include <algorithm>
#include <climits>
#include <cmath>

namespace orn {

ORN_REGISTER_COMPONENT(TOrnTimer, "Orn")

namespace {

constexpr int kMaxIntervall = 3'600'000;
constexpr int kMaxRate = 10'000;

// Counter differences wrap instead of overflowing: DoTimer is public and takes any count.
std::int64_t countsBetween(std::int64_t later, std::int64_t earlier) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(later) - static_cast<std::uint64_t>(earlier));
}

int roundToInt(double value) {
    return static_cast<int>(
        std::clamp(std::llround(value), static_cast<long long>(INT_MIN), static_cast<long long>(INT_MAX)));
}

// An interval of 0 counts would divide by zero on the next tick (a clock slower than 1 kHz).
std::int64_t roundCounts(double value) {
    return std::max<std::int64_t>(1, std::llround(value));
}

} // namespace

// The application's idle handler; a type of its own so that DelIdle can tell it from others.
struct TOrnTimer::IdleHook {
    TOrnTimer* timer;
    void operator()(TObject* sender, bool& done) const { timer->DoIdle(sender, done); }
};

TOrnTimer::TOrnTimer(TComponent* owner)
    : TComponent(owner), fFrequency(TOrnClock::Frequency()), fMeasurementPeriod(fFrequency) {
    SetIntervall(1000);
    fCounter = TOrnClock::Counter();
    fLastTick = fCounter;
    SetIdle();
}

TOrnTimer::~TOrnTimer() {
    DelIdle();
    Detach();
    // The timers below lose their parent; the first of them takes the hook over and drives the
    // others, so a tree does not stop ticking because its root went away.
    const std::vector<TOrnTimer*> children = std::move(fChildren);
    fChildren.clear();
    if (children.empty()) return;
    TOrnTimer* first = children.front();
    first->fHolder = nullptr;
    first->fParent = nullptr;
    for (std::size_t i = 1; i < children.size(); ++i) {
        children[i]->fHolder = first;
        children[i]->fParent = nullptr;
        first->fChildren.push_back(children[i]);
    }
    first->SetIdle();
}

void TOrnTimer::SetIntervall(int ms) {
    if (ms < 1 || ms > kMaxIntervall) return;
    fIntervall = ms;
    fRate = roundToInt(1000.0 / ms);
    fIntervalTicks = roundCounts(static_cast<double>(ms) * static_cast<double>(fFrequency) / 1000.0);
}

void TOrnTimer::SetRate(int rate) {
    if (rate < 1 || rate > kMaxRate) return;
    fRate = rate;
    fIntervall = roundToInt(1000.0 / rate);
    fIntervalTicks = roundCounts(static_cast<double>(fFrequency) / rate);
}

void TOrnTimer::Reset() {
    fCounter = TOrnClock::Counter();
    fLastTick = fCounter;
}

void TOrnTimer::Start() {
    fCounter = TOrnClock::Counter();
    fStopwatch.push_back(fCounter);
}

double TOrnTimer::Stop() {
    if (fStopwatch.empty()) return -1.0;
    fCounter = TOrnClock::Counter();
    const std::int64_t started = fStopwatch.back();
    fStopwatch.pop_back();
    return static_cast<double>(countsBetween(fCounter, started)) / static_cast<double>(fFrequency);
}

void TOrnTimer::DoIdle(TObject* /*sender*/, bool& done) {
    const std::weak_ptr<char> alive = fAlive;
    fCounter = TOrnClock::Counter();
    done = DoTimer(fCounter) && done;
    // By index, checking that we still live: an OnTimer handler may free or attach timers.
    for (size_t i = 0; !alive.expired() && i < fChildren.size(); ++i)
        fChildren[i]->DoIdle(this, done);
}

bool TOrnTimer::DoTimer(std::int64_t now) {
    if (!fEnabled) return true;
    if (fActiveonly && !TApplication::Instance().Active()) return true;

    const std::int64_t elapsed = countsBetween(now, fLastTick);
    if (elapsed > fIntervalTicks) {
        if (fTicksSinceMeasurement < INT_MAX) ++fTicksSinceMeasurement;
        if (OnTimer) {
            const std::weak_ptr<char> alive = fAlive;
            // A copy: the handler may assign OnTimer while it runs.
            const TonTimer handler = OnTimer;
            handler(this, static_cast<int>(std::min<std::int64_t>(elapsed / fIntervalTicks, INT_MAX)));
            if (alive.expired()) return false;
        }
        // Keeps the phase: missed intervals were reported above, they are not replayed.
        fLastTick = countsBetween(now, elapsed % fIntervalTicks);
    }

    const std::int64_t sinceMeasurement = countsBetween(now, fLastMeasurement);
    if (sinceMeasurement > fMeasurementPeriod) {
        fMeasuredRate = roundToInt(static_cast<double>(fTicksSinceMeasurement) /
                                   static_cast<double>(sinceMeasurement) * static_cast<double>(fFrequency));
        fTicksSinceMeasurement = 0;
        fLastMeasurement = now;
    }
    return false;
}

void TOrnTimer::SetParent(TOrnTimer* p) {
    if (!p) {
        // Only the reference goes; the former root keeps driving this timer, as it always has.
        fParent = nullptr;
        return;
    }
    if (p == this) return;
    TOrnTimer* root = p;
    while (root->fParent && root->fParent != this)
        root = root->fParent;
    Detach();
    if (Holds(root)) return; // root hangs below this timer: attaching would close a cycle
    DelIdle();
    root->fChildren.push_back(this);
    fHolder = root;
    fParent = root;
    root->SetIdle();
}

void TOrnTimer::Detach() {
    if (fHolder) {
        auto& list = fHolder->fChildren;
        list.erase(std::remove(list.begin(), list.end(), this), list.end());
    }
    fHolder = nullptr;
    fParent = nullptr;
}

bool TOrnTimer::Holds(const TOrnTimer* timer) const {
    for (const TOrnTimer* h = timer->fHolder; h; h = h->fHolder)
        if (h == this) return true;
    return false;
}

void TOrnTimer::SetIdle() {
    TApplication& app = TApplication::Instance();
    if (app.OnIdle) return;
    app.OnIdle = IdleHook{this};
    fIdleHooked = true;
}

void TOrnTimer::DelIdle() {
    if (!fIdleHooked) return;
    fIdleHooked = false;
    // Only our own handler goes; one the application has put in its place stays.
    TApplication& app = TApplication::Instance();
    const IdleHook* hook = app.OnIdle.target<IdleHook>();
    if (hook && hook->timer == this) app.OnIdle = nullptr;
}

} // namespace orn
