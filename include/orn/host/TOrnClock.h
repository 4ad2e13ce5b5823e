#pragma once

#include <cstdint>
#include <functional>

namespace orn {

/// The high-resolution counter that timers read: a monotonic count and its rate in counts per
/// second. By default it is the system's steady clock in nanoseconds; tests put a fake in its
/// place with TOrnClockOverride so that they control time exactly.
class TOrnClock {
public:
    using TCounterSource = std::function<std::int64_t()>;

    /// The current count; never decreases while one source is in place.
    static std::int64_t Counter();
    /// Counts per second of Counter (1,000,000,000 for the steady clock); always at least 1.
    static std::int64_t Frequency();

    /// Reads the counter from source, running at frequency counts per second; an empty source
    /// restores the steady clock (frequency is then ignored). Throws EOrnError when a source is
    /// given with a frequency below 1.
    static void SetSource(TCounterSource source, std::int64_t frequency);
};

/// Puts a replacement clock in place for its lifetime and then restores the one before it.
class TOrnClockOverride {
public:
    TOrnClockOverride(TOrnClock::TCounterSource source, std::int64_t frequency);
    ~TOrnClockOverride();
    TOrnClockOverride(const TOrnClockOverride&) = delete;
    TOrnClockOverride& operator=(const TOrnClockOverride&) = delete;

private:
    TOrnClock::TCounterSource fPreviousSource;
    std::int64_t fPreviousFrequency;
};

} // namespace orn
