#pragma once

#include <orn/math/TOrnPropList.h>
#include <orn/scene/TOrnRender.h>

#include <array>
#include <cstdint>

namespace orn {

enum TOrnClipIds : std::uint8_t {
    idClipPlane0,
    idClipPlane1,
    idClipPlane2,
    idClipPlane3,
    idClipPlane4,
    idClipPlane5
};

inline constexpr std::array<const char*, 6> kClipIdNames{"idClipPlane0", "idClipPlane1", "idClipPlane2",
                                                         "idClipPlane3", "idClipPlane4", "idClipPlane5"};

/// One of the six user clip planes: keeps the points where x·X + y·Y + z·Z + w ≥ 0, in the
/// coordinates of the model-view matrix current when it renders. Switched off when disabled.
class TOrnClip : public TOrnRender {
    ORN_CLASS(TOrnClip)
public:
    explicit TOrnClip(TComponent* owner) : TOrnRender(owner) {}

    TOrnClipIds ID() const { return fID; }
    /// Takes effect at the next render.
    void SetID(TOrnClipIds value) { fID = value; }
    double x() const { return fPlane[0]; }
    double y() const { return fPlane[1]; }
    double z() const { return fPlane[2]; }
    double w() const { return fPlane[3]; }
    void Setx(double value) { SetPlane(0, value); }
    void Sety(double value) { SetPlane(1, value); }
    void Setz(double value) { SetPlane(2, value); }
    void Setw(double value) { SetPlane(3, value); }
    /// x, y, z, w for index 0 … 3; −1 for any other index.
    double GetPlane(int index) const;
    /// Stores x, y, z or w for index 0 … 3 (others do nothing). Takes effect at the next render,
    /// without a change notification.
    void SetPlane(int index, double value);
    /// GL_CLIP_PLANE0 + ID.
    GLenum GetPlaneID() const { return GL_CLIP_PLANE0 + (fID < 6 ? fID : 0); }

    ORN_DECLARE_PROPERTIES(TOrnClip)

protected:
    void DoRender(TOrnCustomView* view) override;
    void DoDisable(TOrnCustomView* view) override;

private:
    TOrnClipIds fID = idClipPlane0;
    std::array<double, 4> fPlane{1.0, 0.0, 0.0, 1.0}; // x, y, z, w: one plane equation for GL
};

} // namespace orn
