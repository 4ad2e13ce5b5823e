// The sample controls: what each paints and how keys and clicks change it; and every one painted at any
// size with extreme properties, which must not crash, hang or touch memory it does not own (ORN_SANITIZE).
#include <orn/diag/TOrnAboutBox.h>
#include <orn/samples/TOrnCalendar.h>
#include <orn/samples/TOrnColorGrid.h>
#include <orn/samples/TOrnGauge.h>
#include <orn/samples/TOrnPerformanceGraph.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <numbers>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace orn {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

std::vector<std::unique_ptr<TControl>> ExtremeControls() {
    std::vector<std::unique_ptr<TControl>> out;
    for (int kind = gkText; kind <= gkNeedle + 1; ++kind) {
        auto g = std::make_unique<TOrnGauge>(nullptr);
        g->Font().SetHeight(TFont::kMaxHeight);
        g->SetKind(kind > gkNeedle ? gkPie : static_cast<TOrnGaugeKind>(kind));
        g->SetMinValue(kind > gkNeedle ? 10 : LLONG_MIN);
        g->SetMaxValue(kind > gkNeedle ? -10 : LLONG_MAX);
        g->SetProgress(LLONG_MAX - 1);
        if (kind > gkNeedle) {
            g->AddProgress(LLONG_MIN);
            g->SetKind(static_cast<TOrnGaugeKind>(99));
        }
        out.push_back(std::move(g));
    }
    for (int ordering : {int(go1x16), -1}) {
        auto g = std::make_unique<TOrnColorGrid>(nullptr);
        g->SetGridOrdering(static_cast<TOrnGridOrdering>(ordering));
        g->SetForegroundIndex(INT_MAX);
        g->SetBackgroundIndex(INT_MIN);
        g->Font().SetHeight(-TFont::kMaxHeight);
        out.push_back(std::move(g));
    }
    for (int extreme : {INT_MIN, INT_MAX}) {
        auto c = std::make_unique<TOrnCalendar>(nullptr);
        c->SetCalendarDate({extreme, extreme, extreme});
        c->SetStartOfWeek(extreme);
        c->AddMonths(extreme);
        c->AddDays(extreme);
        c->Font().SetHeight(TFont::kMaxHeight);
        out.push_back(std::move(c));
    }
    for (int extreme : {INT_MIN, INT_MAX}) {
        auto g = std::make_unique<TOrnPerformanceGraph>(nullptr);
        g->SetStepSize(extreme);
        g->SetGridSize(extreme);
        g->SetAutoScale(extreme > 0);
        g->SetScale(extreme > 0 ? std::numeric_limits<double>::quiet_NaN() : -kInf);
        int series = 0;
        for (double v : {std::numeric_limits<double>::max(), -1e308, 0.0, 1e-300, kInf}) {
            g->DataPoint(static_cast<TColor>(++series), v);
            g->Update();
        }
        out.push_back(std::move(g));
    }
    out.push_back(std::make_unique<TOrnAboutBox>(nullptr));
    out.back()->Font().SetHeight(TFont::kMaxHeight);
    return out;
}

TEST(SamplesSweep, PaintingAnySizeWithExtremePropertiesIsSafe) {
    TBitmap bitmap;
    for (const TSize size : {TSize{0, 0}, {1, 1}, {7, 1}, {1, 4096}, {301, 37}, {4096, 4096}}) {
        const bool huge = size.cx * size.cy > 1 << 20;
        std::string previousClass;
        for (const auto& control : ExtremeControls()) {
            // The largest size costs most: once per class is enough.
            const bool repeated = std::exchange(previousClass, control->ClassName()) == control->ClassName();
            if (huge && repeated) continue;
            SCOPED_TRACE(previousClass + " " + std::to_string(size.cx) + " x " + std::to_string(size.cy));
            control->SetBounds(-5, INT_MAX, size.cx, size.cy);
            control->PaintTo(bitmap);
            EXPECT_EQ(bitmap.Width(), size.cx);
            std::uint16_t key = VK_DOWN;
            control->KeyDown(key, {ssCtrl});
            control->MouseDown(mbLeft, {}, size.cx - 1, size.cy - 1);
            control->MouseDown(mbRight, {}, INT_MIN, INT_MAX);
            control->PaintTo(bitmap);
        }
    }
}

