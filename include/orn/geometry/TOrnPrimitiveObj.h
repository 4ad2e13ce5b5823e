#pragma once

#include <orn/geometry/TOrnPrimitiveArray.h>
#include <orn/geometry/TOrnPrimitivePoints.h>
#include <orn/geometry/TOrnTextureFlags.h>
#include <orn/math/TOrnPropList.h>
#include <orn/scene/TOrnObject.h>

#include <functional>
#include <memory>
#include <vector>

namespace orn {

class TOrnTexture;
class TBitmap;

/// An edge between two points, by index.
struct T2DIntPoint {
    int x = 0, y = 0;
    bool operator==(const T2DIntPoint&) const = default;
};

/// The base of every object whose geometry is generated: a point pool and an ordered list of index
/// lists, built lazily at the first render after a change and drawn with one glDrawElements per
/// enabled list.
///
/// Writing a shape: override InitPoints to fill Points() and InitPrimitives to add index lists
/// (AddPrimitiveArray, AddIndex or Primitive(i)->Data()), and call CalcNormals there when the
/// faces carry no normals of their own. Property setters of a shape store the value and call
/// Invalidate(), nothing more; the next render rebuilds once. Points on the seam of a closed
/// surface, stored twice for their two texture coordinates, get flag bit 0 so that CalcNormals
/// shades them as one.
class TOrnPrimitiveObj : public TOrnObject {
    ORN_CLASS(TOrnPrimitiveObj)
public:
    /// The most points one object's build may make: a point with its normal, texture coordinate,
    /// colour and index entries takes about 100 bytes, so the default of 2^23 stays near 1 GB. The
    /// environment variable ORN_MAX_POINTS sets it at start; SetMaxBuildPoints at any time (at
    /// most 2^27, the most a primitive object can hold).
    static std::int64_t MaxBuildPoints();
    static void SetMaxBuildPoints(std::int64_t value);

    explicit TOrnPrimitiveObj(TComponent* owner);
    ~TOrnPrimitiveObj() override;

    TOrnPrimitivePoints* Points() const { return fPoints.get(); }
    /// The index list at position, or nullptr outside 0 … PrimitiveCount − 1.
    TOrnPrimitiveArray* Primitive(int position) const { return GetPrimitive(position); }
    TOrnPrimitiveArray* GetPrimitive(int position) const;
    int PrimitiveCount() const { return GetPrimitiveCount(); }
    int GetPrimitiveCount() const { return static_cast<int>(fPrimitives.size()); }
    bool Initialized() const { return fInitialized; }
    bool AutoCalcNormals() const { return fAutoCalcNormals; }
    void SetAutoCalcNormals(bool value);

    /// Whether texture coordinates are drawn (daTexture among the pool's enabled arrays). A build
    /// makes texture coordinates only for a textured object (or one that asked for them through
    /// SetRelief): an untextured one carries none.
    bool Textured() const { return GetTextured(); }
    bool GetTextured() const;
    /// Also sets the Textured flag of every index list; turning it on for geometry built without
    /// texture coordinates asks for a new build.
    void SetTextured(bool value);
    /// The texture bound to every index list (not owned), or nullptr.
    TOrnTexture* Texture() const { return fTexture; }
    /// Defined by the texture component's unit: stores the texture on the object and its lists.
    void SetTexture(TOrnTexture* value);
    TOrnTextureFlags* TextureFlags() const { return fTextureFlags.get(); }
    /// Copies value into the owned flags; nullptr is ignored.
    void SetTextureFlags(const TOrnTextureFlags* value);
    /// Called at the end of every build, with the object as sender.
    TNotifyEvent OnAfterInit;

    /// Builds the geometry now: ClearAll, InitPoints, CalcTexture (where the object has texture
    /// coordinates), InitPrimitives.
    virtual void Init();
    /// Appends a list of a GL primitive type with the object's texture and Textured; its position.
    int AddPrimitiveArray(GLenum type);
    /// Appends a point index to list position; its place in the list, or −1 when there is no such list.
    int AddIndex(std::uint32_t pointIndex, int position = 0);
    /// Frees lists position … position + count − 1 (those that exist); count < 1 does nothing.
    void DeletePrimitiveArray(int position, int count = 1);
    /// Appends the other object's points and lists (building it first if need be); the index of
    /// its first point here.
    int AddPrimitiveObj(TOrnPrimitiveObj* other);
    /// Averaged vertex normals from the faces of the enabled lists; seam points (flag bit 0) at the
    /// same place share one normal.
    void CalcNormals();
    /// Texture coordinates of every point from TextureFlags.
    void CalcTexture();
    void CalcTexturePoint(int index);
    /// Deletes count points from first and renumbers the lists; a list that used one is disabled.
    void FreePoints(int first, int count);
    /// Deletes every point that no enabled list uses.
    void FreeUnusedPoints();
    /// Flips the winding of every list.
    void Invert();

