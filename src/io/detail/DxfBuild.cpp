#include "io/detail/DxfBuild.h"

#include "io/detail/DxfGeometry.h"

#include "host/detail/HugePages.h"

#include <orn/geometry/TOrnCustomObj.h>
#include <orn/objects/TOrn3DText.h>
#include <orn/scene/TOrnNode.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <numeric>
#include <set>
#include <tuple>

namespace orn::detail::dxf {

namespace {

/// Blocks inside blocks deeper than this are cut, with a message.
constexpr int kMaxNesting = 16;

struct Box {
    Vec lo{1e300, 1e300, 1e300}, hi{-1e300, -1e300, -1e300};
    bool Valid() const { return lo.x <= hi.x; }
    void Add(const Vec& p) {
        lo = {std::min(lo.x, p.x), std::min(lo.y, p.y), std::min(lo.z, p.z)};
        hi = {std::max(hi.x, p.x), std::max(hi.y, p.y), std::max(hi.z, p.z)};
    }
    void Add(const Coords& xyz) {
        for (const auto& c : xyz.Chunks())
            for (std::size_t i = 0; i + 2 < c.size(); i += 3)
                Add(Vec{c[i], c[i + 1], c[i + 2]});
    }
    /// A caption's anchor: its letters' own extent waits for the font, which import does not load.
    void Add(const std::vector<TextRef>& texts) {
        for (const TextRef& t : texts)
            Add(Vec{t.matrix[3], t.matrix[7], t.matrix[11]});
    }
    void Add(const Box& b, const Affine& m) {
        if (!b.Valid()) return;
        for (int c = 0; c < 8; ++c)
            Add(Apply(m, {c & 1 ? b.hi.x : b.lo.x, c & 2 ? b.hi.y : b.lo.y, c & 4 ? b.hi.z : b.lo.z}));
    }
};

/// Points of one object at most: a few objects per layer and colour, each within the build limit.
std::size_t PiecePoints() {
    const auto limit =
        static_cast<std::size_t>(std::max<std::int64_t>(TOrnPrimitiveObj::MaxBuildPoints(), 18));
    return std::min<std::size_t>(limit, std::size_t{1} << 21) / 18 * 18; // whole segments and triangles
}

/// A piece of coordinates as the mesh of one object: moved by shift, with flat normals on
/// triangles and +z on points and lines (which light like the drawing's plane).
void MakeMesh(const Coords& coords, std::size_t first, std::size_t count, const Vec& shift, bool faces,
              std::vector<double>& positions, std::vector<double>& normals) {
    positions.reserve(count * 3);
    AdviseHugePages(positions.data(), count * 3 * sizeof(double));
    positions.resize(count * 3);
    double* out = positions.data();
    std::size_t skip = first * 3, left = count * 3;
    for (const Coords::Chunk& c : coords.Chunks()) {
        if (skip >= c.size()) {
            skip -= c.size();
            continue;
        }
        const double* in = c.data() + skip;
        const std::size_t n = std::min(c.size() - skip, left);
        skip = 0;
        for (std::size_t i = 0; i < n; i += 3, out += 3, in += 3) {
            out[0] = in[0] - shift.x;
            out[1] = in[1] - shift.y;
            out[2] = in[2] - shift.z;
        }
        if ((left -= n) == 0) break;
    }
    if (!faces) {
        normals = {0, 0, 1};
        return;
    }
    normals.reserve(positions.size());
    AdviseHugePages(normals.data(), positions.size() * sizeof(double));
    normals.resize(positions.size());
    for (std::size_t i = 0; i + 8 < positions.size(); i += 9) {
        const double* p = positions.data() + i;
        const Vec a{p[0], p[1], p[2]};
        Vec n = Normalized(Cross(Vec{p[3], p[4], p[5]} - a, Vec{p[6], p[7], p[8]} - a));
        if (!(Length(n) > 0)) n = {0, 0, 1};
        for (int k = 0; k < 3; ++k)
            normals[i + 3 * k] = n.x, normals[i + 3 * k + 1] = n.y, normals[i + 3 * k + 2] = n.z;
    }
}

class Builder {
public:
    // A node nobody owns owns what is imported into it, as a loaded scene's node does.
    Builder(Model& model, TOrnDXFReport& report, TOrnNode& target)
        : fModel(model), fReport(report), fOwner(target.Owner() ? target.Owner() : &target), fTarget(target) {
    }

