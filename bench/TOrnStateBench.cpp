// What render state costs per frame: shared blocks skipped, blocks sent, textures bound, converted,
// scaled and re-uploaded after eviction. Runs headless on the EGL context.
#include <orn/state/TOrnAttributes.h>
#include <orn/state/TOrnMaterial.h>
#include <orn/state/TOrnTexture.h>

#include "support/TestView.h"
#include "view/detail/EglContext.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <random>

using namespace orn;

namespace {

// One context for the whole run; nullptr when EGL cannot give one.
detail::EglContext* Context() {
    static std::unique_ptr<detail::EglContext> context = [] {
        auto c = std::make_unique<detail::EglContext>();
        try {
            c->Create(64, 64);
            c->MakeCurrent();
        } catch (const std::exception&) {
            c.reset();
        }
        return c;
    }();
    return context.get();
}

void Noise(TBitmap& bmp) {
    std::mt19937 rng(1);
    for (int y = 0; y < bmp.Height(); ++y)
        for (int i = 0; i < bmp.Width() * bmp.BytesPerPixel(); ++i)
            bmp.ScanLine(y)[i] = static_cast<std::uint8_t>(rng());
}

constexpr int kObjects = 100;

// A frame of kObjects objects sharing one attributes and one material: sent once, skipped 99 times.
void BM_SharedStateFrame(benchmark::State& state) {
    if (!Context()) return state.SkipWithError("no EGL context");
    test::TestView view;
    TOrnAttributes attributes(nullptr);
    TOrnMaterial material(nullptr);
    for (auto _ : state) {
        view.RenderState()->BeginFrame();
        for (int i = 0; i < kObjects; ++i) {
            attributes.Render(&view);
            material.Render(&view);
        }
    }
    glFinish();
    state.SetItemsProcessed(state.iterations() * kObjects);
}
BENCHMARK(BM_SharedStateFrame);

// The whole attributes block, sent every time.
void BM_AttributesBlock(benchmark::State& state) {
    if (!Context()) return state.SkipWithError("no EGL context");
    test::TestView view;
    TOrnAttributes attributes(nullptr);
    attributes.SetLineStipple(lsDashDot);
    for (auto _ : state) {
        view.RenderState()->ForgetApplied(ssAttributes);
        attributes.Render(&view);
    }
    glFinish();
}
BENCHMARK(BM_AttributesBlock);

// A frame of kObjects objects sharing one texture: bound once.
void BM_SharedTextureFrame(benchmark::State& state) {
    if (!Context()) return state.SkipWithError("no EGL context");
    test::TestView view;
    TOrnTexture texture(nullptr);
    texture.Bitmap()->SetSize(64, 64);
    for (auto _ : state) {
        view.RenderState()->BeginFrame();
        for (int i = 0; i < kObjects; ++i)
            texture.Render(&view);
    }
    glFinish();
    state.SetItemsProcessed(state.iterations() * kObjects);
}
BENCHMARK(BM_SharedTextureFrame);

// Bitmap to RGBA pixels, bottom-up, with the alpha written.
void BM_TexturePixels(benchmark::State& state) {
    const int side = static_cast<int>(state.range(0));
    TBitmap bitmap(side, side);
    Noise(bitmap);
    TOrnTexture texture(nullptr);
    for (auto _ : state)
        texture.SetBitmap(&bitmap);
    state.SetBytesProcessed(state.iterations() * side * side * 4);
}
BENCHMARK(BM_TexturePixels)->Arg(256)->Arg(1024);

// A 300 × 300 bitmap scaled to 256 × 256 and uploaded on its first render.
void BM_TextureScaleAndUpload(benchmark::State& state) {
    if (!Context()) return state.SkipWithError("no EGL context");
    test::TestView view;
    TBitmap bitmap(300, 300);
    Noise(bitmap);
    TOrnTexture texture(nullptr);
    for (auto _ : state) {
        texture.SetBitmap(&bitmap);
        texture.Render(&view);
    }
    glFinish();
}
BENCHMARK(BM_TextureScaleAndUpload);

// Five 256 × 256 textures in turn with room for four: every render evicts one and re-uploads.
void BM_TextureEvictionCycle(benchmark::State& state) {
    if (!Context()) return state.SkipWithError("no EGL context");
    test::TestView view;
    std::vector<std::unique_ptr<TOrnTexture>> textures;
    for (int i = 0; i < 5; ++i) {
        textures.push_back(std::make_unique<TOrnTexture>(nullptr));
        textures.back()->Bitmap()->SetSize(256, 256);
    }
    for (auto _ : state)
        for (auto& t : textures)
            t->Render(&view);
    glFinish();
    state.SetItemsProcessed(state.iterations() * 5);
}
BENCHMARK(BM_TextureEvictionCycle);

} // namespace

BENCHMARK_MAIN();
