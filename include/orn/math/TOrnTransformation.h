#pragma once

#include <orn/math/TOrnPropList.h>
#include <orn/math/TOrnVector.h>

#include <array>
#include <memory>

namespace orn {

enum TOrnRotationOrder { roXYZ, roXZY, roYXZ, roYZX, roZXY, roZYX };
enum TOrnTransformationOrder { toRotTraSca, toRotScaTra, toTraRotSca, toTraScaRot, toScaRotTra, toScaTraRot };

inline constexpr std::array<const char*, 6> kRotationOrderNames{"roXYZ", "roXZY", "roYXZ",
                                                                "roYZX", "roZXY", "roZYX"};
inline constexpr std::array<const char*, 6> kTransformationOrderNames{
    "toRotTraSca", "toRotScaTra", "toTraRotSca", "toTraScaRot", "toScaRotTra", "toScaTraRot"};

/// A vector that is one step of a transformation and issues its GL call.
class TOrnTransform : public TOrnVector {
    ORN_CLASS(TOrnTransform)
public:
    /// True when executing would change nothing.
    virtual bool GetEmpty() const = 0;
    /// Issues the GL call(s); nothing when empty.
    virtual void Execute() const = 0;
};

/// Angles in degrees about x, y and z, applied in Order.
class TOrnRotation : public TOrnTransform {
    ORN_CLASS(TOrnRotation)
public:
    TOrnRotationOrder Order() const { return fOrder; }
    void SetOrder(TOrnRotationOrder value);

    /// Stores ModAngle(value) when value differs from the stored angle (compared before reducing).
    void SetX(float value) override;
    void SetY(float value) override;
    void SetZ(float value) override;
    /// Reduces an angle to 0 … 360 (360 itself gives 0).
    virtual float ModAngle(float a) const;

    bool GetEmpty() const override;
    /// Always three glRotatef calls, in the order Order names, zero angles included.
    void Execute() const override;
    /// Copies the unreduced angles (one notification) and, from a rotation, its order.
    void Assign(const TPersistent* source) override;
    ORN_DECLARE_PROPERTIES(TOrnRotation)

private:
    void SetAngle(float& field, float value);
    TOrnRotationOrder fOrder = roXYZ;
};

/// Scale factors; a new scale is (1, 1, 1).
class TOrnScale : public TOrnTransform {
    ORN_CLASS(TOrnScale)
public:
    TOrnScale() { fX = fY = fZ = 1.0f; }
    bool GetEmpty() const override;
    void Execute() const override;

protected:
    TOrnMathVector DefaultP() const override { return {1, 1, 1}; }
};

/// Distances in scene units.
class TOrnTranslation : public TOrnTransform {
    ORN_CLASS(TOrnTranslation)
public:
    bool GetEmpty() const override;
    void Execute() const override;
};

/// Rotation, scale and translation applied in Order; a change of any part notifies the owner.
class TOrnTransformation : public TOrnProperty {
    ORN_CLASS(TOrnTransformation)
public:
    TOrnTransformation();

    TOrnRotation* Rotation() const { return fRotation.get(); }
    TOrnScale* Scale() const { return fScale.get(); }
    TOrnTranslation* Translation() const { return fTranslation.get(); }
    /// Each assigns the value into the owned part and notifies; nullptr is ignored.
    void SetRotation(const TOrnRotation* value);
    void SetScale(const TOrnScale* value);
    void SetTranslation(const TOrnTranslation* value);
    TOrnTransformationOrder Order() const { return fOrder; }
    void SetOrder(TOrnTransformationOrder value);

    bool GetEmpty() const;
    /// The three parts in the order Order names; the part issued last acts on the geometry first.
    void Execute() const;
    /// Assigns the three parts; the order is deliberately not copied.
    void Assign(const TPersistent* source) override;

    ORN_DECLARE_PROPERTIES(TOrnTransformation)

private:
    void SubChange(TObject* sender);
    std::unique_ptr<TOrnRotation> fRotation;
    std::unique_ptr<TOrnScale> fScale;
    std::unique_ptr<TOrnTranslation> fTranslation;
    TOrnTransformationOrder fOrder = toRotTraSca;
};

} // namespace orn
