// Speed of generated geometry: building a million-point sphere against copying its bytes, averaged
// normals over a seam-flagged grid, welding a million triangles, and the memory of a point.
#include <orn/geometry/TOrnCustomObj.h>
#include <orn/geometry/TOrnSphere.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <vector>

using namespace orn;

namespace {

using Clock = std::chrono::steady_clock;

double seconds(Clock::time_point a, Clock::time_point b) {
    return std::chrono::duration<double>(b - a).count();
}

std::size_t geometryBytes(const TOrnPrimitiveObj& o) {
    std::size_t bytes = o.Points()->AllocatedBytes();
    for (int l = 0; l < o.PrimitiveCount(); ++l)
        bytes += static_cast<std::size_t>(o.Primitive(l)->Count()) * 4;
    return bytes;
}

/// A sphere of 1000 × 1000 segments built from scratch, and memcpy of as many bytes as the build
/// writes (positions, normals, texture coordinates where textured, flags, indices) into memory
/// already touched.
void BM_SphereBuildVsMemcpy(benchmark::State& state) {
    TComponent form{nullptr};
    TOrnSphere sphere(&form);
    sphere.SetTextured(state.range(0) != 0);
    sphere.SetSlices(1000);
    sphere.SetStacks(1000);
    sphere.Init();
    const std::size_t bytes = geometryBytes(sphere);
    std::vector<char> from(bytes, 1), to(bytes, 2);
    double build = 0, copy = 0;
    for (auto _ : state) {
        const auto t0 = Clock::now();
        sphere.Init();
        const auto t1 = Clock::now();
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
        const auto t2 = Clock::now();
        build += seconds(t0, t1);
        copy += seconds(t1, t2);
        state.SetIterationTime(seconds(t0, t1));
    }
    state.counters["points"] = sphere.Points()->Count();
    state.counters["MB"] = static_cast<double>(bytes) / 1e6;
    state.counters["memcpy_ms"] = 1e3 * copy / static_cast<double>(state.iterations());
    state.counters["ratio_to_memcpy"] = build / copy;
    state.counters["bytes_per_point"] =
        static_cast<double>(sphere.Points()->AllocatedBytes()) / sphere.Points()->Count();
}
BENCHMARK(BM_SphereBuildVsMemcpy)
    ->Arg(0)
    ->Arg(1)
    ->ArgName("textured")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2.0);

/// A primitive object whose geometry the benchmark fills by hand.
class Grid : public TOrnPrimitiveObj {
public:
    using TOrnPrimitiveObj::TOrnPrimitiveObj;
};

/// CalcNormals over a welded grid of side × side points in triangles, every point seam-flagged.
void BM_CalcNormalsSeamGrid(benchmark::State& state) {
    const int side = static_cast<int>(state.range(0));
    TComponent form{nullptr};
    Grid grid(&form);
    TOrnPrimitivePoints& pts = *grid.Points();
    pts.SetCount(side * side);
    double* v = pts.Vertices();
    std::uint8_t* f = pts.Flags();
    for (int j = 0; j < side; ++j)
        for (int i = 0; i < side; ++i) {
            const std::size_t k = static_cast<std::size_t>(j) * side + i;
            v[3 * k] = i * 0.01;
            v[3 * k + 1] = 0.001 * ((i * 7 + j * 3) % 5); // not flat, so normals differ
            v[3 * k + 2] = j * 0.01;
            f[k] = 1;
        }
    TOrnPrimitiveArray* list = grid.Primitive(grid.AddPrimitiveArray(GL_TRIANGLES));
    list->SetCount(6 * (side - 1) * (side - 1));
    std::uint32_t* d = list->Data();
    for (int j = 0; j + 1 < side; ++j)
        for (int i = 0; i + 1 < side; ++i) {
            const auto a = static_cast<std::uint32_t>(j * side + i), b = a + 1,
                       c = a + static_cast<std::uint32_t>(side), e = c + 1;
            for (std::uint32_t x : {a, c, b, b, c, e})
                *d++ = x;
        }
    for (auto _ : state)
        grid.CalcNormals();
    state.counters["points"] = side * side;
    state.counters["ns_per_point"] =
        benchmark::Counter(static_cast<double>(side) * side,
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_CalcNormalsSeamGrid)->Arg(1000)->Arg(2000)->Unit(benchmark::kMillisecond)->MinTime(2.0);

/// A custom object built from a million AddTriangle calls: a welded grid of 707 × 707 quads, two
/// triangles each; range(0) says whether the build also averages the normals.
void BM_CustomObjMillionTriangles(benchmark::State& state) {
    TComponent form{nullptr};
    TOrnCustomObj obj(&form);
    obj.SetAutoCalcNormals(state.range(0) != 0);
    const int n = 708;
    obj.OnConstruct = [&](TObject*) {
        for (int j = 0; j + 1 < n; ++j)
            for (int i = 0; i + 1 < n; ++i) {
                const TOrnMathVector a{i * 0.01, 0, j * 0.01}, b{(i + 1) * 0.01, 0, j * 0.01},
                    c{i * 0.01, 0, (j + 1) * 0.01}, e{(i + 1) * 0.01, 0, (j + 1) * 0.01};
                obj.AddTriangle(a, c, b);
                obj.AddTriangle(b, c, e);
            }
    };
    for (auto _ : state)
        obj.Init();
    state.counters["triangles"] = obj.Primitive(0)->Count() / 3;
    state.counters["points"] = obj.Points()->Count();
}
BENCHMARK(BM_CustomObjMillionTriangles)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->MinTime(2.0);

/// Bytes held per point by a pool with the default arrays after a million single appends.
void BM_PoolMillionAppends(benchmark::State& state) {
    double bytesPerPoint = 0;
    for (auto _ : state) {
        TOrnPrimitivePoints pool;
        for (int i = 0; i < 1000000; ++i)
            pool.Add({double(i), 0, 0}, {0, 1, 0}, {0, 0, 0});
        bytesPerPoint = static_cast<double>(pool.AllocatedBytes()) / pool.Count();
        benchmark::DoNotOptimize(pool.Vertices());
    }
    state.counters["bytes_per_point"] = bytesPerPoint;
}
BENCHMARK(BM_PoolMillionAppends)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