    void Run(double scale) {
        Box box;
        for (const auto& [key, batch] : fModel.model.batches)
            for (const auto* xyz : {&batch.points, &batch.lines, &batch.triangles})
                box.Add(*xyz);
        box.Add(fModel.model.texts);
        Stack stack;
        for (const InsertRef& ins : fModel.model.inserts)
            if (const Block* b = Find(ins.block)) box.Add(BlockBox(*b, stack, 1), WithBase(ins.matrix, *b));
        fReport.hasExtents = box.Valid();
        if (box.Valid()) {
            fReport.extMin = box.lo;
            fReport.extMax = box.hi;
            const Vec centre = (box.lo + box.hi) * 0.5;
            // Single-precision GL coordinates lose millimetres beyond about 1e5 units from the origin.
            if (std::max({std::fabs(centre.x), std::fabs(centre.y), std::fabs(centre.z)}) > 1e5) {
                fReport.shifted = true;
                fReport.shift = fShift = centre;
            }
        }
        fReport.layers = static_cast<int>(fModel.layers.size());
        fReport.blocks = static_cast<int>(fModel.blocks.size());

        fDrawing = new TOrnNode(fOwner);
        fTarget.Add(fDrawing);
        TOrnTransformation& t = *fDrawing->Transformation();
        t.SetOrder(toTraRotSca);
        t.Scale()->SetValues(static_cast<float>(scale), static_cast<float>(scale), static_cast<float>(scale));
        t.Translation()->SetValues(static_cast<float>(fShift.x * scale), static_cast<float>(fShift.y * scale),
                                   static_cast<float>(fShift.z * scale));
        fLayerNodes.assign(fModel.layers.size(), nullptr);
        for (auto& [key, batch] : fModel.model.batches)
            AddObject(*LayerNode(key.first), key.second, batch, fShift, true);
        for (const InsertRef& ins : fModel.model.inserts)
            AddInsert(*LayerNode(ins.layer), ins, 0xFFFFFF, 0xFFFFFF, fShift, stack, 1);
        for (const TextRef& text : fModel.model.texts)
            AddText(*LayerNode(text.layer), text, text.color, fShift);
    }

private:
    /// The blocks being built or measured, innermost last: one of them again would loop.
    using Stack = std::set<const Block*>;

    const Block* Find(const std::string& name) {
        auto it = fModel.blocks.find(name);
        if (it != fModel.blocks.end()) return &it->second;
        if (fMissing.insert(name).second)
            Note(fReport, "INSERT of a block " + name + " that the drawing lacks");
        return nullptr;
    }

    static Affine WithBase(const Affine& m, const Block& b) {
        return Multiply(m, {1, 0, 0, -b.base.x, 0, 1, 0, -b.base.y, 0, 0, 1, -b.base.z});
    }

    /// Whether inserting b here would loop or nest too deep; reported once per block.
    bool Refuse(const Block& b, const Stack& stack, int depth) {
        if (stack.contains(&b)) {
            if (fLooping.insert(&b).second)
                Note(fReport,
                     "line " + std::to_string(b.where) + ": block " + b.name +
                         " inserts itself (directly or through other blocks); that insert is left out");
            return true;
        }
        if (depth > kMaxNesting) {
            if (fDeep.insert(&b).second)
                Note(fReport, "line " + std::to_string(b.where) + ": block " + b.name +
                                  " nested deeper than " + std::to_string(kMaxNesting) +
                                  " levels is left out there");
            return true;
        }
        return false;
    }

    Box BlockBox(const Block& b, Stack& stack, int depth) {
        if (auto it = fBoxes.find(&b); it != fBoxes.end()) return it->second;
        Box box;
        if (Refuse(b, stack, depth)) return box;
        stack.insert(&b);
        for (const auto& [k, batch] : b.space.batches)
            for (const auto* xyz : {&batch.points, &batch.lines, &batch.triangles})
                box.Add(*xyz);
        box.Add(b.space.texts);
        for (const InsertRef& ins : b.space.inserts)
            if (const Block* inner = Find(ins.block))
                box.Add(BlockBox(*inner, stack, depth + 1), WithBase(ins.matrix, *inner));
        stack.erase(&b);
        fBoxes[&b] = box;
        return box;
    }

