#include "io/detail/DxfEntities.h"
#include "io/detail/DxfText.h"

#include "host/detail/HugePages.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <new>

namespace orn::detail::dxf {

namespace {

/// Reports kept before the rest is only counted.
constexpr std::size_t kMaxMessages = 2000;

class Reader {
public:
    Reader(const char* data, std::size_t size, const ReadOptions& options, Model& model,
           TOrnDXFReport& report, const std::function<void(double)>& progress)
        : fTok(data, size), fOptions(options), fModel(model), fReport(report), fProgress(progress) {}

    void Run() {
        fReport.binary = fTok.Binary();
        Advance();
        bool sawEof = false;
        while (fHave) {
            if (Is0("SECTION")) {
                Advance();
                if (!fHave || fGroup.code != 2) continue;
                const std::string name = Upper(fGroup.text);
                Advance();
                if (name == "HEADER") {
                    Header();
                    AutoTolerance();
                } else if (name == "TABLES")
                    Tables();
                else if (name == "BLOCKS")
                    Blocks();
                else if (name == "ENTITIES")
                    Entities(&fModel.model, false, "ENDSEC");
            } else if (Is0("EOF")) {
                sawEof = true;
                break;
            } else {
                Advance();
            }
        }
        TakeProblem();
        if (!sawEof) Note(fReport, "the file ends without its EOF marker: it may be truncated");
    }

private:
    bool Is0(std::string_view text) const { return fHave && fGroup.code == 0 && fGroup.text == text; }

    void Advance() {
        fHave = fTok.Next(fGroup);
        TakeProblem();
        if (fProgress && fTok.Offset() >= fNextProgress) {
            fNextProgress = fTok.Offset() + (1u << 20);
            fProgress(fTok.Size() ? static_cast<double>(fTok.Offset()) / static_cast<double>(fTok.Size())
                                  : 1);
        }
    }

    void TakeProblem() {
        std::string p = fTok.TakeProblem();
        if (!p.empty()) Note(fReport, std::move(p));
    }

    /// The groups up to the next group 0 (the current group is the 0 that starts the record).
    void Collect(std::vector<Group>& out) {
        out.clear();
        out.push_back(fGroup);
        for (Advance(); fHave && fGroup.code != 0; Advance())
            out.push_back(fGroup);
    }

    void Header() {
        std::string var;
        while (fHave && !Is0("ENDSEC") && !Is0("EOF")) {
            if (fGroup.code == 9) {
                var = Upper(fGroup.text);
            } else if (var == "$ACADVER" && fGroup.code == 1) {
                fReport.version = std::string(fGroup.text);
                fModel.unicode = fReport.version >= "AC1021";
            } else if (var == "$INSUNITS" && fGroup.code == 70) {
                std::int64_t u;
                if (ToInt(fGroup, u) && u >= 0 && u <= 24) fReport.units = static_cast<int>(u);
            } else if (var == "$DWGCODEPAGE" && fGroup.code == 3) {
                fModel.codepage = std::string(fGroup.text);
            } else if ((var == "$EXTMIN" || var == "$EXTMAX") && fGroup.code >= 10 && fGroup.code <= 30 &&
                       fGroup.code % 10 == 0) {
                double v;
                if (ToDouble(fGroup, v)) {
                    TOrnMathVector& p = var == "$EXTMIN" ? fModel.headerMin : fModel.headerMax;
                    (fGroup.code == 10 ? p.x : fGroup.code == 20 ? p.y : p.z) = v;
                    fModel.haveHeaderExtents = true;
                }
            }
            Advance();
        }
    }

    /// Without a tolerance of its own, a drawing whose header gives its extents is drawn to within
    /// 1/4000 of their diagonal: what can be seen when the whole drawing fills a screen.
    void AutoTolerance() {
        if (fOptions.tolerance != 0 || !fModel.haveHeaderExtents) return;
        const Vec d = fModel.headerMax - fModel.headerMin;
        const double diagonal = Length(d);
        if (std::isfinite(diagonal) && diagonal > 0 && d.x >= 0 && d.y >= 0 && d.z >= 0)
            fOptions.tolerance = diagonal / 4000;
    }

