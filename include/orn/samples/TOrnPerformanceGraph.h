#pragma once

#include <orn/host/TControl.h>

#include <deque>
#include <vector>

namespace orn {

/// A scrolling line graph of one or more series, such as a frame time: each DataPoint sets the
/// next value of the series of its colour, and Update draws them and scrolls the graph, grid
/// included, by StepSize pixels to the left.
class TOrnPerformanceGraph : public TControl {
    ORN_CLASS(TOrnPerformanceGraph)
public:
    explicit TOrnPerformanceGraph(TComponent* owner);

    /// Sets the value of the series drawn in color for the coming Update (a new colour starts a
    /// new series). Values that are not finite count as 0.
    void DataPoint(TColor color, double value);
    /// Takes the values set since the last Update as one step: series without a new value repeat
    /// their last one. Repaints.
    void Update();
    /// Forgets every series and step.
    void Clear();

    /// Pixels between steps, 1 … 1000.
    int StepSize() const { return fStepSize; }
    void SetStepSize(int value);
    /// Pixels between grid lines, 0 (no grid) … 1000.
    int GridSize() const { return fGridSize; }
    void SetGridSize(int value);
    /// With AutoScale the top of the graph is the largest value shown; otherwise it is Scale.
    bool AutoScale() const { return fAutoScale; }
    void SetAutoScale(bool value);
    /// The value at the top of the graph without AutoScale; values below the smallest positive
    /// float count as it.
    double Scale() const { return fScale; }
    void SetScale(double value);
    /// The value at the top of the graph now.
    double TopValue() const;

    TColor GridColor() const { return fGridColor; }
    void SetGridColor(TColor value);

    int SeriesCount() const { return static_cast<int>(fSeries.size()); }
    /// The steps of the graph kept (newest last); enough to fill the widest graph.
    int StepCount() const { return fSeries.empty() ? 0 : static_cast<int>(fSeries.front().Values.size()); }
    /// The value of a series at a step (0 = oldest kept), 0 outside the range.
    double Value(int series, int step) const;

    void Paint(TCanvas& canvas) override;

private:
    struct Series {
        TColor Color;
        std::deque<double> Values;
        double Pending = 0.0;
        bool HasPending = false;
    };
    /// The steps that fill the width, and one beyond it for the line entering from the left.
    std::size_t StepsKept() const;

    std::vector<Series> fSeries;
    int fStepSize = 4;
    int fGridSize = 16;
    bool fAutoScale = true;
    double fScale = 100.0;
    TColor fGridColor = clGreen;
    // How far the grid has scrolled, in pixels modulo GridSize.
    long long fScrolled = 0;
};

} // namespace orn
