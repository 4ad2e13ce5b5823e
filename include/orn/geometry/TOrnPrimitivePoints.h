#pragma once

#include <orn/host/TSet.h>
#include <orn/math/TOrnColor.h>
#include <orn/math/TOrnPropList.h>
#include <orn/math/TOrnVector.h>
#include <orn/scene/TOrnCustomView.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace orn {

/// The parallel arrays of a point pool, in the order OpenGL's client arrays are described.
enum TOrnArray { daVertex, daNormal, daTexture, daColor, daEdgeFlag, daFlag };
using TOrnArrays = TSet<TOrnArray>;

/// One point's attributes, carried between the pool and an application.
class TOrnPointItem : public TOrnProperty {
    ORN_CLASS(TOrnPointItem)
public:
    TOrnPointItem();

    TOrnVector* Point() const { return fPoint.get(); }
    void SetPoint(const TOrnVector* value);
    TOrnNormal* Normal() const { return fNormal.get(); }
    void SetNormal(const TOrnNormal* value);
    TOrnVector* Texture() const { return fTexture.get(); }
    void SetTexture(const TOrnVector* value);
    TOrnColor* Color() const { return fColor.get(); }
    void SetColor(const TOrnColor* value);
    /// The point's flag byte; only the low 8 bits are kept by a pool.
    int Flag() const { return fFlag; }
    void SetFlag(int value);
    bool EdgeFlag() const { return fEdgeFlag; }
    void SetEdgeFlag(bool value);

    void Assign(const TPersistent* source) override;
    /// "Flag" and "EdgeFlag", and the elements "Point", "Normal", "Texture", "Color".
    ORN_DECLARE_PROPERTIES(TOrnPointItem)

private:
    std::unique_ptr<TOrnVector> fPoint;
    std::unique_ptr<TOrnNormal> fNormal;
    std::unique_ptr<TOrnVector> fTexture;
    std::unique_ptr<TOrnColor> fColor;
    int fFlag = 0;
    bool fEdgeFlag = true;
};

/// The point pool of a generated shape: up to six parallel arrays laid out as OpenGL 1.1 client
/// arrays want them (positions, normals and texture coordinates as 3 doubles, colours as 4 floats,
/// edge flags and flag bytes as bytes).
///
/// Size is the capacity the pool reports; it grows by 12 on a full append. The memory underneath
/// grows geometrically, so a long run of single appends stays linear.
class TOrnPrimitivePoints : public TOrnProperty {
    ORN_CLASS(TOrnPrimitivePoints)
public:
    TOrnPrimitivePoints();
    ~TOrnPrimitivePoints() override;

    int Size() const { return fSize; }
    /// Sets the capacity of every array in DefineArrays (n < 0 is ignored, n above 2^27 throws
    /// EOrnError); new flag bytes are 0, other new elements are not cleared; Count is cut to n. 0
    /// frees those arrays.
    void SetSize(int n);
    int Count() const { return fCount; }
    /// SetSize(n) and Count = n; n < 0 is ignored.
    void SetCount(int n);
    TOrnArrays DefineArrays() const { return fDefineArrays; }
    /// Arrays newly in the set are allocated at Size; a kind taken out keeps its memory and data.
    void SetDefineArrays(TOrnArrays value);
    TOrnArrays EnabledArrays() const { return fEnabledArrays; }
    void SetEnabledArrays(TOrnArrays value);
    /// Whether kind is in DefineArrays and has memory.
    bool HasArray(TOrnArray kind) const;

    /// Appends a position; its index, or −1 when positions are not allocated.
    int Add(double x, double y, double z);
    /// Appends a point with position, normal and texture coordinate; its index.
    int Add(const TOrnMathVector& position, const TOrnMathVector& normal, const TOrnMathVector& texture);
    /// Appends every allocated attribute of item; its index.
    int Add(const TOrnPointItem& item);
    /// Appends all points of pool (attributes it lacks are left uncleared, flags 0); the index of
    /// the first appended point.
    int Add(const TOrnPrimitivePoints& pool);

