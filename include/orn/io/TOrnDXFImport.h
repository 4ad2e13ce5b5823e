#pragma once

#include <orn/host/TComponent.h>
#include <orn/io/TOrnExchange.h>
#include <orn/math/OrnMath.h>

#include <cmath>
#include <cstdint>
#include <istream>
#include <map>
#include <string>
#include <vector>

namespace orn {

class TOrnNode;

/// What an import found and what it left out: read after TOrnDXFImport::Execute.
struct TOrnDXFReport {
    std::string version;  ///< $ACADVER, e.g. "AC1015"; empty when the header lacks it
    bool binary = false;  ///< read from binary DXF
    int units = 0;        ///< $INSUNITS (0 unitless, 1 inch, 4 mm, 6 m, …)
    double unitScale = 1; ///< the factor applied to every coordinate
    bool hasExtents = false;
    TOrnMathVector extMin; ///< extents of the imported geometry, in drawing units before the shift
    TOrnMathVector extMax;
    bool shifted = false;                ///< the geometry was moved to a local origin
    TOrnMathVector shift;                ///< that origin, put back by the top node's translation
    std::map<std::string, int> imported; ///< per entity type
    std::map<std::string, int> skipped;  ///< unsupported entity types, not imported
    std::map<std::string, int> broken;   ///< entities left out for bad data
    std::vector<std::string> messages;   ///< "line N: reason", at most a few thousand kept
    int layers = 0, blocks = 0, inserts = 0;
    std::int64_t segments = 0, triangles = 0, points = 0;

    /// A readable summary, one fact per line.
    std::string Text() const;
};

/// Reads an AutoCAD DXF drawing (ASCII or binary) into a node: one child node per layer, named after
/// it, holding one object per colour with the layer's points, lines and triangles; blocks are built
/// once (in a disabled node "*Blocks") and every INSERT is a node with its transformation that links
/// to the block's node. Items are owned by the target node's owner. Bad entities are reported and
/// left out; the rest of the file still imports. Faces carry edge flags, so that drawn as outlines
/// (TOrnAttributes' polygon mode) they show the edges a CAD program shows: no diagonals of split
/// quads, none of a 3DFACE's or a polyface mesh's invisible edges.
class TOrnDXFImport : public TComponent {
    ORN_CLASS(TOrnDXFImport)
public:
    explicit TOrnDXFImport(TComponent* owner);
    ~TOrnDXFImport() override;

    const std::string& FileName() const { return fFileName; }
    void SetFileName(const std::string& value) { fFileName = value; }
    /// Where the drawing goes (not owned); its previous items stay.
    TOrnNode* Node() const { return fNode; }
    void SetNode(TOrnNode* value);

    /// Full circles are drawn with this many segments; arcs with their share (at least 2).
    /// Clamped to 8 … 4096.
    int CircleSegments() const { return fCircleSegments; }
    void SetCircleSegments(int value);
    /// How far a chord may stray from its arc, in drawing units: small circles get fewer segments
    /// (not below 8). 0 (default): 1/4000 of the extents the drawing's header gives, if any; < 0:
    /// CircleSegments alone decides.
    double ChordTolerance() const { return fChordTolerance; }
    void SetChordTolerance(double value) { fChordTolerance = std::isfinite(value) ? value : 0; }
    /// Points along each span of a spline; clamped to 1 … 256.
    int SplineSegments() const { return fSplineSegments; }
    void SetSplineSegments(int value);
    /// Paper-space entities are imported too (default: model space only).
    bool PaperSpace() const { return fPaperSpace; }
    void SetPaperSpace(bool value) { fPaperSpace = value; }
    /// Layers that are off or frozen are left out (default true).
    bool SkipHiddenLayers() const { return fSkipHiddenLayers; }
    void SetSkipHiddenLayers(bool value) { fSkipHiddenLayers = value; }
    /// Converts the drawing's $INSUNITS to metres (default false: drawing units).
    bool UnitsToMetres() const { return fUnitsToMetres; }
    void SetUnitsToMetres(bool value) { fUnitsToMetres = value; }
    /// An extra factor on every coordinate (≤ 0 or not finite counts as 1).
    double Scale() const { return fScale; }
    void SetScale(double value);

    /// Reads FileName into Node; throws EOrnError when there is no node or the file cannot be read.
    void Execute();
    /// Reads a drawing from a stream (fileName only names it in messages).
    void LoadFromStream(std::istream& stream);
    /// Reads a drawing held in memory.
    void LoadFromBuffer(const char* data, std::size_t size);

    /// The report of the last import.
    const TOrnDXFReport& Report() const { return fReport; }
    /// Told of the fraction read, 0 … 1.
    TOrnProgressEvent OnProgress;

    void Notification(TComponent* component, TOperation operation) override;

private:
    std::string fFileName;
    TOrnNode* fNode = nullptr;
    int fCircleSegments = 72;
    int fSplineSegments = 16;
    double fChordTolerance = 0;
    bool fPaperSpace = false;
    bool fSkipHiddenLayers = true;
    bool fUnitsToMetres = false;
    double fScale = 1;
    TOrnDXFReport fReport;
};

} // namespace orn
