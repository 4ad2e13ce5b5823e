#pragma once

#include <orn/math/OrnMath.h>
#include <orn/math/TOrnPropList.h>
#include <orn/math/TOrnProperty.h>

namespace orn {

/// Three singles X, Y, Z that notify their owner when they change.
class TOrnVector : public TOrnProperty {
    ORN_CLASS(TOrnVector)
public:
    TOrnVector() = default;

    float X() const { return fX; }
    float Y() const { return fY; }
    float Z() const { return fZ; }
    virtual void SetX(float value);
    virtual void SetY(float value);
    virtual void SetZ(float value);
    /// SetX, SetY, SetZ in that order: up to three notifications.
    void SetValues(float x, float y, float z);
    void incX(float delta) { SetX(fX + delta); }
    void incY(float delta) { SetY(fY + delta); }
    void incZ(float delta) { SetZ(fZ + delta); }

    TOrnMathVector AsMathVector() const { return GetAsMathVector(); }
    TOrnMathVector GetAsMathVector() const;
    /// Narrows each component to single and applies it through the setters.
    void SetAsMathVector(const TOrnMathVector& v);

    /// From another vector: copies the three components unchecked and notifies once; keeps its
    /// own handler. Other sources are ignored.
    void Assign(const TPersistent* source) override;

    ORN_DECLARE_PROPERTIES(TOrnVector)

protected:
    /// The default written for "P".
    virtual TOrnMathVector DefaultP() const { return {}; }
    float fX = 0, fY = 0, fZ = 0;
};

/// A direction: starts as (0, 0, 1); each component only accepts values in −1 … 1 (others are
/// ignored). It is not normalised.
class TOrnDirection : public TOrnVector {
    ORN_CLASS(TOrnDirection)
public:
    TOrnDirection() { fZ = 1.0f; }
    void SetX(float value) override;
    void SetY(float value) override;
    void SetZ(float value) override;

protected:
    TOrnMathVector DefaultP() const override { return {0, 0, 1}; }
};

/// A normal vector that can scale itself to unit length.
class TOrnNormal : public TOrnVector {
    ORN_CLASS(TOrnNormal)
public:
    /// Scales to length 1 through the setters; a zero vector stays zero.
    virtual void Normalize();
};

} // namespace orn
