#include "BmpCodec.h"

#include <orn/host/TBitmap.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace orn::detail {
namespace {

constexpr std::uint32_t kBiRgb = 0;
constexpr std::uint32_t kBiRle8 = 1;
constexpr std::uint32_t kBiRle4 = 2;
constexpr std::uint32_t kBiBitfields = 3;
constexpr std::uint32_t kBiAlphaBitfields = 6;
constexpr std::size_t kFileHeaderSize = 14;
// Pixels per metre; 25,400 dpi is far beyond any real device, so a larger value marks a corrupt header.
constexpr std::int64_t kMaxDensity = 1'000'000;

std::uint16_t U16(const std::uint8_t* p) {
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}
std::uint32_t U32(const std::uint8_t* p) {
    return std::uint32_t{p[0]} | (std::uint32_t{p[1]} << 8) | (std::uint32_t{p[2]} << 16) |
           (std::uint32_t{p[3]} << 24);
}
std::int32_t I32(const std::uint8_t* p) {
    return static_cast<std::int32_t>(U32(p));
}

void Put16(std::vector<std::uint8_t>& v, std::uint16_t x) {
    v.push_back(static_cast<std::uint8_t>(x));
    v.push_back(static_cast<std::uint8_t>(x >> 8));
}
void Put32(std::vector<std::uint8_t>& v, std::uint32_t x) {
    Put16(v, static_cast<std::uint16_t>(x));
    Put16(v, static_cast<std::uint16_t>(x >> 16));
}

// One colour channel of a bit-field pixel, scaled to 8 bits whatever its width.
struct Channel {
    std::uint32_t Mask = 0;
    int Shift = 0;
    std::uint64_t Max = 1;

    explicit Channel(std::uint32_t mask = 0) : Mask(mask) {
        if (mask == 0) return;
        Shift = std::countr_zero(mask);
        Max = (std::uint64_t{1} << std::popcount(mask)) - 1;
    }
    std::uint8_t Extract(std::uint32_t pixel) const {
        const std::uint64_t v = (pixel & Mask) >> Shift;
        return static_cast<std::uint8_t>((v * 255 + Max / 2) / Max);
    }
};

struct Rgba {
    std::uint8_t B = 0, G = 0, R = 0, A = 255;
};

class BmpReader {
public:
    BmpReader(const std::uint8_t* data, std::size_t size, const std::string& name)
        : fData(data), fSize(size), fName(name) {}

    DecodedImage Decode() {
        ReadHeaders();
        CheckLimits();
        ReadMasks();
        ReadPalette();
        fOut.Width = static_cast<int>(fWidth);
        fOut.Height = static_cast<int>(fHeight);
        fOut.BytesPerPixel = fHasAlpha ? 4 : 3;
        fStride = RowStride(fOut.Width, fOut.BytesPerPixel);
        if (fCompression == kBiRle8 || fCompression == kBiRle4) {
            const std::size_t end = fImageSize ? fOffset + fImageSize : fSize;
            fOut.Bits.assign(static_cast<std::size_t>(fStride) * fOut.Height, 0);
            DecodeRle(end);
        } else {
            DecodeUncompressed();
        }
        if (fAlphaFromSpareByte) OpaqueIfAlphaUnused();
        return std::move(fOut);
    }

private:
    [[noreturn]] void Fail(const std::string& reason) const { ImageFail(fName, reason); }

    void ReadHeaders() {
        if (fSize < kFileHeaderSize + 4) Fail("file too short for a BMP header");
        if (fData[0] != 'B' || fData[1] != 'M') Fail("not a BMP file (no \"BM\" signature)");
        const std::uint32_t fileSize = U32(fData + 2);
        fOffset = U32(fData + 10);
        fHeaderSize = U32(fData + 14);
        static constexpr std::array<std::uint32_t, 8> known{12, 16, 40, 52, 56, 64, 108, 124};
        if (std::find(known.begin(), known.end(), fHeaderSize) == known.end())
            Fail("unknown header size " + std::to_string(fHeaderSize));
        if (kFileHeaderSize + fHeaderSize > fSize) Fail("file ends inside the header");
        const std::uint8_t* h = fData + kFileHeaderSize;
        std::uint32_t planes = 0;
        if (fHeaderSize == 12) {
            fWidth = U16(h + 4);
            fHeight = U16(h + 6);
            planes = U16(h + 8);
            fBits = U16(h + 10);
        } else {
            fWidth = I32(h + 4);
            fHeight = I32(h + 8);
            planes = U16(h + 12);
            fBits = U16(h + 14);
            if (fHeaderSize >= 20) fCompression = U32(h + 16);
            if (fHeaderSize >= 24) fImageSize = U32(h + 20);
            if (fHeaderSize >= 32) {
                const std::int64_t xd = I32(h + 24), yd = I32(h + 28);
                if (xd < 0 || yd < 0 || xd > kMaxDensity || yd > kMaxDensity)
                    Fail("implausible resolution " + std::to_string(xd) + " x " + std::to_string(yd) +
                         " pixels per metre");
            }
            if (fHeaderSize >= 36) fColorsUsed = U32(h + 32);
        }
        if (planes != 1) Fail("plane count " + std::to_string(planes) + " is not 1");
        if (fWidth <= 0) Fail("width " + std::to_string(fWidth) + " is not positive");
        if (fHeight == 0) Fail("height is 0");
        fTopDown = fHeight < 0;
        fHeight = fTopDown ? -fHeight : fHeight;
        CheckFormat();
        // Checked after the dimensions so that a huge header is named as such rather than as truncated.
        fFileSizeField = fileSize;
    }

