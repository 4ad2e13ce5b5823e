// libFuzzer target: the BMP reader must refuse any input with EOrnError, never crash or over-read.
#include <orn/host/EOrnError.h>
#include <orn/host/TBitmap.h>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    orn::TBitmap bmp;
    try {
        bmp.LoadFromMemory(data, size);
    } catch (const orn::EOrnError&) {
        return 0;
    }
    // A bitmap that loaded must be readable to its last byte.
    volatile std::uint8_t sink = 0;
    for (int y = 0; y < bmp.Height(); ++y)
        sink = sink + bmp.ScanLine(y)[bmp.Width() * bmp.BytesPerPixel() - 1];
    return 0;
}
