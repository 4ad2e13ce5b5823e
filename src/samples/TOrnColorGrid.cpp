#include <orn/samples/TOrnColorGrid.h>

#include <orn/host/TComponentClass.h>

#include "host/detail/ControlPaint.h"

#include <algorithm>

namespace orn {

ORN_REGISTER_COMPONENT(TOrnColorGrid, "Samples")

TOrnColorGrid::TOrnColorGrid(TComponent* owner) : TControl(owner) {
    SetBounds(0, 0, 100, 100);
    SetTabStop(true);
}

const std::array<TColor, 16>& TOrnColorGrid::StandardColors() {
    static constexpr std::array<TColor, 16> kColors{clBlack, clMaroon,  clGreen,  clOlive, clNavy, clPurple,
                                                    clTeal,  clGray,    clSilver, clRed,   clLime, clYellow,
                                                    clBlue,  clFuchsia, clAqua,   clWhite};
    return kColors;
}

void TOrnColorGrid::SetGridOrdering(TOrnGridOrdering value) {
    if (value < go16x1 || value > go1x16) return;
    if (assignIfChanged(fOrdering, value)) Invalidate();
}

int TOrnColorGrid::Columns() const {
    return 16 >> static_cast<int>(fOrdering);
}

void TOrnColorGrid::Choose(int& field, int value) {
    if (assignIfChanged(field, std::clamp(value, 0, 15))) Changed();
}

void TOrnColorGrid::SetForegroundIndex(int value) {
    Choose(fForeground, value);
}

void TOrnColorGrid::SetBackgroundIndex(int value) {
    Choose(fBackground, value);
}

void TOrnColorGrid::SetForegroundEnabled(bool value) {
    if (assignIfChanged(fForegroundEnabled, value)) Invalidate();
}

void TOrnColorGrid::SetBackgroundEnabled(bool value) {
    if (assignIfChanged(fBackgroundEnabled, value)) Invalidate();
}

TRect TOrnColorGrid::CellRect(int index) const {
    if (index < 0 || index > 15) return TRect{};
    const int col = index % Columns(), row = index / Columns();
    // Edges at i * size / count spread the remainder over the cells.
    auto edge = [](int i, int size, int count) {
        return static_cast<int>(static_cast<long long>(i) * size / count);
    };
    return Rect(edge(col, Width(), Columns()), edge(row, Height(), Rows()), edge(col + 1, Width(), Columns()),
                edge(row + 1, Height(), Rows()));
}

int TOrnColorGrid::CellAt(int x, int y) const {
    for (int i = 0; i < 16; ++i) {
        const TRect r = CellRect(i);
        if (x >= r.Left && x < r.Right && y >= r.Top && y < r.Bottom) return i;
    }
    return -1;
}

void TOrnColorGrid::Paint(TCanvas& canvas) {
    for (int i = 0; i < 16; ++i) {
        const TRect cell = CellRect(i);
        const TColor color = StandardColors()[i];
        detail::FillSolid(canvas, cell, color);
        const bool fg = fForegroundEnabled && i == fForeground, bg = fBackgroundEnabled && i == fBackground;
        if (!fg && !bg) continue;
        // The mark in whichever of black and white stands out from the cell.
        const int luma = GetRValue(color) * 3 + GetGValue(color) * 6 + GetBValue(color);
        const TColor ink = luma > 1275 ? clBlack : clWhite;
        detail::Frame(canvas, cell, ink);
        detail::TextCentered(canvas, Font(), cell, fg && bg ? "FB" : fg ? "FG" : "BG", ink);
    }
    if (!Enabled())
        for (int y = 0; y < Height(); y += 2) // a grey veil of every other line
            detail::FillSolid(canvas, Rect(0, y, Width(), y + 1), clGray);
}

bool TOrnColorGrid::DoMouseDown(TMouseButton button, TShiftState, int x, int y) {
    const int index = CellAt(x, y);
    if (index < 0) return true;
    if (button == mbLeft && fForegroundEnabled) Choose(fForeground, index);
    if (button == mbRight && fBackgroundEnabled) Choose(fBackground, index);
    return true;
}

bool TOrnColorGrid::DoKeyDown(std::uint16_t& key, TShiftState shift) {
    const bool background = shift.Contains(ssCtrl);
    if (background ? !fBackgroundEnabled : !fForegroundEnabled) return false;
    int& field = background ? fBackground : fForeground;
    const int col = field % Columns(), row = field / Columns();
    int target = field;
    switch (key) {
    case VK_LEFT:
        target = col > 0 ? field - 1 : field;
        break;
    case VK_RIGHT:
        target = col < Columns() - 1 ? field + 1 : field;
        break;
    case VK_UP:
        target = row > 0 ? field - Columns() : field;
        break;
    case VK_DOWN:
        target = row < Rows() - 1 ? field + Columns() : field;
        break;
    default:
        return false;
    }
    Choose(field, target);
    key = 0;
    return true;
}

} // namespace orn
