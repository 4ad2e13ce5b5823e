#include <orn/host/EOrnError.h>
#include <orn/host/TBitmap.h>

#include "support/Corpora.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

using namespace orn;

namespace {

const std::string kBmpDir = orn::test::CorpusPath("bmp").string() + "/";

std::vector<std::filesystem::path> FilesIn(const std::string& sub) {
    std::vector<std::filesystem::path> files;
    for (const auto& e : std::filesystem::directory_iterator(kBmpDir + sub))
        if (e.is_regular_file()) files.push_back(e.path());
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::uint8_t> ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::unique_ptr<TBitmap> Load(const std::string& relative) {
    auto bmp = std::make_unique<TBitmap>();
    bmp->LoadFromFile(kBmpDir + relative);
    return bmp;
}

struct Difference {
    int Max = 0;
    double Mean = 0;
};

// Per-channel difference of the colours of two bitmaps of the same size.
Difference ColourDifference(const TBitmap& a, const TBitmap& b) {
    Difference d;
    long sum = 0;
    for (int y = 0; y < a.Height(); ++y)
        for (int x = 0; x < a.Width(); ++x)
            for (int shift = 0; shift < 24; shift += 8) {
                const int v = std::abs(((a.Pixel(x, y) >> shift) & 0xFF) - ((b.Pixel(x, y) >> shift) & 0xFF));
                d.Max = std::max(d.Max, v);
                sum += v;
            }
    d.Mean = static_cast<double>(sum) / (3.0 * a.Width() * a.Height());
    return d;
}

bool SamePixels(const TBitmap& a, const TBitmap& b) {
    if (a.Width() != b.Width() || a.Height() != b.Height() || a.PixelFormat() != b.PixelFormat())
        return false;
    for (int y = 0; y < a.Height(); ++y)
        if (!std::equal(a.ScanLine(y), a.ScanLine(y) + a.Width() * a.BytesPerPixel(), b.ScanLine(y)))
            return false;
    return true;
}

} // namespace

TEST(BmpCorpusGood, EveryFileLoadsAtItsSize) {
    ORN_REQUIRE_CORPUS("bmp");
    const std::vector<std::pair<std::string, TPoint>> odd = {{"pal8nonsquare.bmp", {127, 32}},
                                                             {"pal8w124.bmp", {124, 61}},
                                                             {"pal8w125.bmp", {125, 62}},
                                                             {"pal8w126.bmp", {126, 63}}};
    const auto files = FilesIn("good");
    ASSERT_GE(files.size(), 20u);
    for (const auto& f : files) {
        SCOPED_TRACE(f.filename().string());
        TBitmap bmp;
        ASSERT_NO_THROW(bmp.LoadFromFile(f.string()));
        TPoint size{127, 64};
        for (const auto& [name, s] : odd)
            if (name == f.filename()) size = s;
        EXPECT_EQ(bmp.Width(), size.X);
        EXPECT_EQ(bmp.Height(), size.Y);
    }
}

TEST(BmpCorpusGood, HighColourFilesDepictTheRgb24Picture) {
    ORN_REQUIRE_CORPUS("bmp");
    // Exact for 24 and 32 bit; 5- and 6-bit channels are off by at most the rounding of their scaling.
    const std::vector<std::pair<std::string, int>> table = {
        {"rgb24pal.bmp", 0}, {"rgb32.bmp", 0},      {"rgb32bf.bmp", 0},   {"rgb32bfdef.bmp", 0},
        {"rgb16.bmp", 4},    {"rgb16bfdef.bmp", 4}, {"rgb16-565.bmp", 4}, {"rgb16-565pal.bmp", 4}};
    const auto ref = Load("good/rgb24.bmp");
    for (const auto& [name, tolerance] : table) {
        SCOPED_TRACE(name);
        const auto bmp = Load("good/" + name);
        ASSERT_EQ(bmp->Width(), ref->Width());
        ASSERT_EQ(bmp->Height(), ref->Height());
        EXPECT_LE(ColourDifference(*bmp, *ref).Max, tolerance);
    }
}

TEST(BmpCorpusGood, EightBitVariantsAreTheSamePicture) {
    ORN_REQUIRE_CORPUS("bmp");
    // Every 8-bit variant (OS/2 header, RLE, top-down, V4/V5 headers, no colour count) decodes to
    // the pixels of pal8.bmp; that palette of 252 colours approximates the 24-bit picture.
    const auto pal8 = Load("good/pal8.bmp");
    for (const char* name :
         {"pal8-0.bmp", "pal8os2.bmp", "pal8rle.bmp", "pal8topdown.bmp", "pal8v4.bmp", "pal8v5.bmp"}) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(SamePixels(*Load(std::string("good/") + name), *pal8));
    }
    const Difference d = ColourDifference(*pal8, *Load("good/rgb24.bmp"));
    EXPECT_LE(d.Max, 50);
    EXPECT_LT(d.Mean, 14.0);
}

