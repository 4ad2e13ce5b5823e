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

TEST_F(CalendarTest, SelectedDayIsHighlightedInItsCell) {
    TBitmap bitmap;
    calendar.PaintTo(bitmap);
    // February 2024 starts on Thursday: with Sunday first, the 14th is in week row 3, column 3.
    EXPECT_EQ(calendar.DayRect(14), Rect(90, 60, 120, 80));
    EXPECT_EQ(bitmap.Pixel(91, 61), clNavy);
    EXPECT_EQ(bitmap.Pixel(118, 78), clNavy);
    EXPECT_NE(bitmap.Pixel(89, 61), clNavy); // the 13th
    EXPECT_NE(bitmap.Pixel(91, 81), clNavy); // the 21st
    EXPECT_EQ(calendar.DayRect(1), Rect(120, 20, 150, 40));
    calendar.SetStartOfWeek(1); // Monday first: Thursday is column 3
    EXPECT_EQ(calendar.DayRect(1), Rect(90, 20, 120, 40));
    calendar.PaintTo(bitmap);
    EXPECT_EQ(bitmap.Pixel(61, 61), clNavy); // the 14th, a Wednesday, column 2
}

TEST_F(CalendarTest, ClickSelectsDaysOfTheMonthOnlyAndFiresOnce) {
    int changes = 0;
    calendar.OnChange = [&](TObject*) { ++changes; };
    calendar.MouseDown(mbLeft, {}, 125, 105); // column 4, week row 5: the 29th
    EXPECT_EQ(calendar.Day(), 29);
    EXPECT_EQ(changes, 1);
    calendar.MouseDown(mbLeft, {}, 155, 105); // column 5, week row 5: 1 March, greyed
    calendar.MouseDown(mbLeft, {}, 5, 25);    // 28 January
    calendar.MouseDown(mbLeft, {}, 5, 5);     // the day names
    EXPECT_EQ(calendar.CalendarDate(), (TOrnDate{2024, 2, 29}));
    EXPECT_EQ(changes, 1);
    calendar.SetEnabled(false);
    calendar.MouseDown(mbLeft, {}, 125, 25);
    EXPECT_EQ(calendar.Day(), 29);
}

TEST_F(CalendarTest, MonthsAndYearsKeepTheDayWhereTheyCanWithinTheCalendarsRange) {
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
    };
    for (const auto& c : cases) {
        calendar.SetCalendarDate(c.from);
        c.step(calendar);
        EXPECT_EQ(calendar.CalendarDate(), c.to) << c.from.Year << "-" << c.from.Month << "-" << c.from.Day;
    }
}

TEST_F(CalendarTest, ArrowKeysCrossMonthAndYearBoundaries) {
    calendar.SetCalendarDate({2023, 12, 31});
    const struct {
        std::uint16_t key;
        TOrnDate after;
    } steps[] = {{VK_RIGHT, {2024, 1, 1}}, {VK_LEFT, {2023, 12, 31}}, {VK_DOWN, {2024, 1, 7}},
                 {VK_UP, {2023, 12, 31}},  {VK_NEXT, {2024, 1, 31}},  {VK_NEXT, {2024, 2, 29}},
                 {VK_PRIOR, {2024, 1, 29}}};
    for (const auto& s : steps) {
        std::uint16_t key = s.key;
        EXPECT_TRUE(calendar.KeyDown(key, {}));
        EXPECT_EQ(calendar.CalendarDate(), s.after) << "key " << s.key;
    }
}

} // namespace
} // namespace orn