    void Tables() {
        while (fHave && !Is0("ENDSEC") && !Is0("EOF")) {
            if (!Is0("LAYER")) {
                Advance();
                continue;
            }
            Collect(fGroups);
            const Ent e(fGroups.data(), fGroups.data() + fGroups.size());
            try {
                const std::string_view name = e.S(2);
                if (name.empty()) continue; // the table's own head, also called LAYER
                Layer& l = fModel.layers[static_cast<std::size_t>(fModel.LayerOf(name))];
                const std::int64_t color = e.I(62, 7);
                l.rgb = AciColor(static_cast<int>(std::clamp<std::int64_t>(std::llabs(color), 0, 256)));
                if (const Group* tc = e.Find(420)) l.rgb = static_cast<std::uint32_t>(Int(*tc)) & 0xFFFFFF;
                l.hidden = color < 0 || (e.I(70, 0) & 1) != 0;
            } catch (const Bad& bad) {
                Note(fReport, "line " + std::to_string(bad.where) + ": LAYER " + bad.why);
            }
        }
    }

    void Blocks() {
        while (fHave && !Is0("ENDSEC") && !Is0("EOF")) {
            if (!Is0("BLOCK")) {
                Advance();
                continue;
            }
            Collect(fGroups);
            const Ent e(fGroups.data(), fGroups.data() + fGroups.size());
            Block block;
            block.name = std::string(e.S(2));
            block.where = e.Where();
            try {
                block.base = e.P(10);
            } catch (const Bad& bad) {
                Note(fReport, "line " + std::to_string(bad.where) + ": BLOCK base point " + bad.why);
            }
            Entities(&block.space, true, "ENDBLK");
            if (Is0("ENDBLK")) Advance();
            const std::string key = Upper(block.name);
            if (fModel.blocks.contains(key))
                Note(fReport, "line " + std::to_string(block.where) + ": a second block " + block.name +
                                  " is ignored");
            else
                fModel.blocks.emplace(key, std::move(block));
        }
    }

    void Entities(Space* space, bool inBlock, std::string_view end) {
        EntityContext ctx{fModel, fReport, fOptions, space, inBlock};
        while (fHave && !Is0(end) && !Is0("ENDSEC") && !Is0("EOF") && !(inBlock && Is0("BLOCK"))) {
            if (fGroup.code != 0) {
                Advance();
                continue;
            }
            const std::string type(fGroup.text);
            Collect(fGroups);
            if (type == "POLYLINE") {
                Polyline(ctx);
                continue;
            }
            if (type == "SEQEND" || type == "VERTEX") continue; // strays of a sequence already read
            const Ent e(fGroups.data(), fGroups.data() + fGroups.size());
            Build(
                type, ctx, [&] { return BuildEntity(type, e, ctx); }, e);
        }
    }

    void Polyline(EntityContext& ctx) {
        fHeader.swap(fGroups);
        fVertexGroups.clear();
        std::vector<std::size_t> starts;
        while (Is0("VERTEX")) {
            starts.push_back(fVertexGroups.size());
            Collect(fGroups);
            fVertexGroups.insert(fVertexGroups.end(), fGroups.begin(), fGroups.end());
        }
        if (Is0("SEQEND"))
            Collect(fGroups);
        else
            Note(fReport, "line " + std::to_string(fHeader.front().where) + ": POLYLINE without SEQEND");
        std::vector<Ent> vertices;
        for (std::size_t i = 0; i < starts.size(); ++i) {
            const Group* b = fVertexGroups.data() + starts[i];
            const Group* e =
                fVertexGroups.data() + (i + 1 < starts.size() ? starts[i + 1] : fVertexGroups.size());
            vertices.emplace_back(b, e);
        }
        const Ent header(fHeader.data(), fHeader.data() + fHeader.size());
        Build(
            "POLYLINE", ctx,
            [&] {
                BuildPolyline(header, vertices, ctx);
                return true;
            },
            header);
    }