TEST(BmpCorpusGood, LowColourVariantsDifferOnlyInTheirPalettes) {
    ORN_REQUIRE_CORPUS("bmp");
    EXPECT_TRUE(SamePixels(*Load("good/pal4rle.bmp"), *Load("good/pal4.bmp")));
    // pal1wb swaps both the palette and the indices, so the picture stays.
    const auto pal1 = Load("good/pal1.bmp");
    EXPECT_TRUE(SamePixels(*Load("good/pal1wb.bmp"), *pal1));
    // pal1bg draws the same pattern in two other colours.
    const auto bg = Load("good/pal1bg.bmp");
    const TColor black0 = pal1->Pixel(0, 0), bg0 = bg->Pixel(0, 0);
    for (int y = 0; y < pal1->Height(); ++y)
        for (int x = 0; x < pal1->Width(); ++x)
            ASSERT_EQ(pal1->Pixel(x, y) == black0, bg->Pixel(x, y) == bg0) << x << "," << y;
    for (const char* name : {"pal4gs.bmp", "pal8gs.bmp"}) {
        SCOPED_TRACE(name);
        const auto grey = Load(std::string("good/") + name);
        for (int y = 0; y < grey->Height(); ++y)
            for (int x = 0; x < grey->Width(); ++x) {
                const TColor c = grey->Pixel(x, y);
                ASSERT_TRUE(GetRValue(c) == GetGValue(c) && GetGValue(c) == GetBValue(c));
            }
    }
}

TEST(BmpCorpusQuestionable, FilesLoadOrAreRefusedCleanly) {
    ORN_REQUIRE_CORPUS("bmp");
    // Compressions the codec does not implement are refused; everything else loads.
    const std::vector<std::string> refused = {"pal1huffmsb.bmp", "rgb24jpeg.bmp", "rgb24png.bmp",
                                              "rgb24rle24.bmp", "rgba64.bmp"};
    for (const auto& f : FilesIn("questionable")) {
        SCOPED_TRACE(f.filename().string());
        TBitmap bmp;
        const bool shouldRefuse =
            std::find(refused.begin(), refused.end(), f.filename().string()) != refused.end();
        try {
            bmp.LoadFromFile(f.string());
            EXPECT_FALSE(shouldRefuse);
            EXPECT_EQ(bmp.Width(), 127);
            EXPECT_EQ(bmp.Height(), 64);
        } catch (const EOrnError& e) {
            EXPECT_TRUE(shouldRefuse) << e.what();
            EXPECT_NE(std::string(e.what()).find(f.filename().string()), std::string::npos);
        }
    }
}

TEST(BmpCorpusQuestionable, OddBitFieldMasksScaleToEightBits) {
    ORN_REQUIRE_CORPUS("bmp");
    const auto ref = Load("good/rgb24.bmp");
    for (const char* name : {"rgb32-111110.bmp", "rgb32-7187.bmp", "rgb32h52.bmp", "rgb32-xbgr.bmp"}) {
        SCOPED_TRACE(name);
        EXPECT_LE(ColourDifference(*Load(std::string("questionable/") + name), *ref).Max, 1);
    }
    // 10-10-10-2 with a 2-bit alpha against the 8-8-8-8 original: colours agree, alpha is kept.
    const auto rgba = Load("questionable/rgba32-1.bmp");
    const auto wide = Load("questionable/rgba32-1010102.bmp");
    EXPECT_EQ(wide->PixelFormat(), pf32bit);
    EXPECT_LE(ColourDifference(*wide, *rgba).Max, 1);
    int transparent = 0;
    for (int y = 0; y < wide->Height(); ++y)
        for (int x = 0; x < wide->Width(); ++x)
            transparent += wide->Alpha(x, y) == 0;
    EXPECT_GT(transparent, 0);
}