    TOrnNode* LayerNode(int layer) {
        TOrnNode*& node = fLayerNodes[static_cast<std::size_t>(layer)];
        if (node) return node;
        node = new TOrnNode(fOwner);
        node->SetName(UniqueName(fModel.layers[static_cast<std::size_t>(layer)].name));
        fDrawing->Add(node);
        return node;
    }

    std::string UniqueName(const std::string& layer) {
        std::string name;
        for (char c : layer)
            name += std::isalnum(static_cast<unsigned char>(c)) || c == '_' ? c : '_';
        if (name.empty() || std::isdigit(static_cast<unsigned char>(name[0]))) name = "Layer_" + name;
        std::string candidate = name;
        for (int i = 2; (fOwner && fOwner->FindComponent(candidate)) || fNames.contains(Upper(candidate));
             ++i)
            candidate = name + "_" + std::to_string(i);
        fNames.insert(Upper(candidate));
        return candidate;
    }

    /// Objects for one batch: its points, its segments and its triangles, each a mesh of its own
    /// (in pieces within the build limit). release gives the batch's memory back as it goes.
    void AddObject(TOrnNode& parent, std::uint32_t rgb, Batch& batch, const Vec& shift, bool release) {
        if (batch.Empty()) return;
        fReport.points += static_cast<std::int64_t>(batch.points.size() / 3);
        fReport.segments += static_cast<std::int64_t>(batch.lines.size() / 6);
        fReport.triangles += static_cast<std::int64_t>(batch.triangles.size() / 9);
        // TColor keeps red in its low byte.
        const TColor color = static_cast<TColor>((rgb >> 16 & 0xFF) | (rgb & 0xFF00) | (rgb & 0xFF) << 16);
        const std::size_t piece = PiecePoints();
        auto add = [&](Coords& coords, GLenum type) {
            const std::size_t total = coords.size() / 3;
            for (std::size_t first = 0; first < total; first += piece) {
                const std::size_t count = std::min(piece, total - first);
                std::vector<double> positions, normals;
                MakeMesh(coords, first, count, shift, type == GL_TRIANGLES, positions, normals);
                std::vector<std::uint32_t> indices;
                indices.reserve(count);
                AdviseHugePages(indices.data(), count * sizeof(std::uint32_t));
                indices.resize(count);
                std::iota(indices.begin(), indices.end(), 0u);
                std::vector<std::uint8_t> edges;
                if (type == GL_TRIANGLES && !batch.edges.empty())
                    edges.assign(batch.edges.begin() + static_cast<std::ptrdiff_t>(first),
                                 batch.edges.begin() + static_cast<std::ptrdiff_t>(first + count));
                auto* obj = new TOrnCustomObj(fOwner);
                parent.Add(obj);
                obj->SetAutoCalcNormals(false);
                obj->Color()->SetColor(color);
                obj->SetMesh(std::move(positions), std::move(normals), {}, std::move(indices), type,
                             std::move(edges));
            }
            if (release) coords.Clear();
        };
        add(batch.points, GL_POINTS);
        add(batch.lines, GL_LINES);
        add(batch.triangles, GL_TRIANGLES);
        if (release) std::vector<std::uint8_t>().swap(batch.edges);
    }

    /// A flat caption (no depth) per line, in a node of its own that places them. Lines are 5/3 of
    /// the text height apart, the spacing CAD programs give MTEXT by default; the capitals decide
    /// where the lines stand on, under or around the anchor.
    void AddText(TOrnNode& parent, const TextRef& text, std::uint32_t rgb, const Vec& shift) {
        constexpr double kLineSpacing = 5.0 / 3 * kCapHeight;
        std::vector<std::string> lines(1);
        for (char c : text.caption)
            if (c == '\n')
                lines.emplace_back();
            else
                lines.back() += c;
        const double span = static_cast<double>(lines.size() - 1) * kLineSpacing;
        const double first = text.valign == 3   ? -kCapHeight
                             : text.valign == 2 ? (span - kCapHeight) / 2
                             : text.valign == 1 ? span
                                                : 0;
        auto* node = new TOrnNode(fOwner);
        Place(*node, text.matrix, shift);
        for (std::size_t i = 0; i < lines.size(); ++i) {
            CutLine(lines[i]);
            auto* obj = new TOrn3DText(fOwner);
            obj->SetCaption(lines[i]);
            obj->SetDepth(0);
            obj->SetAlignment(text.align == 1 ? taCenter : text.align == 2 ? taRightJustify : taLeftJustify);
            obj->Color()->SetColor(
                static_cast<TColor>((rgb >> 16 & 0xFF) | (rgb & 0xFF00) | (rgb & 0xFF) << 16));
            const double y = first - static_cast<double>(i) * kLineSpacing;
            if (y != 0) {
                obj->Transformation()->SetOrder(toTraRotSca);
                obj->Transformation()->Translation()->SetValues(0, static_cast<float>(y), 0);
            }
            if (text.fit > 0) Fit(*obj, text);
            node->Add(obj);
        }
        parent.Add(node);
    }

