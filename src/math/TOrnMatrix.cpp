#include <orn/math/TOrnMatrix.h>

#include <GL/gl.h>

#include <cmath>
#include <cstring>

namespace orn {

namespace {

bool inRange(int i) { return i >= 0 && i <= 3; }

const TOrnMathVector4d kUnitViewport{0, 0, 1, 1};

struct IdentityMatrix : TOrnMatrix {
    IdentityMatrix() { SetIdentityMatrix(); }
};

const TOrnMatrix& identity() {
    static const IdentityMatrix m;
    return m;
}

} // namespace

double TOrnMatrix::GetValue(int i, int j) const { return inRange(i) && inRange(j) ? fValues[j * 4 + i] : 0.0; }

void TOrnMatrix::SetValue(int i, int j, double value) {
    if (inRange(i) && inRange(j)) fValues[j * 4 + i] = value;
}

void TOrnMatrix::SetConstMatrix(double value) {
    for (double& v : fValues) v = value;
}

void TOrnMatrix::SetIdentityMatrix() {
    SetConstMatrix(0);
    for (int i = 0; i < 4; ++i) fValues[i * 4 + i] = 1.0;
}

bool TOrnMatrix::IsIdentityMatrix() const {
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            const double expected = i == j ? 1.0 : 0.0;
            if (!(std::fabs(GetValue(i, j) - expected) < 1e-15)) return false;
        }
    return true;
}

void TOrnMatrix::Add(const TOrnMatrix& m) {
    for (int k = 0; k < 16; ++k) fValues[k] += m.fValues[k];
}

void TOrnMatrix::Mult(double s) {
    for (double& v : fValues) v *= s;
}

void TOrnMatrix::MultMatrix(const TOrnMatrix& m) {
    double t[16];
    for (int g = 0; g < 4; ++g)
        for (int e = 0; e < 4; ++e) {
            double sum = 0;
            for (int k = 0; k < 4; ++k) sum += fValues[g * 4 + k] * m.fValues[k * 4 + e];
            t[g * 4 + e] = sum;
        }
    std::memcpy(fValues, t, sizeof t);
}

void TOrnMatrix::MultVector(const TOrnMathVector4d& v, TOrnMathVector4d& r) const {
    const TOrnMathVector4d v0 = v;
    for (int i = 0; i < 4; ++i) {
        double sum = 0;
        for (int j = 0; j < 4; ++j) sum += GetValue(i, j) * v0[j];
        r[i] = sum;
    }
}

bool TOrnMatrix::Invert() {
    double a[4][8];
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 8; ++c) a[r][c] = c < 4 ? GetValue(r, c) : (c - 4 == r ? 1.0 : 0.0);
    for (int r = 0; r < 4; ++r) {
        const double pivot = a[r][r];
        if (pivot == 0) return false; // no row exchange: such a matrix counts as singular
        for (int c = 0; c < 8; ++c) a[r][c] /= pivot;
        for (int o = 0; o < 4; ++o) {
            if (o == r) continue;
            const double f = a[o][r];
            for (int c = 0; c < 8; ++c) a[o][c] -= f * a[r][c];
        }
    }
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) SetValue(r, c, a[r][c + 4]);
    return true;
}

void TOrnMatrix::Transpose() {
    double t[16];
    std::memcpy(t, fValues, sizeof t);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) fValues[i * 4 + j] = t[j * 4 + i];
}

void TOrnMatrix::GLMultMatrix() const { glMultMatrixd(fValues); }

void TOrnMatrix::PickGLModelviewMatrix() { glGetDoublev(GL_MODELVIEW_MATRIX, fValues); }

void TOrnMatrix::PickGLProjectionMatrix() { glGetDoublev(GL_PROJECTION_MATRIX, fValues); }

void TOrnMatrix::Project(const TOrnMathVector4d& v, const TOrnMathVector4d& viewport,
                         const TOrnMatrix& projection, TOrnMathVector4d& r) const {
    TOrnMathVector4d t;
    MultVector(v, t);
    projection.MultVector(t, r);
    const double divisor = r.w != 0 ? r.w : 1.0;
    for (int i = 0; i < 4; ++i) r[i] = (r[i] / divisor + 1) / 2;
    r.x = r.x * viewport.z + viewport.x;
    r.y = (1 - r.y) * viewport.w + viewport.y;
}

void TOrnMatrix::Project(const TOrnMathVector4d& v, const TOrnMathVector4d& viewport, TOrnMathVector4d& r) const {
    Project(v, viewport, identity(), r);
}

void TOrnMatrix::Project(const TOrnMathVector4d& v, TOrnMathVector4d& r) const {
    Project(v, kUnitViewport, identity(), r);
}

void TOrnMatrix::UnProject(const TOrnMathVector4d& v, const TOrnMathVector4d& viewport,
                           const TOrnMatrix& projection, TOrnMathVector4d& r) const {
    const TOrnMathVector4d n{(v.x - viewport.x) * 2 / viewport.z - 1, (v.y - viewport.y) * 2 / viewport.w - 1,
                             v.z * 2 - 1, v.w * 2 - 1};
    TOrnMatrix a;
    std::memcpy(a.fValues, fValues, sizeof fValues);
    a.MultMatrix(projection);
    a.Invert();
    a.MultVector(n, r);
    if (r.w != 0) {
        const double w = r.w;
        for (int i = 0; i < 4; ++i) r[i] /= w;
    }
}

void TOrnMatrix::UnProject(const TOrnMathVector4d& v, const TOrnMathVector4d& viewport,
                           TOrnMathVector4d& r) const {
    UnProject(v, viewport, identity(), r);
}

void TOrnMatrix::UnProject(const TOrnMathVector4d& v, TOrnMathVector4d& r) const {
    UnProject(v, kUnitViewport, identity(), r);
}

void TOrnMatrix::ProjectMatrix(const TOrnMatrix& m, const TOrnMathVector4d& v, TOrnMathVector4d& r) const {
    TOrnMatrix a, b;
    std::memcpy(a.fValues, fValues, sizeof fValues);
    a.Invert();
    std::memcpy(b.fValues, m.fValues, sizeof fValues);
    b.MultMatrix(a);
    b.MultVector(v, r);
}

void TOrnMatrix::ProjectMatrix(const TOrnMatrix& m, const TOrnMathVector& v, TOrnMathVector& r) const {
    TOrnMathVector4d r4;
    ProjectMatrix(m, TOrnMathVector4d{v.x, v.y, v.z, 1}, r4);
    r = {r4.x, r4.y, r4.z};
}

void TOrnMatrix::Assign(const TPersistent* source) {
    TOrnProperty::Assign(source);
    if (auto* m = dynamic_cast<const TOrnMatrix*>(source)) std::memcpy(fValues, m->fValues, sizeof fValues);
}

} // namespace orn
