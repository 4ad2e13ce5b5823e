#pragma once

#include <orn/math/TOrnColor.h>
#include <orn/math/TOrnPropList.h>
#include <orn/math/TOrnVector.h>
#include <orn/scene/TOrnRender.h>

#include <array>
#include <cstdint>
#include <memory>

namespace orn {

enum TLightID : std::uint8_t {
    idLight0,
    idLight1,
    idLight2,
    idLight3,
    idLight4,
    idLight5,
    idLight6,
    idLight7
};
enum TLightKind : std::uint8_t { lkPoint, lkDirection, lkSpot };

inline constexpr std::array<const char*, 8> kLightIDNames{"idLight0", "idLight1", "idLight2", "idLight3",
                                                          "idLight4", "idLight5", "idLight6", "idLight7"};
inline constexpr std::array<const char*, 3> kLightKindNames{"lkPoint", "lkDirection", "lkSpot"};

/// One of the eight OpenGL lights: its colours, its position (the origin of its own transformed
/// frame, or a direction), its spot cut-off and spot direction. Switched off when disabled.
class TOrnLight : public TOrnRender {
    ORN_CLASS(TOrnLight)
public:
    explicit TOrnLight(TComponent* owner);

    TLightID ID() const { return fID; }
    void SetID(TLightID value);
    /// GL_LIGHT0 + ID.
    GLenum GetLightID() const { return GL_LIGHT0 + (fID & 7u); }
    /// The owned colours and direction; editing one marks the light changed.
    TOrnColor* ColorAmbient() const { return fAmbient.get(); }
    TOrnColor* ColorDiffuse() const { return fDiffuse.get(); }
    TOrnColor* ColorSpecular() const { return fSpecular.get(); }
    /// Each copies value into the owned object; nullptr is ignored.
    void SetAmbient(const TOrnColor* value);
    void SetDiffuse(const TOrnColor* value);
    void SetSpecular(const TOrnColor* value);
    TLightKind Kind() const { return fKind; }
    /// A new kind resets CutOff: 180 for point and direction lights, 90 for spots.
    void SetKind(TLightKind value);
    /// Degrees: always 180 for point and direction lights; clamped to 0 … 90 for spots.
    float CutOff() const { return fCutOff; }
    void SetCutOff(float value);
    /// A direction light shines along it; a spot light points along it.
    TOrnDirection* Direction() const { return fDirection.get(); }
    void SetDirection(const TOrnDirection* value);

    ORN_DECLARE_PROPERTIES(TOrnLight)

protected:
    void DoRender(TOrnCustomView* view) override;
    void DoDisable(TOrnCustomView* view) override;

private:
    TLightID fID = idLight0;
    std::unique_ptr<TOrnColor> fAmbient;
    std::unique_ptr<TOrnColor> fDiffuse;
    std::unique_ptr<TOrnColor> fSpecular;
    TLightKind fKind = lkPoint;
    float fCutOff = 180.0f;
    std::unique_ptr<TOrnDirection> fDirection;
};

} // namespace orn
