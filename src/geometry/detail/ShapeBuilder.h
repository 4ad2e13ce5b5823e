#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>

#include <cstdint>

namespace orn::detail {

/// Writes the points of a generated shape straight into the pool's arrays: the pool is sized once
/// for the whole shape, then every point is a handful of stores.
class PointWriter {
public:
    /// Makes room for count more points after the present ones.
    PointWriter(TOrnPrimitivePoints& pool, int count) : fFirst(pool.Count()) {
        pool.SetCount(fFirst + count);
        fV = pool.Vertices();
        fN = pool.Normals();
        fT = pool.TexCoords();
        fF = pool.Flags();
        fNext = fFirst;
    }
    /// Stores the next point; its index.
    int Put(double x, double y, double z, double nx, double ny, double nz, double s, double t,
            std::uint8_t flags = 0) {
        const std::size_t i = static_cast<std::size_t>(fNext);
        if (fV) {
            fV[3 * i] = x;
            fV[3 * i + 1] = y;
            fV[3 * i + 2] = z;
        }
        if (fN) {
            fN[3 * i] = nx;
            fN[3 * i + 1] = ny;
            fN[3 * i + 2] = nz;
        }
        if (fT) {
            fT[3 * i] = s;
            fT[3 * i + 1] = t;
            fT[3 * i + 2] = 0;
        }
        if (fF) fF[i] = flags;
        return fNext++;
    }
    int First() const { return fFirst; }

private:
    double* fV;
    double* fN;
    double* fT;
    std::uint8_t* fF;
    int fFirst;
    int fNext;
};

/// Adds one GL_QUAD_STRIP per band of a grid of points stored row by row from first, columns
/// points a row: band j pairs point (j + a, i) with (j + b, i) where (a, b) is (0, 1) when
/// rowFirst, else (1, 0) — the pair order decides which way the strip faces. reversed(j) runs band j
/// from the last column back with each pair turned, which faces the same way but starts its first
/// triangle on the other row: what a band whose first row has collapsed to a point (a pole, a tip)
/// needs so that its first triangle has an area.
template <class Reversed>
void AddGridStrips(TOrnPrimitiveObj& obj, int first, int columns, int bands, bool rowFirst,
                   Reversed reversed) {
    for (int j = 0; j < bands; ++j) {
        TOrnPrimitiveArray* list = obj.Primitive(obj.AddPrimitiveArray(GL_QUAD_STRIP));
        std::uint32_t* d = list->Append(2 * columns);
        const auto upper = static_cast<std::uint32_t>(first + j * columns);
        const auto lower = static_cast<std::uint32_t>(first + (j + 1) * columns);
        const std::uint32_t a = rowFirst ? upper : lower, b = rowFirst ? lower : upper;
        const bool back = reversed(j);
        for (int k = 0; k < columns; ++k) {
            const auto i = static_cast<std::uint32_t>(back ? columns - 1 - k : k);
            d[2 * k] = (back ? b : a) + i;
            d[2 * k + 1] = (back ? a : b) + i;
        }
    }
}

inline void AddGridStrips(TOrnPrimitiveObj& obj, int first, int columns, int bands, bool rowFirst) {
    AddGridStrips(obj, first, columns, bands, rowFirst, [](int) { return false; });
}

} // namespace orn::detail
