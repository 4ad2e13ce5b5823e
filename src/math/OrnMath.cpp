#include <orn/math/OrnMath.h>

#include <cmath>

namespace orn {

TOrnMathVector ToVec(double x, double y, double z) { return {x, y, z}; }

TOrnMathVector4d ToVec4D(double x, double y, double z, double w) { return {x, y, z, w}; }

void OrnMathVectorAddition(const TOrnMathVector& a, const TOrnMathVector& b, TOrnMathVector& r) {
    const TOrnMathVector a0 = a, b0 = b;
    r = {a0.x + b0.x, a0.y + b0.y, a0.z + b0.z};
}

void OrnMathScalarProduct(const TOrnMathVector& a, double s, TOrnMathVector& r) {
    const TOrnMathVector a0 = a;
    r = {a0.x * s, a0.y * s, a0.z * s};
}

void OrnMathCrossProduct(const TOrnMathVector& a, const TOrnMathVector& b, TOrnMathVector& r) {
    const TOrnMathVector a0 = a, b0 = b;
    r = {a0.y * b0.z - a0.z * b0.y, a0.z * b0.x - a0.x * b0.z, a0.x * b0.y - a0.y * b0.x};
}

double OrnMathDotProduct(const TOrnMathVector& a, const TOrnMathVector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

void OrnMathNormalVector(const TOrnMathVector& p1, const TOrnMathVector& p2, const TOrnMathVector& p3,
                         bool normalize, TOrnMathVector& r) {
    const TOrnMathVector u{p1.x - p2.x, p1.y - p2.y, p1.z - p2.z};
    const TOrnMathVector w{p2.x - p3.x, p2.y - p3.y, p2.z - p3.z};
    OrnMathCrossProduct(u, w, r);
    if (normalize) OrnMathNormalize(r);
}

void OrnMathNormalize(TOrnMathVector& v) {
    const double l = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
    if (l > 0) { // false for NaN too
        v.x /= l;
        v.y /= l;
        v.z /= l;
    }
}

double OrnMathVectorLength(const TOrnMathVector& v) { return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z); }

double OrnMathVectorDist(const TOrnMathVector& a, const TOrnMathVector& b) {
    return OrnMathVectorLength({a.x - b.x, a.y - b.y, a.z - b.z});
}

void OrnMathVectorInterpolate(const TOrnMathVector& a, const TOrnMathVector& b, TOrnMathVector& r) {
    const TOrnMathVector a0 = a, b0 = b;
    r = {(a0.x + b0.x) / 2.0, (a0.y + b0.y) / 2.0, (a0.z + b0.z) / 2.0};
}

TOrnMathVector4d OrnMathPlanefromPoints(const TOrnMathVector& p1, const TOrnMathVector& p2,
                                        const TOrnMathVector& p3) {
    TOrnMathVector n;
    OrnMathNormalVector(p1, p2, p3, true, n);
    return {n.x, n.y, n.z, OrnMathDotProduct(p1, n)};
}

} // namespace orn
