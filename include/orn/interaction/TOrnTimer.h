#pragma once

#include <orn/host/TComponent.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace orn {

/// OnTimer event: sender is the timer, intervals the number of whole intervals that have passed
/// since the previous tick (more than 1 after a stall; they are reported, not replayed).
using TonTimer = std::function<void(TObject* sender, int intervals)>;

/// A high-resolution timer for animation. It polls TOrnClock from the application's idle handler
/// and fires OnTimer whenever its interval has elapsed; while it is enabled it keeps the idle loop
/// polling instead of waiting for events.
///
/// Timers form trees: only a root timer owns the application's idle hook, and it drives every
/// timer below it. The first timer created while the application has no idle handler takes the
/// hook; attaching it under another timer hands the hook to that timer's root.
class TOrnTimer : public TComponent {
    ORN_CLASS(TOrnTimer)
public:
    explicit TOrnTimer(TComponent* owner);
    ~TOrnTimer() override;

    bool Enabled() const { return fEnabled; }
    void SetEnabled(bool value) { fEnabled = value; }

    /// Tick only while TApplication::Instance().Active().
    bool Activeonly() const { return fActiveonly; }
    void SetActiveonly(bool value) { fActiveonly = value; }

    /// The interval in milliseconds. SetIntervall accepts 1 … 3,600,000 and ignores anything else;
    /// it sets Rate to round(1000 / ms).
    int Intervall() const { return fIntervall; }
    void SetIntervall(int ms);

    /// Intervals per second. SetRate accepts 1 … 10,000 and ignores anything else; it sets
    /// Intervall to round(1000 / rate).
    int Rate() const { return fRate; }
    void SetRate(int rate);

    /// Ticks per second actually achieved, measured about once a second; 0 until the first
    /// measurement.
    int MeasuredRate() const { return fMeasuredRate; }
    /// Clock counts per second, taken from TOrnClock when the timer was made.
    std::int64_t Frequency() const { return fFrequency; }
    /// Clock counts per interval (at least 1).
    std::int64_t IntervalTicks() const { return fIntervalTicks; }

    TonTimer OnTimer;

    /// The timer this one hangs under: always the root of the chain it was attached to.
    TOrnTimer* Parent() const { return fParent; }
    /// Attaches this timer under the root of p's chain, which then drives it and owns the idle
    /// hook. nullptr only clears Parent (the former root keeps driving the timer); p = this does
    /// nothing; a p below this timer would close a cycle, so this timer is only detached from its
    /// parent.
    void SetParent(TOrnTimer* p);
    /// The timers this one drives, in the order they were attached.
    const std::vector<TOrnTimer*>& Children() const { return fChildren; }

    /// Restarts the interval now: the next tick comes one full interval later.
    void Reset();

    /// Stopwatch: Start pushes the current time, Stop pops the latest Start and returns the seconds
    /// since then, or -1.0 when nothing is started. Starts and stops nest.
    void Start();
    double Stop();
    bool IsStarted() const { return !fStopwatch.empty(); }
    bool GetIsStarted() const { return IsStarted(); }

    /// The idle handler: ticks this timer and then every timer below it, in order. done is left
    /// true only when none of them is running.
    void DoIdle(TObject* sender, bool& done);
    /// Fires OnTimer when more than an interval has passed at clock count now, and measures the
    /// rate. Returns true when the timer is idle (disabled, or Activeonly while the application is
    /// inactive), false while it runs.
    bool DoTimer(std::int64_t now);

    /// Whether this timer installed the application's idle handler.
    bool OwnsIdleHook() const { return fIdleHooked; }

protected:
    /// Installs DoIdle as the application's idle handler when it has none.
    void SetIdle();
    /// Removes the application's idle handler if this timer installed it.
    void DelIdle();

private:
    struct IdleHook;

    void Detach();
    bool Holds(const TOrnTimer* timer) const;

    bool fEnabled = true;
    bool fActiveonly = false;
    int fMeasuredRate = 0;
    std::int64_t fCounter = 0;
    std::int64_t fLastTick = 0;
    std::int64_t fFrequency = 1;
    std::int64_t fLastMeasurement = 0;
    std::int64_t fMeasurementPeriod = 1;
    std::int64_t fIntervalTicks = 1;
    int fTicksSinceMeasurement = 0;
    int fIntervall = 0;
    int fRate = 0;
    std::vector<std::int64_t> fStopwatch;
    TOrnTimer* fParent = nullptr;
    // The timer whose child list holds this one. It differs from fParent only after
    // SetParent(nullptr), which keeps the timer in its former root's list on purpose.
    TOrnTimer* fHolder = nullptr;
    bool fIdleHooked = false;
    std::vector<TOrnTimer*> fChildren;
    // Expires with the timer, so an idle pass notices when an OnTimer handler freed it.
    std::shared_ptr<char> fAlive = std::make_shared<char>();
};

} // namespace orn
