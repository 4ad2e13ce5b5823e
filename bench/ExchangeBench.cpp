// Load and save time of large scene files.
//
// Arguments: objects, objects per group node (0: every object directly in the saved node).
#include <orn/io/TOrnExchange.h>
#include <orn/scene/TOrnNode.h>
#include <orn/scene/TOrnObject.h>
#include <orn/scene/TOrnRegistry.h>

#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <sys/resource.h>
#include <unistd.h>

using namespace orn;

namespace {

void EnsureObjectClass() {
    if (!GetRenderClass("TOrnObject")) RegisterRenderClass(ClassOf<TOrnObject>());
}

/// Objects with values of their own, in groups of groupSize under sub-nodes (or all in root).
void BuildScene(TOrnNode& root, int count, int groupSize) {
    TOrnNode* group = &root;
    for (int i = 0; i < count; ++i) {
        if (groupSize > 0 && i % groupSize == 0) {
            group = new TOrnNode(&root);
            group->SetName("Group" + std::to_string(i / groupSize));
            root.Add(group);
        }
        auto* o = new TOrnObject(group);
        if (groupSize > 0) o->SetName("Object" + std::to_string(i));
        o->SetObjectID(i);
        o->Color()->SetColor(static_cast<TColor>(i * 2654435761u & 0xFFFFFF));
        o->Transformation()->Translation()->SetValues(
            static_cast<float>(i % 100) * 0.5f, static_cast<float>(i / 100) * 0.25f, 1.0f / (1 + i % 7));
        group->Add(o);
    }
}

/// The process's peak resident memory so far: run one case alone to read it for that case.
double PeakRssMB() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

struct Scene {
    TComponent form{nullptr};
    TOrnNode* root = new TOrnNode(&form);
    Scene(int count, int groupSize) {
        EnsureObjectClass();
        BuildScene(*root, count, groupSize);
    }
};

void BM_SaveToString(benchmark::State& state) {
    Scene scene(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    TOrnExchange exchange(nullptr);
    std::size_t bytes = 0;
    for (auto _ : state) {
        std::string text = exchange.SaveToString(*scene.root);
        bytes = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    state.counters["MB"] = static_cast<double>(bytes) / 1e6;
    state.SetBytesProcessed(static_cast<int64_t>(bytes) * state.iterations());
}

void BM_SaveToFile(benchmark::State& state) {
    Scene scene(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    TOrnExchange exchange(nullptr);
    const std::string file =
        (std::filesystem::temp_directory_path() / ("orn_bench_" + std::to_string(::getpid()) + ".orngl"))
            .string();
    for (auto _ : state)
        exchange.SaveToFile(*scene.root, file);
    std::filesystem::remove(file);
}

void BM_Load(benchmark::State& state) {
    std::string text;
    {
        Scene scene(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
        TOrnExchange writer(nullptr);
        text = writer.SaveToString(*scene.root);
    }
    TOrnExchange exchange(nullptr);
    for (auto _ : state) {
        auto form = std::make_unique<TComponent>(nullptr);
        auto* node = new TOrnNode(form.get());
        exchange.LoadFromString(*node, text);
        benchmark::DoNotOptimize(node);
        state.PauseTiming();
        form.reset();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(text.size()) * state.iterations());
    state.counters["file_MB"] = static_cast<double>(text.size()) / 1e6;
    state.counters["peak_rss_MB"] = PeakRssMB();
}

/// The same scene made in code: the share of a load that is component creation, not the file.
void BM_CreateOnly(benchmark::State& state) {
    EnsureObjectClass();
    for (auto _ : state) {
        auto form = std::make_unique<TComponent>(nullptr);
        BuildScene(*new TOrnNode(form.get()), static_cast<int>(state.range(0)),
                   static_cast<int>(state.range(1)));
        state.PauseTiming();
        form.reset();
        state.ResumeTiming();
    }
}

} // namespace

// Grouped scenes and one flat node of 100,000 objects: an owner hears of its components in
// constant time each, so both load in time linear in the file.
BENCHMARK(BM_SaveToString)->Args({100000, 100})->Args({100000, 1000})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveToFile)->Args({100000, 100})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Load)
    ->Args({100000, 100})
    ->Args({100000, 1000})
    ->Args({10000, 0})
    ->Args({100000, 0})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CreateOnly)
    ->Args({100000, 100})
    ->Args({100000, 1000})
    ->Args({10000, 0})
    ->Args({100000, 0})
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
