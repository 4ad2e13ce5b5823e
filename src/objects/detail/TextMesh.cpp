#include "TextMesh.h"

#include <GL/glu.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace orn::detail {
namespace {

struct TessState {
    std::vector<OutlinePoint>* Points = nullptr;
    std::vector<std::uint32_t> Triangles;
};

// Vertex data handed to GLU is the point index plus one, so that no vertex is a null pointer.
void* ToData(std::size_t index) {
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(index + 1));
}
std::uint32_t FromData(void* data) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(data) - 1);
}

void GLAPIENTRY OnVertex(void* vertex, void* state) {
    static_cast<TessState*>(state)->Triangles.push_back(FromData(vertex));
}

void GLAPIENTRY OnCombine(GLdouble coords[3], void* /*vertices*/[4], GLfloat /*weights*/[4], void** out,
                          void* state) {
    auto& points = *static_cast<TessState*>(state)->Points;
    points.push_back({coords[0], coords[1]});
    *out = ToData(points.size() - 1);
}

// Registering an edge-flag callback makes GLU hand out separate triangles only.
void GLAPIENTRY OnEdgeFlag(GLboolean, void*) {}
void GLAPIENTRY OnError(GLenum, void*) {}

double Cross(const OutlinePoint& a, const OutlinePoint& b, const OutlinePoint& c) {
    return (b.X - a.X) * (c.Y - a.Y) - (b.Y - a.Y) * (c.X - a.X);
}

double SignedArea(const std::vector<OutlinePoint>& contour) {
    double sum = 0;
    for (std::size_t i = 0, n = contour.size(); i < n; ++i) {
        const OutlinePoint &p = contour[i], &q = contour[(i + 1) % n];
        sum += p.X * q.Y - q.X * p.Y;
    }
    return sum / 2;
}

bool Inside(const std::vector<OutlinePoint>& contour, const OutlinePoint& p) {
    bool inside = false;
    for (std::size_t i = 0, j = contour.size() - 1; i < contour.size(); j = i++) {
        const OutlinePoint &a = contour[i], &b = contour[j];
        if ((a.Y > p.Y) != (b.Y > p.Y) && p.X < (b.X - a.X) * (p.Y - a.Y) / (b.Y - a.Y) + a.X)
            inside = !inside;
    }
    return inside;
}

// Under the odd rule the filled side of an edge is the one enclosed by an odd number of contours:
// the contours around this one, plus this one itself on its left when it runs counter-clockwise.
// Only the contours of the same glyph count: a glyph's filled side does not depend on its neighbours.
bool FilledOnLeft(const std::vector<std::vector<OutlinePoint>>& contours, std::size_t c, std::size_t first,
                  std::size_t last) {
    const auto& contour = contours[c];
    const OutlinePoint probe{(contour[0].X + contour[1].X) / 2, (contour[0].Y + contour[1].Y) / 2};
    int around = 0;
    for (std::size_t k = first; k < last; ++k)
        if (k != c && Inside(contours[k], probe)) ++around;
    return (around + (SignedArea(contour) > 0 ? 1 : 0)) % 2 == 1;
}

TOrnMathVector Normalized(TOrnMathVector v) {
    const double length = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
    return length > 0 ? TOrnMathVector{v.x / length, v.y / length, v.z / length} : v;
}

class Extruder {
public:
    Extruder(const TextOutline& outline, double depth, double dx, double smoothAngle)
        : fOutline(outline), fDepth(depth), fDx(dx),
          fSmoothCos(std::cos(smoothAngle * std::numbers::pi / 180)) {}

    TextMesh Build() {
        /* Caps, glyph by glyph: the work grows with the caption's length, not with its square */
        const auto& contours = fOutline.Contours;
        std::vector<std::size_t> starts = fOutline.GlyphStarts;
        if (starts.empty() || starts.front() != 0) starts.insert(starts.begin(), 0);
        starts.push_back(contours.size());
        std::vector<OutlinePoint> points;
        std::vector<std::uint32_t> triangles;
        for (std::size_t g = 0; g + 1 < starts.size(); ++g) {
            if (starts[g] >= starts[g + 1]) continue;
            const std::vector<std::vector<OutlinePoint>> glyph(
                contours.begin() + static_cast<std::ptrdiff_t>(starts[g]),
                contours.begin() + static_cast<std::ptrdiff_t>(starts[g + 1]));
            std::vector<OutlinePoint> glyphPoints;
            for (const auto& contour : glyph)
                glyphPoints.insert(glyphPoints.end(), contour.begin(), contour.end());
            const auto base = static_cast<std::uint32_t>(points.size());
            for (const std::uint32_t i : TessellateOdd(glyph, glyphPoints))
                triangles.push_back(base + i);
            points.insert(points.end(), glyphPoints.begin(), glyphPoints.end());
        }
        const auto front = AddCap(points, 0, 1);
        for (std::uint32_t i : triangles)
            fMesh.Front.push_back(front + i);
        if (fDepth <= 0) return std::move(fMesh);
        const auto back = AddCap(points, -fDepth, -1);
        for (std::size_t t = 0; t + 2 < triangles.size(); t += 3)
            for (std::size_t k : {0, 2, 1})
                fMesh.Back.push_back(back + triangles[t + k]);
        /* Side walls */
        for (std::size_t g = 0; g + 1 < starts.size(); ++g)
            for (std::size_t c = starts[g]; c < starts[g + 1]; ++c)
                AddWalls(c, starts[g], starts[g + 1]);
        return std::move(fMesh);
    }

private:
    std::uint32_t Add(const OutlinePoint& p, double z, const TOrnMathVector& normal, double s, double t) {
        fMesh.Vertices.push_back({{p.X + fDx, p.Y, z}, normal, s, t});
        return static_cast<std::uint32_t>(fMesh.Vertices.size() - 1);
    }

