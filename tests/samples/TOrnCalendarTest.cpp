#include <orn/samples/TOrnCalendar.h>

#include <gtest/gtest.h>

#include <functional>
#include <tuple>

namespace orn {
namespace {

class CalendarTest : public ::testing::Test {
protected:
    void SetUp() override {
        calendar.SetUseCurrentDate(false);
        calendar.SetBounds(0, 0, 210, 140); // cells of 30 × 20
        calendar.SetCalendarDate({2024, 2, 14});
    }
    TOrnCalendar calendar{nullptr};
};

TEST_F(CalendarTest, LeapYearsMonthLengthsAndWeekdays) {
    // year, month, its days, whether the year is a leap year
    const std::tuple<int, int, int, bool> lengths[] = {{1900, 2, 28, false},
                                                       {2000, 2, 29, true},
                                                       {2023, 2, 28, false},
                                                       {2024, 4, 30, true},
                                                       {2024, 13, 0, true}};
    for (auto [year, month, days, leap] : lengths) {
        EXPECT_EQ(TOrnCalendar::DaysInMonth(year, month), days) << year << "-" << month;
        EXPECT_EQ(TOrnCalendar::IsLeapYear(year), leap) << year;
    }
    EXPECT_EQ(TOrnCalendar::DayOfWeek({2024, 2, 1}), 4); // Thursday
    EXPECT_EQ(TOrnCalendar::DayOfWeek({2000, 1, 1}), 6); // Saturday
}

TEST_F(CalendarTest, TheSelectedDayIsHighlightedInItsCellAndClicksChooseDaysOfTheMonthOnly) {
    TBitmap bitmap;
    calendar.PaintTo(bitmap);
    // February 2024 starts on Thursday: with Sunday first, the 14th is in week row 3, column 3.
    EXPECT_EQ(std::pair(calendar.DayRect(14), calendar.DayRect(1)),
              std::pair(Rect(90, 60, 120, 80), Rect(120, 20, 150, 40)));
    EXPECT_EQ(bitmap.Pixel(91, 61), clNavy);
    EXPECT_EQ(bitmap.Pixel(118, 78), clNavy);
    EXPECT_NE(bitmap.Pixel(89, 61), clNavy); // the 13th
    EXPECT_NE(bitmap.Pixel(91, 81), clNavy); // the 21st
    calendar.SetStartOfWeek(1);              // Monday first: Thursday is column 3
    EXPECT_EQ(calendar.DayRect(1), Rect(90, 20, 120, 40));
    calendar.PaintTo(bitmap);
    EXPECT_EQ(bitmap.Pixel(61, 61), clNavy); // the 14th, a Wednesday, column 2

    int changes = 0;
    calendar.OnChange = [&](TObject*) { ++changes; };
    calendar.MouseDown(mbRight, {}, 35, 45); // the right button chooses nothing
    calendar.MouseDown(mbLeft, {}, 90, 100); // the corner of column 3, week row 5: the 29th
    EXPECT_EQ(std::pair(calendar.Day(), changes), std::pair(29, 1));
    calendar.MouseDown(mbLeft, {}, 125, 105); // 1 March, greyed
    calendar.MouseDown(mbLeft, {}, 5, 25);    // 29 January
    calendar.MouseDown(mbLeft, {}, 5, 5);     // the day names
    calendar.SetEnabled(false);
    calendar.MouseDown(mbLeft, {}, 125, 25);
    EXPECT_EQ(std::pair(calendar.CalendarDate(), changes), std::pair(TOrnDate{2024, 2, 29}, 1));
}

TEST_F(CalendarTest, MonthsYearsAndArrowKeysKeepTheDayWhereTheyCanWithinTheCalendarsRange) {
    const auto key = [](std::uint16_t k) {
        return [k](TOrnCalendar& c) {
            std::uint16_t pressed = k;
            EXPECT_TRUE(c.KeyDown(pressed, {}));
        };
    };
    const struct {
        TOrnDate from;
        std::function<void(TOrnCalendar&)> step;
        TOrnDate to;
    } cases[] = {
        {{2024, 1, 31}, [](TOrnCalendar& c) { c.NextMonth(); }, {2024, 2, 29}},
        {{2023, 1, 31}, [](TOrnCalendar& c) { c.NextMonth(); }, {2023, 2, 28}},
        {{2024, 2, 29}, [](TOrnCalendar& c) { c.NextYear(); }, {2025, 2, 28}},
        {{2024, 1, 15}, [](TOrnCalendar& c) { c.PrevMonth(); }, {2023, 12, 15}},
        {{9999, 12, 31}, [](TOrnCalendar& c) { c.NextYear(), c.AddDays(1000); }, {9999, 12, 31}},
        {{-5, 14, 40}, [](TOrnCalendar&) {}, {1, 12, 31}},
        {{2023, 12, 31}, key(VK_RIGHT), {2024, 1, 1}},
        {{2024, 1, 1}, key(VK_LEFT), {2023, 12, 31}},
        {{2023, 12, 31}, key(VK_DOWN), {2024, 1, 7}},
        {{2024, 1, 7}, key(VK_UP), {2023, 12, 31}},
        {{2023, 12, 31}, key(VK_NEXT), {2024, 1, 31}},
        {{2024, 1, 31}, key(VK_NEXT), {2024, 2, 29}},
        {{2024, 2, 29}, key(VK_PRIOR), {2024, 1, 29}},
    };
    for (const auto& c : cases) {
        calendar.SetCalendarDate(c.from);
        c.step(calendar);
        EXPECT_EQ(calendar.CalendarDate(), c.to) << c.from.Year << "-" << c.from.Month << "-" << c.from.Day;
    }
}

} // namespace
} // namespace orn
