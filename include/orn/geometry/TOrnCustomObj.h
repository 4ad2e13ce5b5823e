#pragma once

#include <orn/geometry/TOrnPrimitiveObj.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace orn {

namespace detail {
class PointGrid;
}

class TOrnCustomObj;

/// Reads and moves the corners of one face of a custom object (see TOrnCustomObj::GetInterface).
class TOrnPrimitiveInterface {
public:
    explicit TOrnPrimitiveInterface(TOrnCustomObj* owner) : fOwner(owner) {}

    /// Corners of the current face: 3, 4, or 0 when there is none.
    int VertexCount() const { return fCount; }
    /// Position of corner k (1-based); the zero vector when k is outside 1 … VertexCount or the
    /// list no longer holds that entry.
    TOrnMathVector GetPoint(int k) const;
    /// Moves corner k's point; ignored where GetPoint reads nothing.
    void SetPoint(int k, const TOrnMathVector& v);

private:
    /// The point index of corner k, or −1.
    long PointOf(int k) const;
    int fCount = 0;
    TOrnCustomObj* fOwner;
    int fList = 0;
    int fFirst = 0;
    friend class TOrnCustomObj;
};

/// An object built face by face in its OnConstruct event: corners closer than 0.001 in each
/// coordinate weld into one point, unless a CloseEdges call lies between them.
class TOrnCustomObj : public TOrnPrimitiveObj {
    ORN_CLASS(TOrnCustomObj)
public:
    explicit TOrnCustomObj(TComponent* owner);
    ~TOrnCustomObj() override;

    /// Builds the geometry at every rebuild, with AddTriangle, AddQuad, GetPointIndex, CloseEdges.
    TNotifyEvent OnConstruct;

    /// Appends a triangle to the first GL_TRIANGLES list (made when there is none).
    void AddTriangle(const TOrnMathVector& p1, const TOrnMathVector& p2, const TOrnMathVector& p3);
    /// Appends a quad to the first GL_QUADS list (made when there is none).
    void AddQuad(const TOrnMathVector& p1, const TOrnMathVector& p2, const TOrnMathVector& p3,
                 const TOrnMathVector& p4);
    /// The newest point at v made since the last CloseEdges, or a new one there (flag bit 1, texture
    /// coordinate from TextureFlags). Searching from the top down, a point with flag bit 2 ends the
    /// search; answers exactly that scan, in expected constant time.
    int GetPointIndex(const TOrnMathVector& v);
    /// Marks every point with flag bit 2: later corners weld only among themselves.
    void CloseEdges();
    /// Positions the one interface on face number face (1-based; below 1 counts as 1) of the first
    /// list of type; nullptr when there is no such list or face. n is 3 for GL_TRIANGLES, 4 for
    /// GL_QUADS, 0 otherwise.
    TOrnPrimitiveInterface* GetInterface(int face, GLenum type);

    /// A mesh kept as the application gives it and laid down at every build, before OnConstruct
    /// adds to it: positions and normals 3 per point (no normals: computed as AutoCalcNormals
    /// says; exactly 3 values: that one normal on every point), texture coordinates 2 or 3 per point (none:
    /// as TextureFlags makes them), indices into the points forming primitives of type, and edge
    /// flags one per point (none: every edge shows; 0: the edge from that point to the next corner of
    /// its polygon is left out when polygons are drawn as outlines or points). Throws EOrnError,
    /// keeping the previous mesh, when the sizes disagree, an index is out of range or type is not a GL
    /// primitive.
    void SetMesh(std::vector<double> positions, std::vector<double> normals, std::vector<double> texCoords,
                 std::vector<std::uint32_t> indices, GLenum type = GL_TRIANGLES,
                 std::vector<std::uint8_t> edgeFlags = {});
    /// Drops the mesh given to SetMesh.
    void ClearMesh();

    /// The mesh is saved with the object (element "Mesh"), unlike what OnConstruct adds, which
    /// the application builds again.
    void WriteValues(TOrnCustomExchange& exchange) override;
    TOrnExchangeItem* ReadComp(TOrnCustomExchange& exchange, const std::string& tagName) override;

protected:
    void InitPoints() override;
    void InitPrimitives() override;

private:
    int FirstList(GLenum type);
    /// Brings the weld index up to the pool: incremental after appends, from scratch after any
    /// other change of the points.
    void SyncWeld();

    struct Mesh;
    void LayMesh();

    std::unique_ptr<Mesh> fMesh;
    std::unique_ptr<TOrnPrimitiveInterface> fInterface;
    std::unique_ptr<detail::PointGrid> fWeld;
    std::uint64_t fWeldVersion = 0;
    int fWeldIndexed = -1; // points indexed so far; −1: nothing valid
    int fWeldBarrier = -1; // highest point with flag bit 2
};

} // namespace orn
