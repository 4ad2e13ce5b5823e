#pragma once

#include <orn/host/TControl.h>

#include <array>

namespace orn {

/// How the 16 colours are laid out: columns × rows.
enum TOrnGridOrdering { go16x1, go8x2, go4x4, go2x8, go1x16 };

/// The 16 standard colours in a grid, from which a foreground colour is picked with the left mouse
/// button and a background colour with the right one; their cells are marked "FG", "BG", or "FB"
/// when both are the same. The arrow keys move the foreground (with Ctrl the background).
class TOrnColorGrid : public TControl {
    ORN_CLASS(TOrnColorGrid)
public:
    explicit TOrnColorGrid(TComponent* owner);

    /// The standard colours in grid order: black, maroon, green, olive, navy, purple, teal, grey,
    /// silver, red, lime, yellow, blue, fuchsia, aqua, white.
    static const std::array<TColor, 16>& StandardColors();

    TOrnGridOrdering GridOrdering() const { return fOrdering; }
    /// An unknown ordering is ignored.
    void SetGridOrdering(TOrnGridOrdering value);
    int Columns() const;
    int Rows() const { return 16 / Columns(); }

    /// Indices 0 … 15 into StandardColors; other values are clamped.
    int ForegroundIndex() const { return fForeground; }
    void SetForegroundIndex(int value);
    int BackgroundIndex() const { return fBackground; }
    void SetBackgroundIndex(int value);
    TColor ForegroundColor() const { return StandardColors()[fForeground]; }
    TColor BackgroundColor() const { return StandardColors()[fBackground]; }
    /// A disabled choice is neither marked nor changed by mouse or keys (setters still change it).
    bool ForegroundEnabled() const { return fForegroundEnabled; }
    void SetForegroundEnabled(bool value);
    bool BackgroundEnabled() const { return fBackgroundEnabled; }
    void SetBackgroundEnabled(bool value);

    /// The cell of colour index in control pixels (cells share the size evenly, the last ones
    /// take the remainder); an empty rectangle for an index outside 0 … 15.
    TRect CellRect(int index) const;
    /// The index of the cell holding (x, y), or −1.
    int CellAt(int x, int y) const;

    void Paint(TCanvas& canvas) override;

protected:
    bool DoMouseDown(TMouseButton button, TShiftState shift, int x, int y) override;
    bool DoKeyDown(std::uint16_t& key, TShiftState shift) override;

private:
    /// Sets a choice; Changed fires when it differs.
    void Choose(int& field, int value);

    TOrnGridOrdering fOrdering = go4x4;
    int fForeground = 0;
    int fBackground = 15;
    bool fForegroundEnabled = true;
    bool fBackgroundEnabled = true;
};

} // namespace orn
