#pragma once

#include <orn/math/OrnMath.h>
#include <orn/math/TOrnProperty.h>

namespace orn {

/// A 4 × 4 matrix of doubles in OpenGL order: row i, column j at position j·4 + i. A new matrix is
/// all zeros. No operation notifies.
class TOrnMatrix : public TOrnProperty {
    ORN_CLASS(TOrnMatrix)
public:
    TOrnMatrix() = default;

    /// Row i, column j; 0 outside 0 … 3.
    double GetValue(int i, int j) const;
    /// Ignored outside 0 … 3.
    void SetValue(int i, int j, double value);
    const double* Values() const { return fValues; }
    double* Values() { return fValues; }

    void SetConstMatrix(double value);
    void SetIdentityMatrix();
    /// Within 1e-15 of the identity, element by element.
    bool IsIdentityMatrix() const;
    void Add(const TOrnMatrix& m);
    void Mult(double s);
    /// Self := m · Self.
    void MultMatrix(const TOrnMatrix& m);
    void MultVector(const TOrnMathVector4d& v, TOrnMathVector4d& r) const;
    /// Gauss–Jordan without row exchange: false (and unchanged) when a pivot is zero.
    bool Invert();
    void Transpose();

    void GLMultMatrix() const;
    void PickGLModelviewMatrix();
    void PickGLProjectionMatrix();

    /// Window coordinates (y running downwards, z the depth in 0 … 1) of v under this model
    /// matrix and the projection.
    void Project(const TOrnMathVector4d& v, const TOrnMathVector4d& viewport, const TOrnMatrix& projection,
                 TOrnMathVector4d& r) const;
    void Project(const TOrnMathVector4d& v, const TOrnMathVector4d& viewport, TOrnMathVector4d& r) const;
    void Project(const TOrnMathVector4d& v, TOrnMathVector4d& r) const;
    /// Back from window coordinates; y is deliberately not turned over, unlike Project.
    void UnProject(const TOrnMathVector4d& v, const TOrnMathVector4d& viewport, const TOrnMatrix& projection,
                   TOrnMathVector4d& r) const;
    void UnProject(const TOrnMathVector4d& v, const TOrnMathVector4d& viewport, TOrnMathVector4d& r) const;
    void UnProject(const TOrnMathVector4d& v, TOrnMathVector4d& r) const;
    /// v from the coordinates that m describes into those this matrix describes: (Self⁻¹ · m) · v.
    void ProjectMatrix(const TOrnMatrix& m, const TOrnMathVector4d& v, TOrnMathVector4d& r) const;
    void ProjectMatrix(const TOrnMatrix& m, const TOrnMathVector& v, TOrnMathVector& r) const;

    /// Takes over the source's change handler, then copies a matrix's values.
    void Assign(const TPersistent* source) override;

private:
    double fValues[16] = {};
};

} // namespace orn
