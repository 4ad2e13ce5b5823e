#include <orn/geometry/TOrnBox.h>
#include <orn/scene/TOrnRegistry.h>

#include "geometry/detail/ShapeBuilder.h"

#include <array>
#include <cmath>
#include <numbers>
#include <vector>

namespace orn {

ORN_REGISTER_RENDER_CLASS(TOrnBox, "Orn Obj")

void TOrnBox::SetWidth(float value) {
    if (assignIfChanged(fWidth, value)) Invalidate();
}

void TOrnBox::SetHeight(float value) {
    if (assignIfChanged(fHeight, value)) Invalidate();
}

void TOrnBox::SetDepth(float value) {
    if (assignIfChanged(fDepth, value)) Invalidate();
}

void TOrnBox::SetDetailX(int value) {
    if (IsValidDetail(value) && assignIfChanged(fDetailX, value)) Invalidate();
}

void TOrnBox::SetDetailY(int value) {
    if (IsValidDetail(value) && assignIfChanged(fDetailY, value)) Invalidate();
}

void TOrnBox::SetDetailZ(int value) {
    if (IsValidDetail(value) && assignIfChanged(fDetailZ, value)) Invalidate();
}

namespace {

/// One face: corner, the two spanning edges (u × v points out) and their cell counts.
struct Face {
    TOrnMathVector origin, u, v;
    int nu, nv;
};

std::array<Face, 6> faces(double w, double h, double d, int dx, int dy, int dz) {
    const TOrnMathVector X{w, 0, 0}, Y{0, h, 0}, Z{0, 0, d};
    return {{{{w / 2, -h / 2, -d / 2}, Y, Z, dy, dz},
             {{-w / 2, -h / 2, -d / 2}, Z, Y, dz, dy},
             {{-w / 2, h / 2, -d / 2}, Z, X, dz, dx},
             {{-w / 2, -h / 2, -d / 2}, X, Z, dx, dz},
             {{-w / 2, -h / 2, d / 2}, X, Y, dx, dy},
             {{-w / 2, -h / 2, -d / 2}, Y, X, dy, dx}}};
}

} // namespace

void TOrnBox::InitPoints() {
    const auto all = faces(fWidth, fHeight, fDepth, fDetailX, fDetailY, fDetailZ);
    std::int64_t total = 0;
    for (const Face& f : all)
        total += (std::int64_t{f.nu} + 1) * (std::int64_t{f.nv} + 1);
    CheckBuildSize(total, "Box");
    detail::PointWriter out(*fPoints, static_cast<int>(total));
    for (const Face& f : all) {
        TOrnMathVector n;
        OrnMathCrossProduct(f.u, f.v, n);
        OrnMathNormalize(n);
        for (int j = 0; j <= f.nv; ++j) {
            const double b = static_cast<double>(j) / f.nv;
            for (int i = 0; i <= f.nu; ++i) {
                const double a = static_cast<double>(i) / f.nu;
                out.Put(f.origin.x + a * f.u.x + b * f.v.x, f.origin.y + a * f.u.y + b * f.v.y,
                        f.origin.z + a * f.u.z + b * f.v.z, n.x, n.y, n.z, a, b);
            }
        }
    }
}

void TOrnBox::InitPrimitives() {
    int first = 0;
    for (const Face& f : faces(fWidth, fHeight, fDepth, fDetailX, fDetailY, fDetailZ)) {
        detail::AddGridStrips(*this, first, f.nu + 1, f.nv, false);
        first += (f.nu + 1) * (f.nv + 1);
    }
}

bool TOrnBox::ShapeBounds(TOrnBounds& bounds) const {
    const double x = std::fabs(fWidth) / 2, y = std::fabs(fHeight) / 2, z = std::fabs(fDepth) / 2;
    bounds.Add(TOrnMathVector{-x, -y, -z});
    bounds.Add(TOrnMathVector{x, y, z});
    return true;
}

ORN_DESCRIBE_PROPERTIES(TOrnBox, &TOrnPrimitiveObj::ClassProperties()) {
    ORN_PROP(b, TOrnBox, Width, 1.0f);
    ORN_PROP(b, TOrnBox, Height, 1.0f);
    ORN_PROP(b, TOrnBox, Depth, 1.0f);
    ORN_PROP(b, TOrnBox, DetailX, 1);
    ORN_PROP(b, TOrnBox, DetailY, 1);
    ORN_PROP(b, TOrnBox, DetailZ, 1);
}

} // namespace orn
