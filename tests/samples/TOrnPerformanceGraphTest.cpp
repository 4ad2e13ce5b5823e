#include <orn/samples/TOrnPerformanceGraph.h>

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace orn {
namespace {

class GraphTest : public ::testing::Test {
protected:
    void SetUp() override {
        graph.SetBounds(0, 0, 41, 21);
        graph.SetGridSize(0);
        graph.SetAutoScale(false);
        graph.SetScale(20);
    }
    int RowOf(int x, TColor color) {
        graph.PaintTo(bitmap);
        for (int y = 0; y < bitmap.Height(); ++y)
            if (bitmap.Pixel(x, y) == color) return y;
        return -1;
    }
    TOrnPerformanceGraph graph{nullptr};
    TBitmap bitmap;
};

TEST_F(GraphTest, NewestValueAtTheRightEdgeScrollingLeftByStepSizeWithTheGrid) {
    graph.SetGridSize(10);
    graph.DataPoint(clRed, 5);
    graph.Update();
    graph.DataPoint(clLime, 15); // a new series starts flat at its first value
    graph.Update();              // red repeats 5
    graph.DataPoint(clRed, 10);
    graph.Update();
    EXPECT_EQ(graph.SeriesCount(), 2);
    // 10 of 20 at half height, steps of 4 pixels back, nothing before the first step.
    EXPECT_EQ((std::vector{RowOf(40, clRed), RowOf(36, clRed), RowOf(32, clRed), RowOf(28, clRed),
                           RowOf(40, clLime), RowOf(32, clLime)}),
              (std::vector{10, 15, 15, -1, 5, 5}));
    graph.Clear(); // the grid starts again too
    EXPECT_EQ(std::pair(graph.SeriesCount(), RowOf(40, clRed)), std::pair(0, -1));
    graph.SetStepSize(3);
    graph.PaintTo(bitmap);
    EXPECT_EQ(std::pair(bitmap.Pixel(40, 5), bitmap.Pixel(30, 5)), std::pair(clGreen, clGreen));
    graph.Update();
    graph.PaintTo(bitmap);
    // The vertical lines scroll with the data, the horizontal ones stay.
    EXPECT_EQ((std::vector{bitmap.Pixel(37, 5), bitmap.Pixel(40, 5), bitmap.Pixel(5, 20)}),
              (std::vector{clGreen, clBlack, clGreen}));
}

TEST_F(GraphTest, AutoScaleFitsTheLargestValueShownAndOldStepsAreDropped) {
    graph.SetAutoScale(true);
    graph.DataPoint(clRed, 1000);
    graph.Update();
    for (int i = 0; i < 20; ++i) {
        graph.DataPoint(clRed, std::numeric_limits<double>::quiet_NaN()); // counts as 0
        graph.Update();
    }
    EXPECT_EQ(RowOf(40, clRed), 20);
    EXPECT_LE(graph.StepCount(), 41 / 4 + 2);
    EXPECT_DOUBLE_EQ(graph.TopValue(), 1.0); // the 1000 has scrolled out
    graph.DataPoint(clRed, 4);
    graph.Update();
    EXPECT_DOUBLE_EQ(graph.TopValue(), 4.0);
    EXPECT_EQ(RowOf(40, clRed), 0);
    EXPECT_EQ(bitmap.Pixel(5, 5), clBlack) << "no grid at size 0";
}

} // namespace
} // namespace orn