    template <class F> void Build(const std::string& type, EntityContext& ctx, F&& build, const Ent& e) {
        if (!ctx.inBlock && !fOptions.paperSpace) {
            const Group* space = e.Find(67);
            std::int64_t paper = 0;
            if (space && ToInt(*space, paper) && paper == 1) {
                ++fReport.skipped[type + " (paper space)"];
                return;
            }
        }
        try {
            if (build())
                ++fReport.imported[type];
            else
                ++fReport.skipped[type];
        } catch (const Bad& bad) {
            ++fReport.broken[type];
            Note(fReport, (fTok.Binary() ? "offset " : "line ") +
                              std::to_string(bad.where ? bad.where : e.Where()) + ": " + type +
                              " left out: " + bad.why);
        }
    }

    Tokenizer fTok;
    ReadOptions fOptions;
    Model& fModel;
    TOrnDXFReport& fReport;
    const std::function<void(double)>& fProgress;
    Group fGroup;
    bool fHave = false;
    std::size_t fNextProgress = 0;
    std::vector<Group> fGroups, fHeader, fVertexGroups;
};

} // namespace

namespace {
constexpr std::size_t kFirstChunk = 1024;    // doubles: 8 KiB
constexpr std::size_t kHugeChunk = 1u << 18; // doubles: 2 MiB, the size of a huge page
} // namespace

void Coords::Grow() {
    const std::size_t capacity =
        fChunks.empty() ? kFirstChunk : std::min(fChunks.back().fCapacity * 2, kHugeChunk);
    Chunk& c = fChunks.emplace_back();
    const std::size_t bytes = capacity * sizeof(double);
    const std::size_t align = capacity == kHugeChunk ? bytes : alignof(double);
    c.fData = {static_cast<double*>(::operator new[](bytes, std::align_val_t{align})), {align}};
    c.fCapacity = capacity;
    if (capacity == kHugeChunk) AdviseHugePages(c.fData.get(), bytes);
}

std::string Model::Text(std::string_view raw) const {
    return DecodeText(raw, codepage, unicode);
}

std::string Upper(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return out;
}

int Model::LayerOf(std::string_view name) {
    std::string key = Upper(name);
    if (auto it = layerIndex.find(key); it != layerIndex.end()) return it->second;
    layers.push_back({Text(name), 0xFFFFFF, false});
    const int index = static_cast<int>(layers.size()) - 1;
    layerIndex.emplace(std::move(key), index);
    return index;
}

void Note(TOrnDXFReport& report, std::string message) {
    if (report.messages.size() < kMaxMessages)
        report.messages.push_back(std::move(message));
    else if (report.messages.size() == kMaxMessages)
        report.messages.push_back("… further problems are counted, not listed");
}

TOrnMathVector Apply(const Affine& m, const TOrnMathVector& p) {
    return {m[0] * p.x + m[1] * p.y + m[2] * p.z + m[3], m[4] * p.x + m[5] * p.y + m[6] * p.z + m[7],
            m[8] * p.x + m[9] * p.y + m[10] * p.z + m[11]};
}

Affine Multiply(const Affine& a, const Affine& b) {
    Affine r{};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 4; ++j)
            r[i * 4 + j] = a[i * 4] * b[j] + a[i * 4 + 1] * b[4 + j] + a[i * 4 + 2] * b[8 + j];
        r[i * 4 + 3] += a[i * 4 + 3];
    }
    return r;
}

void ReadDrawing(const char* data, std::size_t size, const ReadOptions& options, Model& model,
                 TOrnDXFReport& report, const std::function<void(double)>& progress) {
    Reader(data, size, options, model, report, progress).Run();
}

} // namespace orn::detail::dxf
