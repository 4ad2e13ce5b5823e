#include <orn/samples/TOrnGauge.h>

#include <orn/host/TComponentClass.h>

#include "host/detail/ControlPaint.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

namespace orn {

ORN_REGISTER_COMPONENT(TOrnGauge, "Samples")

namespace {

// Differences of two long long values need 65 bits.
__extension__ typedef __int128 Wide;

// The angle of (dx, dy) clockwise from twelve o'clock, y downwards, in 0 … 2π.
double ClockAngle(double dx, double dy) {
    const double a = std::atan2(dx, -dy);
    return a < 0 ? a + 2 * std::numbers::pi : a;
}

} // namespace

TOrnGauge::TOrnGauge(TComponent* owner) : TControl(owner) {
    SetBounds(0, 0, 100, 100);
}

void TOrnGauge::SetKind(TOrnGaugeKind value) {
    if (value < gkText || value > gkNeedle) return;
    if (assignIfChanged(fKind, value)) Invalidate();
}

void TOrnGauge::SetRangeAndProgress(long long minValue, long long maxValue, long long progress) {
    const long long low = minValue < maxValue ? minValue : maxValue;
    progress = std::clamp(progress, low, maxValue);
    if (minValue == fMinValue && maxValue == fMaxValue && progress == fProgress) return;
    const bool progressed = progress != fProgress;
    fMinValue = minValue;
    fMaxValue = maxValue;
    fProgress = progress;
    if (progressed)
        Changed();
    else
        Invalidate();
}

void TOrnGauge::SetMinValue(long long value) {
    SetRangeAndProgress(value, fMaxValue, fProgress);
}

void TOrnGauge::SetMaxValue(long long value) {
    SetRangeAndProgress(fMinValue, value, fProgress);
}

void TOrnGauge::SetProgress(long long value) {
    SetRangeAndProgress(fMinValue, fMaxValue, value);
}

void TOrnGauge::AddProgress(long long value) {
    const Wide sum = Wide(fProgress) + value;
    const Wide limited =
        std::clamp(sum, Wide(fMinValue < fMaxValue ? fMinValue : fMaxValue), Wide(fMaxValue));
    SetProgress(static_cast<long long>(limited));
}

int TOrnGauge::PercentDone() const {
    if (fMinValue >= fMaxValue) return fProgress >= fMaxValue ? 100 : 0;
    return static_cast<int>(Wide(fProgress - Wide(fMinValue)) * 100 / (Wide(fMaxValue) - fMinValue));
}

double TOrnGauge::Fraction() const {
    if (fMinValue >= fMaxValue) return fProgress >= fMaxValue ? 1.0 : 0.0;
    return static_cast<double>(Wide(fProgress) - fMinValue) /
           static_cast<double>(Wide(fMaxValue) - fMinValue);
}

void TOrnGauge::SetShowText(bool value) {
    if (assignIfChanged(fShowText, value)) Invalidate();
}

void TOrnGauge::SetForeColor(TColor value) {
    if (assignIfChanged(fForeColor, value)) Invalidate();
}

void TOrnGauge::SetBackColor(TColor value) {
    if (assignIfChanged(fBackColor, value)) Invalidate();
}

void TOrnGauge::SetBorderStyle(bool value) {
    if (assignIfChanged(fBorder, value)) Invalidate();
}

int TOrnGauge::FilledLength(int length) const {
    if (fMinValue >= fMaxValue) return fProgress >= fMaxValue ? length : 0;
    return static_cast<int>(Wide(length) * (Wide(fProgress) - fMinValue) / (Wide(fMaxValue) - fMinValue));
}

bool TOrnGauge::Covered(const TRect& inside, int x, int y) const {
    switch (fKind) {
    case gkHorizontalBar:
        return x - inside.Left < FilledLength(inside.Width());
    case gkVerticalBar:
        return inside.Bottom - y <= FilledLength(inside.Height());
    case gkPie: {
        const double r = std::min(inside.Width(), inside.Height()) / 2.0;
        const double dx = x + 0.5 - (inside.Left + inside.Width() / 2.0);
        const double dy = y + 0.5 - (inside.Top + inside.Height() / 2.0);
        if (dx * dx + dy * dy > r * r) return false;
        return ClockAngle(dx, dy) < Fraction() * 2 * std::numbers::pi;
    }
    default:
        return false;
    }
}

void TOrnGauge::Paint(TCanvas& canvas) {
    const TRect whole = Rect(0, 0, Width(), Height());
    const TRect inside = fBorder ? detail::Inset(whole, 1) : whole;
    switch (fKind) {
    case gkHorizontalBar:
    case gkVerticalBar: {
        detail::FillSolid(canvas, whole, fBackColor);
        TRect filled = inside;
        if (fKind == gkHorizontalBar)
            filled.Right = inside.Left + FilledLength(inside.Width());
        else
            filled.Top = inside.Bottom - FilledLength(inside.Height());
        detail::FillSolid(canvas, filled, fForeColor);
        break;
    }
    case gkPie: {
        detail::FillSolid(canvas, whole, Color());
        const int r = std::min(inside.Width(), inside.Height()) / 2;
        const int cy = inside.Top + inside.Height() / 2, cx = inside.Left + inside.Width() / 2;
        // Row by row in runs of one colour: a pixel each would notify the bitmap millions of times.
        for (int y = cy - r; y <= cy + r; ++y) {
            int runStart = cx - r;
            TColor runColor = clNone;
            for (int x = cx - r; x <= cx + r + 1; ++x) {
                TColor c = clNone;
                if (x <= cx + r) {
                    const double dx = x + 0.5 - (inside.Left + inside.Width() / 2.0);
                    const double dy = y + 0.5 - (inside.Top + inside.Height() / 2.0);
                    if (dx * dx + dy * dy <= double(r) * r)
                        c = Covered(inside, x, y) ? fForeColor : fBackColor;
                }
                if (c == runColor) continue;
                if (runColor != clNone) detail::FillSolid(canvas, Rect(runStart, y, x, y + 1), runColor);
                runStart = x;
                runColor = c;
            }
        }
        break;
    }
    case gkNeedle:
        detail::FillSolid(canvas, whole, fBackColor);
        PaintNeedle(canvas, inside);
        break;
    default:
        detail::FillSolid(canvas, whole, fBackColor);
        break;
    }
    if (fBorder) detail::Frame(canvas, whole, clBlack);
    if (fShowText) PaintText(canvas, inside);
}

void TOrnGauge::PaintNeedle(TCanvas& canvas, const TRect& inside) {
    const int r = std::min(inside.Width() / 2, inside.Height()) - 2;
    if (r <= 0) return;
    const int cx = inside.Left + inside.Width() / 2, cy = inside.Bottom - 1;
    auto at = [&](double angle, double radius) {
        return Point(cx + static_cast<int>(std::lround(std::cos(angle) * radius)),
                     cy - static_cast<int>(std::lround(std::sin(angle) * radius)));
    };
    canvas.Pen().SetColor(fForeColor);
    // The dial: a half circle and a tick at every tenth.
    const int segments = std::clamp(r, 8, 180);
    canvas.MoveTo(cx - r, cy);
    for (int i = 1; i <= segments; ++i) {
        const TPoint p = at(std::numbers::pi * (1.0 - double(i) / segments), r);
        canvas.LineTo(p.X, p.Y);
    }
    for (int i = 0; i <= 10; ++i) {
        const double angle = std::numbers::pi * (1.0 - i / 10.0);
        const TPoint a = at(angle, r * 0.85), b = at(angle, r);
        canvas.MoveTo(a.X, a.Y);
        canvas.LineTo(b.X, b.Y);
    }
    const TPoint tip = at(std::numbers::pi * (1.0 - Fraction()), r * 0.95);
    canvas.MoveTo(cx, cy);
    canvas.LineTo(tip.X, tip.Y);
}

void TOrnGauge::PaintText(TCanvas& canvas, const TRect& inside) {
    const std::string text = std::to_string(PercentDone()) + "%";
    canvas.Font().Assign(&Font());
    const TSize extent = canvas.TextExtent(text);
    const int x = inside.Left + (inside.Width() - extent.cx) / 2;
    int y = inside.Top + (inside.Height() - extent.cy) / 2;
    // The needle's pivot sits at the bottom; its reading goes above the pivot.
    if (fKind == gkNeedle) y = inside.Bottom - extent.cy - std::max(2, inside.Height() / 4);
    detail::TextOutColored(canvas, Font(), x, y, text, inside,
                           [&](int px, int py) { return Covered(inside, px, py) ? fBackColor : fForeColor; });
}

} // namespace orn