TEST(BmpCorpusQuestionable, AlphaMaskGivesAnAlphaChannel) {
    ORN_REQUIRE_CORPUS("bmp");
    const auto bmp = Load("questionable/rgba16-4444.bmp");
    EXPECT_EQ(bmp->PixelFormat(), pf32bit);
    std::vector<int> seen(256);
    for (int y = 0; y < bmp->Height(); ++y)
        for (int x = 0; x < bmp->Width(); ++x)
            seen[bmp->Alpha(x, y)] = 1;
    EXPECT_GT(std::count(seen.begin(), seen.end(), 1), 2);
    // A 32-bit file whose spare byte is always zero is opaque, not invisible.
    const auto plain = Load("good/rgb32.bmp");
    EXPECT_EQ(plain->Alpha(5, 5), 255);
}

TEST(BmpCorpusBad, EveryFileIsRefusedNamingTheFile) {
    ORN_REQUIRE_CORPUS("bmp");
    const auto files = FilesIn("bad");
    ASSERT_GE(files.size(), 15u);
    for (const auto& f : files) {
        SCOPED_TRACE(f.filename().string());
        TBitmap bmp;
        try {
            bmp.LoadFromFile(f.string());
            ADD_FAILURE() << "loaded";
        } catch (const EOrnError& e) {
            EXPECT_NE(std::string(e.what()).find(f.filename().string()), std::string::npos) << e.what();
        }
        EXPECT_TRUE(bmp.Empty());
    }
}

TEST(BmpCorpusBad, ReasonsNameTheFault) {
    ORN_REQUIRE_CORPUS("bmp");
    const std::vector<std::pair<std::string, std::string>> table = {
        {"reallybig.bmp", "exceed the limit"}, {"badrle.bmp", "RLE"},
        {"rletopdown.bmp", "top-down"},        {"pal8badindex.bmp", "palette index"},
        {"badbitcount.bmp", "bit count"},      {"shortfile.bmp", "file size"},
        {"badpalettesize.bmp", "palette"},     {"rgb16-880.bmp", "mask"}};
    for (const auto& [name, reason] : table) {
        SCOPED_TRACE(name);
        TBitmap bmp;
        try {
            bmp.LoadFromFile(kBmpDir + "bad/" + name);
            ADD_FAILURE() << "loaded";
        } catch (const EOrnError& e) {
            EXPECT_NE(std::string(e.what()).find(reason), std::string::npos) << e.what();
        }
    }
}

TEST(BmpCodecRobustness, TruncatedBuffersAreRefusedAtEveryLength) {
    ORN_REQUIRE_CORPUS("bmp");
    for (const char* name : {"good/pal4rle.bmp", "good/rgb16-565.bmp", "good/pal8os2.bmp"}) {
        SCOPED_TRACE(name);
        std::vector<std::uint8_t> bytes = ReadBytes(kBmpDir + name);
        ASSERT_FALSE(bytes.empty());
        // Also with a zero file-size field, so that the pixel readers themselves meet the cut.
        for (bool zeroSizeField : {false, true}) {
            if (zeroSizeField) std::fill(bytes.begin() + 2, bytes.begin() + 6, 0);
            for (std::size_t n = 0; n < bytes.size(); ++n) {
                const std::vector<std::uint8_t> cut(bytes.begin(), bytes.begin() + n);
                TBitmap bmp;
                EXPECT_THROW(bmp.LoadFromMemory(cut.data(), cut.size()), EOrnError) << n;
            }
            TBitmap whole;
            EXPECT_NO_THROW(whole.LoadFromMemory(bytes.data(), bytes.size()));
        }
    }
}

