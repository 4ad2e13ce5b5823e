#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>
#include <orn/math/TOrnPropList.h>

#include <memory>

namespace orn {

/// A planar polygon whose points the application adds one by one: drawn filled (GL_POLYGON), as a
/// closed outline (GL_LINE_LOOP) or an open one (GL_LINE_STRIP). The points survive rebuilds unless
/// InitClearPoints is set; the outline (index list 0) is rebuilt in the order the points were added.
class TOrnPolygon : public TOrnPrimitiveObj {
    ORN_CLASS(TOrnPolygon)
public:
    explicit TOrnPolygon(TComponent* owner);
    ~TOrnPolygon() override;

    /// The normal given to points added through AddValues and InsertValues.
    TOrnNormal* Normal() const { return fNormal.get(); }
    /// Copies value in when given; notifies in any case.
    void SetNormal(const TOrnNormal* value);
    bool Closed() const { return fClosed; }
    void SetClosed(bool value);
    bool Filled() const { return fFilled; }
    void SetFilled(bool value);
    bool InitClearPoints() const { return fInitClearPoints; }
    void SetInitClearPoints(bool value) { fInitClearPoints = value; }
    /// Replaces the default outline at a rebuild; fills index list 0.
    TNotifyEvent OnConstruct;

    /// Entries of the outline (index list 0); 0 before the first build.
    int Count() const;
    void Add(const TOrnMathVector& position, const TOrnMathVector& normal, const TOrnMathVector& texture);
    /// Appends a seam-marked point and puts it at outline position (clamped) when the outline exists.
    void Insert(int position, const TOrnMathVector& p, const TOrnMathVector& normal,
                const TOrnMathVector& texture);
    void AddValues(float x, float y, float z, float s, float t);
    void InsertValues(int position, float x, float y, float z, float s, float t);
    /// Takes one entry out of the outline; the point stays.
    void Delete(int position);
    /// One vector (daVertex, daNormal or daTexture) of point index 0 … Points.Count − 1; other
    /// kinds and indices are ignored. Writing marks the polygon for a rebuild.
    void SetValues(int index, TOrnArray kind, const TOrnMathVector& v);
    /// The zero vector for other kinds and indices.
    TOrnMathVector GetValues(int index, TOrnArray kind) const;

    void Assign(const TPersistent* source) override;
    ORN_DECLARE_PROPERTIES(TOrnPolygon)

protected:
    /// Keeps the points unless InitClearPoints.
    void ClearPoints() override;
    void InitPrimitives() override;
    /// Makes list 0 a polygon, line loop or line strip as Filled and Closed say.
    void ChangePrimitiveType();

private:
    std::unique_ptr<TOrnNormal> fNormal;
    bool fClosed = true;
    bool fFilled = true;
    bool fInitClearPoints = false;
};

} // namespace orn
