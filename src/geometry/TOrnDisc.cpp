#include <orn/geometry/TOrnDisc.h>
#include <orn/scene/TOrnRegistry.h>

#include "geometry/detail/ShapeBuilder.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnDisc, "Orn Obj")

void TOrnDisc::SetInnerRadius(float value) {
    if (assignIfChanged(fInnerRadius, value)) Invalidate();
}

void TOrnDisc::SetOuterRadius(float value) {
    if (assignIfChanged(fOuterRadius, value)) Invalidate();
}

void TOrnDisc::SetSlices(int value) {
    if (IsValidDetail(value) && assignIfChanged(fSlices, value)) Invalidate();
}

void TOrnDisc::SetLoops(int value) {
    if (IsValidDetail(value) && assignIfChanged(fLoops, value)) Invalidate();
}

void TOrnDisc::SetStartAngle(float value) {
    if (assignIfChanged(fStartAngle, value)) Invalidate();
}

void TOrnDisc::SetSweepAngle(float value) {
    if (assignIfChanged(fSweepAngle, value)) Invalidate();
}

void TOrnDisc::InitPoints() {
    CheckBuildSize((std::int64_t{fSlices} + 1) * (std::int64_t{fLoops} + 1), "Disc");
    const int cols = fSlices + 1, rows = fLoops + 1;
    constexpr double deg = std::numbers::pi / 180;
    const bool around = std::fabs(fSweepAngle) >= 360;
    const double extent = std::max(std::fabs(fOuterRadius), std::fabs(fInnerRadius));
    const double k = extent > 0 ? 0.5 / extent : 0.5; // planar texture over the whole disc
    detail::PointWriter out(*fPoints, cols * rows);
    for (int j = 0; j < rows; ++j) {
        const double r = fInnerRadius + (static_cast<double>(fOuterRadius) - fInnerRadius) * j / fLoops;
        for (int i = 0; i < cols; ++i) {
            const double phi = (fStartAngle + static_cast<double>(fSweepAngle) * i / fSlices) * deg;
            const double x = r * std::sin(phi), z = r * std::cos(phi);
            const bool seam = r == 0 || (around && (i == 0 || i == fSlices));
            out.Put(x, 0, z, 0, 1, 0, 0.5 + k * x, 0.5 + k * z, seam ? 1 : 0);
        }
    }
}

void TOrnDisc::InitPrimitives() {
    auto centre = [&](int j) {
        return fInnerRadius + (static_cast<double>(fOuterRadius) - fInnerRadius) * j / fLoops == 0;
    };
    detail::AddGridStrips(*this, 0, fSlices + 1, fLoops, true, centre);
}

bool TOrnDisc::ShapeBounds(TOrnBounds& bounds) const {
    const double r = std::max(std::fabs(fInnerRadius), std::fabs(fOuterRadius));
    bounds.Add(TOrnMathVector{-r, 0, -r});
    bounds.Add(TOrnMathVector{r, 0, r});
    return true;
}

ORN_DESCRIBE_PROPERTIES(TOrnDisc, &TOrnPrimitiveObj::ClassProperties()) {
    ORN_PROP(b, TOrnDisc, InnerRadius, 0.0f);
    ORN_PROP(b, TOrnDisc, OuterRadius, 1.0f);
    ORN_PROP(b, TOrnDisc, Slices, 24);
    ORN_PROP(b, TOrnDisc, Loops, 1);
    ORN_PROP(b, TOrnDisc, StartAngle, 0.0f);
    ORN_PROP(b, TOrnDisc, SweepAngle, 360.0f);
}

} // namespace orn
