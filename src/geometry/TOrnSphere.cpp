#include <orn/geometry/TOrnSphere.h>
#include <orn/scene/TOrnRegistry.h>

#include "geometry/detail/ShapeBuilder.h"

#include <cmath>
#include <numbers>
#include <vector>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnSphere, "Orn Obj")

void TOrnSphere::SetRadius(float value) {
    if (assignIfChanged(fRadius, value)) Invalidate();
}

void TOrnSphere::SetSlices(int value) {
    if (IsValidDetail(value) && assignIfChanged(fSlices, value)) Invalidate();
}

void TOrnSphere::SetStacks(int value) {
    if (IsValidDetail(value) && assignIfChanged(fStacks, value)) Invalidate();
}

void TOrnSphere::SetStartAngle(float value) {
    if (assignIfChanged(fStartAngle, value)) Invalidate();
}

void TOrnSphere::SetSweepAngle(float value) {
    if (assignIfChanged(fSweepAngle, value)) Invalidate();
}

void TOrnSphere::SetTopAngle(float value) {
    if (assignIfChanged(fTopAngle, value)) Invalidate();
}

void TOrnSphere::SetBottomAngle(float value) {
    if (assignIfChanged(fBottomAngle, value)) Invalidate();
}

void TOrnSphere::InitPoints() {
    CheckBuildSize((std::int64_t{fSlices} + 1) * (std::int64_t{fStacks} + 1), "Sphere");
    const int cols = fSlices + 1, rows = fStacks + 1;
    constexpr double deg = std::numbers::pi / 180;
    const bool around = std::fabs(fSweepAngle) >= 360;
    std::vector<double> sinPhi(static_cast<std::size_t>(cols)), cosPhi(static_cast<std::size_t>(cols));
    for (int i = 0; i < cols; ++i) {
        const double phi = (fStartAngle + static_cast<double>(fSweepAngle) * i / fSlices) * deg;
        sinPhi[static_cast<std::size_t>(i)] = std::sin(phi);
        cosPhi[static_cast<std::size_t>(i)] = std::cos(phi);
    }
    detail::PointWriter out(*fPoints, cols * rows);
    const double r = fRadius;
    for (int j = 0; j < rows; ++j) {
        const double theta = (fTopAngle + static_cast<double>(fBottomAngle - fTopAngle) * j / fStacks) * deg;
        const double st = std::sin(theta), ct = std::cos(theta);
        const bool pole = std::fabs(st) < 1e-12; // a whole row at one place
        const double t = 1.0 - static_cast<double>(j) / fStacks;
        for (int i = 0; i < cols; ++i) {
            const double nx = st * sinPhi[static_cast<std::size_t>(i)],
                         nz = st * cosPhi[static_cast<std::size_t>(i)];
            const bool seam = pole || (around && (i == 0 || i == fSlices));
            out.Put(r * nx, r * ct, r * nz, nx, ct, nz, static_cast<double>(i) / fSlices, t, seam ? 1 : 0);
        }
    }
}

void TOrnSphere::InitPrimitives() {
    const double deg = std::numbers::pi / 180;
    auto pole = [&](int j) {
        return std::fabs(std::sin((fTopAngle + static_cast<double>(fBottomAngle - fTopAngle) * j / fStacks) *
                                  deg)) < 1e-12;
    };
    detail::AddGridStrips(*this, 0, fSlices + 1, fStacks, true, pole);
}

bool TOrnSphere::ShapeBounds(TOrnBounds& bounds) const {
    const double r = std::fabs(fRadius);
    bounds.Add(TOrnMathVector{-r, -r, -r});
    bounds.Add(TOrnMathVector{r, r, r});
    return true;
}

ORN_DESCRIBE_PROPERTIES(TOrnSphere, &TOrnPrimitiveObj::ClassProperties()) {
    ORN_PROP(b, TOrnSphere, Radius, 1.0f);
    ORN_PROP(b, TOrnSphere, Slices, 24);
    ORN_PROP(b, TOrnSphere, Stacks, 16);
    ORN_PROP(b, TOrnSphere, StartAngle, 0.0f);
    ORN_PROP(b, TOrnSphere, SweepAngle, 360.0f);
    ORN_PROP(b, TOrnSphere, TopAngle, 0.0f);
    ORN_PROP(b, TOrnSphere, BottomAngle, 180.0f);
}

} // namespace orn
