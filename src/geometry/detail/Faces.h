#pragma once

#include <orn/geometry/TOrnPrimitiveArray.h>

#include <cstdint>
#include <vector>

namespace orn::detail {

/// Calls face(corners, n) for every face of a list of a face type, corners in the order the face
/// winds (strip triangles of odd position turned back to the strip's winding; a quad strip's pair
/// step as the quad a, b, d, c). Strip triangles with a repeated index are skipped. Lists of
/// points and lines have no faces.
template <class Face> void ForEachFace(const TOrnPrimitiveArray& list, Face face) {
    const std::uint32_t* i = list.Data();
    const int n = list.Count();
    std::uint32_t c[4];
    switch (list.Type()) {
    case GL_TRIANGLES:
        for (int t = 0; t + 2 < n; t += 3)
            face(i + t, 3);
        break;
    case GL_TRIANGLE_STRIP:
        for (int k = 0; k + 2 < n; ++k) {
            c[0] = k % 2 == 0 ? i[k] : i[k + 1];
            c[1] = k % 2 == 0 ? i[k + 1] : i[k];
            c[2] = i[k + 2];
            if (c[0] != c[1] && c[1] != c[2] && c[0] != c[2]) face(c, 3);
        }
        break;
    case GL_TRIANGLE_FAN:
        for (int k = 1; k + 1 < n; ++k) {
            c[0] = i[0];
            c[1] = i[k];
            c[2] = i[k + 1];
            face(c, 3);
        }
        break;
    case GL_QUADS:
        for (int q = 0; q + 3 < n; q += 4)
            face(i + q, 4);
        break;
    case GL_QUAD_STRIP:
        for (int k = 0; 2 * k + 3 < n; ++k) {
            c[0] = i[2 * k];
            c[1] = i[2 * k + 1];
            c[2] = i[2 * k + 3];
            c[3] = i[2 * k + 2];
            face(c, 4);
        }
        break;
    case GL_POLYGON:
        if (n >= 3) face(i, n);
        break;
    default:
        break;
    }
}

/// Calls segment(a, b) for every line segment of a list of a line type.
template <class Segment> void ForEachSegment(const TOrnPrimitiveArray& list, Segment segment) {
    const std::uint32_t* i = list.Data();
    const int n = list.Count();
    switch (list.Type()) {
    case GL_LINES:
        for (int k = 0; k + 1 < n; k += 2)
            segment(i[k], i[k + 1]);
        break;
    case GL_LINE_STRIP:
        for (int k = 0; k + 1 < n; ++k)
            segment(i[k], i[k + 1]);
        break;
    case GL_LINE_LOOP:
        for (int k = 0; k + 1 < n; ++k)
            segment(i[k], i[k + 1]);
        if (n > 2) segment(i[n - 1], i[0]);
        break;
    default:
        break;
    }
}

} // namespace orn::detail
