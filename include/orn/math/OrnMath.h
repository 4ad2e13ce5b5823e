#pragma once

namespace orn {

/// Three doubles x, y, z: the value record of all vector arithmetic.
struct TOrnMathVector {
    double x = 0, y = 0, z = 0;
    bool operator==(const TOrnMathVector&) const = default;
};

/// Four doubles x, y, z, w: homogeneous coordinates, or a plane's a, b, c, d.
struct TOrnMathVector4d {
    double x = 0, y = 0, z = 0, w = 0;
    bool operator==(const TOrnMathVector4d&) const = default;
    double operator[](int i) const { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }
    double& operator[](int i) { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }
};

// Every routine copies its inputs first, so the output may be the same record as an input.

TOrnMathVector ToVec(double x, double y, double z);
TOrnMathVector4d ToVec4D(double x, double y, double z, double w);
/// r = a + b.
void OrnMathVectorAddition(const TOrnMathVector& a, const TOrnMathVector& b, TOrnMathVector& r);
/// r = a · s: the vector scaled by a number (not the dot product).
void OrnMathScalarProduct(const TOrnMathVector& a, double s, TOrnMathVector& r);
/// r = a × b.
void OrnMathCrossProduct(const TOrnMathVector& a, const TOrnMathVector& b, TOrnMathVector& r);
double OrnMathDotProduct(const TOrnMathVector& a, const TOrnMathVector& b);
/// r = (p1 − p2) × (p2 − p3): towards the viewer for a counter-clockwise triangle; normalised on request,
/// else twice the triangle's area long.
void OrnMathNormalVector(const TOrnMathVector& p1, const TOrnMathVector& p2, const TOrnMathVector& p3,
                         bool normalize, TOrnMathVector& r);
/// Scales v to length 1 in place; a zero (or not-a-number) length leaves v unchanged.
void OrnMathNormalize(TOrnMathVector& v);
double OrnMathVectorLength(const TOrnMathVector& v);
double OrnMathVectorDist(const TOrnMathVector& a, const TOrnMathVector& b);
/// r = (a + b) / 2, the midpoint.
void OrnMathVectorInterpolate(const TOrnMathVector& a, const TOrnMathVector& b, TOrnMathVector& r);
/// The plane (n.x, n.y, n.z, d) through three points with n·X = d (d not negated).
TOrnMathVector4d OrnMathPlanefromPoints(const TOrnMathVector& p1, const TOrnMathVector& p2,
                                        const TOrnMathVector& p3);

} // namespace orn