TEST(BmpCodecRobustness, BrokenMasksAreRefused) {
    ORN_REQUIRE_CORPUS("bmp");
    std::vector<std::uint8_t> bytes = ReadBytes(kBmpDir + "good/rgb16-565.bmp");
    ASSERT_GE(bytes.size(), 66u);
    auto setMask = [&](int i, std::uint32_t m) {
        for (int b = 0; b < 4; ++b)
            bytes[54 + 4 * i + b] = static_cast<std::uint8_t>(m >> (8 * b));
    };
    TBitmap bmp;
    setMask(1, 0xF81F); // overlaps red and blue
    EXPECT_THROW(bmp.LoadFromMemory(bytes.data(), bytes.size()), EOrnError);
    setMask(1, 0x05E0); // a hole in the middle
    EXPECT_THROW(bmp.LoadFromMemory(bytes.data(), bytes.size()), EOrnError);
    setMask(1, 0x07E0);
    EXPECT_NO_THROW(bmp.LoadFromMemory(bytes.data(), bytes.size()));
}

TEST(BmpCodecRoundTrip, SaveThenLoadIsExactFor24And32Bit) {
    std::mt19937 rng(7);
    for (TPixelFormat pf : {pf24bit, pf32bit})
        for (int width : {1, 2, 3}) {
            SCOPED_TRACE(width);
            TBitmap src(width, 7, pf);
            for (int y = 0; y < src.Height(); ++y)
                for (int i = 0; i < width * src.BytesPerPixel(); ++i)
                    src.ScanLine(y)[i] = static_cast<std::uint8_t>(rng());
            const std::vector<std::uint8_t> file = src.SaveToMemory();
            TBitmap back;
            back.LoadFromMemory(file.data(), file.size());
            EXPECT_TRUE(SamePixels(src, back));
        }
}

namespace {

void Put32(std::vector<std::uint8_t>& v, std::uint32_t x) {
    for (int i = 0; i < 4; ++i)
        v.push_back(static_cast<std::uint8_t>(x >> (8 * i)));
}

// A bottom-up file with the 40-byte header: masks (bit fields only), palette (as 0xBBGGRR), pixels.
std::vector<std::uint8_t> BmpFile(int width, int height, int bits, int compression,
                                  const std::vector<std::uint32_t>& palette,
                                  const std::vector<std::uint8_t>& pixels,
                                  const std::vector<std::uint32_t>& masks = {}) {
    const auto offset = static_cast<std::uint32_t>(14 + 40 + 4 * masks.size() + 4 * palette.size());
    std::vector<std::uint8_t> f = {'B', 'M'};
    Put32(f, offset + static_cast<std::uint32_t>(pixels.size()));
    Put32(f, 0);
    Put32(f, offset);
    for (std::uint32_t v : {40u, std::uint32_t(width), std::uint32_t(height), 1u | std::uint32_t(bits) << 16,
                            std::uint32_t(compression), std::uint32_t(pixels.size()), 0u, 0u,
                            std::uint32_t(palette.size()), 0u})
        Put32(f, v);
    for (std::uint32_t m : masks)
        Put32(f, m);
    for (std::uint32_t bgr : palette)
        Put32(f, bgr);
    f.insert(f.end(), pixels.begin(), pixels.end());
    return f;
}

// A 4 x 3 RLE8 file with the palette black, red, green around the given stream.
std::vector<std::uint8_t> Rle8File(const std::vector<std::uint8_t>& stream) {
    return BmpFile(4, 3, 8, 1, {0x000000u, 0xFF0000u, 0x00FF00u}, stream);
}

// Sixteen palette entries told apart by their red: entry i reads as the colour 16 i + 1.
std::vector<std::uint32_t> RedRamp() {
    std::vector<std::uint32_t> palette;
    for (std::uint32_t i = 0; i < 16; ++i)
        palette.push_back((16 * i + 1) << 16);
    return palette;
}

std::vector<TColor> Row(const std::vector<std::uint8_t>& file, int width) {
    TBitmap bmp;
    bmp.LoadFromMemory(file.data(), file.size());
    std::vector<TColor> row;
    for (int x = 0; x < width; ++x)
        row.push_back(bmp.Pixel(x, 0));
    return row;
}

std::vector<TColor> Indices(std::initializer_list<int> indices) {
    std::vector<TColor> colours;
    for (int i : indices)
        colours.push_back(static_cast<TColor>(16 * i + 1));
    return colours;
}

} // namespace