    /// Raises every point along its normal by base + height × brightness^gamma, the brightness
    /// (0 … 1) of bitmap sampled bilinearly at the point's texture coordinate (s to the right, t
    /// upwards, wrapped into 0 … 1). Needs normals and texture coordinates: an object built without
    /// coordinates is built again with them first (asked during a build, from OnAfterInit, it only
    /// asks for the next build to carry them); gamma ≤ 0 counts as 1.
    void SetReliefBitmap(const TBitmap* bitmap, float height, float base, float gamma);
    /// The same with the brightness given as a function of (s, t).
    void SetRelief(const std::function<double(double s, double t)>& brightness, float height, float base,
                   float gamma);
    /// ExtrudeByVec along the average normal of the enabled faces times depth.
    void Extrude(double depth, int steps, bool caps, bool texture = false);
    /// Sweeps the faces by vector in steps segments: side walls along the open edges, the original
    /// faces as the back cap (flipped) and a moved copy as the front cap when caps; texture puts
    /// s along the outline and t along the sweep on the wall points.
    void ExtrudeByVec(const TOrnMathVector& vector, int steps, bool caps, bool texture = false);
    /// Extrudes by vector × depth (vector normalised first unless zero); sides and the two caps
    /// can be chosen one by one.
    void ExtrudePrimitiveObj(double depth, int steps, bool sides, bool frontCap, bool backCap,
                             const TOrnMathVector& vector, bool texture);
    /// The edges used by exactly one face of the enabled triangle and quad lists (strips and fans
    /// included), each oriented as its face runs; count receives their number. With weld, points
    /// at the same place count as one.
    void GetOpenEdges(std::vector<T2DIntPoint>& edges, int& count, bool weld);
    /// Splits triangle number triangle of list position at its longest edge into two, adding the
    /// edge's midpoint; the neighbouring triangle sharing that edge in the same list is split too,
    /// so no crack opens. Lists that are not GL_TRIANGLES are left alone.
    void SplitTriangle(int position, int triangle);
    /// The point nearest to v among the points used by list position (all points when position is
    /// −1); −1 when there is none.
    int getNearPoint(int position, const TOrnMathVector& v);

    /// After the described values: from another primitive object its points, lists and Initialized.
    void Assign(const TPersistent* source) override;
    void Notification(TComponent* component, TOperation operation) override;
    /// The box of the points once built; before that the shape's own box where it knows one
    /// (ShapeBounds), so that framing a scene builds nothing; otherwise it builds the points.
    bool GetBounds(TOrnBounds& bounds) override;
    /// Faces of triangles, strips, fans, quads, quad strips and polygons of the enabled lists as
    /// last built (nothing is built for it); lines and points have no faces.
    bool IntersectRay(int index, const TOrnMathVector& origin, const TOrnMathVector& direction,
                      double& distance) override;
    ORN_DECLARE_PROPERTIES(TOrnPrimitiveObj)

protected:
    /// Fills the point pool; empty here.
    virtual void InitPoints();
    /// Fills the index lists; empty here.
    virtual void InitPrimitives();
    /// A box that holds the shape the current properties would build, computed without building;
    /// false when the shape cannot tell (the points are then built and measured).
    virtual bool ShapeBounds(TOrnBounds& bounds) const;
    /// ClearPoints, then ClearPrimitives; Initialized stays as it is.
    virtual void ClearAll();
    /// Empties the point pool.
    virtual void ClearPoints();
    /// Frees every index list.
    virtual void ClearPrimitives();
    /// Builds when not Initialized, then draws every enabled list.
    void DoRender(TOrnCustomView* view) override;

    /// What a shape's geometry setter calls: the next render rebuilds, the display list goes and
    /// the owner hears of the change.
    void Invalidate() {
        fInitialized = false;
        Changed();
    }
    /// The texture's stamp besides the object's own state components.
    std::uint64_t ContentStamp() const override;
    /// Stores a texture on the object and all its lists; the texture unit's SetTexture calls it.
    void SetTextureRef(TOrnTexture* texture, TOrnRender* render);
    /// The texture seen as a render component (its Render binds it).
    TOrnRender* TextureRender() const { return fTextureRender; }
    /// Throws EOrnError naming the shape, the limit and how to raise it when a build would need
    /// more than MaxBuildPoints points or entries; called before anything is allocated.
    static void CheckBuildSize(std::int64_t count, const char* shape);
    /// Appends a point with position, normal and texture coordinate (s, t) and flag bits.
    int AddPoint(const TOrnMathVector& p, const TOrnMathVector& n, double s, double t,
                 std::uint8_t flags = 0);

    std::unique_ptr<TOrnPrimitivePoints> fPoints;
    std::vector<std::unique_ptr<TOrnPrimitiveArray>> fPrimitives;
    bool fInitialized = false;
    bool fAutoCalcNormals = true;
    /// Builds keep texture coordinates also when not textured (points that carry the
    /// application's own coordinates, a relief that samples them).
    bool fKeepTexCoords = false;

private:
    /// For every point, the point whose normal sum it shares under the seam rule.
    std::vector<int> SeamReceivers() const;
    TOrnTexture* fTexture = nullptr;
    TOrnRender* fTextureRender = nullptr;
    std::unique_ptr<TOrnTextureFlags> fTextureFlags;
    bool fBuilding = false;
    TOrnBounds fPointBounds; // of the points at fBoundsVersion and fBoundsCount
    std::uint64_t fBoundsVersion = 0;
    int fBoundsCount = -1;

    friend class TOrnTexture;
};

/// Free-standing helper of shapes: whether a detail value is acceptable (> 0).
constexpr bool IsValidDetail(int value) {
    return value > 0;
}

} // namespace orn
