#pragma once

#include <orn/math/TOrnPropList.h>
#include <orn/math/TOrnVector.h>

#include <memory>

namespace orn {

/// How texture coordinates follow from positions: kept as the shape stored them (txStandard), one
/// coordinate linear in one axis, two in two axes, or the distance from ParamVector.
enum TOrnTextureMode : int {
    txStandard,
    txLinearX,
    txLinearY,
    txLinearZ,
    txLinearXY,
    txLinearYZ,
    txLinearZX,
    txSphereZ
};

/// The names under which the scene file writes a TOrnTextureMode.
extern const char* const kTextureModeNames[8];

/// The rule by which a primitive object derives its texture coordinates at every build:
/// s = axis × ScaleX + ShiftX and, in the two-axis modes, t = second axis × ScaleY + ShiftY.
class TOrnTextureFlags : public TOrnProperty {
    ORN_CLASS(TOrnTextureFlags)
public:
    TOrnTextureFlags();

    TOrnTextureMode Mode() const { return fMode; }
    void SetMode(TOrnTextureMode value);
    double ShiftY() const { return fShiftY; }
    void SetShiftY(double value);
    double ShiftX() const { return fShiftX; }
    void SetShiftX(double value);
    double ScaleX() const { return fScaleX; }
    void SetScaleX(double value);
    double ScaleY() const { return fScaleY; }
    void SetScaleY(double value);
    /// The centre of txSphereZ.
    TOrnVector* ParamVector() const { return fParamVector.get(); }
    /// Copies the value in; nullptr is ignored.
    void SetParamVec(const TOrnVector* value);

    /// The (s, t, 0) of a point at p; for txStandard, current is returned unchanged.
    TOrnMathVector Apply(const TOrnMathVector& p, const TOrnMathVector& current) const;

    /// Copies all six values; other sources are ignored.
    void Assign(const TPersistent* source) override;
    ORN_DECLARE_PROPERTIES(TOrnTextureFlags)

private:
    TOrnTextureMode fMode = txStandard;
    double fShiftY = 0;
    double fShiftX = 0;
    double fScaleX = 1.0;
    double fScaleY = 1.0;
    std::unique_ptr<TOrnVector> fParamVector;
};

} // namespace orn
