#include <orn/host/EOrnError.h>
#include <orn/host/TBitmap.h>

#include "detail/BmpCodec.h"
#include "detail/FileBytes.h"
#include "detail/PngCodec.h"

#include <algorithm>
#include <cstring>

namespace orn {
namespace {

void CheckSize(std::int64_t width, std::int64_t height, int bytesPerPixel) {
    if (static_cast<std::uint64_t>(width) * bytesPerPixel * static_cast<std::uint64_t>(height) >
        kMaxBitmapBytes)
        throw EOrnError("Bitmap size " + std::to_string(width) + " x " + std::to_string(height) +
                        " exceeds the limit of " + std::to_string(kMaxBitmapBytes >> 20) + " MiB");
}

} // namespace

TBitmap::TBitmap() = default;

TBitmap::TBitmap(int width, int height, TPixelFormat format) : fFormat(format) {
    SetSize(width, height);
}

TBitmap::~TBitmap() = default;

void TBitmap::Changed() {
    if (OnChange) OnChange(this);
}

void TBitmap::SetSize(int width, int height) {
    width = std::max(width, 0);
    height = std::max(height, 0);
    if (width == fWidth && height == fHeight) return;
    CheckSize(width, height, BytesPerPixel());
    const int stride = detail::RowStride(width, BytesPerPixel());
    std::vector<std::uint8_t> bits(static_cast<std::size_t>(stride) * height, 0);
    const std::size_t keep = static_cast<std::size_t>(std::min(width, fWidth)) * BytesPerPixel();
    for (int y = 0; keep > 0 && y < std::min(height, fHeight); ++y)
        std::memcpy(bits.data() + static_cast<std::size_t>(y) * stride, ScanLine(y), keep);
    fBits = std::move(bits);
    fWidth = width;
    fHeight = height;
    fStride = stride;
    Changed();
}

void TBitmap::SetPixelFormat(TPixelFormat value) {
    if (value == fFormat) return;
    const int from = BytesPerPixel(), to = value == pf32bit ? 4 : 3;
    const int stride = detail::RowStride(fWidth, to);
    std::vector<std::uint8_t> bits(static_cast<std::size_t>(stride) * fHeight, 0);
    for (int y = 0; y < fHeight; ++y) {
        const std::uint8_t* src = ScanLine(y);
        std::uint8_t* dst = bits.data() + static_cast<std::size_t>(y) * stride;
        for (int x = 0; x < fWidth; ++x) {
            std::memcpy(dst + x * to, src + x * from, 3);
            if (to == 4) dst[x * 4 + 3] = 255;
        }
    }
    fBits = std::move(bits);
    fFormat = value;
    fStride = stride;
    Changed();
}

TColor TBitmap::Pixel(int x, int y) const {
    if (x < 0 || y < 0 || x >= fWidth || y >= fHeight) return clNone;
    const std::uint8_t* p = fBits.data() + static_cast<std::size_t>(y) * fStride + x * BytesPerPixel();
    return RGB(p[2], p[1], p[0]);
}

std::uint8_t TBitmap::Alpha(int x, int y) const {
    if (x < 0 || y < 0 || x >= fWidth || y >= fHeight) return 0;
    if (fFormat == pf24bit) return 255;
    return fBits[static_cast<std::size_t>(y) * fStride + x * 4 + 3];
}

void TBitmap::PutPixel(int x, int y, TColor color) {
    if (x < 0 || y < 0 || x >= fWidth || y >= fHeight) return;
    std::uint8_t* p = fBits.data() + static_cast<std::size_t>(y) * fStride + x * BytesPerPixel();
    p[0] = GetBValue(color);
    p[1] = GetGValue(color);
    p[2] = GetRValue(color);
    if (fFormat == pf32bit) p[3] = 255;
}

void TBitmap::SetPixel(int x, int y, TColor color) {
    if (x < 0 || y < 0 || x >= fWidth || y >= fHeight) return;
    PutPixel(x, y, color);
    Changed();
}

std::uint8_t* TBitmap::ScanLine(int y) {
    return const_cast<std::uint8_t*>(static_cast<const TBitmap*>(this)->ScanLine(y));
}

const std::uint8_t* TBitmap::ScanLine(int y) const {
    if (y < 0 || y >= fHeight)
        throw EOrnError("Scan line index " + std::to_string(y) + " out of range 0.." +
                        std::to_string(fHeight - 1));
    return fBits.data() + static_cast<std::size_t>(y) * fStride;
}

std::vector<std::uint8_t> TBitmap::ToRGBA(bool bottomUp) const {
    std::vector<std::uint8_t> out(static_cast<std::size_t>(fWidth) * fHeight * 4);
    const int bpp = BytesPerPixel();
    for (int y = 0; y < fHeight; ++y) {
        const std::uint8_t* src = ScanLine(bottomUp ? fHeight - 1 - y : y);
        std::uint8_t* dst = out.data() + static_cast<std::size_t>(y) * fWidth * 4;
        for (int x = 0; x < fWidth; ++x, src += bpp, dst += 4) {
            dst[0] = src[2];
            dst[1] = src[1];
            dst[2] = src[0];
            dst[3] = bpp == 4 ? src[3] : 255;
        }
    }
    return out;
}

void TBitmap::Assign(const TPersistent* source) {
    const auto* other = dynamic_cast<const TBitmap*>(source);
    if (!other) {
        TPersistent::Assign(source);
        return;
    }
    if (other == this) return;
    Adopt(other->fWidth, other->fHeight, other->fFormat, other->fBits);
}

void TBitmap::Adopt(int width, int height, TPixelFormat format, std::vector<std::uint8_t> bits) {
    fWidth = width;
    fHeight = height;
    fFormat = format;
    fStride = detail::RowStride(width, BytesPerPixel());
    fBits = std::move(bits);
    Changed();
}

TCanvas& TBitmap::Canvas() {
    if (!fCanvas) fCanvas = std::make_unique<TCanvas>(*this);
    return *fCanvas;
}

void TBitmap::LoadBmp(const std::uint8_t* data, std::size_t size, const std::string& name) {
    detail::DecodedImage image = detail::DecodeBmp(data, size, name);
    Adopt(image.Width, image.Height, image.BytesPerPixel == 4 ? pf32bit : pf24bit, std::move(image.Bits));
}

void TBitmap::LoadPng(const std::uint8_t* data, std::size_t size, const std::string& name) {
    detail::DecodedImage image = detail::DecodePng(data, size, name);
    Adopt(image.Width, image.Height, image.BytesPerPixel == 4 ? pf32bit : pf24bit, std::move(image.Bits));
}

void TBitmap::LoadFromFile(const std::string& fileName) {
    const std::string ext = detail::LowerExtension(fileName);
    if (ext != ".bmp" && ext != ".png")
        throw EOrnError("Cannot load \"" + fileName + "\": unsupported format \"" + ext + "\"");
    // A file far larger than the largest image it could hold is not read at all: RLE and PNG
    // compression only ever shrink pixels, and headers and palettes add little.
    const std::vector<std::uint8_t> bytes =
        detail::ReadFileBytes(fileName, ext == ".bmp" ? std::string_view("BM") : std::string_view("\x89PNG"),
                              2 * static_cast<std::uint64_t>(kMaxBitmapBytes) + (1u << 20));
    if (ext == ".bmp")
        LoadBmp(bytes.data(), bytes.size(), fileName);
    else
        LoadPng(bytes.data(), bytes.size(), fileName);
}

void TBitmap::SaveToFile(const std::string& fileName) const {
    const std::string ext = detail::LowerExtension(fileName);
    if (ext != ".bmp" && ext != ".png")
        throw EOrnError("Cannot save \"" + fileName + "\": unsupported format \"" + ext + "\"");
    if (Empty()) throw EOrnError("Cannot save \"" + fileName + "\": the bitmap is empty");
    detail::WriteFileBytes(fileName, ext == ".bmp" ? SaveToMemory()
                                                   : detail::EncodePng(fWidth, fHeight, BytesPerPixel(),
                                                                       fBits.data(), fStride, fileName));
}

void TBitmap::LoadFromMemory(const void* data, std::size_t size) {
    LoadBmp(static_cast<const std::uint8_t*>(data), size, "<memory>");
}

std::vector<std::uint8_t> TBitmap::SaveToMemory() const {
    if (Empty()) throw EOrnError("Cannot save an empty bitmap");
    return detail::EncodeBmp(fWidth, fHeight, BytesPerPixel(), fBits.data(), fStride);
}

void TBitmap::LoadPngFromMemory(const void* data, std::size_t size) {
    LoadPng(static_cast<const std::uint8_t*>(data), size, "<memory>");
}

std::vector<std::uint8_t> TBitmap::SavePngToMemory() const {
    if (Empty()) throw EOrnError("Cannot save an empty bitmap");
    return detail::EncodePng(fWidth, fHeight, BytesPerPixel(), fBits.data(), fStride, "<memory>");
}

} // namespace orn
