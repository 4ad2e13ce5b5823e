#include <orn/host/EOrnError.h>
#include <orn/host/TOrnClock.h>

#include <gtest/gtest.h>

using namespace orn;

TEST(TOrnClock, OverridesNestAndRestoreTheSteadyNanosecondClockAndFrequencyBelowOneIsRefused) {
    EXPECT_EQ(TOrnClock::Frequency(), 1'000'000'000);
    std::int64_t fakeNow = 42;
    {
        TOrnClockOverride outer([&] { return fakeNow; }, 1000);
        EXPECT_EQ(TOrnClock::Counter(), 42);
        {
            TOrnClockOverride inner([] { return std::int64_t{7}; }, 3);
            EXPECT_EQ(TOrnClock::Counter(), 7);
            EXPECT_EQ(TOrnClock::Frequency(), 3);
        }
        fakeNow = 43;
        EXPECT_THROW(TOrnClock::SetSource([] { return std::int64_t{1}; }, 0), EOrnError);
        EXPECT_THROW(TOrnClockOverride([] { return std::int64_t{1}; }, -1), EOrnError);
        EXPECT_EQ(TOrnClock::Counter(), 43);
        EXPECT_EQ(TOrnClock::Frequency(), 1000);
        // An empty source inside an override means the steady clock, until the override ends.
        TOrnClock::SetSource(nullptr, 0);
        EXPECT_EQ(TOrnClock::Frequency(), 1'000'000'000);
    }
    EXPECT_EQ(TOrnClock::Frequency(), 1'000'000'000);
    EXPECT_NE(TOrnClock::Counter(), 43);
}
