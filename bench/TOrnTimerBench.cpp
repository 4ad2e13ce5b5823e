// The cost of one idle pass: what a running animation spends polling between frames.
#include <orn/host/TApplication.h>
#include <orn/host/TOrnClock.h>
#include <orn/interaction/TOrnTimer.h>

#include <benchmark/benchmark.h>

#include <memory>

using namespace orn;

namespace {

// One idle pass over a root timer with state.range(0) timers below it, on the steady clock.
void BM_IdlePassOverTree(benchmark::State& state) {
    TComponent form(nullptr);
    auto* root = new TOrnTimer(&form);
    for (int i = 0; i < state.range(0); ++i)
        (new TOrnTimer(&form))->SetParent(root);
    int ticks = 0;
    for (TOrnTimer* t : root->Children()) {
        t->SetRate(10'000);
        t->OnTimer = [&](TObject*, int) { ++ticks; };
    }
    for (auto _ : state) {
        bool done = true;
        root->DoIdle(nullptr, done);
        benchmark::DoNotOptimize(done);
    }
    state.SetItemsProcessed(state.iterations() * (state.range(0) + 1));
    state.counters["ticks"] = ticks;
}
BENCHMARK(BM_IdlePassOverTree)->Arg(0)->Arg(10)->Arg(100);

// DoTimer alone with a counter that makes every call a tick.
void BM_DoTimerTicking(benchmark::State& state) {
    TOrnTimer timer(nullptr);
    timer.SetRate(10'000);
    int intervals = 0;
    timer.OnTimer = [&](TObject*, int n) { intervals += n; };
    std::int64_t now = timer.IntervalTicks();
    for (auto _ : state) {
        now += timer.IntervalTicks() + 1;
        benchmark::DoNotOptimize(timer.DoTimer(now));
    }
    benchmark::DoNotOptimize(intervals);
}
BENCHMARK(BM_DoTimerTicking);

void BM_StopwatchStartStop(benchmark::State& state) {
    TOrnTimer timer(nullptr);
    for (auto _ : state) {
        timer.Start();
        benchmark::DoNotOptimize(timer.Stop());
    }
}
BENCHMARK(BM_StopwatchStartStop);

} // namespace

BENCHMARK_MAIN();
