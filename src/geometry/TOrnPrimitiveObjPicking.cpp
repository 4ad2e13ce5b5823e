// Where a ray meets the faces of a primitive object: the point of a pick hit.
#include <orn/geometry/TOrnPrimitiveObj.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace orn {

namespace {

// The nearest crossing of a ray with the faces of one index list over the positions v.
template <class Coord> class FaceCaster {
public:
    FaceCaster(const Coord* v, std::uint32_t points, const TOrnMathVector& origin, const TOrnMathVector& dir)
        : fV(v), fPoints(points), fO(origin), fD(dir) {}

    double Nearest() const { return fBest; }

    void List(GLenum type, const std::uint32_t* e, int n) {
        switch (type) {
        case GL_TRIANGLES:
            for (int k = 0; k + 2 < n; k += 3)
                Triangle(e[k], e[k + 1], e[k + 2]);
            break;
        case GL_TRIANGLE_STRIP:
            for (int k = 0; k + 2 < n; ++k)
                Triangle(e[k], e[k + 1], e[k + 2]);
            break;
        case GL_TRIANGLE_FAN:
        case GL_POLYGON: // convex, as GL draws it
            for (int k = 1; k + 1 < n; ++k)
                Triangle(e[0], e[k], e[k + 1]);
            break;
        case GL_QUADS:
            for (int k = 0; k + 3 < n; k += 4) {
                Triangle(e[k], e[k + 1], e[k + 2]);
                Triangle(e[k], e[k + 2], e[k + 3]);
            }
            break;
        case GL_QUAD_STRIP:
            for (int k = 0; k + 3 < n; k += 2) {
                Triangle(e[k], e[k + 1], e[k + 3]);
                Triangle(e[k], e[k + 3], e[k + 2]);
            }
            break;
        default: // points and lines have no faces
            break;
        }
    }

private:
    TOrnMathVector At(std::uint32_t i) const {
        return {static_cast<double>(fV[3 * i]), static_cast<double>(fV[3 * i + 1]),
                static_cast<double>(fV[3 * i + 2])};
    }

    // A ray through a corner or along an edge that faces share meets them, rounding or not.
    static constexpr double kEdge = 1e-12;

    // Möller–Trumbore, both sides of the face.
    void Triangle(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        if (a >= fPoints || b >= fPoints || c >= fPoints) return; // drawn as nothing
        const TOrnMathVector p0 = At(a), p1 = At(b), p2 = At(c);
        const TOrnMathVector e1{p1.x - p0.x, p1.y - p0.y, p1.z - p0.z};
        const TOrnMathVector e2{p2.x - p0.x, p2.y - p0.y, p2.z - p0.z};
        TOrnMathVector p, q;
        OrnMathCrossProduct(fD, e2, p);
        const double det = e1.x * p.x + e1.y * p.y + e1.z * p.z;
        if (std::fabs(det) < 1e-300) return; // parallel to the face, or a face without area
        const TOrnMathVector s{fO.x - p0.x, fO.y - p0.y, fO.z - p0.z};
        const double u = (s.x * p.x + s.y * p.y + s.z * p.z) / det;
        if (u < -kEdge || u > 1 + kEdge) return;
        OrnMathCrossProduct(s, e1, q);
        const double w = (fD.x * q.x + fD.y * q.y + fD.z * q.z) / det;
        if (w < -kEdge || u + w > 1 + kEdge) return;
        const double t = (e2.x * q.x + e2.y * q.y + e2.z * q.z) / det;
        if (t >= 0 && t < fBest) fBest = t;
    }

    const Coord* fV;
    std::uint32_t fPoints;
    TOrnMathVector fO, fD;
    double fBest = std::numeric_limits<double>::infinity();
};

} // namespace

bool TOrnPrimitiveObj::IntersectRay(int index, const TOrnMathVector& origin, const TOrnMathVector& direction,
                                    double& distance) {
    const auto* v = fPoints->Vertices();
    if (!v || fPoints->Count() <= 0) return false;
    using Coord = std::remove_cv_t<std::remove_pointer_t<decltype(v)>>;
    FaceCaster<Coord> caster(v, static_cast<std::uint32_t>(fPoints->Count()), origin, direction);
    for (int i = 0; i < GetPrimitiveCount(); ++i) {
        const TOrnPrimitiveArray& list = *fPrimitives[static_cast<std::size_t>(i)];
        if (index >= 0 ? i == index : list.Enabled()) caster.List(list.Type(), list.Data(), list.Count());
    }
    if (!std::isfinite(caster.Nearest())) return false;
    distance = caster.Nearest();
    return true;
}

} // namespace orn
