// Cost of ownership: making scenes whose components all have one owner, against the same
// components made without an owner, and tearing them down; and the bounds that frame a scene.
#include <orn/geometry/TOrnSphere.h>
#include <orn/scene/TOrnNode.h>
#include <orn/scene/TOrnObject.h>

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

using namespace orn;

namespace {

/// 10,000 transformed nodes of one sphere each under a root node (argument 1: the form owns
/// every component; 0: nobody does, and the bench deletes them itself).
void BM_NodeScene10000(benchmark::State& state) {
    const bool owned = state.range(0) != 0;
    for (auto _ : state) {
        auto form = std::make_unique<TComponent>(nullptr);
        TComponent* owner = owned ? form.get() : nullptr;
        std::vector<std::unique_ptr<TComponent>> loose;
        auto* root = new TOrnNode(owner);
        if (!owned) loose.emplace_back(root);
        for (int i = 0; i < 10000; ++i) {
            auto* node = new TOrnNode(owner);
            auto* sphere = new TOrnSphere(owner);
            if (!owned) {
                loose.emplace_back(sphere);
                loose.emplace_back(node);
            }
            sphere->SetSlices(8);
            sphere->SetStacks(6);
            node->Transformation()->Translation()->SetValues(float(i % 100), float(i / 100), 0);
            node->Add(sphere);
            root->Add(node);
        }
        benchmark::DoNotOptimize(root);
        state.PauseTiming();
        // Items before the nodes that hold them, nodes before the root, as an owner would.
        while (!loose.empty())
            loose.pop_back();
        form.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_NodeScene10000)->Arg(0)->Arg(1)->ArgName("owned")->Unit(benchmark::kMillisecond);

/// Plain objects created with one owner, then the owner destroyed (arguments: objects; 1 to time
/// the destruction too).
void BM_ObjectsOneOwner(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    const bool withTeardown = state.range(1) != 0;
    for (auto _ : state) {
        auto form = std::make_unique<TComponent>(nullptr);
        for (int i = 0; i < count; ++i)
            new TOrnObject(form.get());
        if (!withTeardown) state.PauseTiming();
        form.reset();
        if (!withTeardown) state.ResumeTiming();
    }
}
BENCHMARK(BM_ObjectsOneOwner)
    ->Args({20000, 1})
    ->Args({100000, 0})
    ->Args({100000, 1})
    ->ArgNames({"objects", "teardown"})
    ->Unit(benchmark::kMillisecond);

/// Destroying one object in the middle of 100,000 siblings, all items of one node.
void BM_DestroyOneOf100000(benchmark::State& state) {
    TComponent form(nullptr);
    auto* node = new TOrnNode(&form);
    std::vector<TOrnObject*> objects;
    for (int i = 0; i < 100000; ++i) {
        objects.push_back(new TOrnObject(&form));
        node->Add(objects.back());
    }
    size_t next = 50000;
    for (auto _ : state) {
        delete objects[next];
        state.PauseTiming();
        objects[next] = new TOrnObject(&form); // replaced at the end of both lists
        node->Add(objects[next]);
        next = (next + 7919) % objects.size();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_DestroyOneOf100000)->Unit(benchmark::kMicrosecond);

/// The bounds of 100,000 spheres spread over a grid of nodes, none of them built: what framing a
/// scene without a camera costs.
void BM_Bounds100000(benchmark::State& state) {
    TComponent form(nullptr);
    auto* root = new TOrnNode(&form);
    for (int g = 0; g < 100; ++g) {
        auto* group = new TOrnNode(&form);
        group->Transformation()->Rotation()->SetY(float(g));
        root->Add(group);
        for (int i = 0; i < 1000; ++i) {
            auto* sphere = new TOrnSphere(&form);
            sphere->Transformation()->Translation()->SetValues(float(i % 10), float(i / 10), float(g));
            group->Add(sphere);
        }
    }
    double radius = 0;
    for (auto _ : state) {
        TOrnBounds box;
        root->GetBounds(box);
        radius = box.Radius();
        benchmark::DoNotOptimize(radius);
    }
    state.counters["radius"] = radius;
}
BENCHMARK(BM_Bounds100000)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