TEST(BmpCodecRle, RunsDeltasLiteralsAndSkippedPixels) {
    const auto file = Rle8File({
        2, 1,          // bottom row: two red
        0, 2, 1, 1,    // delta to x 3 of the middle row
        1, 2,          // one green
        0, 0,          // end of line: top row
        0, 3, 2, 1, 2, // literal green red green, padded to a word
        0, 0, 1,       // end of bitmap
    });
    TBitmap bmp;
    bmp.LoadFromMemory(file.data(), file.size());
    const TColor k = clBlack, r = clRed, g = clLime;
    const std::vector<std::vector<TColor>> expected = {{g, r, g, k}, {k, k, k, g}, {r, r, k, k}};
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x)
            EXPECT_EQ(bmp.Pixel(x, y), expected[y][x]) << x << "," << y;
}

TEST(BmpCodecRle, StreamsThatLeaveTheBitmapOrThePaletteAreRefused) {
    const std::vector<std::pair<std::vector<std::uint8_t>, std::string>> broken = {
        {{5, 1, 0, 1}, "outside the bitmap"},             // run longer than the row
        {{0, 3, 1, 1, 1}, "end-of-bitmap"},               // literal whose word padding is missing
        {{0, 3, 1, 1, 9, 0, 0, 1}, "palette index 9"},    // index outside the palette of 3
        {{0, 2, 5, 0, 0, 1}, "delta"},                    // delta past the right edge
        {{0, 0, 0, 0, 0, 0, 0, 0}, "below the last row"}, // end of line below the last row
        {{2, 1}, "end-of-bitmap"},                        // no end mark
    };
    for (const auto& [stream, reason] : broken) {
        SCOPED_TRACE(reason);
        const auto file = Rle8File(stream);
        TBitmap bmp;
        try {
            bmp.LoadFromMemory(file.data(), file.size());
            ADD_FAILURE() << "loaded";
        } catch (const EOrnError& e) {
            EXPECT_NE(std::string(e.what()).find(reason), std::string::npos) << e.what();
        }
    }
}

TEST(BmpCodecHandMade, PaletteIndicesReadLeftmostPixelFromTheHighBits) {
    const auto palette = RedRamp();
    EXPECT_EQ(Row(BmpFile(8, 1, 1, 0, {palette.begin(), palette.begin() + 2}, {0b10110001, 0, 0, 0}), 8),
              Indices({1, 0, 1, 1, 0, 0, 0, 1}));
    EXPECT_EQ(Row(BmpFile(4, 1, 2, 0, {palette.begin(), palette.begin() + 4}, {0b00011011, 0, 0, 0}), 4),
              Indices({0, 1, 2, 3}));
    EXPECT_EQ(Row(BmpFile(3, 1, 4, 0, palette, {0x1F, 0x30, 0, 0}), 3), Indices({1, 15, 3}));
}

TEST(BmpCodecHandMade, Rle4RunsAndLiteralsTakeTheHighNibbleFirst) {
    const std::vector<std::uint8_t> stream = {
        3, 0x12,             // run of three alternating: 1 2 1
        0, 3,    0x34, 0x50, // literal of three: 3 4 5
        0, 1,                // end of bitmap
    };
    EXPECT_EQ(Row(BmpFile(6, 1, 4, 2, RedRamp(), stream), 6), Indices({1, 2, 1, 3, 4, 5}));
}

TEST(BmpCodecHandMade, BitFieldChannelsScaleToEightBitsRounded) {
    // 5-6-5: red 16/31, green 32/63, blue 3/31 round to 132, 130, 25 (truncating gives 131, 129, 24).
    constexpr std::uint16_t mid = 16 << 11 | 32 << 5 | 3, full = 0xFFFF;
    const std::vector<std::uint8_t> pixels = {mid & 0xFF, mid >> 8, full & 0xFF, full >> 8};
    const auto file = BmpFile(2, 1, 16, 3, {}, pixels, {0xF800, 0x07E0, 0x001F});
    EXPECT_EQ(Row(file, 2), (std::vector<TColor>{RGB(132, 130, 25), RGB(255, 255, 255)}));
}