    std::uint32_t AddCap(const std::vector<OutlinePoint>& points, double z, double nz) {
        const auto first = static_cast<std::uint32_t>(fMesh.Vertices.size());
        const double width = fOutline.Width > 0 ? fOutline.Width : 1;
        const double height = fOutline.Ascent + fOutline.Descent > 0 ? fOutline.Ascent + fOutline.Descent : 1;
        for (const OutlinePoint& p : points)
            Add(p, z, {0, 0, nz}, p.X / width, (p.Y + fOutline.Descent) / height);
        return first;
    }

    // A wall vertex pair: the front point and the back point at one place of the outline.
    struct Pair {
        std::uint32_t Front = 0;
        std::uint32_t Back = 0;
    };

    Pair AddPair(const OutlinePoint& p, const TOrnMathVector& normal, double s) {
        return {Add(p, 0, normal, s, 1), Add(p, -fDepth, normal, s, 0)};
    }

    void AddWalls(std::size_t c, std::size_t first, std::size_t last) {
        const auto& contour = fOutline.Contours[c];
        const std::size_t n = contour.size();
        const double side =
            FilledOnLeft(fOutline.Contours, c, first, last) ? 1 : -1; // outward is to the right when 1
        std::vector<TOrnMathVector> normals(n);
        for (std::size_t i = 0; i < n; ++i) {
            const OutlinePoint &a = contour[i], &b = contour[(i + 1) % n];
            normals[i] = Normalized({side * (b.Y - a.Y), -side * (b.X - a.X), 0});
        }
        // starts[i] opens edge i, ends[i] closes edge i − 1; they are one pair where the wall turns
        // gently. The first point always gets two, so that s need not jump back along a wall.
        std::vector<Pair> starts(n), ends(n);
        double s = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const TOrnMathVector &before = normals[(i + n - 1) % n], &after = normals[i];
            const bool smooth = before.x * after.x + before.y * after.y >= fSmoothCos;
            const TOrnMathVector shared = Normalized({before.x + after.x, before.y + after.y, 0});
            if (i > 0) s += std::hypot(contour[i].X - contour[i - 1].X, contour[i].Y - contour[i - 1].Y);
            starts[i] = AddPair(contour[i], smooth ? shared : after, s);
            ends[i] = smooth && i > 0 ? starts[i] : AddPair(contour[i], smooth ? shared : before, s);
        }
        const double perimeter =
            s + std::hypot(contour[0].X - contour[n - 1].X, contour[0].Y - contour[n - 1].Y);
        for (std::uint32_t v : {ends[0].Front, ends[0].Back})
            fMesh.Vertices[v].S = perimeter;
        for (std::size_t i = 0; i < n; ++i) {
            const Pair a = starts[i], b = ends[(i + 1) % n];
            const std::uint32_t quad[4] = {a.Front, a.Back, b.Back, b.Front};
            if (side > 0)
                fMesh.Walls.insert(fMesh.Walls.end(), quad, quad + 4);
            else
                fMesh.Walls.insert(fMesh.Walls.end(), {quad[0], quad[3], quad[2], quad[1]});
        }
    }

    const TextOutline& fOutline;
    double fDepth;
    double fDx;
    double fSmoothCos;
    TextMesh fMesh;
};

} // namespace

std::vector<std::uint32_t> TessellateOdd(const std::vector<std::vector<OutlinePoint>>& contours,
                                         std::vector<OutlinePoint>& points) {
    TessState state{&points, {}};
    GLUtesselator* tess = gluNewTess();
    if (!tess) return {};
    gluTessCallback(tess, GLU_TESS_VERTEX_DATA, reinterpret_cast<_GLUfuncptr>(&OnVertex));
    gluTessCallback(tess, GLU_TESS_COMBINE_DATA, reinterpret_cast<_GLUfuncptr>(&OnCombine));
    gluTessCallback(tess, GLU_TESS_EDGE_FLAG_DATA, reinterpret_cast<_GLUfuncptr>(&OnEdgeFlag));
    gluTessCallback(tess, GLU_TESS_ERROR_DATA, reinterpret_cast<_GLUfuncptr>(&OnError));
    gluTessProperty(tess, GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_ODD);
    gluTessNormal(tess, 0, 0, 1);
    // GLU keeps the coordinates' addresses until the polygon ends, so they live in one block.
    std::vector<GLdouble> coords;
    std::size_t total = 0;
    for (const auto& contour : contours)
        total += contour.size();
    coords.reserve(total * 3);
    gluTessBeginPolygon(tess, &state);
    std::size_t index = 0;
    for (const auto& contour : contours) {
        gluTessBeginContour(tess);
        for (const OutlinePoint& p : contour) {
            coords.insert(coords.end(), {p.X, p.Y, 0.0});
            gluTessVertex(tess, &coords[coords.size() - 3], ToData(index++));
        }
        gluTessEndContour(tess);
    }
    gluTessEndPolygon(tess);
    gluDeleteTess(tess);
    auto& out = state.Triangles;
    out.resize(out.size() - out.size() % 3);
    for (std::size_t t = 0; t < out.size(); t += 3)
        if (Cross(points[out[t]], points[out[t + 1]], points[out[t + 2]]) < 0)
            std::swap(out[t + 1], out[t + 2]);
    return out;
}

TextMesh ExtrudeOutline(const TextOutline& outline, double depth, double dx, double smoothAngle) {
    return Extruder(outline, depth, dx, smoothAngle).Build();
}

} // namespace orn::detail
