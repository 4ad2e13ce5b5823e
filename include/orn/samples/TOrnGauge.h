#pragma once

#include <orn/host/TControl.h>

namespace orn {

enum TOrnGaugeKind { gkText, gkHorizontalBar, gkVerticalBar, gkPie, gkNeedle };

/// Shows how far a value has come between a minimum and a maximum: as a bar filling from the left
/// (or the bottom), a pie filling clockwise from twelve o'clock, a needle sweeping a half dial, or as
/// the percentage alone.
class TOrnGauge : public TControl {
    ORN_CLASS(TOrnGauge)
public:
    explicit TOrnGauge(TComponent* owner);

    TOrnGaugeKind Kind() const { return fKind; }
    /// An unknown kind is ignored.
    void SetKind(TOrnGaugeKind value);
    /// The range of Progress. A minimum at or above the maximum is kept as it is given; the gauge
    /// then reads 0 % below the maximum and 100 % at or above it.
    long long MinValue() const { return fMinValue; }
    void SetMinValue(long long value);
    long long MaxValue() const { return fMaxValue; }
    void SetMaxValue(long long value);
    /// Clamped to MinValue … MaxValue (to MaxValue alone when the range is empty).
    long long Progress() const { return fProgress; }
    void SetProgress(long long value);
    /// Adds to Progress, clamped as SetProgress clamps; no overflow for any value.
    void AddProgress(long long value);
    /// Progress as a whole percentage of the range, 0 … 100, rounded down.
    int PercentDone() const;
    /// The fraction filled, 0 … 1.
    double Fraction() const;

    /// The percentage centred in the control's font, inverted where the filled part covers it.
    bool ShowText() const { return fShowText; }
    void SetShowText(bool value);
    /// The filled part (and the text over the empty part).
    TColor ForeColor() const { return fForeColor; }
    void SetForeColor(TColor value);
    /// The empty part (and the text over the filled part).
    TColor BackColor() const { return fBackColor; }
    void SetBackColor(TColor value);
    /// A one-pixel black frame around the control.
    bool BorderStyle() const { return fBorder; }
    void SetBorderStyle(bool value);

    void Paint(TCanvas& canvas) override;

private:
    void SetRangeAndProgress(long long minValue, long long maxValue, long long progress);
    /// How many of length pixels the filled part of a bar takes, rounded down.
    int FilledLength(int length) const;
    /// Whether pixel (x, y) of the inside rectangle lies in the filled part.
    bool Covered(const TRect& inside, int x, int y) const;
    void PaintNeedle(TCanvas& canvas, const TRect& inside);
    void PaintText(TCanvas& canvas, const TRect& inside);

    TOrnGaugeKind fKind = gkHorizontalBar;
    long long fMinValue = 0;
    long long fMaxValue = 100;
    long long fProgress = 0;
    bool fShowText = true;
    TColor fForeColor = clBlack;
    TColor fBackColor = clWhite;
    bool fBorder = true;
};

} // namespace orn
