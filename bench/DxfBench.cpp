// DXF reading speed on a generated 100 MB drawing (lines, bulged lwpolylines, circles, inserts): the
// tokenizer alone, tokenising and parsing into batches, and the whole import into built objects. Then
// the render time of a drawing of 1,000,000 segments against one glDrawArrays of the same segments.
// Where the dime DXF reader is installed, it reads the same drawing (from a file, as it must) for
// comparison with tokenising and parsing.
#include <orn/geometry/TOrnCustomObj.h>
#include <orn/io/TOrnDXFImport.h>
#include <orn/scene/TOrnNode.h>

#include "io/detail/DxfModel.h"
#include "io/detail/DxfTokens.h"
#include "support/TestView.h"
#include "view/detail/EglContext.h"

#include <GL/gl.h>
#include <benchmark/benchmark.h>

#ifdef ORN_HAVE_DIME
#include <dime/Input.h>
#include <dime/Model.h>
#endif

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

using namespace orn;

namespace {

void Pair(std::string& s, int code, double v) {
    char buf[48];
    std::snprintf(buf, sizeof buf, "%3d\n%.6f\n", code, v);
    s += buf;
}

/// A drawing of about `bytes` bytes in the mix of a typical plan: lines, bulged lwpolylines, circles
/// and (unless withoutInserts) inserts of a small block.
const std::string& Drawing(std::size_t bytes, bool withoutInserts) {
    static std::string cache[2];
    std::string& s = cache[withoutInserts];
    if (!s.empty()) return s;
    // The header's extents, as a CAD program writes them, set the curve tolerance.
    s = "  0\nSECTION\n  2\nHEADER\n  9\n$EXTMIN\n 10\n0\n 20\n0\n 30\n0\n  9\n$EXTMAX\n 10\n1000\n "
        "20\n1000\n 30\n0\n"
        "  0\nENDSEC\n";
    s += "  0\nSECTION\n  2\nBLOCKS\n  0\nBLOCK\n  2\nDOOR\n 10\n0\n 20\n0\n";
    for (int i = 0; i < 8; ++i)
        s += "  0\nLINE\n  8\n0\n 10\n0\n 20\n" + std::to_string(i) + "\n 11\n1\n 21\n" + std::to_string(i) +
             "\n";
    s += "  0\nENDBLK\n  0\nENDSEC\n  0\nSECTION\n  2\nENTITIES\n";
    for (long i = 0; s.size() < bytes; ++i) {
        const double x = static_cast<double>(i % 1000), y = static_cast<double>(i / 1000);
        switch (i % (withoutInserts ? 3 : 4)) {
        case 0:
            s += "  0\nLINE\n  8\nWalls\n";
            Pair(s, 10, x), Pair(s, 20, y), Pair(s, 30, 0), Pair(s, 11, x + 0.5), Pair(s, 21, y + 0.5),
                Pair(s, 31, 0);
            break;
        case 1:
            s += "  0\nLWPOLYLINE\n  8\nCut\n 90\n4\n 70\n1\n";
            Pair(s, 10, x), Pair(s, 20, y), Pair(s, 10, x + 0.8), Pair(s, 20, y), Pair(s, 42, 1);
            Pair(s, 10, x + 0.8), Pair(s, 20, y + 0.2), Pair(s, 10, x), Pair(s, 20, y + 0.2), Pair(s, 42, 1);
            break;
        case 2:
            s += "  0\nCIRCLE\n  8\nHoles\n 62\n1\n";
            Pair(s, 10, x), Pair(s, 20, y), Pair(s, 30, 0), Pair(s, 40, 0.25);
            break;
        default:
            s += "  0\nINSERT\n  8\nDoors\n  2\nDOOR\n";
            Pair(s, 10, x), Pair(s, 20, y), Pair(s, 30, 0), Pair(s, 50, static_cast<double>(i % 360));
            break;
        }
    }
    s += "  0\nENDSEC\n  0\nEOF\n";
    return s;
}

constexpr std::size_t kBig = 100'000'000;

void BM_Tokenize(benchmark::State& state) {
    const std::string& d = Drawing(kBig, false);
    std::size_t groups = 0;
    for (auto _ : state) {
        detail::dxf::Tokenizer tok(d.data(), d.size());
        detail::dxf::Group g;
        while (tok.Next(g))
            ++groups;
    }
    benchmark::DoNotOptimize(groups);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * d.size()));
}
BENCHMARK(BM_Tokenize)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_TokenizeAndParse(benchmark::State& state) {
    const std::string& d = Drawing(kBig, false);
    std::size_t segments = 0;
    for (auto _ : state) {
        detail::dxf::Model model;
        TOrnDXFReport report;
        detail::dxf::ReadDrawing(d.data(), d.size(), {}, model, report, {});
        for (const auto& [key, batch] : model.model.batches)
            segments += batch.lines.size() / 6;
    }
    benchmark::DoNotOptimize(segments);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * d.size()));
}
BENCHMARK(BM_TokenizeAndParse)->Unit(benchmark::kMillisecond)->Iterations(3);

