#pragma once

#include <orn/host/TColor.h>
#include <orn/math/TOrnPropList.h>
#include <orn/math/TOrnProperty.h>

namespace orn {

/// The coordinate axes a view draws before its scene: three lines of Length from the origin along
/// x, y and z in their own colours, unlit and untextured.
class TOrnCoordinates : public TOrnRenderProperty {
    ORN_CLASS(TOrnCoordinates)
public:
    TOrnCoordinates() = default;

    bool Visible() const { return fVisible; }
    void SetVisible(bool value);
    float Length() const { return fLength; }
    /// Ignored unless positive.
    void SetLength(float value);
    TColor ColorX() const { return fColorX; }
    void SetColorX(TColor value);
    TColor ColorY() const { return fColorY; }
    void SetColorY(TColor value);
    TColor ColorZ() const { return fColorZ; }
    void SetColorZ(TColor value);

    /// Draws the axes when visible; the GL state it touches is restored.
    void Render() override;

    /// From coordinates: all five values, notifying once; keeps its own change handler.
    void Assign(const TPersistent* source) override;
    ORN_DECLARE_PROPERTIES(TOrnCoordinates)

private:
    bool fVisible = true;
    float fLength = 1.0f;
    TColor fColorX = clRed;
    TColor fColorY = clLime;
    TColor fColorZ = clBlue;
};

} // namespace orn
