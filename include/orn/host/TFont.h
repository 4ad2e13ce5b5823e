#pragma once

#include <orn/host/TColor.h>
#include <orn/host/TPersistent.h>
#include <orn/host/TSet.h>

#include <string>

namespace orn {

enum TFontStyle { fsBold, fsItalic, fsUnderline, fsStrikeOut };
using TFontStyles = TSet<TFontStyle>;

/// A font as the host framework describes one. Sizes follow the host at 96 pixels per inch:
/// Height < 0 is the character (em) height in pixels, Height > 0 the cell height (ascent plus
/// descent) in pixels, Height 0 the default; Size is in points, Size = -Height * 72 / 96 rounded.
class TFont : public TPersistent {
    ORN_CLASS(TFont)
public:
    static constexpr const char* kDefaultName = "DejaVu Sans";
    static constexpr int kDefaultHeight = -11; // 8 points
    /// Heights are clamped to -kMaxHeight..kMaxHeight pixels.
    static constexpr int kMaxHeight = 1024;

    /// A family name looked up through fontconfig (an unknown one falls back to DejaVu Sans), or
    /// the path of a font file (any name with a '/'); the empty name means the default.
    const std::string& Name() const { return fName; }
    void SetName(const std::string& value);
    int Height() const { return fHeight; }
    void SetHeight(int value);
    int Size() const;
    void SetSize(int points);
    TFontStyles Style() const { return fStyle; }
    void SetStyle(TFontStyles value);
    TColor Color() const { return fColor; }
    void SetColor(TColor value);

    /// Copies every property from another TFont and notifies once; other sources are ignored.
    void Assign(const TPersistent* source) override;

    TNotifyEvent OnChange;

protected:
    virtual void Changed();

private:
    std::string fName = kDefaultName;
    int fHeight = kDefaultHeight;
    TFontStyles fStyle;
    TColor fColor = clBlack;
};

} // namespace orn
