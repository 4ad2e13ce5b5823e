#pragma once

#include <orn/math/TOrnPropList.h>
#include <orn/objects/TOrnCustomRotObj.h>

namespace orn {

/// The built-in profiles of TOrn3dObj.
enum class TOrn3dObjects { Sphere, Cylinder, Torus };
/// Which ends of the profile get a closing disc.
enum class TOrnClosed { None, Top, Bottom, TopBottom };

extern const char* const kOrn3dObjectNames[3];
extern const char* const kOrnClosedNames[4];

/// A sphere, a cylinder (a frustum when the radii differ) or a torus as a surface of revolution
/// about z, with optional caps at the ends of the profile.
///
/// Sphere: x (distance from the axis) up to Height, z from −Radius to +Radius. Cylinder: radius
/// Radius at z = −Height / 2 to TopRadius at z = +Height / 2. Torus: ring radius Radius, tube
/// half-widths TopRadius across and Height along the axis; it has no caps. Each cap is one more
/// unit of the row parameter (Closed drives OverDraw). While textured, the profile sets the
/// texture rule as it generates points, and the last setting wins: a cylinder and a sphere with
/// caps come out in txLinearXY, a torus in txStandard.
///
/// Stacks or Slices of 0 or below build an empty object.
class TOrn3dObj : public TOrnCustomRotObj {
    ORN_CLASS(TOrn3dObj)
public:
    explicit TOrn3dObj(TComponent* owner);

    TOrn3dObjects ObjArt() const { return fObjArt; }
    void SetObjArt(TOrn3dObjects value);
    float Height() const { return fHeight; }
    void SetHeight(float value);
    float TopRadius() const { return fTopRadius; }
    void SetTopRadius(float value) { SetRadius(0, value); }
    float Radius() const { return fRadius; }
    /// Index 0 TopRadius, 1 Radius; other indices are ignored.
    void SetRadius(int index, float value);
    void SetRadius(float value) { SetRadius(1, value); }
    TOrnClosed Closed() const { return fClosed; }
    /// Sets OverDraw to 1 + the number of caps, then stores the value.
    void SetClosed(TOrnClosed value);

    /// Only while Textured: sets the texture mode with the scales and shifts that suit it
    /// (txStandard 1, 1, 0, 0; txLinearZ ScaleY = Height; txLinearXY scales 2 × Radius, ShiftY
    /// Radius); other modes set the mode only.
    void SetTexMode(TOrnTextureMode mode);

    /// The profile point at row parameter t (0 … OverDraw).
    TOrnMathVector calcz(const TOrnMathVector& V, double t) override;

    ORN_DECLARE_PROPERTIES(TOrn3dObj)

protected:
private:
    TOrnMathVector SphereProfile(double t);
    TOrnMathVector CylinderProfile(double t);
    TOrnMathVector TorusProfile(double t);
    bool HasBottom() const { return fClosed == TOrnClosed::Bottom || fClosed == TOrnClosed::TopBottom; }
    bool HasTop() const { return fClosed == TOrnClosed::Top || fClosed == TOrnClosed::TopBottom; }

    TOrn3dObjects fObjArt = TOrn3dObjects::Sphere;
    float fHeight = 1.0f;
    float fTopRadius = 1.0f;
    float fRadius = 1.0f;
    TOrnClosed fClosed = TOrnClosed::None;
};

} // namespace orn