    /// Stretches an aligned or fit caption to its baseline's length; only these few captions are
    /// laid out during the import, since their width depends on their glyphs.
    void Fit(TOrn3DText& obj, const TextRef& text) {
        try {
            obj.Init();
        } catch (const std::exception& e) {
            Note(fReport, std::string("an aligned or fit text keeps its height: ") + e.what());
            return;
        }
        const TOrnPrimitivePoints& pool = *obj.Points();
        double right = 0;
        for (int i = 0; i < pool.Count(); ++i)
            right = std::max(right, pool.Vertices()[3 * i]);
        const double em = std::hypot(text.matrix[0], text.matrix[4], text.matrix[8]);
        if (right <= 0 || !(em > 0)) return;
        const auto along = static_cast<float>(text.fit / (right * em));
        obj.Transformation()->SetOrder(toTraRotSca);
        obj.Transformation()->Scale()->SetValues(along, text.aligned ? along : 1.0f, 1.0f);
    }

    /// A line of text long enough to pass the build limit of one caption would stop the whole
    /// drawing from rendering: it is cut, at a character boundary, with a message.
    void CutLine(std::string& line) {
        constexpr std::size_t kMaxLine = 4000;
        if (line.size() <= kMaxLine) return;
        Note(fReport, "a line of text of " + std::to_string(line.size()) + " bytes cut to its first " +
                          std::to_string(kMaxLine));
        std::size_t cut = kMaxLine;
        while (cut > 0 && (static_cast<unsigned char>(line[cut]) & 0xC0) == 0x80)
            --cut;
        line.resize(cut);
    }

    static std::uint32_t Resolve(ColorKey key, std::uint32_t byBlock, std::uint32_t layer0) {
        return key == kByBlock ? byBlock : key == kByLayer0 ? layer0 : key;
    }

    void AddInsert(TOrnNode& parent, const InsertRef& ins, std::uint32_t byBlock, std::uint32_t layer0,
                   const Vec& shift, Stack& stack, int depth) {
        const Block* b = Find(ins.block);
        if (!b) return;
        const std::uint32_t color = Resolve(ins.color, byBlock, layer0);
        const Layer& layer = fModel.layers[static_cast<std::size_t>(ins.layer)];
        const std::uint32_t innerLayer0 = layer.name == "0" ? layer0 : layer.rgb;
        TOrnNode* block = BlockNode(*b, color, innerLayer0, stack, depth);
        if (!block) return;
        auto* node = new TOrnNode(fOwner);
        Place(*node, WithBase(ins.matrix, *b), shift);
        parent.Add(node);
        node->AddIndirect(block);
        ++fReport.inserts;
    }

    TOrnNode* BlockNode(const Block& b, std::uint32_t byBlock, std::uint32_t layer0, Stack& stack,
                        int depth) {
        const auto variant = std::make_tuple(&b, byBlock, layer0);
        // The loop check comes first: a variant being built is already in the map.
        if (Refuse(b, stack, depth)) return nullptr;
        if (auto it = fVariants.find(variant); it != fVariants.end()) return it->second;
        if (!fBlocks) {
            fBlocks = new TOrnNode(fOwner);
            fBlocks->SetEnabled(false); // drawn only through the inserts that link to its items
            fDrawing->Add(fBlocks);
        }
        auto* node = new TOrnNode(fOwner);
        fBlocks->Add(node);
        fVariants[variant] = node;
        std::map<std::uint32_t, Batch> byColor;
        for (const auto& [k, batch] : b.space.batches) {
            byColor[Resolve(k.second, byBlock, layer0)].Append(batch);
        }
        for (auto& [rgb, batch] : byColor)
            AddObject(*node, rgb, batch, {}, true);
        stack.insert(&b);
        for (const InsertRef& ins : b.space.inserts)
            AddInsert(*node, ins, byBlock, layer0, {}, stack, depth + 1);
        for (const TextRef& text : b.space.texts)
            AddText(*node, text, Resolve(text.color, byBlock, layer0), {});
        stack.erase(&b);
        return node;
    }