    void CheckFormat() {
        switch (fBits) {
        case 1:
        case 2:
        case 4:
        case 8:
        case 16:
        case 24:
        case 32:
            break;
        default:
            Fail("unsupported bit count " + std::to_string(fBits));
        }
        const bool os2v2 = fHeaderSize == 16 || fHeaderSize == 64;
        if (os2v2 && fCompression == 3) Fail("unsupported compression (OS/2 Huffman)");
        if (os2v2 && fCompression == 4) Fail("unsupported compression (OS/2 RLE24)");
        switch (fCompression) {
        case kBiRgb:
            break;
        case kBiRle8:
            if (fBits != 8) Fail("RLE8 compression with " + std::to_string(fBits) + " bits per pixel");
            break;
        case kBiRle4:
            if (fBits != 4) Fail("RLE4 compression with " + std::to_string(fBits) + " bits per pixel");
            break;
        case kBiBitfields:
        case kBiAlphaBitfields:
            if (fBits != 16 && fBits != 32)
                Fail("bit-field compression with " + std::to_string(fBits) + " bits per pixel");
            break;
        default:
            Fail("unsupported compression " + std::to_string(fCompression));
        }
        if (fTopDown && (fCompression == kBiRle8 || fCompression == kBiRle4))
            Fail("an RLE-compressed bitmap cannot be top-down");
    }

    void CheckLimits() {
        // Four bytes a pixel bounds every output format, so nothing is allocated past the limit.
        const std::uint64_t bytes =
            static_cast<std::uint64_t>(fWidth) * 4 * static_cast<std::uint64_t>(fHeight);
        if (fWidth > 0x7FFFFFFF / 4 || fHeight > 0x7FFFFFFF || bytes > kMaxBitmapBytes)
            Fail(std::to_string(fWidth) + " x " + std::to_string(fHeight) + " pixels exceed the limit of " +
                 std::to_string(kMaxBitmapBytes >> 20) + " MiB of pixel memory");
        if (fFileSizeField > fSize)
            Fail("the header gives the file size as " + std::to_string(fFileSizeField) +
                 " bytes but it has " + std::to_string(fSize));
        if (fImageSize > 0 && (fOffset > fSize || fImageSize > fSize - fOffset))
            Fail("the header gives the pixel data as " + std::to_string(fImageSize) +
                 " bytes, more than the file holds");
        if (fOffset > fSize) Fail("pixel data offset " + std::to_string(fOffset) + " lies beyond the file");
    }

    void ReadMasks() {
        fPaletteStart = kFileHeaderSize + fHeaderSize;
        if (fBits == 16 && fCompression == kBiRgb) {
            fRed = Channel(0x7C00);
            fGreen = Channel(0x03E0);
            fBlue = Channel(0x001F);
            return;
        }
        if (fBits == 32 && fCompression == kBiRgb) {
            fHasAlpha = true;
            fAlphaFromSpareByte = true;
            return;
        }
        if (fCompression != kBiBitfields && fCompression != kBiAlphaBitfields) return;
        std::array<std::uint32_t, 4> m{};
        const std::uint8_t* h = fData + kFileHeaderSize;
        if (fHeaderSize >= 52) {
            for (int i = 0; i < 3; ++i)
                m[i] = U32(h + 40 + 4 * i);
            if (fHeaderSize >= 56) m[3] = U32(h + 52);
        } else {
            // A 40-byte header is followed by the masks: three, or four with an alpha mask.
            const std::size_t count = fCompression == kBiAlphaBitfields ? 4 : 3;
            if (fPaletteStart + 4 * count > fSize) Fail("file ends inside the colour masks");
            for (std::size_t i = 0; i < count; ++i)
                m[i] = U32(fData + fPaletteStart + 4 * i);
            fPaletteStart += 4 * count;
        }
        std::uint32_t seen = 0;
        for (int i = 0; i < 4; ++i) {
            const std::uint32_t mask = m[i];
            if (mask == 0 && i < 3) Fail("colour mask " + std::to_string(i) + " is empty");
            const std::uint64_t run = std::uint64_t{mask} >> (mask ? std::countr_zero(mask) : 0);
            if ((run & (run + 1)) != 0) Fail("colour mask " + std::to_string(mask) + " is not contiguous");
            if ((seen & mask) != 0) Fail("colour masks overlap");
            if (fBits == 16 && mask > 0xFFFF) Fail("colour mask wider than the 16-bit pixel");
            seen |= mask;
        }
        fRed = Channel(m[0]);
        fGreen = Channel(m[1]);
        fBlue = Channel(m[2]);
        fAlpha = Channel(m[3]);
        fHasAlpha = m[3] != 0 || fBits == 32;
    }

