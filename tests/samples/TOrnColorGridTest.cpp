#include <orn/samples/TOrnColorGrid.h>

#include <gtest/gtest.h>

#include <tuple>

namespace orn {
namespace {

TEST(TOrnColorGrid, EveryCellHasItsColourInEveryOrdering) {
    const struct {
        TOrnGridOrdering ordering;
        int columns;
    } cases[] = {{go16x1, 16}, {go8x2, 8}, {go4x4, 4}, {go2x8, 2}, {go1x16, 1}};
    TOrnColorGrid grid(nullptr);
    grid.SetBounds(0, 0, 163, 161); // sizes that do not divide evenly
    TBitmap bitmap;
    for (const auto& c : cases) {
        grid.SetGridOrdering(c.ordering);
        EXPECT_EQ(grid.Columns(), c.columns);
        grid.PaintTo(bitmap);
        for (int i = 0; i < 16; ++i) {
            const TRect r = grid.CellRect(i);
            EXPECT_EQ(r.Left, (i % c.columns) * 163 / c.columns);
            EXPECT_EQ(bitmap.Pixel(r.Left + 2, r.Top + 2), TOrnColorGrid::StandardColors()[i]) << i;
            EXPECT_EQ(grid.CellAt(r.Right - 1, r.Bottom - 1), i);
        }
    }
    EXPECT_EQ(grid.CellAt(163, 0), -1);
}

TEST(TOrnColorGrid, MarksForegroundAndBackgroundCells) {
    TOrnColorGrid grid(nullptr);
    grid.SetBounds(0, 0, 160, 160);
    grid.Font().SetHeight(-14);
    grid.SetForegroundIndex(5);
    grid.SetBackgroundIndex(10);
    TBitmap bitmap;
    grid.PaintTo(bitmap);
    auto marked = [&](int index) {
        const TRect r = grid.CellRect(index);
        int other = 0;
        for (int y = r.Top + 1; y < r.Bottom - 1; ++y)
            for (int x = r.Left + 1; x < r.Right - 1; ++x)
                other += bitmap.Pixel(x, y) != TOrnColorGrid::StandardColors()[index];
        return other;
    };
    EXPECT_GT(marked(5), 20);
    EXPECT_GT(marked(10), 20);
    EXPECT_EQ(marked(6), 0);
    grid.SetBackgroundEnabled(false);
    grid.PaintTo(bitmap);
    EXPECT_EQ(marked(10), 0);
}

TEST(TOrnColorGrid, ArrowsAndClicksChooseWithinTheGridOnceAndDisabledChoicesIgnoreThem) {
    TOrnColorGrid grid(nullptr); // 4 × 4, foreground 0, background 15
    const struct {
        std::uint16_t key;
        TShiftState shift;
        int foreground, background;
    } steps[] = {{VK_LEFT, {}, 0, 15},     {VK_RIGHT, {}, 1, 15},      {VK_DOWN, {}, 5, 15},
                 {VK_UP, {}, 1, 15},       {VK_UP, {}, 1, 15},         {VK_RIGHT, {ssCtrl}, 1, 15},
                 {VK_UP, {ssCtrl}, 1, 11}, {VK_LEFT, {ssCtrl}, 1, 10}, {VK_RIGHT, {}, 2, 10},
                 {VK_RIGHT, {}, 3, 10},    {VK_RIGHT, {}, 3, 10}}; // the right edge stops
    for (const auto& s : steps) {
        std::uint16_t key = s.key;
        grid.KeyDown(key, s.shift);
        EXPECT_EQ(std::pair(grid.ForegroundIndex(), grid.BackgroundIndex()),
                  std::pair(s.foreground, s.background))
            << &s - steps;
    }
    std::uint16_t key = 'X';
    EXPECT_FALSE(grid.KeyDown(key, {}));

    grid.SetBounds(0, 0, 160, 160); // cells of 40 pixels
    int changes = 0;
    grid.OnChange = [&](TObject*) { ++changes; };
    // Foreground, background, changes told.
    const auto state = [&] { return std::tuple(grid.ForegroundIndex(), grid.BackgroundIndex(), changes); };
    grid.MouseDown(mbLeft, {}, 90, 50); // cell 6
    EXPECT_EQ(grid.ForegroundColor(), clTeal);
    grid.MouseDown(mbLeft, {}, 90, 50); // the same cell again
    EXPECT_EQ(state(), std::tuple(6, 10, 1));
    grid.MouseDown(mbRight, {}, 10, 130); // cell 12
    EXPECT_EQ(state(), std::tuple(6, 12, 2));
    grid.SetForegroundEnabled(false);
    grid.MouseDown(mbLeft, {}, 10, 10);
    grid.SetBackgroundEnabled(false);
    grid.MouseDown(mbRight, {}, 10, 10);
    EXPECT_EQ(state(), std::tuple(6, 12, 2));
    grid.SetBackgroundIndex(99);
    EXPECT_EQ(grid.BackgroundIndex(), 15);
}

} // namespace
} // namespace orn
