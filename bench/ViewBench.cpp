// Frames per second of the demo scene headless, and the latency of a pick among 10,000 objects.
#include "../apps/orn/DemoScene.h"

#include <orn/view/TOrnView.h>

#include <GL/gl.h>
#include <benchmark/benchmark.h>

#include <memory>

using namespace orn;

namespace {

// One repaint of the demo at 800 × 600, finished on the GPU side before the clock stops.
void BM_DemoFrame(benchmark::State& state) {
    TComponent form(nullptr);
    TOrnPerspectiveCamera camera(nullptr);
    app::AimDemoCamera(camera);
    auto* view = new TOrnView(&form);
    view->SetBounds(800, 600);
    view->SetCamera(&camera);
    TOrnNode* scene = app::BuildDemoScene(&form);
    scene->SetCached(state.range(0) != 0);
    app::ShowDemoScene(*view, scene);
    view->OpenGLConnect();
    for (auto _ : state) {
        view->RenderScene();
        view->SetCurrent(true);
        glFinish();
        view->SetCurrent(false);
    }
    state.counters["fps"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    view->SetCamera(nullptr);
}
BENCHMARK(BM_DemoFrame)->Arg(0)->Arg(1)->ArgName("cached")->Unit(benchmark::kMillisecond)->UseRealTime();

// A bitmap of the demo at 800 × 600: what `orn render` does, context creation included.
void BM_DemoImage(benchmark::State& state) {
    TComponent form(nullptr);
    TOrnPerspectiveCamera camera(nullptr);
    app::AimDemoCamera(camera);
    auto* view = new TOrnView(&form);
    view->SetCamera(&camera);
    app::ShowDemoScene(*view, app::BuildDemoScene(&form));
    for (auto _ : state)
        benchmark::DoNotOptimize(view->GetImage(800, 600));
    view->SetCamera(nullptr);
}
BENCHMARK(BM_DemoImage)->Unit(benchmark::kMillisecond)->UseRealTime();

// The same picture read back from a view connected at 800 × 600: one frame in its own context.
void BM_DemoSurfaceImage(benchmark::State& state) {
    TComponent form(nullptr);
    TOrnPerspectiveCamera camera(nullptr);
    app::AimDemoCamera(camera);
    auto* view = new TOrnView(&form);
    view->SetBounds(800, 600);
    view->SetCamera(&camera);
    app::ShowDemoScene(*view, app::BuildDemoScene(&form));
    view->OpenGLConnect();
    for (auto _ : state)
        benchmark::DoNotOptimize(view->GetSurfaceImage());
    view->SetCamera(nullptr);
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
