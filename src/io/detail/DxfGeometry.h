#pragma once

// The curve and surface arithmetic of the DXF reader: object coordinate systems, colours, and the
// tessellation of arcs, bulges, ellipses, splines and filled boundaries.

#include <orn/math/OrnMath.h>

#include <cstdint>
#include <vector>

namespace orn::detail::dxf {

using Vec = TOrnMathVector;

inline Vec operator+(const Vec& a, const Vec& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec operator-(const Vec& a, const Vec& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec operator*(const Vec& a, double s) {
    return {a.x * s, a.y * s, a.z * s};
}
inline Vec Cross(const Vec& a, const Vec& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double Length(const Vec& v);
Vec Normalized(const Vec& v);

/// An entity's object coordinate system from its extrusion direction (the arbitrary-axis
/// algorithm): x, y, z axes in world coordinates. A zero or invalid direction counts as +Z.
struct Ocs {
    Vec ax{1, 0, 0}, ay{0, 1, 0}, az{0, 0, 1};
    bool identity = true;
    Vec ToWorld(const Vec& p) const { return identity ? p : ax * p.x + ay * p.y + az * p.z; }
};
Ocs MakeOcs(const Vec& extrusion);

/// The RGB (0xRRGGBB) of an AutoCAD colour index 1 … 255; white outside.
std::uint32_t AciColor(int index);

/// Segments for a full circle of radius r: at most `most`, fewer (not below 8) where the chord
/// may deviate from the arc by tolerance (≤ 0: always `most`).
int CircleSegments(int most, double tolerance, double radius);

/// Points of an arc of centre c and radius r from angle a0 to a1 (radians, counter-clockwise),
/// both ends included; segmentsPerCircle is the count for a full turn, at least 2 for any arc.
void ArcPoints(double cx, double cy, double r, double a0, double a1, int segmentsPerCircle,
               std::vector<Vec>& out, double z = 0);
/// Appends the points after p0 up to p1 of a polyline segment with bulge b (tan of a quarter of
/// the included angle; negative turns clockwise).
void BulgePoints(const Vec& p0, const Vec& p1, double bulge, int segmentsPerCircle, double tolerance,
                 std::vector<Vec>& out);

/// A non-uniform rational B-spline evaluated by de Boor's algorithm at samplesPerSpan points per
/// non-empty knot span. False (out untouched) when degree, knots and weights disagree.
bool SplinePoints(int degree, const std::vector<double>& knots, const std::vector<Vec>& control,
                  const std::vector<double>& weights, int samplesPerSpan, std::vector<Vec>& out);

/// The cubic spline through fit (chord-length parameters, no bend at the ends) sampled at
/// samplesPerSpan points between each two fit points; out gets every sample, fit points included.
void FitSplinePoints(const std::vector<Vec>& fit, int samplesPerSpan, std::vector<Vec>& out);

/// Triangles of the area inside the loops under the odd winding rule (islands become holes), in
/// the loops' XY plane; appended to out as corner triples.
void FillLoops(const std::vector<std::vector<Vec>>& loops, std::vector<Vec>& out);

} // namespace orn::detail::dxf
