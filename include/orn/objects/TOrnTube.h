#pragma once

#include <orn/math/TOrnPropList.h>
#include <orn/objects/TOrnCustomFuncObj.h>

#include <vector>

namespace orn {

/// One frame of a tube: the path's tangent and the two directions across it.
struct TOrnTubeFrame {
    TOrnMathVector position, tangent, normal, binormal;
    double radius = 0;
};

/// A tube of Radius around a path of points, made of rings of Slices segments joined by quad
/// strips, with optional discs at its ends.
///
/// The path is the points added with Add (each may carry its own radius), or, when OnCalcPath is
/// assigned, the chained row function evaluated at i / PathSteps for i = 0 … PathSteps (as the rows
/// of a function surface). The rings' frames are carried along the path by parallel transport, so
/// the tube does not twist where the path bends: a helix or a knot comes out smooth. A ClosedPath
/// joins the last point to the first, spreading the transport's leftover twist evenly over the loop.
///
/// Points that repeat their predecessor and points that are not finite are skipped; a path of fewer
/// than two points builds an empty tube. Ring points carry flag bit 0 on the seam (the first and
/// last of each ring, both rings where a closed path meets itself) so that averaged normals join.
class TOrnTube : public TOrnPrimitiveObj {
    ORN_CLASS(TOrnTube)
public:
    explicit TOrnTube(TComponent* owner);

    /// The radius of path points added without one of their own.
    double Radius() const { return fRadius; }
    void SetRadius(double value);
    /// Segments around the tube; values below 3 are ignored.
    int Slices() const { return fSlices; }
    void SetSlices(int value);
    bool CapStart() const { return fCapStart; }
    void SetCapStart(bool value);
    bool CapEnd() const { return fCapEnd; }
    void SetCapEnd(bool value);
    /// The path runs back to its first point; caps are not drawn then.
    bool ClosedPath() const { return fClosedPath; }
    void SetClosedPath(bool value);
    /// Segments of a path from OnCalcPath; values below 1 are ignored.
    int PathSteps() const { return fPathSteps; }
    void SetPathSteps(int value);
    /// The path as a chained row function: (previous point, i / PathSteps) → point; replaces the
    /// added points while assigned.
    Tfunction OnCalcPath;

    /// Path points added so far.
    int Count() const { return static_cast<int>(fPath.size()); }
    /// Appends a path point with the tube's Radius.
    void Add(const TOrnMathVector& p);
    /// Appends a path point with a radius of its own (a negative radius means the tube's Radius).
    void Add(const TOrnMathVector& p, double radius);
    void AddValues(float x, float y, float z) { Add({x, y, z}); }
    /// Inserts a path point at position (clamped to 0 … Count).
    void Insert(int position, const TOrnMathVector& p, double radius = -1);
    /// Removes the path point at position; others are ignored.
    void Delete(int position);
    void Clear();
    /// The path point at position; the zero vector outside.
    TOrnMathVector PathPoint(int position) const;

    /// The frames of the last build, one per ring.
    const std::vector<TOrnTubeFrame>& Frames() const { return fFrames; }

    void Assign(const TPersistent* source) override;
    ORN_DECLARE_PROPERTIES(TOrnTube)

protected:
    void InitPoints() override;
    void InitPrimitives() override;

private:
    struct PathPointData {
        TOrnMathVector p;
        double radius; // < 0: the tube's Radius
    };
    std::vector<PathPointData> BuildPath();
    void BuildFrames(const std::vector<PathPointData>& path);
    void AddCap(int frame, bool atStart);

    double fRadius = 0.25;
    int fSlices = 12;
    bool fCapStart = false;
    bool fCapEnd = false;
    bool fClosedPath = false;
    int fPathSteps = 32;
    std::vector<PathPointData> fPath;
    std::vector<TOrnTubeFrame> fFrames;
    int fRingPoints = 0; // points of the rings, before the caps
    int fStartCapCentre = -1, fEndCapCentre = -1;
};

} // namespace orn
