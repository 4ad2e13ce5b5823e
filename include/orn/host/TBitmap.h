#pragma once

#include <orn/host/TCanvas.h>
#include <orn/host/TColor.h>
#include <orn/host/TPersistent.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orn {

enum TPixelFormat { pf24bit, pf32bit };

/// The most pixel memory a bitmap may hold: 256 MiB. Sizes and files that would need more are
/// refused with EOrnError before anything is allocated.
inline constexpr std::size_t kMaxBitmapBytes = std::size_t{256} << 20;

/// A device-independent bitmap as the host framework has it: rows top to bottom, each pixel's bytes
/// in B, G, R (and A for pf32bit) order, every row padded to a multiple of 4 bytes. New pixels are
/// zero (black, and transparent in pf32bit); pixels written through colours get alpha 255.
class TBitmap : public TPersistent {
    ORN_CLASS(TBitmap)
public:
    TBitmap();
    TBitmap(int width, int height, TPixelFormat format = pf24bit);
    ~TBitmap() override;
    TBitmap(const TBitmap&) = delete;
    TBitmap& operator=(const TBitmap&) = delete;

    int Width() const { return fWidth; }
    void SetWidth(int value) { SetSize(value, fHeight); }
    int Height() const { return fHeight; }
    void SetHeight(int value) { SetSize(fWidth, value); }
    /// Resizes, keeping the pixels the old and new sizes share. Negative sizes count as 0; a size
    /// above kMaxBitmapBytes throws EOrnError and leaves the bitmap as it was.
    void SetSize(int width, int height);
    /// True when the bitmap has no pixels.
    bool Empty() const { return fWidth == 0 || fHeight == 0; }

    TPixelFormat PixelFormat() const { return fFormat; }
    /// Converts the pixels: to pf32bit with alpha 255, to pf24bit dropping alpha.
    void SetPixelFormat(TPixelFormat value);
    int BytesPerPixel() const { return fFormat == pf32bit ? 4 : 3; }
    /// Bytes from the start of one row to the next.
    int RowStride() const { return fStride; }

    /// The colour at (x, y); clNone outside the bitmap.
    TColor Pixel(int x, int y) const;
    /// Sets one pixel (alpha 255 in pf32bit); outside the bitmap nothing happens.
    void SetPixel(int x, int y, TColor color);
    /// The alpha byte at (x, y): 255 for pf24bit, 0 outside the bitmap.
    std::uint8_t Alpha(int x, int y) const;

    /// Row y (0 = top row); throws EOrnError when y is outside the bitmap.
    std::uint8_t* ScanLine(int y);
    const std::uint8_t* ScanLine(int y) const;
    /// Tightly packed R, G, B, A bytes, rows bottom-up when bottomUp (as glTexImage2D wants them).
    std::vector<std::uint8_t> ToRGBA(bool bottomUp = true) const;

    /// Copies size, format and pixels from another TBitmap; any other source is ignored.
    void Assign(const TPersistent* source) override;

    /// The canvas that draws on this bitmap.
    TCanvas& Canvas();

    /// Loads by the name's extension (.bmp, .png; letter case ignored). Throws EOrnError naming the
    /// file and the reason; the bitmap is unchanged then.
    void LoadFromFile(const std::string& fileName);
    /// Saves by the name's extension (.bmp, .png): BMP as 24- or 32-bit uncompressed.
    void SaveToFile(const std::string& fileName) const;
    /// Loads a BMP file image held in memory.
    void LoadFromMemory(const void* data, std::size_t size);
    /// The BMP file image of this bitmap.
    std::vector<std::uint8_t> SaveToMemory() const;
    /// Loads a PNG file image held in memory.
    void LoadPngFromMemory(const void* data, std::size_t size);
    /// The PNG file image of this bitmap.
    std::vector<std::uint8_t> SavePngToMemory() const;

    /// Fired once after every completed change: resize, format, assign, load, each canvas operation.
    TNotifyEvent OnChange;

protected:
    virtual void Changed();

private:
    friend class TCanvas;
    void Adopt(int width, int height, TPixelFormat format, std::vector<std::uint8_t> bits);
    void LoadBmp(const std::uint8_t* data, std::size_t size, const std::string& name);
    void LoadPng(const std::uint8_t* data, std::size_t size, const std::string& name);
    // Writes one pixel without notifying: the canvas notifies once per operation.
    void PutPixel(int x, int y, TColor color);

    int fWidth = 0;
    int fHeight = 0;
    int fStride = 0;
    TPixelFormat fFormat = pf24bit;
    std::vector<std::uint8_t> fBits;
    std::unique_ptr<TCanvas> fCanvas;
};

} // namespace orn
