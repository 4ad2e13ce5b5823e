#pragma once

#include <orn/math/OrnMath.h>

namespace orn {

class TOrnTransformation;

/// An axis-aligned box; a new one is empty and holds nothing.
struct TOrnBounds {
    TOrnMathVector Lo{1e300, 1e300, 1e300};
    TOrnMathVector Hi{-1e300, -1e300, -1e300};

    bool Empty() const { return Lo.x > Hi.x; }
    void Add(const TOrnMathVector& p);
    void Add(const TOrnBounds& b);
    TOrnMathVector Centre() const;
    /// Half the diagonal: the radius of the sphere around Centre that holds the box.
    double Radius() const;
    /// The box that holds this one after t, applied as the render chain applies it; an empty box
    /// stays empty.
    TOrnBounds Transformed(const TOrnTransformation& t) const;
};

/// The matrix (OpenGL order, column-major) that t multiplies onto the model view when it executes.
void OrnTransformationMatrix(const TOrnTransformation& t, double m[16]);

} // namespace orn
