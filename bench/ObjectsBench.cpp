// Building parametric objects: a function surface of a million points, and reading a point set of a
// million heights from text.
#include <orn/objects/TOrnFuncObj.h>
#include <orn/objects/TOrnPointSet.h>
#include <orn/objects/TOrnTube.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <string>

using namespace orn;

static void BM_FunctionSurface1000x1000(benchmark::State& state) {
    TComponent form(nullptr);
    auto* obj = new TOrnFuncObj(&form);
    obj->SetStacks(1000);
    obj->SetSlices(1000);
    obj->OnCalcZ = [](const TOrnMathVector&, double t) { return TOrnMathVector{0, t, 0}; };
    obj->OnCalcXY = [](const TOrnMathVector& v, double t) {
        return TOrnMathVector{t, v.y, 0.1 * std::sin(6 * t) * std::cos(6 * v.y)};
    };
    for (auto _ : state) {
        obj->Init();
        benchmark::DoNotOptimize(obj->Points()->Vertices());
    }
    state.SetItemsProcessed(state.iterations() * 1001 * 1001);
    state.counters["points/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * 1001 * 1001,
                                                    benchmark::Counter::kIsRate);
}
BENCHMARK(BM_FunctionSurface1000x1000)->Unit(benchmark::kMillisecond);

static std::string HeightText(int rows, int cols) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> h(-500, 500);
    std::string text;
    char buf[32];
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < cols; ++c) {
            const int n = std::snprintf(buf, sizeof buf, "%.4f%c", h(rng), c + 1 == cols ? '\n' : ' ');
            text.append(buf, static_cast<std::size_t>(n));
        }
    return text;
}

static void BM_PointSetReadMillion(benchmark::State& state) {
    const std::string text = HeightText(1000, 1000);
    TComponent form(nullptr);
    auto* set = new TOrnPointSet(&form);
    for (auto _ : state) {
        set->ReadFromText(text, "bench.txt");
        benchmark::DoNotOptimize(set->Values().data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
    state.SetItemsProcessed(state.iterations() * 1000000);
}
BENCHMARK(BM_PointSetReadMillion)->Unit(benchmark::kMillisecond);

static void BM_PointSetReadAndBuildMillion(benchmark::State& state) {
    const std::string text = HeightText(1000, 1000);
    TComponent form(nullptr);
    auto* set = new TOrnPointSet(&form);
    for (auto _ : state) {
        set->ReadFromText(text, "bench.txt");
        set->Init();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_PointSetReadAndBuildMillion)->Unit(benchmark::kMillisecond);

static void BM_TubeHelix(benchmark::State& state) {
    TComponent form(nullptr);
    auto* tube = new TOrnTube(&form);
    tube->SetPathSteps(10000);
    tube->SetSlices(16);
    tube->OnCalcPath = [](const TOrnMathVector&, double t) {
        return TOrnMathVector{std::cos(60 * t), std::sin(60 * t), 5 * t};
    };
    for (auto _ : state)
        tube->Init();
    state.SetItemsProcessed(state.iterations() * 10001 * 17);
}
BENCHMARK(BM_TubeHelix)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
