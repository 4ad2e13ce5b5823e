#include <orn/math/TOrnBounds.h>
#include <orn/math/TOrnTransformation.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orn {

namespace {

// m := m · b, both column-major as OpenGL keeps them.
void multiply(double m[16], const double b[16]) {
    double r[16];
    for (int col = 0; col < 4; ++col)
        for (int row = 0; row < 4; ++row) {
            double s = 0;
            for (int k = 0; k < 4; ++k)
                s += m[k * 4 + row] * b[col * 4 + k];
            r[col * 4 + row] = s;
        }
    std::copy(r, r + 16, m);
}

void rotate(double m[16], double degrees, int axis) {
    const double a = degrees * std::numbers::pi / 180, c = std::cos(a), s = std::sin(a);
    double r[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const int i = (axis + 1) % 3, j = (axis + 2) % 3; // the plane the rotation turns
    r[i * 4 + i] = c;
    r[j * 4 + j] = c;
    r[i * 4 + j] = s;
    r[j * 4 + i] = -s;
    multiply(m, r);
}

} // namespace

void TOrnBounds::Add(const TOrnMathVector& p) {
    Lo = TOrnMathVector{std::min(Lo.x, p.x), std::min(Lo.y, p.y), std::min(Lo.z, p.z)};
    Hi = TOrnMathVector{std::max(Hi.x, p.x), std::max(Hi.y, p.y), std::max(Hi.z, p.z)};
}

void TOrnBounds::Add(const TOrnBounds& b) {
    if (b.Empty()) return;
    Add(b.Lo);
    Add(b.Hi);
}

TOrnMathVector TOrnBounds::Centre() const {
    if (Empty()) return {};
    return {(Lo.x + Hi.x) / 2, (Lo.y + Hi.y) / 2, (Lo.z + Hi.z) / 2};
}

double TOrnBounds::Radius() const {
    return Empty() ? 0 : OrnMathVectorDist(Lo, Hi) / 2;
}

void OrnTransformationMatrix(const TOrnTransformation& t, double m[16]) {
    std::fill(m, m + 16, 0.0);
    m[0] = m[5] = m[10] = m[15] = 1;
    if (t.GetEmpty() || t.Order() < toRotTraSca || t.Order() > toScaTraRot) return;
    static constexpr char kSteps[6][4] = {"RTS", "RST", "TRS", "TSR", "SRT", "STR"};
    static constexpr char kAxes[6][4] = {"xyz", "xzy", "yxz", "yzx", "zxy", "zyx"};
    for (const char* step = kSteps[t.Order()]; *step; ++step) {
        if (*step == 'R') {
            const TOrnRotation& r = *t.Rotation();
            if (r.GetEmpty() || r.Order() < roXYZ || r.Order() > roZYX) continue;
            for (const char* axis = kAxes[r.Order()]; *axis; ++axis) {
                const int k = *axis - 'x';
                rotate(m, k == 0 ? r.X() : k == 1 ? r.Y() : r.Z(), k);
            }
        } else if (*step == 'T') {
            // m · translation: the last column gains the others weighted by the distances.
            const double d[3] = {t.Translation()->X(), t.Translation()->Y(), t.Translation()->Z()};
            for (int row = 0; row < 4; ++row)
                m[12 + row] += m[row] * d[0] + m[4 + row] * d[1] + m[8 + row] * d[2];
        } else {
            // m · scale: each of the first three columns is scaled by its factor.
            const double f[3] = {t.Scale()->X(), t.Scale()->Y(), t.Scale()->Z()};
            for (int col = 0; col < 3; ++col)
                for (int row = 0; row < 4; ++row)
                    m[col * 4 + row] *= f[col];
        }
    }
}

TOrnBounds TOrnBounds::Transformed(const TOrnTransformation& t) const {
    if (Empty() || t.GetEmpty()) return *this;
    double m[16];
    OrnTransformationMatrix(t, m);
    TOrnBounds out;
    for (int corner = 0; corner < 8; ++corner) {
        const double x = corner & 1 ? Hi.x : Lo.x, y = corner & 2 ? Hi.y : Lo.y, z = corner & 4 ? Hi.z : Lo.z;
        out.Add(TOrnMathVector{m[0] * x + m[4] * y + m[8] * z + m[12], m[1] * x + m[5] * y + m[9] * z + m[13],
                               m[2] * x + m[6] * y + m[10] * z + m[14]});
    }
    return out;
}

} // namespace orn
