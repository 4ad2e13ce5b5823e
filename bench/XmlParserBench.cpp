// Throughput of the scene file's XML reader on a ~100 MB scene-like file, beside pugixml's parse of
// the same bytes when pugixml is installed.
#include <orn/io/TXMLParser.h>

#include <benchmark/benchmark.h>

#ifdef ORN_HAVE_PUGIXML
#include <pugixml.hpp>
#endif

#include <string>

namespace {

constexpr std::size_t kTargetBytes = 100u << 20;

const std::string& sceneText() {
    static const std::string text = [] {
        std::string s = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                        "<ORNGL version=\"1.0\" program=\"XmlParserBench\" description=\"generated\">\n"
                        "<Objects>\n";
        s.reserve(kTargetBytes + 4096);
        for (int i = 0; s.size() < kTargetBytes; ++i) {
            s += "<TORNSPHERE name=\"Sphere";
            s += std::to_string(i);
            s += "\" Enabled=\"TRUE\" Radius=\"1.5\">\n"
                 "<Transformation Order=\"toRotTraSca\">\n"
                 "<Translation P=\"1,2,3\"></Translation>\n"
                 "<Rotation P=\"0,45,0\"></Rotation>\n"
                 "</Transformation>\n"
                 "</TORNSPHERE>\n";
        }
        s += "</Objects>\n</ORNGL>\n";
        return s;
    }();
    return text;
}

void setThroughput(benchmark::State& state, std::size_t bytes) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    state.counters["MB/s"] = benchmark::Counter(static_cast<double>(state.iterations() * bytes) / 1e6,
                                                benchmark::Counter::kIsRate);
}

void BM_TXMLParser(benchmark::State& state) {
    const std::string& text = sceneText();
    orn::TXMLParser parser(nullptr);
    std::size_t tags = 0, params = 0, radii = 0;
    parser.OnTag = [&](orn::TObject*, orn::TXMLTag& tag) {
        ++tags;
        params += static_cast<std::size_t>(tag.ParamCount());
        if (tag.IndexOfParam("radius") >= 0) ++radii;
    };
    parser.OnEndTag = [&](orn::TObject*, orn::TXMLTag&) { ++tags; };
    for (auto _ : state) {
        state.PauseTiming();
        parser.Stream() = text;
        state.ResumeTiming();
        parser.execute();
        benchmark::DoNotOptimize(tags);
    }
    benchmark::DoNotOptimize(params + radii);
    setThroughput(state, text.size());
}
BENCHMARK(BM_TXMLParser)->Unit(benchmark::kMillisecond)->UseRealTime();

#ifdef ORN_HAVE_PUGIXML
void BM_pugixml(benchmark::State& state) {
    const std::string& text = sceneText();
    std::string copy;
    for (auto _ : state) {
        state.PauseTiming();
        copy = text;
        pugi::xml_document doc;
        state.ResumeTiming();
        pugi::xml_parse_result result = doc.load_buffer_inplace(copy.data(), copy.size());
        benchmark::DoNotOptimize(result.status);
        state.PauseTiming();
        doc.reset(); // freeing the tree is not part of the parse
        state.ResumeTiming();
    }
    setThroughput(state, text.size());
}
BENCHMARK(BM_pugixml)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif

} // namespace

BENCHMARK_MAIN();