    void ReadPalette() {
        if (fOffset < fPaletteStart)
            Fail("pixel data offset " + std::to_string(fOffset) + " lies inside the headers");
        if (fBits > 8) return;
        const std::size_t entrySize = fHeaderSize == 12 ? 3 : 4;
        const std::size_t fits = (fOffset - fPaletteStart) / entrySize;
        const std::size_t full = std::size_t{1} << fBits;
        if (fColorsUsed > fits)
            Fail("palette of " + std::to_string(fColorsUsed) + " colours does not fit before the pixel data");
        // Without a count the palette is full size, unless the pixel data starts earlier.
        const std::size_t count = std::min(full, fColorsUsed ? std::size_t{fColorsUsed} : fits);
        fPalette.resize(count);
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint8_t* p = fData + fPaletteStart + i * entrySize;
            fPalette[i] = Rgba{p[0], p[1], p[2], 255};
        }
    }

    Rgba PaletteColor(unsigned index) const {
        if (index >= fPalette.size())
            Fail("palette index " + std::to_string(index) + " is outside the palette of " +
                 std::to_string(fPalette.size()) + " colours");
        return fPalette[index];
    }

    // row counts in file order: from the bottom for bottom-up files.
    void Put(std::int64_t x, std::int64_t row, Rgba c) {
        const std::int64_t y = fTopDown ? row : fHeight - 1 - row;
        std::uint8_t* p = fOut.Bits.data() + static_cast<std::size_t>(y) * fStride +
                          static_cast<std::size_t>(x) * fOut.BytesPerPixel;
        p[0] = c.B;
        p[1] = c.G;
        p[2] = c.R;
        if (fOut.BytesPerPixel == 4) p[3] = c.A;
    }

    Rgba FieldColor(std::uint32_t pixel) const {
        return Rgba{fBlue.Extract(pixel), fGreen.Extract(pixel), fRed.Extract(pixel),
                    fAlpha.Mask ? fAlpha.Extract(pixel) : std::uint8_t{255}};
    }

    void DecodeUncompressed() {
        const std::uint64_t rowBytes = (static_cast<std::uint64_t>(fWidth) * fBits + 31) / 32 * 4;
        if (rowBytes * fHeight > fSize - fOffset)
            Fail("pixel data truncated: " + std::to_string(rowBytes * fHeight) + " bytes needed, " +
                 std::to_string(fSize - fOffset) + " present");
        fOut.Bits.assign(static_cast<std::size_t>(fStride) * fOut.Height, 0);
        for (std::int64_t row = 0; row < fHeight; ++row) {
            const std::uint8_t* src = fData + fOffset + row * rowBytes;
            for (std::int64_t x = 0; x < fWidth; ++x)
                Put(x, row, PixelAt(src, x));
        }
    }

    Rgba PixelAt(const std::uint8_t* src, std::int64_t x) const {
        switch (fBits) {
        case 16:
            return FieldColor(U16(src + 2 * x));
        case 24:
            return Rgba{src[3 * x], src[3 * x + 1], src[3 * x + 2], 255};
        case 32:
            if (fCompression == kBiRgb)
                return Rgba{src[4 * x], src[4 * x + 1], src[4 * x + 2], src[4 * x + 3]};
            return FieldColor(U32(src + 4 * x));
        default: {
            const std::int64_t bit = x * fBits;
            const unsigned byte = src[bit / 8];
            const unsigned index = (byte >> (8 - fBits - bit % 8)) & ((1u << fBits) - 1);
            return PaletteColor(index);
        }
        }
    }

