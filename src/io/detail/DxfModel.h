#pragma once

// The drawing as read, before it becomes components: geometry batched per layer and colour, and
// the inserts of blocks with their matrices.

#include <orn/io/TOrnDXFImport.h>
#include <orn/math/OrnMath.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <unordered_map>
#include <vector>

namespace orn::detail::dxf {

/// 0x00RRGGBB for a colour of its own; the two tags below for colours that an INSERT decides.
using ColorKey = std::uint32_t;
inline constexpr ColorKey kByBlock = 0x01000000;  ///< takes the colour of the INSERT
inline constexpr ColorKey kByLayer0 = 0x02000000; ///< BYLAYER on layer 0 inside a block: the INSERT's layer

/// Frees what an aligned new[] gave.
struct AlignedFree {
    std::size_t align = alignof(double);
    void operator()(double* p) const { ::operator delete[](p, std::align_val_t{align}); }
};

/// Coordinates in chunks that never move once written: a growing drawing of a gigabyte is not
/// copied at every doubling. Chunks grow from a few kilobytes (a layer of three lines stays small)
/// to 2 MiB, which the system may back with huge pages: most of reading a large drawing would
/// otherwise go to faulting in its coordinates page by page. Appends of 3, 6 or 9 values never
/// straddle two chunks.
class Coords {
public:
    struct Chunk {
        const double* data() const { return fData.get(); }
        std::size_t size() const { return fSize; }
        double operator[](std::size_t i) const { return fData[i]; }

    private:
        std::unique_ptr<double[], AlignedFree> fData;
        std::size_t fSize = 0, fCapacity = 0;
        friend class Coords;
    };

    void Append(std::initializer_list<double> v) {
        if (fChunks.empty() || fChunks.back().fSize + v.size() > fChunks.back().fCapacity) Grow();
        Chunk& c = fChunks.back();
        std::copy(v.begin(), v.end(), c.fData.get() + c.fSize);
        c.fSize += v.size();
        fSize += v.size();
    }
    void Append(const Coords& other) {
        for (const Chunk& c : other.fChunks)
            for (std::size_t i = 0; i + 2 < c.size(); i += 3)
                Append({c[i], c[i + 1], c[i + 2]});
    }
    std::size_t size() const { return fSize; }
    bool empty() const { return fSize == 0; }
    const std::vector<Chunk>& Chunks() const { return fChunks; }
    /// Gives the memory back.
    void Clear() {
        fChunks.clear();
        fSize = 0;
    }

private:
    void Grow();
    std::vector<Chunk> fChunks;
    std::size_t fSize = 0;
};

/// Coordinates as x, y, z triples: loose points, segment ends in pairs, triangle corners in threes.
struct Batch {
    Coords points, lines, triangles;
    /// One per triangle corner: whether the edge from it to the next corner shows when faces are
    /// drawn as outlines (a face's diagonal and a 3DFACE's invisible edges do not). Empty while
    /// every edge shows.
    std::vector<std::uint8_t> edges;
    bool Empty() const { return points.empty() && lines.empty() && triangles.empty(); }
    /// Appends other's geometry.
    void Append(const Batch& other);
};

/// Row-major 3 × 4 affine matrix: the block's coordinates into its parent's.
using Affine = std::array<double, 12>;
inline constexpr Affine kIdentity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

TOrnMathVector Apply(const Affine& m, const TOrnMathVector& p);
Affine Multiply(const Affine& a, const Affine& b);

struct InsertRef {
    std::string block; ///< upper case
    int layer = 0;
    ColorKey color = 0;
    Affine matrix = kIdentity;
    std::int64_t where = 0;
};

/// A drawing's text height is that of its capitals; a caption's unit is the em, whose capitals
/// stand about this much of it in the sans faces a system offers.
inline constexpr double kCapHeight = 0.72;

/// TEXT, MTEXT or ATTRIB: a caption one em per unit on its baseline at x = 0, placed by matrix
/// (insertion point, rotation, extrusion, and a scale that makes capitals the text height).
struct TextRef {
    std::string caption; ///< UTF-8, formatting codes removed
    int layer = 0;
    ColorKey color = 0;
    Affine matrix = kIdentity;
    int align = 0;  ///< 0 left, 1 centre, 2 right
    int valign = 0; ///< where the anchor is on the lines: 0 first baseline, 1 bottom, 2 middle, 3 top
    /// Aligned and fit text run between two points, this far apart in drawing units (0: neither).
    /// Its caption's width, known only once its glyphs are laid out, decides the scale along the
    /// baseline; aligned text keeps its proportions, so its height follows.
    double fit = 0;
    bool aligned = false;
};

/// Model space, paper space or one block.
struct Space {
    std::map<std::pair<int, ColorKey>, Batch> batches; ///< by layer index and colour
    std::deque<InsertRef> inserts; ///< a deque: a drawing of a million inserts is never copied as it grows
    std::vector<TextRef> texts;
};

struct Layer {
    std::string name;
    std::uint32_t rgb = 0xFFFFFF;
    bool hidden = false; ///< off or frozen
};

struct Block {
    Space space;
    std::string name;
    TOrnMathVector base;
    std::int64_t where = 0;
};

struct Model {
    std::vector<Layer> layers;
    std::unordered_map<std::string, int> layerIndex; ///< by upper-case name
    Space model;
    std::map<std::string, Block> blocks; ///< by upper-case name
    std::string codepage;
    bool unicode = false; ///< AC1021 or newer: strings are UTF-8 whatever the code page says
    bool haveHeaderExtents = false;
    TOrnMathVector headerMin, headerMax;

    /// The layer's index, made (white, visible) when the drawing never declared it.
    int LayerOf(std::string_view name);
    /// A string of the file as UTF-8.
    std::string Text(std::string_view raw) const;
};

std::string Upper(std::string_view s);

/// Options the reader needs.
struct ReadOptions {
    int circleSegments = 72;
    /// Chord deviation allowed to curves, in drawing units (≤ 0: circleSegments decides alone).
    double tolerance = 0;
    int splineSegments = 16;
    bool paperSpace = false;
    bool skipHidden = true;
    double scale = 1;
};

/// Notes for the report, capped so that a file of a million bad entities does not make a million
/// strings.
void Note(TOrnDXFReport& report, std::string message);

/// Reads the whole file into model; problems go into report. Never throws for bad content.
void ReadDrawing(const char* data, std::size_t size, const ReadOptions& options, Model& model,
                 TOrnDXFReport& report, const std::function<void(double)>& progress);

} // namespace orn::detail::dxf