    /// The node's transformation from m: translation · rotation (x, y, z Euler angles) · scale.
    static void Place(TOrnNode& node, const Affine& m, const Vec& shift) {
        Vec col[3] = {{m[0], m[4], m[8]}, {m[1], m[5], m[9]}, {m[2], m[6], m[10]}};
        double s[3];
        for (int i = 0; i < 3; ++i) {
            s[i] = Length(col[i]);
            col[i] =
                s[i] > 1e-300 ? col[i] * (1 / s[i]) : Vec{double(i == 0), double(i == 1), double(i == 2)};
        }
        const Vec c = Cross(col[0], col[1]);
        if (c.x * col[2].x + c.y * col[2].y + c.z * col[2].z < 0) { // mirrored: a negative z scale
            s[2] = -s[2];
            col[2] = col[2] * -1;
        }
        // R = Rx(a)·Ry(b)·Rz(c), with R[row][column] = col[column].row.
        const double r02 = std::clamp(col[2].x, -1.0, 1.0);
        double a, bb, cc;
        bb = std::asin(r02);
        if (std::fabs(r02) < 1 - 1e-12) {
            a = std::atan2(-col[2].y, col[2].z);
            cc = std::atan2(-col[1].x, col[0].x);
        } else {
            a = 0;
            cc = std::atan2(col[0].y, col[1].y);
        }
        constexpr double kToDeg = 180 / std::numbers::pi;
        TOrnTransformation& t = *node.Transformation();
        t.SetOrder(toTraRotSca);
        t.Rotation()->SetOrder(roXYZ);
        t.Rotation()->SetValues(static_cast<float>(a * kToDeg), static_cast<float>(bb * kToDeg),
                                static_cast<float>(cc * kToDeg));
        t.Scale()->SetValues(static_cast<float>(s[0]), static_cast<float>(s[1]), static_cast<float>(s[2]));
        t.Translation()->SetValues(static_cast<float>(m[3] - shift.x), static_cast<float>(m[7] - shift.y),
                                   static_cast<float>(m[11] - shift.z));
    }

    Model& fModel;
    TOrnDXFReport& fReport;
    TComponent* fOwner;
    TOrnNode& fTarget;
    TOrnNode* fDrawing = nullptr;
    TOrnNode* fBlocks = nullptr;
    Vec fShift;
    std::vector<TOrnNode*> fLayerNodes;
    /// A block's node for each colour its BYBLOCK and layer-0 entities take.
    std::map<std::tuple<const Block*, std::uint32_t, std::uint32_t>, TOrnNode*> fVariants;
    std::map<const Block*, Box> fBoxes;
    std::set<std::string> fMissing, fNames;
    std::set<const Block*> fLooping, fDeep;
};

} // namespace

double UnitToMetres(int units) {
    static constexpr double kMetres[25] = {1,
                                           0.0254,
                                           0.3048,
                                           1609.344,
                                           0.001,
                                           0.01,
                                           1,
                                           1000,
                                           2.54e-8,
                                           2.54e-5,
                                           0.9144,
                                           1e-10,
                                           1e-9,
                                           1e-6,
                                           0.1,
                                           10,
                                           100,
                                           1e9,
                                           1.495978707e11,
                                           9.4607304725808e15,
                                           3.0856775814913673e16,
                                           1200.0 / 3937,
                                           100.0 / 3937,
                                           3600.0 / 3937,
                                           6336000.0 / 3937};
    return units >= 0 && units < 25 ? kMetres[units] : 1;
}

void BuildNodes(Model& model, TOrnDXFReport& report, TOrnNode& target, double scale) {
    Builder(model, report, target).Run(scale);
}

} // namespace orn::detail::dxf
