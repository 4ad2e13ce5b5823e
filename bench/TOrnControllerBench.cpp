// The cost of turning one input event into motion: what a controller adds to each mouse move or
// key press before the view repaints.
#include <orn/interaction/TOrnMouseController.h>
#include <orn/interaction/TOrnPersonController.h>

#include <benchmark/benchmark.h>

using namespace orn;

namespace {

// One mouse move of a drag in mode 1 (move Y, turn) or 2 (sideways and forward vectors).
void BM_MouseDragMove(benchmark::State& state) {
    TComponent form(nullptr);
    auto* target = new TOrnTransformed(&form);
    auto* ctl = new TOrnMouseController(&form);
    ctl->SetControlled(target);
    target->Transformation()->Rotation()->SetValues(20, 30, 0);
    ctl->HandleMouseDown(state.range(0) == 1 ? mbLeft : mbRight, {}, 0, 0);
    int x = 0;
    for (auto _ : state) {
        ++x;
        benchmark::DoNotOptimize(ctl->HandleMouseMove({}, x & 255, x & 127));
    }
}
BENCHMARK(BM_MouseDragMove)->Arg(1)->Arg(2);

// One step key of the person controller.
void BM_PersonStep(benchmark::State& state) {
    TComponent form(nullptr);
    auto* target = new TOrnTransformed(&form);
    auto* ctl = new TOrnPersonController(&form);
    ctl->SetControlled(target);
    for (auto _ : state)
        benchmark::DoNotOptimize(ctl->HandleKey(VK_UP, {}));
}
BENCHMARK(BM_PersonStep);

} // namespace

BENCHMARK_MAIN();
