#pragma once

#include <orn/host/TControl.h>

#include <string>

namespace orn {

/// A date of the proleptic Gregorian calendar.
struct TOrnDate {
    int Year = 2000;
    int Month = 1;
    int Day = 1;
    constexpr bool operator==(const TOrnDate&) const = default;
};

/// A month as a grid of days under a row of day names, with one day selected. Clicking a day of the
/// month selects it; the days of the months before and after fill the grid greyed and are not
/// selectable. The arrow keys move the selection by a day or a week and Page Up and Page Down by a
/// month, across month and year boundaries.
class TOrnCalendar : public TControl {
    ORN_CLASS(TOrnCalendar)
public:
    static constexpr int kMinYear = 1;
    static constexpr int kMaxYear = 9999;

    /// Starts at today's date (UseCurrentDate is on).
    explicit TOrnCalendar(TComponent* owner);

    static bool IsLeapYear(int year);
    /// 28 … 31; 0 for a month outside 1 … 12.
    static int DaysInMonth(int year, int month);
    /// 0 = Sunday … 6 = Saturday.
    static int DayOfWeek(const TOrnDate& date);
    /// The abbreviated name of a weekday (0 = Sunday) in the system locale's language, English
    /// where the locale gives none.
    static std::string DayName(int weekday);
    /// The local date now.
    static TOrnDate Today();

    int Year() const { return fDate.Year; }
    int Month() const { return fDate.Month; }
    int Day() const { return fDate.Day; }
    /// Each clamped to its range: the year to kMinYear … kMaxYear, the month to 1 … 12, the day to
    /// the days of the month; a day beyond the new month's end becomes its last day.
    void SetYear(int value);
    void SetMonth(int value);
    void SetDay(int value);
    TOrnDate CalendarDate() const { return fDate; }
    void SetCalendarDate(const TOrnDate& value);

    /// The weekday of the first column, 0 = Sunday … 6 = Saturday (other values taken modulo 7).
    int StartOfWeek() const { return fStartOfWeek; }
    void SetStartOfWeek(int value);
    /// Whether today is marked (with a frame); turning it on also selects today.
    bool UseCurrentDate() const { return fUseCurrentDate; }
    void SetUseCurrentDate(bool value);

    /// Move by whole months or years, keeping the day where the month has it (Jan 31 + one month
    /// is the last day of February).
    void NextMonth() { AddMonths(1); }
    void PrevMonth() { AddMonths(-1); }
    void NextYear() { AddMonths(12); }
    void PrevYear() { AddMonths(-12); }
    void AddMonths(int months);
    /// Moves by days, across months and years, within kMinYear … kMaxYear.
    void AddDays(int days);

    /// The cell at column 0 … 6, row 0 … 6 (row 0 holds the day names) in control pixels.
    TRect CellRect(int column, int row) const;
    /// The cell of a day of the shown month; empty for a day outside it.
    TRect DayRect(int day) const;
    /// The day of the shown month whose cell holds (x, y); 0 for the day names, other months'
    /// days and outside the grid.
    int DayAt(int x, int y) const;

    void Paint(TCanvas& canvas) override;

protected:
    bool DoMouseDown(TMouseButton button, TShiftState shift, int x, int y) override;
    bool DoKeyDown(std::uint16_t& key, TShiftState shift) override;

private:
    /// The column of the month's first day.
    int FirstColumn() const;

    TOrnDate fDate;
    int fStartOfWeek = 0;
    bool fUseCurrentDate = true;
};

} // namespace orn