TEST(TOrnCalendar, MovesKeepTheDayInRangeTheSelectedDayIsHighlightedAndClicksChooseDaysOfTheMonth) {
    for (auto [year, month, days] :
         {std::tuple{1900, 2, 28}, {2000, 2, 29}, {2023, 2, 28}, {2024, 4, 30}, {2024, 13, 0}})
        EXPECT_EQ(TOrnCalendar::DaysInMonth(year, month), days) << year << "-" << month;
    EXPECT_EQ((std::vector{TOrnCalendar::IsLeapYear(1900), TOrnCalendar::IsLeapYear(2000),
                           TOrnCalendar::IsLeapYear(2023), TOrnCalendar::IsLeapYear(2024)}),
              (std::vector{false, true, false, true}));
    EXPECT_EQ(std::pair(TOrnCalendar::DayOfWeek({2024, 2, 1}), TOrnCalendar::DayOfWeek({2000, 1, 1})),
              std::pair(4, 6)); // Thursday, Saturday
    TOrnCalendar calendar(nullptr);
    calendar.SetUseCurrentDate(false);
    // Each case runs once, so the key the control may clear is the lambda's own copy.
    const auto key = [](std::uint16_t k) {
        return [k](TOrnCalendar& c) mutable { EXPECT_TRUE(c.KeyDown(k, {})); };
    };
    const std::tuple<TOrnDate, std::function<void(TOrnCalendar&)>, TOrnDate> cases[] = {
        {{2024, 1, 31}, [](TOrnCalendar& c) { c.NextMonth(); }, {2024, 2, 29}},
        {{2023, 1, 31}, [](TOrnCalendar& c) { c.NextMonth(); }, {2023, 2, 28}},
        {{2024, 2, 29}, [](TOrnCalendar& c) { c.NextYear(); }, {2025, 2, 28}},
        {{2024, 1, 15}, [](TOrnCalendar& c) { c.PrevMonth(); }, {2023, 12, 15}},
        {{9999, 12, 31}, [](TOrnCalendar& c) { c.NextYear(), c.AddDays(1000); }, {9999, 12, 31}},
        {{-5, 14, 40}, [](TOrnCalendar&) {}, {1, 12, 31}},
        {{2024, 3, 31}, [](TOrnCalendar& c) { c.SetYear(10000), c.SetMonth(0); }, {9999, 1, 31}},
        {{2023, 12, 31}, key(VK_RIGHT), {2024, 1, 1}},
        {{2024, 1, 1}, key(VK_LEFT), {2023, 12, 31}},
        {{2023, 12, 31}, key(VK_DOWN), {2024, 1, 7}},
        {{2024, 1, 7}, key(VK_UP), {2023, 12, 31}},
        {{2023, 12, 31}, key(VK_NEXT), {2024, 1, 31}},
        {{2024, 1, 31}, key(VK_NEXT), {2024, 2, 29}},
        {{2024, 2, 29}, key(VK_PRIOR), {2024, 1, 29}},
    };
    for (const auto& [from, step, to] : cases) {
        calendar.SetCalendarDate(from);
        step(calendar);
        EXPECT_EQ(calendar.CalendarDate(), to) << from.Year << "-" << from.Month << "-" << from.Day;
    }
    calendar.SetBounds(0, 0, 210, 140); // cells of 30 × 20
    calendar.SetCalendarDate({2024, 2, 14});
    TBitmap bitmap;
    calendar.PaintTo(bitmap);
    // February 2024 starts on Thursday: with Sunday first, the 14th is in week row 3, column 3.
    EXPECT_EQ(std::pair(calendar.DayRect(14), calendar.DayRect(1)),
              std::pair(Rect(90, 60, 120, 80), Rect(120, 20, 150, 40)));
    // The 14th at two corners, then the 13th and the 21st beside it.
    EXPECT_EQ((std::vector{bitmap.Pixel(91, 61) == clNavy, bitmap.Pixel(118, 78) == clNavy,
                           bitmap.Pixel(89, 61) == clNavy, bitmap.Pixel(91, 81) == clNavy}),
              (std::vector{true, true, false, false}));
    calendar.SetStartOfWeek(-6); // Monday first: Thursday is column 3
    EXPECT_EQ(std::pair(calendar.StartOfWeek(), calendar.DayRect(1)), std::pair(1, Rect(90, 20, 120, 40)));
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

TEST(TOrnColorGrid, EveryCellHasItsColourTheChosenAreMarkedAndArrowsAndClicksChooseWithinTheGrid) {
    TOrnColorGrid grid(nullptr);
    grid.SetBounds(0, 0, 163, 161); // sizes that do not divide evenly
    TBitmap bitmap;
    for (auto [ordering, columns] :
         {std::pair{go16x1, 16}, {go8x2, 8}, {go4x4, 4}, {go2x8, 2}, {go1x16, 1}}) {
        grid.SetGridOrdering(ordering);
        EXPECT_EQ(grid.Columns(), columns);
        grid.PaintTo(bitmap);
        for (int i = 0; i < 16; ++i) {
            const TRect r = grid.CellRect(i);
            EXPECT_EQ(r.Left, (i % columns) * 163 / columns);
            EXPECT_EQ(bitmap.Pixel(r.Left + 2, r.Top + 2), TOrnColorGrid::StandardColors()[i]) << i;
            EXPECT_EQ(grid.CellAt(r.Right - 1, r.Bottom - 1), i);
        }
    }
    EXPECT_EQ(grid.CellAt(163, 0), -1);
    grid.SetBounds(0, 0, 160, 160);
    grid.SetGridOrdering(go4x4);
    grid.Font().SetHeight(-14);
    grid.SetForegroundIndex(5);
    grid.SetBackgroundIndex(10);
    // Marks are white on dark cells (purple, 5) and black on light ones (lime, 10).
    const auto marked = [&](int index, TColor ink) {
        grid.PaintTo(bitmap);
        const TRect r = grid.CellRect(index);
        int inked = 0;
        for (int y = r.Top + 1; y < r.Bottom - 1; ++y)
            for (int x = r.Left + 1; x < r.Right - 1; ++x)
                inked += bitmap.Pixel(x, y) == ink;
        return inked;
    };
    EXPECT_GT(marked(5, clWhite), 5);
    EXPECT_GT(marked(10, clBlack), 5);
    EXPECT_EQ(marked(6, clWhite), 0);
    grid.SetBackgroundEnabled(false);
    EXPECT_EQ(marked(10, clBlack), 0);
    TOrnColorGrid keyed(nullptr); // 4 × 4, foreground 0, background 15
    // key, shift, then the foreground and background indexes
    const std::tuple<std::uint16_t, TShiftState, int, int> steps[] = {
        {VK_LEFT, {}, 0, 15},      {VK_RIGHT, {}, 1, 15},      {VK_DOWN, {}, 5, 15},
        {VK_UP, {}, 1, 15},        {VK_UP, {}, 1, 15},         {VK_RIGHT, {ssCtrl}, 1, 15},
        {VK_UP, {ssCtrl}, 1, 11},  {VK_LEFT, {ssCtrl}, 1, 10}, {VK_RIGHT, {}, 2, 10},
        {VK_RIGHT, {}, 3, 10},     {VK_RIGHT, {}, 3, 10},      {VK_DOWN, {ssCtrl}, 3, 14},
        {VK_DOWN, {ssCtrl}, 3, 14}}; // the right and bottom edges stop
    for (auto [key, shift, foreground, background] : steps) {
        keyed.KeyDown(key, shift);
        EXPECT_EQ(std::pair(keyed.ForegroundIndex(), keyed.BackgroundIndex()),
                  std::pair(foreground, background))
            << key << " " << foreground;
    }
    std::uint16_t key = 'X';
    EXPECT_FALSE(keyed.KeyDown(key, {}));
    keyed.SetBounds(0, 0, 160, 160); // cells of 40 pixels
    int changes = 0;
    keyed.OnChange = [&](TObject*) { ++changes; };
    // Foreground, background, changes told.
    const auto state = [&] { return std::tuple(keyed.ForegroundIndex(), keyed.BackgroundIndex(), changes); };
    keyed.MouseDown(mbLeft, {}, 90, 50); // cell 6
    EXPECT_EQ(keyed.ForegroundColor(), clTeal);
    keyed.MouseDown(mbLeft, {}, 90, 50); // the same cell again
    EXPECT_EQ(state(), std::tuple(6, 14, 1));
    keyed.MouseDown(mbRight, {}, 10, 130); // cell 12
    EXPECT_EQ(state(), std::tuple(6, 12, 2));
    keyed.SetForegroundEnabled(false);
    keyed.MouseDown(mbLeft, {}, 10, 10);
    keyed.SetBackgroundEnabled(false);
    keyed.MouseDown(mbRight, {}, 10, 10);
    EXPECT_EQ(state(), std::tuple(6, 12, 2));
    keyed.SetBackgroundIndex(99);
    EXPECT_EQ(keyed.BackgroundIndex(), 15);
}

TEST(TOrnGauge, TextIsInvertedOverBarsAndPiesCoverTheirShareAndProgressNeverDividesByZero) {
    TOrnGauge gauge(nullptr);
    TBitmap bitmap;
    gauge.SetForeColor(clRed);
    gauge.SetBackColor(clWhite);
    gauge.SetBounds(0, 0, 100, 30);
    gauge.SetShowText(true);
    gauge.Font().SetHeight(-20);
    gauge.SetProgress(50); // "50%" straddles the bar's edge at x = 50
    gauge.PaintTo(bitmap);
    int redOnLeft = 0, whiteOnRight = 0;
    for (int y = 1; y < 29; ++y)
        for (int x = 1; x < 99; ++x) {
            redOnLeft += x < 50 && bitmap.Pixel(x, y) != clRed;
            whiteOnRight += x >= 50 && bitmap.Pixel(x, y) != clWhite;
            // Red and white mix to full red everywhere: no third colour, no dark text.
            ASSERT_EQ(GetRValue(bitmap.Pixel(x, y)), 255) << x << "," << y;
        }
    EXPECT_GT(redOnLeft, 10);    // white text over the red bar
    EXPECT_GT(whiteOnRight, 10); // red text over the white rest
    // Bars and pies cover their share from the left, the bottom or twelve o'clock.
    gauge.SetShowText(false);
    gauge.SetBounds(0, 0, 203, 20); // 201 pixels inside the border
    for (auto [progress, pixels] : {std::pair{0, 0}, {1, 2}, {29, 58}, {50, 100}, {99, 199}, {100, 201}}) {
        gauge.SetProgress(progress);
        gauge.PaintTo(bitmap);
        int red = 0;
        for (int x = 0; x < bitmap.Width(); ++x)
            red += bitmap.Pixel(x, 10) == clRed;
        EXPECT_NEAR(red, pixels, 1) << "progress " << progress;
    }
    gauge.SetKind(gkVerticalBar);
    gauge.SetBorderStyle(false);
    gauge.SetBounds(0, 0, 10, 80);
    gauge.SetProgress(25);
    gauge.PaintTo(bitmap);
    EXPECT_EQ(
        (std::vector{bitmap.Pixel(5, 0), bitmap.Pixel(5, 59), bitmap.Pixel(5, 60), bitmap.Pixel(5, 79)}),
        (std::vector<TColor>{clWhite, clWhite, clRed, clRed}));
    // A pie fills clockwise from twelve o'clock.
    gauge.SetKind(gkPie);
    gauge.SetBounds(0, 0, 201, 201);
    for (int p : {10, 37, 50, 80}) {
        gauge.SetProgress(p);
        gauge.PaintTo(bitmap);
        auto at = [&](double degrees) {
            const double a = degrees * std::numbers::pi / 180;
            return bitmap.Pixel(100 + static_cast<int>(std::lround(70 * std::sin(a))),
                                100 - static_cast<int>(std::lround(70 * std::cos(a))));
        };
        EXPECT_EQ((std::vector{at(3.6 * p - 4), at(3.6 * p + 4), at(2), at(358)}),
                  (std::vector<TColor>{clRed, clWhite, clRed, clWhite}))
            << p;
    }
    // A needle from the middle of the bottom: left at nothing, straight up at half.
    gauge.SetKind(gkNeedle);
    gauge.SetBounds(0, 0, 201, 101);
    for (auto [p, left, up] : {std::tuple{0, clRed, clWhite}, {50, clWhite, clRed}}) {
        gauge.SetProgress(p);
        gauge.PaintTo(bitmap);
        EXPECT_EQ(std::pair(bitmap.Pixel(50, 100), bitmap.Pixel(100, 50)), std::pair(left, up)) << p;
    }
    // Progress notifies only when it moves; contradictory ranges never divide by zero.
    int changes = 0;
    gauge.OnChange = [&](TObject*) { ++changes; };
    gauge.SetProgress(40);
    gauge.SetProgress(40);
    gauge.AddProgress(1000); // clamped to 100
    gauge.AddProgress(1);
    gauge.SetForeColor(clBlue);
    gauge.SetMaxValue(200); // the range alone is no progress
    EXPECT_EQ(std::pair(gauge.Progress(), changes), std::pair(100LL, 2));
    gauge.SetMinValue(50);
    gauge.SetMaxValue(50);
    EXPECT_EQ(std::pair(gauge.Progress(), gauge.PercentDone()), std::pair(50LL, 100));
    gauge.SetMinValue(80); // above the maximum
    gauge.SetProgress(10);
    EXPECT_EQ(gauge.Progress(), 50);
    gauge.SetMinValue(LLONG_MIN);
    gauge.SetMaxValue(LLONG_MAX);
    gauge.SetProgress(0);
    EXPECT_EQ(gauge.PercentDone(), 50); // 2^63 of 2^64 − 1
    gauge.AddProgress(LLONG_MAX);
    gauge.AddProgress(LLONG_MAX);
    EXPECT_EQ(std::pair(gauge.Progress(), gauge.PercentDone()), std::pair(LLONG_MAX, 100));
}

TEST(TOrnPerformanceGraph, NewestValueAtTheRightScrollingLeftWithTheGridAndAutoScaleFitsWhatIsShown) {
    TOrnPerformanceGraph graph(nullptr);
    TBitmap bitmap;
    graph.SetBounds(0, 0, 41, 21);
    graph.SetAutoScale(false);
    graph.SetScale(20);
    graph.SetGridSize(10);
    const auto rowOf = [&](int x, TColor color) {
        graph.PaintTo(bitmap);
        for (int y = 0; y < bitmap.Height(); ++y)
            if (bitmap.Pixel(x, y) == color) return y;
        return -1;
    };
    graph.DataPoint(clRed, 5);
    graph.Update();
    graph.DataPoint(clLime, 15); // a new series starts flat at its first value
    graph.Update();              // red repeats 5
    graph.DataPoint(clRed, 10);
    graph.Update();
    EXPECT_EQ(graph.SeriesCount(), 2);
    // 10 of 20 at half height, steps of 4 pixels back, nothing before the first step.
    EXPECT_EQ((std::vector{rowOf(40, clRed), rowOf(36, clRed), rowOf(32, clRed), rowOf(28, clRed),
                           rowOf(40, clLime), rowOf(32, clLime)}),
              (std::vector{10, 15, 15, -1, 5, 5}));
    graph.Clear(); // the grid starts again too
    EXPECT_EQ(std::pair(graph.SeriesCount(), rowOf(40, clRed)), std::pair(0, -1));
    graph.SetStepSize(3);
    graph.PaintTo(bitmap);
    EXPECT_EQ(std::pair(bitmap.Pixel(40, 5), bitmap.Pixel(30, 5)), std::pair(clGreen, clGreen));
    graph.Update();
    graph.PaintTo(bitmap);
    // The vertical lines scroll with the data, the horizontal ones stay.
    EXPECT_EQ((std::vector{bitmap.Pixel(37, 5), bitmap.Pixel(40, 5), bitmap.Pixel(5, 20)}),
              (std::vector{clGreen, clBlack, clGreen}));
    // Auto scale fits the largest value shown; old steps are dropped.
    graph.Clear();
    graph.SetGridSize(0);
    graph.SetStepSize(4);
    graph.SetAutoScale(true);
    graph.DataPoint(clRed, 1000);
    graph.Update();
    for (int i = 0; i < 20; ++i) {
        graph.DataPoint(clRed, std::numeric_limits<double>::quiet_NaN()); // counts as 0
        graph.Update();
    }
    EXPECT_EQ(rowOf(40, clRed), 20);
    EXPECT_LE(graph.StepCount(), 41 / 4 + 2);
    EXPECT_DOUBLE_EQ(graph.TopValue(), 1.0); // the 1000 has scrolled out
    graph.DataPoint(clRed, 4);
    graph.Update();
    EXPECT_DOUBLE_EQ(graph.TopValue(), 4.0);
    EXPECT_EQ(rowOf(40, clRed), 0);
    EXPECT_EQ(bitmap.Pixel(5, 5), clBlack) << "no grid at size 0";
}

} // namespace
} // namespace orn
