#include <orn/samples/TOrnGauge.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <numbers>

namespace orn {
namespace {

class GaugeTest : public ::testing::Test {
protected:
    void SetUp() override {
        gauge.SetForeColor(clRed);
        gauge.SetBackColor(clWhite);
        gauge.SetShowText(false);
    }
    int CountRow(int y, TColor color) {
        gauge.PaintTo(bitmap);
        int n = 0;
        for (int x = 0; x < bitmap.Width(); ++x)
            n += bitmap.Pixel(x, y) == color;
        return n;
    }
    TOrnGauge gauge{nullptr};
    TBitmap bitmap;
};

TEST_F(GaugeTest, BarsCoverTheirShareOfTheLengthFromTheLeftOrTheBottom) {
    gauge.SetBounds(0, 0, 203, 20); // 201 pixels inside the border
    for (auto [progress, pixels] : {std::pair{0, 0}, {1, 2}, {29, 58}, {50, 100}, {99, 199}, {100, 201}}) {
        gauge.SetProgress(progress);
        EXPECT_NEAR(CountRow(10, clRed), pixels, 1) << "progress " << progress;
    }
    gauge.SetKind(gkVerticalBar);
    gauge.SetBorderStyle(false);
    gauge.SetBounds(0, 0, 10, 80);
    gauge.SetProgress(25);
    gauge.PaintTo(bitmap);
    EXPECT_EQ(
        (std::vector{bitmap.Pixel(5, 0), bitmap.Pixel(5, 59), bitmap.Pixel(5, 60), bitmap.Pixel(5, 79)}),
        (std::vector<TColor>{clWhite, clWhite, clRed, clRed}));
}

TEST_F(GaugeTest, PieFillsClockwiseFromTwelveOClockToItsAngle) {
    gauge.SetKind(gkPie);
    gauge.SetBorderStyle(false);
    gauge.SetBounds(0, 0, 201, 201);
    for (int p : {10, 37, 50, 80}) {
        gauge.SetProgress(p);
        gauge.PaintTo(bitmap);
        auto at = [&](double degrees) {
            const double a = degrees * std::numbers::pi / 180;
            return bitmap.Pixel(100 + static_cast<int>(std::lround(70 * std::sin(a))),
                                100 - static_cast<int>(std::lround(70 * std::cos(a))));
        };
        EXPECT_EQ(at(3.6 * p - 4), clRed) << p;
        EXPECT_EQ(at(3.6 * p + 4), clWhite) << p;
        EXPECT_EQ(at(2), clRed) << p;
        EXPECT_EQ(at(358), clWhite) << p;
    }
}

TEST_F(GaugeTest, ProgressNotifiesOnlyWhenItMovesAndContradictoryRangesNeverDivideByZero) {
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

TEST_F(GaugeTest, TextIsInvertedWhereTheBarCoversIt) {
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
}

} // namespace
} // namespace orn
