#pragma once

#include <orn/math/TOrnColor.h>
#include <orn/math/TOrnPropList.h>
#include <orn/scene/TOrnRender.h>
#include <orn/state/TOrnAttributes.h>

#include <array>
#include <cstdint>
#include <memory>

namespace orn {

enum TOrnFogMode : std::uint8_t { fmLinear, fmExp, fmExp2 };

inline constexpr std::array<const char*, 3> kFogModeNames{"fmLinear", "fmExp", "fmExp2"};

/// Switches OpenGL fog on with its mode, density, depth range, colour and hint, and off again when
/// disabled. Sent every time it renders: fog is not shared the way attributes are.
class TOrnFog : public TOrnRender {
    ORN_CLASS(TOrnFog)
public:
    explicit TOrnFog(TComponent* owner);

    TOrnFogMode Mode() const { return fMode; }
    void SetMode(TOrnFogMode value);
    /// Used by the exponential modes; sent whatever the mode.
    float Density() const { return fDensity; }
    void SetDensity(float value);
    /// Eye-space distances where linear fog starts and is complete; sent whatever the mode.
    float StartDepth() const { return fStartDepth; }
    void SetStartDepth(float value);
    float EndDepth() const { return fEndDepth; }
    void SetEndDepth(float value);
    TOrnColor* Color() const { return fColor.get(); }
    /// Copies value into the owned colour; nullptr is ignored.
    void SetColor(const TOrnColor* value);
    TOrnQuality Quality() const { return fQuality; }
    void SetQuality(TOrnQuality value);

    /// From a fog only: what every component copies (Quality kept on purpose); other sources change
    /// nothing.
    void Assign(const TPersistent* source) override;

    ORN_DECLARE_PROPERTIES(TOrnFog)

protected:
    void DoRender(TOrnCustomView* view) override;
    void DoDisable(TOrnCustomView* view) override;

private:
    TOrnFogMode fMode = fmExp;
    float fDensity = 0.2f;
    float fStartDepth = 0.0f;
    float fEndDepth = 1.0f;
    std::unique_ptr<TOrnColor> fColor;
    TOrnQuality fQuality = quDontCare;
};

} // namespace orn