    void DecodeRle(std::size_t end) {
        const bool rle8 = fCompression == kBiRle8;
        std::size_t p = fOffset;
        std::int64_t x = 0, row = 0;
        auto need = [&](std::size_t n) {
            if (end - p < n) Fail("RLE stream ends without an end-of-bitmap mark");
        };
        auto indexAt = [&](std::size_t base, std::int64_t i, std::uint8_t runByte, bool literal) -> unsigned {
            if (rle8) return literal ? fData[base + i] : runByte;
            const std::uint8_t b = literal ? fData[base + i / 2] : runByte;
            return i % 2 == 0 ? b >> 4 : b & 0x0F;
        };
        for (;;) {
            need(2);
            const std::uint8_t count = fData[p], value = fData[p + 1];
            p += 2;
            if (count > 0) {
                if (row >= fHeight || x + count > fWidth) Fail("RLE run reaches outside the bitmap");
                for (int i = 0; i < count; ++i)
                    Put(x + i, row, PaletteColor(indexAt(0, i, value, false)));
                x += count;
            } else if (value == 0) {
                x = 0;
                if (++row > fHeight) Fail("RLE end-of-line below the last row");
            } else if (value == 1) {
                return;
            } else if (value == 2) {
                need(2);
                x += fData[p];
                row += fData[p + 1];
                p += 2;
                if (x > fWidth || row > fHeight) Fail("RLE delta moves outside the bitmap");
            } else {
                const std::size_t bytes = rle8 ? value : (value + 1u) / 2;
                need(bytes + (bytes & 1));
                if (row >= fHeight || x + value > fWidth) Fail("RLE literal run reaches outside the bitmap");
                for (int i = 0; i < value; ++i)
                    Put(x + i, row, PaletteColor(indexAt(p, i, 0, true)));
                x += value;
                p += bytes + (bytes & 1);
            }
        }
    }

    // Most writers leave the fourth byte of a 32-bit pixel at 0 without meaning "transparent".
    void OpaqueIfAlphaUnused() {
        for (int y = 0; y < fOut.Height; ++y) {
            const std::uint8_t* row = fOut.Bits.data() + static_cast<std::size_t>(y) * fStride;
            for (int x = 0; x < fOut.Width; ++x)
                if (row[4 * x + 3] != 0) return;
        }
        for (int y = 0; y < fOut.Height; ++y) {
            std::uint8_t* row = fOut.Bits.data() + static_cast<std::size_t>(y) * fStride;
            for (int x = 0; x < fOut.Width; ++x)
                row[4 * x + 3] = 255;
        }
    }

    const std::uint8_t* fData;
    std::size_t fSize;
    const std::string& fName;

    std::uint64_t fFileSizeField = 0;
    std::size_t fOffset = 0;
    std::uint32_t fHeaderSize = 0;
    std::int64_t fWidth = 0;
    std::int64_t fHeight = 0;
    bool fTopDown = false;
    unsigned fBits = 0;
    std::uint32_t fCompression = kBiRgb;
    std::uint32_t fImageSize = 0;
    std::uint32_t fColorsUsed = 0;
    std::size_t fPaletteStart = 0;
    std::vector<Rgba> fPalette;
    Channel fRed, fGreen, fBlue, fAlpha;
    bool fHasAlpha = false;
    bool fAlphaFromSpareByte = false;
    int fStride = 0;
    DecodedImage fOut;
};

} // namespace

DecodedImage DecodeBmp(const std::uint8_t* data, std::size_t size, const std::string& name) {
    return BmpReader(data, size, name).Decode();
}

std::vector<std::uint8_t> EncodeBmp(int width, int height, int bytesPerPixel, const std::uint8_t* bits,
                                    int stride) {
    const std::uint32_t rowBytes = static_cast<std::uint32_t>(RowStride(width, bytesPerPixel));
    const std::uint32_t imageSize = rowBytes * static_cast<std::uint32_t>(height);
    const std::uint32_t offset = kFileHeaderSize + 40;
    std::vector<std::uint8_t> out;
    out.reserve(offset + imageSize);
    out.push_back('B');
    out.push_back('M');
    Put32(out, offset + imageSize);
    Put32(out, 0);
    Put32(out, offset);
    Put32(out, 40);
    Put32(out, static_cast<std::uint32_t>(width));
    Put32(out, static_cast<std::uint32_t>(height));
    Put16(out, 1);
    Put16(out, static_cast<std::uint16_t>(bytesPerPixel * 8));
    Put32(out, kBiRgb);
    Put32(out, imageSize);
    Put32(out, 3780); // 96 dpi
    Put32(out, 3780);
    Put32(out, 0);
    Put32(out, 0);
    for (int y = height - 1; y >= 0; --y) {
        const std::uint8_t* row = bits + static_cast<std::size_t>(y) * stride;
        out.insert(out.end(), row, row + static_cast<std::size_t>(width) * bytesPerPixel);
        out.resize(out.size() + (rowBytes - static_cast<std::uint32_t>(width * bytesPerPixel)), 0);
    }
    return out;
}

} // namespace orn::detail
