#pragma once

#include <orn/math/TOrnColor.h>
#include <orn/math/TOrnPropList.h>
#include <orn/scene/TOrnRender.h>

#include <array>
#include <cstdint>
#include <memory>

namespace orn {

enum TOrnCullFace : std::uint8_t { cfNone, cfFront, cfBack };
enum TOrnPolygonMode : std::uint8_t { pmPoint, pmLine, pmFill };
enum TOrnQuality : std::uint8_t { quFastest, quNicest, quDontCare };
enum TOrnShadeModel : std::uint8_t { smFlat, smSmooth };
enum TOrnTransparencyMode : std::uint8_t { tmNone, tmAlpha, tmAddAlpha, tmAddColor, tmSubColor };
enum TOrnLineStipple : std::uint8_t { lsClear, lsDash, lsDot, lsDashDot, lsDashDotDot, lsSolid };

inline constexpr std::array<const char*, 3> kCullFaceNames{"cfNone", "cfFront", "cfBack"};
inline constexpr std::array<const char*, 3> kPolygonModeNames{"pmPoint", "pmLine", "pmFill"};
inline constexpr std::array<const char*, 3> kQualityNames{"quFastest", "quNicest", "quDontCare"};
inline constexpr std::array<const char*, 2> kShadeModelNames{"smFlat", "smSmooth"};
inline constexpr std::array<const char*, 5> kTransparencyModeNames{"tmNone", "tmAlpha", "tmAddAlpha",
                                                                   "tmAddColor", "tmSubColor"};
inline constexpr std::array<const char*, 6> kLineStippleNames{"lsClear",   "lsDash",       "lsDot",
                                                              "lsDashDot", "lsDashDotDot", "lsSolid"};
/// The 16-bit stipple pattern of each TOrnLineStipple; lsSolid is never sent (it disables stippling).
inline constexpr std::array<std::uint16_t, 6> kLineStipplePatterns{0x0000, 0xF0F0, 0x5555,
                                                                   0x7272, 0xEAEA, 0xFFFF};

/// A block of fixed-function state that objects share: smoothing, global ambient, culling,
/// dithering, lighting, polygon mode, hints, shading, blending, stipple, line width and point size.
///
/// The block is never taken back; it stays until the next attributes render. Objects sharing one
/// component send it once per frame: the context's render state remembers the block applied last
/// until the view starts the next frame or the component changes (never inside a display list).
class TOrnAttributes : public TOrnRender {
    ORN_CLASS(TOrnAttributes)
public:
    explicit TOrnAttributes(TComponent* owner);

    bool Antialiasing() const { return fAntialiasing; }
    void SetAntialiasing(bool value);
    /// The global ambient light. Editing it directly does not mark the attributes changed;
    /// SetColorAmbient does.
    TOrnColor* ColorAmbient() const { return fColorAmbient.get(); }
    /// Copies value (nullptr: nothing copied) and always notifies.
    void SetColorAmbient(const TOrnColor* value);
    TOrnCullFace CullFace() const { return fCullFace; }
    void SetCullFace(TOrnCullFace value);
    /// Starts false although a form that stores nothing would mean true; kept so on purpose.
    bool Dithering() const { return fDithering; }
    void SetDithering(bool value);
    bool Lighting() const { return fLighting; }
    void SetLighting(bool value);
    bool LightTwoSide() const { return fLightTwoSide; }
    void SetLightTwoSide(bool value);
    TOrnPolygonMode PolygonMode() const { return fPolygonMode; }
    void SetPolygonMode(TOrnPolygonMode value);
    TOrnQuality PerspectiveCorrection() const { return fPerspectiveCorrection; }
    void SetPerspectiveCorrection(TOrnQuality value);
    TOrnShadeModel ShadeModel() const { return fShadeModel; }
    void SetShadeModel(TOrnShadeModel value);
    TOrnTransparencyMode Transparency() const { return fTransparency; }
    void SetTransparency(TOrnTransparencyMode value);
    TOrnLineStipple LineStipple() const { return fLineStipple; }
    void SetLineStipple(TOrnLineStipple value);
    float PointSize() const { return fPointSize; }
    void SetPointSize(float value);
    /// Starts at 0, which is handed to glLineWidth as it is.
    float LineWidth() const { return fLineWidth; }
    void SetLineWidth(float value);

    /// Rotates the stipple pattern left by this many bits (only the low four bits count).
    std::int32_t StippleShift = 0;
    /// The repeat factor handed to glLineStipple.
    std::int32_t StippleFactor = 1;

    /// Notifies and makes the next render send the block again.
    void Changed() override;
    std::uint64_t Stamp() const override { return fStamp; }

    ORN_DECLARE_PROPERTIES(TOrnAttributes)

protected:
    void DoRender(TOrnCustomView* view) override;

private:
    bool fAntialiasing = false;
    std::unique_ptr<TOrnColor> fColorAmbient;
    TOrnCullFace fCullFace = cfNone;
    bool fDithering = false;
    bool fLighting = false;
    bool fLightTwoSide = false;
    TOrnPolygonMode fPolygonMode = pmFill;
    TOrnQuality fPerspectiveCorrection = quDontCare;
    TOrnShadeModel fShadeModel = smSmooth;
    TOrnTransparencyMode fTransparency = tmNone;
    TOrnLineStipple fLineStipple = lsSolid;
    float fPointSize = 1.0f;
    float fLineWidth = 0.0f;
    std::uint64_t fStamp = TOrnRenderState::NewStamp();
};

} // namespace orn
