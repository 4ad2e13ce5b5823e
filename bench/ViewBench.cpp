// Frames per second of the demo scene headless, and the latency of a pick among 10,000 objects.
#include "../apps/orn/DemoScene.h"

#include <orn/view/TOrnView.h>

#include <GL/gl.h>
#include <benchmark/benchmark.h>

#include <memory>

using namespace orn;

namespace {

/// The demo scene in a view of 800 × 600, connected unless asked otherwise.
struct Demo {
    TComponent form{nullptr};
    TOrnPerspectiveCamera camera{nullptr};
    TOrnView* view = new TOrnView(&form);
    TOrnNode* scene = app::BuildDemoScene(&form);

    explicit Demo(bool connect = true, bool cached = false) {
        app::AimDemoCamera(camera);
        view->SetBounds(800, 600);
        view->SetCamera(&camera);
        scene->SetCached(cached);
        app::ShowDemoScene(*view, scene);
        if (connect) view->OpenGLConnect();
    }
    ~Demo() { view->SetCamera(nullptr); }
};

// One repaint of the demo, finished on the GPU side before the clock stops.
void BM_DemoFrame(benchmark::State& state) {
    Demo demo(true, state.range(0) != 0);
    for (auto _ : state) {
        demo.view->RenderScene();
        demo.view->SetCurrent(true);
        glFinish();
        demo.view->SetCurrent(false);
    }
    state.counters["fps"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_DemoFrame)->Arg(0)->Arg(1)->ArgName("cached")->Unit(benchmark::kMillisecond)->UseRealTime();

// A bitmap of the demo at 800 × 600: what `orn render` does, context creation included.
void BM_DemoImage(benchmark::State& state) {
    Demo demo(false);
    for (auto _ : state)
        benchmark::DoNotOptimize(demo.view->GetImage(800, 600));
}
BENCHMARK(BM_DemoImage)->Unit(benchmark::kMillisecond)->UseRealTime();

// The same picture read back from the connected view: one frame in its own context.
void BM_DemoSurfaceImage(benchmark::State& state) {
    Demo demo;
    for (auto _ : state)
        benchmark::DoNotOptimize(demo.view->GetSurfaceImage());
}
BENCHMARK(BM_DemoSurfaceImage)->Unit(benchmark::kMillisecond)->UseRealTime();

// GetObj over a 100 × 100 grid of cubes filling an 800 × 600 view, with a cube under the point.
void BM_GetObj10000(benchmark::State& state) {
    TComponent form(nullptr);
    TOrnOrthographicCamera camera(nullptr);
    camera.SetViewWidth(100);
    camera.SetViewHeight(100);
    camera.SetViewFar(100);
    camera.Transformation()->Translation()->SetZ(-50);
    auto* view = new TOrnView(&form);
    view->SetBounds(800, 600);
    view->SetCamera(&camera);
    auto* scene = new TOrnNode(&form);
    for (int i = 0; i < 10000; ++i) {
        auto* cube = new TOrnBox(&form);
        cube->SetWidth(0.8f);
        cube->SetHeight(0.8f);
        cube->SetDepth(0.8f);
        cube->Transformation()->Translation()->SetValues(float(i % 100 - 49.5), float(i / 100 - 49.5), 0);
        scene->Add(cube);
    }
    view->OnRender = [scene](TOrnView* v) { scene->Render(v); };
    view->OpenGLConnect();
    std::size_t hits = 0;
    for (auto _ : state) {
        const TOrnSelectionHit hit = view->GetObj(400 + 3, 300 + 3);
        hits += hit.Object != nullptr;
    }
    if (hits != static_cast<std::size_t>(state.iterations())) state.SkipWithError("the pick missed");
    view->SetCamera(nullptr);
}
BENCHMARK(BM_GetObj10000)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
