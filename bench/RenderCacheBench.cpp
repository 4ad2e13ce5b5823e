// One frame of 10,000 cached objects headless: each object calls its own display list, and all of
// them share one attributes and one material block, so the frame measures the list calls and the
// bookkeeping of what is already applied.
#include <orn/geometry/TOrnBox.h>
#include <orn/scene/TOrnNode.h>
#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnMaterial.h>
#include <orn/view/TOrnView.h>

#include <GL/gl.h>
#include <benchmark/benchmark.h>

using namespace orn;

namespace {

constexpr int kObjects = 10000;

// state.range(0): 0 = each object cached, 1 = only the scene node cached (one list for all).
void BM_CachedFrame10000(benchmark::State& state) {
    TComponent form(nullptr);
    TOrnOrthographicCamera camera(nullptr);
    camera.SetViewWidth(100);
    camera.SetViewHeight(100);
    camera.SetViewFar(100);
    camera.Transformation()->Translation()->SetZ(-50);
    auto* view = new TOrnView(&form);
    view->SetBounds(400, 400);
    view->SetCamera(&camera);
    auto* attributes = new TOrnAttributes(&form);
    attributes->SetLighting(true);
    auto* material = new TOrnMaterial(&form);
    auto* scene = new TOrnNode(&form);
    const bool perObject = state.range(0) == 0;
    for (int i = 0; i < kObjects; ++i) {
        auto* cube = new TOrnBox(&form);
        cube->SetWidth(0.8f);
        cube->SetHeight(0.8f);
        cube->SetDepth(0.8f);
        cube->SetAttributes(attributes);
        cube->SetMaterial(material);
        cube->SetCached(perObject);
        cube->Transformation()->Translation()->SetValues(float(i % 100 - 49.5), float(i / 100 - 49.5), 0);
        scene->Add(cube);
    }
    scene->SetCached(!perObject);
    view->OnRender = [scene](TOrnView* v) { scene->Render(v); };
    view->OpenGLConnect();
    view->RenderScene(); // compiles the lists
    for (auto _ : state) {
        view->RenderScene();
        view->SetCurrent(true);
        glFinish();
        view->SetCurrent(false);
    }
    state.SetItemsProcessed(state.iterations() * kObjects);
    view->SetCamera(nullptr);
}
BENCHMARK(BM_CachedFrame10000)->Arg(0)->Arg(1)->ArgName("node")->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
