#include <orn/geometry/TOrnCylinder.h>
#include <orn/scene/TOrnRegistry.h>

#include "geometry/detail/ShapeBuilder.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnCylinder, "Orn Obj")

void TOrnCylinder::SetBaseRadius(float value) {
    if (assignIfChanged(fBaseRadius, value)) Invalidate();
}

void TOrnCylinder::SetTopRadius(float value) {
    if (assignIfChanged(fTopRadius, value)) Invalidate();
}

void TOrnCylinder::SetHeight(float value) {
    if (assignIfChanged(fHeight, value)) Invalidate();
}

void TOrnCylinder::SetSlices(int value) {
    if (IsValidDetail(value) && assignIfChanged(fSlices, value)) Invalidate();
}

void TOrnCylinder::SetStacks(int value) {
    if (IsValidDetail(value) && assignIfChanged(fStacks, value)) Invalidate();
}

void TOrnCylinder::SetCaps(bool value) {
    if (assignIfChanged(fCaps, value)) Invalidate();
}

namespace {

constexpr double kDeg = std::numbers::pi / 180;

} // namespace

void TOrnCylinder::InitPoints() {
    CheckBuildSize((std::int64_t{fSlices} + 1) * (std::int64_t{fStacks} + 3), "Cylinder");
    const int cols = fSlices + 1, rows = fStacks + 1;
    const bool bottom = fCaps && fBaseRadius != 0, top = fCaps && fTopRadius != 0;
    detail::PointWriter out(*fPoints, cols * rows + (bottom ? cols + 1 : 0) + (top ? cols + 1 : 0));
    const double h = fHeight, slope = static_cast<double>(fBaseRadius) - fTopRadius;
    for (int j = 0; j < rows; ++j) {
        const double f = static_cast<double>(j) / fStacks;
        const double r = fBaseRadius + (static_cast<double>(fTopRadius) - fBaseRadius) * f;
        for (int i = 0; i < cols; ++i) {
            const double phi = 360.0 * i / fSlices * kDeg;
            TOrnMathVector n{h * std::sin(phi), slope, h * std::cos(phi)};
            OrnMathNormalize(n);
            const bool seam = i == 0 || i == fSlices;
            out.Put(r * std::sin(phi), h * f, r * std::cos(phi), n.x, n.y, n.z,
                    static_cast<double>(i) / fSlices, f, seam ? 1 : 0);
        }
    }
    auto cap = [&](double y, double r, double ny) {
        out.Put(0, y, 0, 0, ny, 0, 0.5, 0.5);
        for (int i = 0; i < cols; ++i) {
            const double phi = 360.0 * i / fSlices * kDeg, s = std::sin(phi), c = std::cos(phi);
            out.Put(r * s, y, r * c, 0, ny, 0, 0.5 + 0.5 * s, 0.5 + 0.5 * c);
        }
    };
    if (bottom) cap(0, fBaseRadius, -1);
    if (top) cap(h, fTopRadius, 1);
}

void TOrnCylinder::InitPrimitives() {
    const int cols = fSlices + 1;
    // Band j starts on row j + 1; a tip there needs the band the other way round.
    auto tip = [&](int j) {
        return fBaseRadius + (static_cast<double>(fTopRadius) - fBaseRadius) * (j + 1) / fStacks == 0;
    };
    detail::AddGridStrips(*this, 0, cols, fStacks, false, tip);
    int next = cols * (fStacks + 1);
    // Fans run centre first; the ring order decides which way the cap faces.
    auto fan = [&](bool up) {
        TOrnPrimitiveArray* list = Primitive(AddPrimitiveArray(GL_TRIANGLE_FAN));
        list->AddIndex(static_cast<std::uint32_t>(next));
        for (int k = 0; k < cols; ++k)
            list->AddIndex(static_cast<std::uint32_t>(next + 1 + (up ? k : cols - 1 - k)));
        next += cols + 1;
    };
    if (fCaps && fBaseRadius != 0) fan(false);
    if (fCaps && fTopRadius != 0) fan(true);
}

bool TOrnCylinder::ShapeBounds(TOrnBounds& bounds) const {
    const double r = std::max(std::fabs(fBaseRadius), std::fabs(fTopRadius));
    bounds.Add(TOrnMathVector{-r, 0, -r});
    bounds.Add(TOrnMathVector{r, fHeight, r});
    return true;
}

ORN_DESCRIBE_PROPERTIES(TOrnCylinder, &TOrnPrimitiveObj::ClassProperties()) {
    ORN_PROP(b, TOrnCylinder, BaseRadius, 1.0f);
    ORN_PROP(b, TOrnCylinder, TopRadius, 1.0f);
    ORN_PROP(b, TOrnCylinder, Height, 1.0f);
    ORN_PROP(b, TOrnCylinder, Slices, 24);
    ORN_PROP(b, TOrnCylinder, Stacks, 1);
    ORN_PROP(b, TOrnCylinder, Caps, true);
}

} // namespace orn
