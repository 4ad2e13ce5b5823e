#pragma once

#include <orn/host/TColor.h>
#include <orn/math/TOrnPropList.h>
#include <orn/math/TOrnProperty.h>

#include <array>

namespace orn {

/// A host colour with an alpha in 0 … 1, handed to OpenGL as four floats.
class TOrnColor : public TOrnProperty {
    ORN_CLASS(TOrnColor)
public:
    TOrnColor() = default;

    TColor Color() const { return fColor; }
    void SetColor(TColor value);
    float Alpha() const { return fAlpha; }
    /// Ignored outside 0 … 1.
    void SetAlpha(float value);

    /// R, G, B from the low three bytes of the colour as stored (system colours are not
    /// translated), and Alpha.
    void GetParams(float (&params)[4]) const;
    std::array<float, 4> GetParams() const;
    /// Stores the four channels directly (each colour channel × 255 rounded half to even), with
    /// no range check and no notification.
    void SetParams(const float (&params)[4]);

    /// From another colour: copies colour and alpha, notifies, then takes over the source's
    /// change handler.
    void Assign(const TPersistent* source) override;

    ORN_DECLARE_PROPERTIES(TOrnColor)

private:
    TColor fColor = clBlack;
    float fAlpha = 1.0f;
};

} // namespace orn
