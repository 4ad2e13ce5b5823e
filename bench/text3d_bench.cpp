// Build speed of 3D text: outline, tessellation and extrusion of a caption.
#include <orn/objects/TOrn3DText.h>

#include <benchmark/benchmark.h>

#include <string>

using namespace orn;

namespace {

void BM_Text3DBuild(benchmark::State& state) {
    TComponent form(nullptr);
    auto* text = new TOrn3DText(&form);
    std::string caption;
    for (int i = 0; i < state.range(0); ++i)
        caption += "The quick brown fox "[i % 20];
    text->SetCaption(caption);
    for (auto _ : state) {
        text->Init();
        benchmark::DoNotOptimize(text->Points()->Count());
    }
    state.counters["points"] = text->Points()->Count();
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_Text3DBuild)->Arg(4)->Arg(100)->Arg(1000)->Arg(4000)->Unit(benchmark::kMicrosecond);

void BM_Text3DDetail(benchmark::State& state) {
    TComponent form(nullptr);
    auto* text = new TOrn3DText(&form);
    text->SetCaption("Orn 3D");
    text->SetDetail(1.0 / static_cast<double>(state.range(0)));
    for (auto _ : state) {
        text->Init();
        benchmark::DoNotOptimize(text->Points()->Count());
    }
    state.counters["points"] = text->Points()->Count();
}
BENCHMARK(BM_Text3DDetail)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