#ifdef ORN_HAVE_DIME
/// The same drawing read into dime's entities (which it does not tessellate).
void BM_PeerDime(benchmark::State& state) {
    const std::string& d = Drawing(kBig, false);
    const std::filesystem::path path = std::filesystem::temp_directory_path() / "orn-dxf-bench.dxf";
    std::ofstream(path, std::ios::binary).write(d.data(), static_cast<std::streamsize>(d.size()));
    for (auto _ : state) {
        dimeInput in;
        dimeModel model;
        if (!in.setFile(path.c_str()) || !model.read(&in)) {
            state.SkipWithError("dime did not read the drawing");
            break;
        }
    }
    std::filesystem::remove(path);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * d.size()));
}
BENCHMARK(BM_PeerDime)->Unit(benchmark::kMillisecond)->Iterations(2);
#endif

/// Every object of the tree built, as the first render would.
void BuildAll(TOrnNode& node) {
    for (int i = 0; i < node.Count(); ++i)
        if (auto* child = dynamic_cast<TOrnNode*>(node.Items(i)))
            BuildAll(*child);
        else if (auto* obj = dynamic_cast<TOrnCustomObj*>(node.Items(i)))
            obj->Init();
}

/// The 100 MB drawing without inserts (Arg 0) and with them (Arg 1: some 200,000 insert nodes).
void BM_WholeImport(benchmark::State& state) {
    const std::string& d = Drawing(kBig, state.range(0) == 0);
    for (auto _ : state) {
        TComponent form(nullptr);
        auto* node = new TOrnNode(&form);
        TOrnDXFImport importer(nullptr);
        importer.SetNode(node);
        importer.LoadFromBuffer(d.data(), d.size());
        BuildAll(*node);
        state.counters["segments"] = static_cast<double>(importer.Report().segments);
        state.counters["inserts"] = importer.Report().inserts;
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * d.size()));
}
BENCHMARK(BM_WholeImport)->Arg(0)->Arg(1)->ArgName("inserts")->Unit(benchmark::kMillisecond)->Iterations(2);

/// 1,000,000 segments as an imported drawing, against one glDrawArrays of the same segments from a
/// float array: the render of the drawing should cost no more than the plain call.
void BM_RenderMillionSegments(benchmark::State& state) {
    detail::EglContext context;
    context.Create(512, 512);
    context.MakeCurrent();
    std::string d = "  0\nSECTION\n  2\nENTITIES\n";
    std::vector<float> raw;
    for (int i = 0; i < 1'000'000; ++i) {
        const double x = (i % 1000) / 1000.0, y = (i / 1000) / 1000.0;
        d += "  0\nLINE\n 10\n" + std::to_string(x) + "\n 20\n" + std::to_string(y) + "\n 11\n" +
             std::to_string(x + 0.0005) + "\n 21\n" + std::to_string(y + 0.0005) + "\n";
        raw.insert(raw.end(), {float(x), float(y), 0, float(x + 0.0005), float(y + 0.0005), 0});
    }
    d += "  0\nENDSEC\n  0\nEOF\n";
    TComponent form(nullptr);
    auto* node = new TOrnNode(&form);
    TOrnDXFImport importer(nullptr);
    importer.SetNode(node);
    importer.LoadFromBuffer(d.data(), d.size());
    BuildAll(*node);
    test::TestView view;
    glMatrixMode(GL_PROJECTION);
    glOrtho(0, 1, 0, 1, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    const bool plain = state.range(0) != 0;
    // The first render compiles the drawing's display lists: a cost of loading, not of drawing.
    node->Render(&view);
    glFinish();
    for (auto _ : state) {
        glClear(GL_COLOR_BUFFER_BIT);
        if (plain) {
            glEnableClientState(GL_VERTEX_ARRAY);
            glVertexPointer(3, GL_FLOAT, 0, raw.data());
            glDrawArrays(GL_LINES, 0, static_cast<GLsizei>(raw.size() / 3));
            glDisableClientState(GL_VERTEX_ARRAY);
        } else {
            node->Render(&view);
        }
        glFinish();
    }
    state.counters["segments"] = static_cast<double>(importer.Report().segments);
}
BENCHMARK(BM_RenderMillionSegments)
    ->Arg(0)
    ->Arg(1)
    ->ArgName("plain")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(8)
    ->UseRealTime();

} // namespace

BENCHMARK_MAIN();
