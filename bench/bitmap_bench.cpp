// Decoding, encoding and text drawing speed of the host bitmap.
#include <orn/host/TBitmap.h>

#include <benchmark/benchmark.h>

#include <random>

using namespace orn;

namespace {

void Noise(TBitmap& bmp) {
    std::mt19937 rng(1);
    for (int y = 0; y < bmp.Height(); ++y)
        for (int i = 0; i < bmp.Width() * bmp.BytesPerPixel(); ++i)
            bmp.ScanLine(y)[i] = static_cast<std::uint8_t>(rng());
}

void BM_BmpLoad1024(benchmark::State& state) {
    TBitmap src(1024, 1024, state.range(0) == 32 ? pf32bit : pf24bit);
    Noise(src);
    const auto file = src.SaveToMemory();
    TBitmap dst;
    for (auto _ : state)
        dst.LoadFromMemory(file.data(), file.size());
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(file.size()));
}
BENCHMARK(BM_BmpLoad1024)->Arg(24)->Arg(32);

void BM_BmpSave1024(benchmark::State& state) {
    TBitmap src(1024, 1024);
    Noise(src);
    for (auto _ : state)
        benchmark::DoNotOptimize(src.SaveToMemory());
}
BENCHMARK(BM_BmpSave1024);

void BM_PngLoad512(benchmark::State& state) {
    TBitmap src(512, 512);
    src.Canvas().Brush().SetColor(clTeal);
    src.Canvas().FillRect(Rect(0, 0, 512, 256));
    const auto file = src.SavePngToMemory();
    TBitmap dst;
    for (auto _ : state)
        dst.LoadPngFromMemory(file.data(), file.size());
}
BENCHMARK(BM_PngLoad512);

void BM_TextOut(benchmark::State& state) {
    TBitmap bmp(640, 64);
    TCanvas& c = bmp.Canvas();
    c.Font().SetSize(static_cast<int>(state.range(0)));
    c.Brush().SetStyle(bsClear);
    for (auto _ : state)
        c.TextOut(0, 0, "The quick brown fox jumps over the lazy dog");
}
BENCHMARK(BM_TextOut)->Arg(10)->Arg(24);

} // namespace

BENCHMARK_MAIN();
