#pragma once

#include "host/detail/FontEngine.h"

#include <orn/math/OrnMath.h>

#include <cstdint>
#include <vector>

namespace orn::detail {

/// A solid caption: vertices with normals and texture coordinates, and three index lists, every
/// face wound counter-clockwise seen from outside.
struct TextMesh {
    struct Vertex {
        TOrnMathVector Position;
        TOrnMathVector Normal;
        double S = 0;
        double T = 0;
    };
    std::vector<Vertex> Vertices;
    std::vector<std::uint32_t> Front; // triangles at z = 0 facing +z
    std::vector<std::uint32_t> Back;  // triangles at z = −depth facing −z
    std::vector<std::uint32_t> Walls; // quads between the two
};

/// The triangles that fill contours under the odd winding rule, as indices into points; points
/// where contours cross are appended to points. Counter-clockwise seen from +z.
std::vector<std::uint32_t> TessellateOdd(const std::vector<std::vector<OutlinePoint>>& contours,
                                         std::vector<OutlinePoint>& points);

/// Extrudes the outline by depth (≤ 0: the front cap alone), shifted by dx along x. Cap texture
/// coordinates span the text's box; on the walls s runs along the outline (in ems) and t from 0 at
/// the back to 1 at the front. Walls are shaded smooth where neighbouring edges turn by less than
/// smoothAngle degrees.
TextMesh ExtrudeOutline(const TextOutline& outline, double depth, double dx, double smoothAngle = 40);

} // namespace orn::detail
