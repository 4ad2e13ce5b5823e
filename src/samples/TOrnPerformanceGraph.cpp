#include <orn/samples/TOrnPerformanceGraph.h>

#include <orn/host/TComponentClass.h>

#include "host/detail/ControlPaint.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orn {

ORN_REGISTER_COMPONENT(TOrnPerformanceGraph, "Samples")

TOrnPerformanceGraph::TOrnPerformanceGraph(TComponent* owner) : TControl(owner) {
    SetBounds(0, 0, 200, 80);
    SetColor(clBlack);
}

void TOrnPerformanceGraph::DataPoint(TColor color, double value) {
    if (!std::isfinite(value)) value = 0.0;
    auto it =
        std::find_if(fSeries.begin(), fSeries.end(), [color](const Series& s) { return s.Color == color; });
    if (it == fSeries.end()) {
        // A new series has the length of the others, flat at its first value until now.
        Series s{color, std::deque<double>(static_cast<std::size_t>(StepCount()), value)};
        it = fSeries.insert(fSeries.end(), std::move(s));
    }
    it->Pending = value;
    it->HasPending = true;
}

std::size_t TOrnPerformanceGraph::StepsKept() const {
    return static_cast<std::size_t>(Width() / fStepSize) + 2;
}

void TOrnPerformanceGraph::Update() {
    const std::size_t kept = StepsKept();
    for (Series& s : fSeries) {
        const double value = s.HasPending ? s.Pending : (s.Values.empty() ? 0.0 : s.Values.back());
        s.Values.push_back(value);
        while (s.Values.size() > kept)
            s.Values.pop_front();
        s.HasPending = false;
    }
    fScrolled = (fScrolled + fStepSize) % std::max(1, fGridSize);
    Invalidate();
}

void TOrnPerformanceGraph::Clear() {
    fSeries.clear();
    fScrolled = 0;
    Invalidate();
}

void TOrnPerformanceGraph::SetStepSize(int value) {
    if (assignIfChanged(fStepSize, std::clamp(value, 1, 1000))) Invalidate();
}

void TOrnPerformanceGraph::SetGridSize(int value) {
    if (assignIfChanged(fGridSize, std::clamp(value, 0, 1000))) Invalidate();
}

void TOrnPerformanceGraph::SetAutoScale(bool value) {
    if (assignIfChanged(fAutoScale, value)) Invalidate();
}

void TOrnPerformanceGraph::SetScale(double value) {
    constexpr double lowest = std::numeric_limits<float>::min();
    if (!(value >= lowest)) value = lowest; // NaN too
    if (!std::isfinite(value)) value = std::numeric_limits<double>::max();
    if (assignIfChanged(fScale, value)) Invalidate();
}

void TOrnPerformanceGraph::SetGridColor(TColor value) {
    if (assignIfChanged(fGridColor, value)) Invalidate();
}

double TOrnPerformanceGraph::TopValue() const {
    if (!fAutoScale) return fScale;
    double top = 0.0;
    for (const Series& s : fSeries)
        for (double v : s.Values)
            top = std::max(top, v);
    return top > 0.0 ? top : 1.0;
}

double TOrnPerformanceGraph::Value(int series, int step) const {
    if (series < 0 || series >= SeriesCount() || step < 0 || step >= StepCount()) return 0.0;
    return fSeries[static_cast<std::size_t>(series)].Values[static_cast<std::size_t>(step)];
}

void TOrnPerformanceGraph::Paint(TCanvas& canvas) {
    const int w = Width(), h = Height();
    detail::FillSolid(canvas, Rect(0, 0, w, h), Color());
    if (fGridSize > 0) {
        // Vertical lines move left with the data; horizontal ones stay.
        for (long long x = w - 1 - fScrolled; x >= 0; x -= fGridSize)
            detail::FillSolid(canvas, Rect(static_cast<int>(x), 0, static_cast<int>(x) + 1, h), fGridColor);
        for (int y = h - 1; y >= 0; y -= fGridSize)
            detail::FillSolid(canvas, Rect(0, y, w, y + 1), fGridColor);
    }
    const double top = TopValue();
    auto yOf = [&](double v) {
        const double clamped = std::clamp(v / top, 0.0, 1.0);
        return h - 1 - static_cast<int>(std::lround(clamped * (h - 1)));
    };
    for (const Series& s : fSeries) {
        const int n = static_cast<int>(s.Values.size());
        canvas.Pen().SetColor(s.Color);
        // The newest value sits at the right edge, older ones StepSize further left each.
        for (int i = n - 1; i >= 0; --i) {
            const long long x = w - 1 - static_cast<long long>(n - 1 - i) * fStepSize;
            const int y = yOf(s.Values[static_cast<std::size_t>(i)]);
            // LineTo leaves out its end point; each value's own pixel is set.
            if (i < n - 1) canvas.LineTo(static_cast<int>(x), y);
            canvas.MoveTo(static_cast<int>(x), y);
            canvas.SetPixels(static_cast<int>(x), y, s.Color);
        }
    }
}

} // namespace orn
