#include <orn/geometry/TOrnTorus.h>
#include <orn/scene/TOrnRegistry.h>

#include "geometry/detail/ShapeBuilder.h"

#include <cmath>
#include <numbers>
#include <vector>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnTorus, "Orn Obj")

void TOrnTorus::SetRingRadius(float value) {
    if (assignIfChanged(fRingRadius, value)) Invalidate();
}

void TOrnTorus::SetTubeRadius(float value) {
    if (assignIfChanged(fTubeRadius, value)) Invalidate();
}

void TOrnTorus::SetSides(int value) {
    if (IsValidDetail(value) && assignIfChanged(fSides, value)) Invalidate();
}

void TOrnTorus::SetRings(int value) {
    if (IsValidDetail(value) && assignIfChanged(fRings, value)) Invalidate();
}

void TOrnTorus::InitPoints() {
    CheckBuildSize((std::int64_t{fSides} + 1) * (std::int64_t{fRings} + 1), "Torus");
    const int cols = fSides + 1, rows = fRings + 1;
    constexpr double twoPi = 2 * std::numbers::pi;
    detail::PointWriter out(*fPoints, cols * rows);
    for (int i = 0; i < rows; ++i) {
        const double theta = twoPi * i / fRings, st = std::sin(theta), ct = std::cos(theta);
        for (int j = 0; j < cols; ++j) {
            const double psi = twoPi * j / fSides, sp = std::sin(psi), cp = std::cos(psi);
            const double nx = cp * st, ny = sp, nz = cp * ct;
            const bool seam = i == 0 || i == fRings || j == 0 || j == fSides;
            out.Put(fRingRadius * st + fTubeRadius * nx, fTubeRadius * ny,
                    fRingRadius * ct + fTubeRadius * nz, nx, ny, nz, static_cast<double>(i) / fRings,
                    static_cast<double>(j) / fSides, seam ? 1 : 0);
        }
    }
}

void TOrnTorus::InitPrimitives() {
    detail::AddGridStrips(*this, 0, fSides + 1, fRings, true);
}

bool TOrnTorus::ShapeBounds(TOrnBounds& bounds) const {
    const double r = std::fabs(fRingRadius) + std::fabs(fTubeRadius), t = std::fabs(fTubeRadius);
    bounds.Add(TOrnMathVector{-r, -t, -r});
    bounds.Add(TOrnMathVector{r, t, r});
    return true;
}

ORN_DESCRIBE_PROPERTIES(TOrnTorus, &TOrnPrimitiveObj::ClassProperties()) {
    ORN_PROP(b, TOrnTorus, RingRadius, 1.0f);
    ORN_PROP(b, TOrnTorus, TubeRadius, 0.25f);
    ORN_PROP(b, TOrnTorus, Sides, 16);
    ORN_PROP(b, TOrnTorus, Rings, 24);
}

} // namespace orn
