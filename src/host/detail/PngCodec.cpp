#include "PngCodec.h"

#include <orn/host/TBitmap.h>

#include <png.h>

namespace orn::detail {
namespace {

// libpng's simplified interface keeps its setjmp/longjmp inside libpng; no C++ frame is jumped over.
// This guard frees what libpng allocated on every way out, exceptions included.
struct PngImage {
    png_image Image{};
    PngImage() { Image.version = PNG_IMAGE_VERSION; }
    ~PngImage() { png_image_free(&Image); }
    PngImage(const PngImage&) = delete;
    PngImage& operator=(const PngImage&) = delete;
    std::string Message() const { return Image.message[0] ? Image.message : "unknown PNG error"; }
};

} // namespace

DecodedImage DecodePng(const std::uint8_t* data, std::size_t size, const std::string& name) {
    PngImage png;
    if (!png_image_begin_read_from_memory(&png.Image, data, size)) ImageFail(name, png.Message());
    const std::uint64_t bytes = std::uint64_t{png.Image.width} * 4 * png.Image.height;
    if (bytes > kMaxBitmapBytes)
        ImageFail(name, std::to_string(png.Image.width) + " x " + std::to_string(png.Image.height) +
                            " pixels exceed the limit of " + std::to_string(kMaxBitmapBytes >> 20) +
                            " MiB of pixel memory");
    const bool alpha = (png.Image.format & PNG_FORMAT_FLAG_ALPHA) != 0;
    png.Image.format = alpha ? PNG_FORMAT_BGRA : PNG_FORMAT_BGR;
    DecodedImage out;
    out.Width = static_cast<int>(png.Image.width);
    out.Height = static_cast<int>(png.Image.height);
    out.BytesPerPixel = alpha ? 4 : 3;
    const int stride = RowStride(out.Width, out.BytesPerPixel);
    out.Bits.assign(static_cast<std::size_t>(stride) * out.Height, 0);
    if (!png_image_finish_read(&png.Image, nullptr, out.Bits.data(), stride, nullptr))
        ImageFail(name, png.Message());
    return out;
}

std::vector<std::uint8_t> EncodePng(int width, int height, int bytesPerPixel, const std::uint8_t* bits,
                                    int stride, const std::string& name) {
    PngImage png;
    png.Image.width = static_cast<png_uint_32>(width);
    png.Image.height = static_cast<png_uint_32>(height);
    png.Image.format = bytesPerPixel == 4 ? PNG_FORMAT_BGRA : PNG_FORMAT_BGR;
    png_alloc_size_t size = 0;
    // The first call measures, the second writes.
    if (png_image_write_to_memory(&png.Image, nullptr, &size, 0, bits, stride, nullptr)) {
        std::vector<std::uint8_t> out(size);
        if (png_image_write_to_memory(&png.Image, out.data(), &size, 0, bits, stride, nullptr)) {
            out.resize(size);
            return out;
        }
    }
    throw EOrnError("Cannot write image \"" + name + "\": " + png.Message());
}

} // namespace orn::detail
