#pragma once

#include <orn/math/TOrnBounds.h>
#include <orn/math/TOrnTransformation.h>

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace orn::detail {

/// The clip volume of the matrices current in GL, as a test on boxes: picking draws only what may
/// meet it.
class ClipVolume {
public:
    /// Reads the projection and model view now current.
    ClipVolume() {
        double mv[16], pr[16];
        glGetDoublev(GL_MODELVIEW_MATRIX, mv);
        glGetDoublev(GL_PROJECTION_MATRIX, pr);
        Multiply(pr, mv, fClip);
    }

    /// Whether box, in the current coordinates, lies wholly beyond one plane of the volume: then
    /// no primitive inside it survives clipping, so none makes a selection hit.
    bool Excludes(const TOrnBounds& box) const { return Excludes(box, fClip); }

    /// The same for box placed by t on top of the current coordinates.
    bool Excludes(const TOrnBounds& box, const TOrnTransformation& t) const {
        if (t.GetEmpty()) return Excludes(box, fClip);
        double local[16], m[16];
        OrnTransformationMatrix(t, local);
        Multiply(fClip, local, m);
        return Excludes(box, m);
    }

    /// box under the matrix m (clip coordinates of box's own), as above.
    static bool Excludes(const TOrnBounds& box, const double m[16]) { return Excludes(box, m, 0.0); }

    /// The same with a margin: a box is excluded only when it lies beyond a plane by more than
    /// slack (relative to w), so that boxes holding other boxes never exclude more than those do.
    static bool Excludes(const TOrnBounds& box, const double m[16], double slack) {
        if (box.Empty()) return false;
        int outside[6] = {};
        for (int corner = 0; corner < 8; ++corner) {
            const double x = corner & 1 ? box.Hi.x : box.Lo.x, y = corner & 2 ? box.Hi.y : box.Lo.y,
                         z = corner & 4 ? box.Hi.z : box.Lo.z;
            double c[4];
            for (int row = 0; row < 4; ++row)
                c[row] = m[row] * x + m[4 + row] * y + m[8 + row] * z + m[12 + row];
            const double w = c[3] + slack * std::fabs(c[3]);
            for (int axis = 0; axis < 3; ++axis) {
                outside[2 * axis] += c[axis] < -w;
                outside[2 * axis + 1] += c[axis] > w;
            }
        }
        return std::any_of(std::begin(outside), std::end(outside), [](int n) { return n == 8; });
    }

    /// The clip matrix: projection × model view.
    const double* Matrix() const { return fClip; }

    /// r := a × b, column-major.
    static void Multiply(const double a[16], const double b[16], double r[16]) {
        for (int col = 0; col < 4; ++col)
            for (int row = 0; row < 4; ++row) {
                double s = 0;
                for (int k = 0; k < 4; ++k)
                    s += a[k * 4 + row] * b[col * 4 + k];
                r[col * 4 + row] = s;
            }
    }

private:
    double fClip[16];
};

} // namespace orn::detail
