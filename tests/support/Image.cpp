#include "support/Image.h"

#include <png.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace orn::test {

Rgba Image::At(int x, int y) const {
    if (x < 0 || y < 0 || x >= width || y >= height) return {0, 0, 0, 0};
    const std::size_t i = (static_cast<std::size_t>(y) * width + x) * 4;
    if (i + 3 >= pixels.size()) return {0, 0, 0, 0};
    return {pixels[i], pixels[i + 1], pixels[i + 2], pixels[i + 3]};
}

bool SameColor(const Rgba& a, const Rgba& b, int tolerance) {
    for (std::size_t c = 0; c < 4; ++c)
        if (std::abs(int(a[c]) - int(b[c])) > tolerance) return false;
    return true;
}

::testing::AssertionResult ColorNear(const Rgba& actual, const Rgba& expected, int tolerance) {
    if (SameColor(actual, expected, tolerance)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "colour " << ToString(actual) << " differs from "
                                         << ToString(expected) << " by more than " << tolerance;
}

std::size_t CountPixels(const Image& image, const Rgba& color, int tolerance) {
    std::size_t count = 0;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            Rgba pixel = image.At(x, y);
            pixel[3] = color[3];
            count += SameColor(pixel, color, tolerance) ? 1 : 0;
        }
    return count;
}

std::string ToString(const Rgba& color) {
    return "(" + std::to_string(color[0]) + ", " + std::to_string(color[1]) + ", " +
           std::to_string(color[2]) + ", " + std::to_string(color[3]) + ")";
}

std::string WritePng(const Image& image, const std::string& name) {
    namespace fs = std::filesystem;
    if (image.width <= 0 || image.height <= 0 ||
        image.pixels.size() < static_cast<std::size_t>(image.width) * image.height * 4)
        return {};
    std::error_code error;
    const fs::path dir = fs::read_symlink("/proc/self/exe", error).parent_path() / "failed-images";
    if (!error) fs::create_directories(dir, error);
    if (error) return {};
    const fs::path path = dir / (name + ".png");
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"), &std::fclose);
    if (!file) return {};
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info || setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return {};
    }
    png_init_io(png, file.get());
    png_set_IHDR(png, info, image.width, image.height, 8, PNG_COLOR_TYPE_RGBA, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    // GL's rows run bottom-up; a picture file's top-down.
    for (int y = image.height - 1; y >= 0; --y)
        png_write_row(png, image.pixels.data() + static_cast<std::size_t>(y) * image.width * 4);
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return path.string();
}

} // namespace orn::test
