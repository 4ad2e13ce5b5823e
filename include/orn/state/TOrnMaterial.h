#pragma once

#include <orn/math/TOrnColor.h>
#include <orn/math/TOrnPropList.h>
#include <orn/scene/TOrnRender.h>

#include <array>
#include <cstdint>
#include <memory>

namespace orn {

enum TMaterialFace : std::uint8_t { mfFront, mfBack, mfFrontBack };

inline constexpr std::array<const char*, 3> kMaterialFaceNames{"mfFront", "mfBack", "mfFrontBack"};

/// The OpenGL material of the front, back or both faces: four colours and a shininess exponent.
/// Objects sharing one material send it once per frame (see TOrnRenderState); it is never taken
/// back.
class TOrnMaterial : public TOrnRender {
    ORN_CLASS(TOrnMaterial)
public:
    explicit TOrnMaterial(TComponent* owner);

    TMaterialFace Face() const { return fFace; }
    void SetFace(TMaterialFace value);
    /// The owned colours; editing one marks the material changed.
    TOrnColor* ColorAmbient() const { return fColors[0].get(); }
    TOrnColor* ColorDiffuse() const { return fColors[1].get(); }
    TOrnColor* ColorSpecular() const { return fColors[2].get(); }
    TOrnColor* ColorEmission() const { return fColors[3].get(); }
    /// Copies value into the colour of index 1 ambient, 2 diffuse, 3 specular, 4 emission; any
    /// other index (or nullptr) does nothing.
    void SetPartColor(int index, const TOrnColor* value);
    void SetColorAmbient(const TOrnColor* value) { SetPartColor(1, value); }
    void SetColorDiffuse(const TOrnColor* value) { SetPartColor(2, value); }
    void SetColorSpecular(const TOrnColor* value) { SetPartColor(3, value); }
    void SetColorEmission(const TOrnColor* value) { SetPartColor(4, value); }
    std::int32_t Shininess() const { return fShininess; }
    /// Accepts 0 … 128; other values are ignored.
    void SetShininess(std::int32_t value);

    /// Notifies and makes the next render send the material again.
    void Changed() override;
    std::uint64_t Stamp() const override { return fStamp; }

    ORN_DECLARE_PROPERTIES(TOrnMaterial)

protected:
    void DoRender(TOrnCustomView* view) override;

private:
    TMaterialFace fFace = mfFrontBack;
    std::array<std::unique_ptr<TOrnColor>, 4> fColors; // ambient, diffuse, specular, emission
    std::int32_t fShininess = 0;
    std::uint64_t fStamp = TOrnRenderState::NewStamp();
};

} // namespace orn
