#include <orn/host/EOrnError.h>
#include <orn/host/TOrnClock.h>

#include <chrono>
#include <string>
#include <utility>

namespace orn {

namespace {

constexpr std::int64_t kSteadyFrequency = 1'000'000'000;

struct ClockState {
    TOrnClock::TCounterSource source; // empty: the steady clock
    std::int64_t frequency = kSteadyFrequency;
};

ClockState& state() {
    static ClockState s;
    return s;
}

std::int64_t steadyNanoseconds() {
    using namespace std::chrono;
    return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

std::int64_t TOrnClock::Counter() {
    const ClockState& s = state();
    return s.source ? s.source() : steadyNanoseconds();
}

std::int64_t TOrnClock::Frequency() {
    return state().frequency;
}

void TOrnClock::SetSource(TCounterSource source, std::int64_t frequency) {
    ClockState& s = state();
    if (!source) {
        s.source = nullptr;
        s.frequency = kSteadyFrequency;
        return;
    }
    if (frequency < 1)
        throw EOrnError("Clock frequency must be at least 1 count per second, not " +
                        std::to_string(frequency));
    s.source = std::move(source);
    s.frequency = frequency;
}

TOrnClockOverride::TOrnClockOverride(TOrnClock::TCounterSource source, std::int64_t frequency)
    : fPreviousSource(state().source), fPreviousFrequency(state().frequency) {
    TOrnClock::SetSource(std::move(source), frequency);
}

TOrnClockOverride::~TOrnClockOverride() {
    ClockState& s = state();
    s.source = std::move(fPreviousSource);
    s.frequency = fPreviousFrequency;
}

} // namespace orn
