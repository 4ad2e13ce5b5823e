#include <orn/samples/TOrnCalendar.h>

#include <orn/host/TComponentClass.h>

#include "host/detail/ControlPaint.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <langinfo.h>
#include <locale.h>

namespace orn {

ORN_REGISTER_COMPONENT(TOrnCalendar, "Samples")

namespace {

using namespace std::chrono;

sys_days ToDays(const TOrnDate& d) {
    return sys_days{year{d.Year} / month{static_cast<unsigned>(d.Month)} / day{static_cast<unsigned>(d.Day)}};
}

TOrnDate FromDays(sys_days days) {
    const year_month_day ymd{days};
    return {static_cast<int>(ymd.year()), static_cast<int>(static_cast<unsigned>(ymd.month())),
            static_cast<int>(static_cast<unsigned>(ymd.day()))};
}

TOrnDate Clamped(TOrnDate d) {
    d.Year = std::clamp(d.Year, TOrnCalendar::kMinYear, TOrnCalendar::kMaxYear);
    d.Month = std::clamp(d.Month, 1, 12);
    d.Day = std::clamp(d.Day, 1, TOrnCalendar::DaysInMonth(d.Year, d.Month));
    return d;
}

} // namespace

TOrnCalendar::TOrnCalendar(TComponent* owner) : TControl(owner), fDate(Today()) {
    SetBounds(0, 0, 210, 140);
    SetTabStop(true);
    SetColor(clWhite);
}

bool TOrnCalendar::IsLeapYear(int y) {
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

int TOrnCalendar::DaysInMonth(int y, int m) {
    static constexpr int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (m < 1 || m > 12) return 0;
    return kDays[m - 1] + (m == 2 && IsLeapYear(y) ? 1 : 0);
}

int TOrnCalendar::DayOfWeek(const TOrnDate& date) {
    return static_cast<int>(weekday{ToDays(Clamped(date))}.c_encoding());
}

std::string TOrnCalendar::DayName(int wd) {
    static constexpr const char* kEnglish[7] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    wd = ((wd % 7) + 7) % 7;
    std::string name = kEnglish[wd];
    // A locale object of our own: the process's global locale is not ours to change.
    if (locale_t loc = newlocale(LC_TIME_MASK, "", static_cast<locale_t>(0))) {
        const char* localName = nl_langinfo_l(static_cast<nl_item>(ABDAY_1 + wd), loc);
        if (localName && *localName) name = localName;
        freelocale(loc);
    }
    return name;
}

TOrnDate TOrnCalendar::Today() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return Clamped({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday});
}

void TOrnCalendar::SetCalendarDate(const TOrnDate& value) {
    if (assignIfChanged(fDate, Clamped(value))) Changed();
}

void TOrnCalendar::SetYear(int value) {
    SetCalendarDate({std::clamp(value, kMinYear, kMaxYear), fDate.Month, fDate.Day});
}

void TOrnCalendar::SetMonth(int value) {
    SetCalendarDate({fDate.Year, value, fDate.Day});
}

void TOrnCalendar::SetDay(int value) {
    SetCalendarDate({fDate.Year, fDate.Month, value});
}

void TOrnCalendar::SetStartOfWeek(int value) {
    if (assignIfChanged(fStartOfWeek, ((value % 7) + 7) % 7)) Invalidate();
}

void TOrnCalendar::SetUseCurrentDate(bool value) {
    if (!assignIfChanged(fUseCurrentDate, value)) return;
    Invalidate();
    if (value) SetCalendarDate(Today());
}

void TOrnCalendar::AddMonths(int months) {
    const long long index = (fDate.Year * 12LL + fDate.Month - 1) + months;
    const long long lowest = kMinYear * 12LL, highest = kMaxYear * 12LL + 11;
    const long long clamped = std::clamp(index, lowest, highest);
    SetCalendarDate({static_cast<int>(clamped / 12), static_cast<int>(clamped % 12) + 1, fDate.Day});
}

void TOrnCalendar::AddDays(int days) {
    const long long first = ToDays({kMinYear, 1, 1}).time_since_epoch().count();
    const long long last = ToDays({kMaxYear, 12, 31}).time_since_epoch().count();
    const long long target =
        std::clamp<long long>(ToDays(fDate).time_since_epoch().count() + days, first, last);
    SetCalendarDate(FromDays(sys_days{std::chrono::days{target}}));
}

int TOrnCalendar::FirstColumn() const {
    return (DayOfWeek({fDate.Year, fDate.Month, 1}) - fStartOfWeek + 7) % 7;
}

TRect TOrnCalendar::CellRect(int column, int row) const {
    auto edge = [](int i, int size) { return static_cast<int>(static_cast<long long>(i) * size / 7); };
    return Rect(edge(column, Width()), edge(row, Height()), edge(column + 1, Width()),
                edge(row + 1, Height()));
}

TRect TOrnCalendar::DayRect(int d) const {
    if (d < 1 || d > DaysInMonth(fDate.Year, fDate.Month)) return TRect{};
    const int cell = FirstColumn() + d - 1;
    return CellRect(cell % 7, cell / 7 + 1);
}

int TOrnCalendar::DayAt(int x, int y) const {
    for (int d = 1; d <= DaysInMonth(fDate.Year, fDate.Month); ++d) {
        const TRect r = DayRect(d);
        if (x >= r.Left && x < r.Right && y >= r.Top && y < r.Bottom) return d;
    }
    return 0;
}

void TOrnCalendar::Paint(TCanvas& canvas) {
    const TColor text = Enabled() ? clBlack : clGray;
    detail::FillSolid(canvas, Rect(0, 0, Width(), Height()), Color());
    for (int c = 0; c < 7; ++c) {
        const TRect r = CellRect(c, 0);
        detail::FillSolid(canvas, r, clSilver);
        detail::TextCentered(canvas, Font(), r, DayName(fStartOfWeek + c), text);
    }
    const int first = FirstColumn(), days = DaysInMonth(fDate.Year, fDate.Month);
    const TOrnDate prev =
        fDate.Month == 1 ? TOrnDate{fDate.Year - 1, 12, 1} : TOrnDate{fDate.Year, fDate.Month - 1, 1};
    const int prevDays = DaysInMonth(prev.Year, prev.Month);
    const TOrnDate today = Today();
    for (int cell = 0; cell < 42; ++cell) {
        const TRect r = CellRect(cell % 7, cell / 7 + 1);
        const int d = cell - first + 1;
        if (d < 1 || d > days) { // a day of the month before or after
            const int shown = d < 1 ? prevDays + d : d - days;
            detail::TextCentered(canvas, Font(), r, std::to_string(shown), clGray);
            continue;
        }
        TColor ink = text;
        if (d == fDate.Day) {
            detail::FillSolid(canvas, r, clNavy);
            ink = clWhite;
        }
        if (fUseCurrentDate && today == TOrnDate{fDate.Year, fDate.Month, d}) detail::Frame(canvas, r, clRed);
        detail::TextCentered(canvas, Font(), r, std::to_string(d), ink);
    }
}

bool TOrnCalendar::DoMouseDown(TMouseButton button, TShiftState, int x, int y) {
    const int d = DayAt(x, y);
    if (button == mbLeft && d > 0) SetDay(d);
    return true;
}

bool TOrnCalendar::DoKeyDown(std::uint16_t& key, TShiftState) {
    switch (key) {
    case VK_LEFT:
        AddDays(-1);
        break;
    case VK_RIGHT:
        AddDays(1);
        break;
    case VK_UP:
        AddDays(-7);
        break;
    case VK_DOWN:
        AddDays(7);
        break;
    case VK_PRIOR:
        PrevMonth();
        break;
    case VK_NEXT:
        NextMonth();
        break;
    default:
        return false;
    }
    key = 0;
    return true;
}

} // namespace orn