    /// Kinds daVertex, daNormal, daTexture; the zero vector otherwise or for index outside 0 … Size − 1.
    TOrnMathVector GetVector(int index, TOrnArray kind) const;
    void SetVector(int index, TOrnArray kind, const TOrnMathVector& v);
    /// Component 0 … 2 (x, y, z) of a vector kind, 0 … 3 of a colour; 0 outside.
    double GetValues(int index, int component, TOrnArray kind) const;
    void SetValues(int index, int component, TOrnArray kind, double value);
    /// 255 when there are no edge flags or index is outside 0 … Count − 1.
    std::uint8_t GetEdgeFlag(int index) const;
    void SetEdgeFlag(int index, std::uint8_t value);
    /// Bit 0 … 7 of a point's flag byte; false (get) and no effect (set) outside.
    bool GetFlag(int index, int bit) const;
    void SetFlag(int index, int bit, bool value);
    void GetPoint(int index, TOrnPointItem& item) const;
    void SetPoint(int index, const TOrnPointItem& item);

    /// Removes count points from first on, moving the tail down; out-of-range parts are cut off.
    void Delete(int first, int count);
    /// Removes every point i < Count with remove[i] set, keeping the order of the rest; one pass.
    void DeleteMarked(const std::vector<bool>& remove);
    /// position += normal × d; needs normals and texture coordinates allocated.
    void LiftPoint(int index, double d);
    void ScalePoints(double x, double y, double z);
    void MovePoints(double x, double y, double z);

    /// Turns on the client arrays in EnabledArrays: normal, texture, colour, edge flag, vertex.
    void BeforeRender(TOrnCustomView* view);
    /// Turns every client array off and restores the edge flag.
    void AfterRender(TOrnCustomView* view);

    /// From another pool: sets, counters and all allocated arrays.
    void Assign(const TPersistent* source) override;

    // Raw access for generators that fill thousands of points at once. Null when not allocated;
    // valid for Size elements until the next change of Size or DefineArrays. The non-const forms
    // count as a change of the points (Version).
    double* Vertices() { return static_cast<double*>(Data(daVertex, true)); }
    const double* Vertices() const { return static_cast<const double*>(CData(daVertex)); }
    double* Normals() { return static_cast<double*>(Data(daNormal, true)); }
    const double* Normals() const { return static_cast<const double*>(CData(daNormal)); }
    double* TexCoords() { return static_cast<double*>(Data(daTexture, false)); }
    const double* TexCoords() const { return static_cast<const double*>(CData(daTexture)); }
    float* Colors() { return static_cast<float*>(Data(daColor, false)); }
    std::uint8_t* EdgeFlags() { return static_cast<std::uint8_t*>(Data(daEdgeFlag, false)); }
    std::uint8_t* Flags() { return static_cast<std::uint8_t*>(Data(daFlag, true)); }
    const std::uint8_t* Flags() const { return static_cast<const std::uint8_t*>(CData(daFlag)); }

    /// Grows with every change of positions, flags or the number of points other than an append,
    /// so that search structures over the points know when to rebuild.
    std::uint64_t Version() const { return fVersion; }
    /// Bytes of memory held by the arrays.
    std::size_t AllocatedBytes() const;

private:
    struct Block {
        unsigned char* data = nullptr;
        int length = 0;   // elements that hold data (Size when the kind is defined)
        int capacity = 0; // elements of memory
    };
    static std::size_t ElementSize(TOrnArray kind);
    void Resize(TOrnArray kind, int n);
    void Reserve(TOrnArray kind, int n);
    void* Data(TOrnArray kind, bool geometry);
    const void* CData(TOrnArray kind) const;
    bool Defined(TOrnArray kind, int index) const;
    void GrowForAppend(int extra);
    void Touch() { ++fVersion; }

    Block fBlocks[6];
    int fSize = 0;
    int fCount = 0;
    TOrnArrays fDefineArrays{daVertex, daNormal, daTexture, daFlag};
    TOrnArrays fEnabledArrays{daVertex, daNormal};
    std::uint64_t fVersion = 0;
};

} // namespace orn
