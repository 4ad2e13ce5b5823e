#include <orn/host/TBitmap.h>

#include "support/Corpora.h"
#include "support/ErrorText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

using namespace orn;
using Bytes = std::vector<std::uint8_t>;

namespace {

const std::string kBmpDir = orn::test::CorpusPath("bmp").string() + "/";

std::vector<std::filesystem::path> FilesIn(const std::string& sub) {
    std::vector<std::filesystem::path> files;
    for (const auto& e : std::filesystem::directory_iterator(kBmpDir + sub))
        if (e.is_regular_file()) files.push_back(e.path());
    std::sort(files.begin(), files.end());
    return files;
}

// A corpus file by name, from good/ or else questionable/.
std::unique_ptr<TBitmap> Load(const std::string& name) {
    auto bmp = std::make_unique<TBitmap>();
    const std::string good = kBmpDir + "good/" + name;
    bmp->LoadFromFile(std::filesystem::exists(good) ? good : kBmpDir + "questionable/" + name);
    return bmp;
}

// The largest and the mean difference of the colour channels of two bitmaps; 256 when the sizes differ.
std::pair<int, double> Difference(const TBitmap& a, const TBitmap& b) {
    if (a.Width() != b.Width() || a.Height() != b.Height()) return {256, 256};
    const Bytes p = a.ToRGBA(), q = b.ToRGBA();
    int most = 0;
    long sum = 0;
    for (std::size_t i = 0; i < p.size(); ++i) {
        const int d = i % 4 == 3 ? 0 : std::abs(p[i] - q[i]);
        most = std::max(most, d);
        sum += d;
    }
    return {most, sum / (0.75 * p.size())};
}

// The message of the EOrnError that loading bytes raises; "" when none is raised.
std::string Refusal(const Bytes& bytes) {
    return orn::test::ErrorText([&] { TBitmap().LoadFromMemory(bytes.data(), bytes.size()); });
}

// A bottom-up file with the 40-byte header: masks (bit fields only), palette (as 0xRRGGBB), pixels.
Bytes BmpFile(int width, int height, int bits, int compression, const std::vector<std::uint32_t>& palette,
              const Bytes& pixels, const std::vector<std::uint32_t>& masks = {}) {
    const auto offset = static_cast<std::uint32_t>(14 + 40 + 4 * masks.size() + 4 * palette.size());
    std::vector<std::uint32_t> words = {offset + std::uint32_t(pixels.size()),
                                        0u,
                                        offset,
                                        40u,
                                        std::uint32_t(width),
                                        std::uint32_t(height),
                                        1u | std::uint32_t(bits) << 16,
                                        std::uint32_t(compression),
                                        std::uint32_t(pixels.size()),
                                        0u,
                                        0u,
                                        std::uint32_t(palette.size()),
                                        0u};
    words.insert(words.end(), masks.begin(), masks.end());
    words.insert(words.end(), palette.begin(), palette.end());
    Bytes f = {'B', 'M'};
    for (std::uint32_t w : words)
        for (int i = 0; i < 4; ++i)
            f.push_back(static_cast<std::uint8_t>(w >> (8 * i)));
    f.insert(f.end(), pixels.begin(), pixels.end());
    return f;
}

// The bottom row of a file whose palette entry i reads as the colour 16 i + 1 (red 0, 16, 32, …).
std::vector<TColor> Row(int width, int bits, int compression, const Bytes& pixels) {
    std::vector<std::uint32_t> palette;
    for (std::uint32_t i = 0; i < (1u << std::min(bits, 4)); ++i)
        palette.push_back((16 * i + 1) << 16);
    const Bytes file = BmpFile(width, 1, bits, compression, palette, pixels);
    TBitmap bmp;
    bmp.LoadFromMemory(file.data(), file.size());
    std::vector<TColor> row;
    for (int x = 0; x < width; ++x)
        row.push_back(static_cast<TColor>((bmp.Pixel(x, 0) - 1) / 16)); // back to the index
    return row;
}

} // namespace

TEST(BmpCorpus, GoodFilesLoadAtTheirSizeLikeTheirVariantsAndBadUnsupportedOrTruncatedOnesAreRefused) {
    ORN_REQUIRE_CORPUS("bmp");
    const std::map<std::string, TPoint> odd = {{"pal8nonsquare.bmp", {127, 32}},
                                               {"pal8w124.bmp", {124, 61}},
                                               {"pal8w125.bmp", {125, 62}},
                                               {"pal8w126.bmp", {126, 63}}};
    // Compressions the codec does not implement are refused; every other questionable file loads.
    const std::set<std::string> unsupported = {"pal1huffmsb.bmp", "rgb24jpeg.bmp", "rgb24png.bmp",
                                               "rgb24rle24.bmp", "rgba64.bmp"};
    const std::map<std::string, std::string> reasons = {
        {"reallybig.bmp", "exceed the limit"}, {"badrle.bmp", "RLE"},
        {"rletopdown.bmp", "top-down"},        {"pal8badindex.bmp", "palette index"},
        {"badbitcount.bmp", "bit count"},      {"shortfile.bmp", "file size"},
        {"badpalettesize.bmp", "palette"},     {"rgb16-880.bmp", "mask"}};
    const auto good = FilesIn("good"), bad = FilesIn("bad");
    ASSERT_GE(good.size(), 20u);
    ASSERT_GE(bad.size(), 15u);
    auto files = FilesIn("questionable");
    files.insert(files.end(), good.begin(), good.end());
    files.insert(files.end(), bad.begin(), bad.end());
    for (const auto& f : files) {
        const std::string name = f.filename().string(), folder = f.parent_path().filename().string();
        SCOPED_TRACE(folder + "/" + name);
        TBitmap bmp;
        const std::string what = orn::test::ErrorText([&] { bmp.LoadFromFile(f.string()); });
        if (folder != "bad" && !unsupported.contains(name)) {
            const auto size = odd.find(name);
            const TPoint expected = size == odd.end() ? TPoint{127, 64} : size->second;
            EXPECT_EQ(what, "");
            EXPECT_EQ(bmp.Width(), expected.X);
            if (folder == "good") {
                EXPECT_EQ(bmp.Height(), expected.Y);
            }
            continue;
        }
        for (const std::string& part : {name, reasons.contains(name) ? reasons.at(name) : name})
            EXPECT_NE(what.find(part), std::string::npos) << what;
        EXPECT_TRUE(bmp.Empty());
    }
    // The largest channel difference allowed: 5- and 6-bit channels are off by the rounding of their
    // scaling, odd bit-field masks by one.
    const struct {
        const char* like;
        int tolerance;
        std::vector<const char*> files;
    } variants[] = {
        {"rgb24.bmp", 0, {"rgb24pal.bmp", "rgb32.bmp", "rgb32bf.bmp", "rgb32bfdef.bmp"}},
        {"rgb24.bmp", 4, {"rgb16.bmp", "rgb16bfdef.bmp", "rgb16-565.bmp", "rgb16-565pal.bmp"}},
        {"pal8.bmp", 0, {"pal8-0.bmp", "pal8os2.bmp", "pal8rle.bmp", "pal8topdown.bmp", "pal8v4.bmp"}},
        {"pal8.bmp", 0, {"pal8v5.bmp"}},
        {"rgb24.bmp", 50, {"pal8.bmp"}},
        {"pal4.bmp", 0, {"pal4rle.bmp"}},
        {"pal1.bmp", 0, {"pal1wb.bmp"}}, // palette and indices swapped: the picture stays
        {"rgb24.bmp", 1, {"rgb32-111110.bmp", "rgb32-7187.bmp", "rgb32h52.bmp", "rgb32-xbgr.bmp"}},
        {"rgba32-1.bmp", 1, {"rgba32-1010102.bmp"}},
    };
    for (const auto& v : variants)
        for (const char* file : v.files) {
            const auto [most, mean] = Difference(*Load(file), *Load(v.like));
            EXPECT_LE(most, v.tolerance) << file;
            EXPECT_LT(mean, 14.0) << file;
        }
    // pal1bg draws pal1's pattern in two other colours; the grey files hold greys only.
    const auto pal1 = Load("pal1.bmp");
    const auto bg = Load("pal1bg.bmp");
    const auto grey4 = Load("pal4gs.bmp");
    const auto grey8 = Load("pal8gs.bmp");
    for (int y = 0; y < pal1->Height(); ++y)
        for (int x = 0; x < pal1->Width(); ++x) {
            ASSERT_EQ(pal1->Pixel(x, y) == pal1->Pixel(0, 0), bg->Pixel(x, y) == bg->Pixel(0, 0))
                << x << "," << y;
            for (const TColor c : {grey4->Pixel(x, y), grey8->Pixel(x, y)})
                ASSERT_TRUE(GetRValue(c) == GetGValue(c) && GetGValue(c) == GetBValue(c)) << x << "," << y;
        }
    // Alpha masks give an alpha channel, transparent in places; a spare byte of zero is opaque.
    for (const char* name : {"rgba16-4444.bmp", "rgba32-1010102.bmp"}) {
        const auto bmp = Load(name);
        const Bytes rgba = bmp->ToRGBA();
        std::set<int> alphas;
        for (std::size_t i = 3; i < rgba.size(); i += 4)
            alphas.insert(rgba[i]);
        EXPECT_TRUE(bmp->PixelFormat() == pf32bit && alphas.contains(0) && alphas.size() >= 2) << name;
    }
    EXPECT_EQ(Load("rgb32.bmp")->Alpha(5, 5), 255);
    // Truncated buffers are refused at every length.
    for (const char* name : {"good/pal4rle.bmp", "good/rgb16-565.bmp", "good/pal8os2.bmp"}) {
        SCOPED_TRACE(name);
        std::ifstream in(kBmpDir + name, std::ios::binary);
        Bytes bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        ASSERT_GT(bytes.size(), 6u);
        // Also with a zero file-size field, so that the pixel readers themselves meet the cut.
        for (bool zeroSizeField : {false, true}) {
            if (zeroSizeField) std::fill(bytes.begin() + 2, bytes.begin() + 6, 0);
            for (std::size_t n = 0; n < bytes.size(); ++n)
                EXPECT_NE(Refusal(Bytes(bytes.begin(), bytes.begin() + n)), "") << n;
            EXPECT_EQ(Refusal(bytes), "");
        }
    }
}

// Hand-made files for what the corpus alone would catch: RLE8 runs, deltas, literals and skipped pixels,
// streams that leave the bitmap, bit order, nibble order and bit-field rounding.
TEST(BmpCodec, HandMadeFilesDecodeExactlyAndStreamsThatLeaveTheBitmapAreRefused) {
    // 4 x 3, the palette black, red, green.
    auto Rle8File = [](const Bytes& stream) {
        return BmpFile(4, 3, 8, 1, {0x000000u, 0xFF0000u, 0x00FF00u}, stream);
    };
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
    std::vector<TColor> pixels;
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x)
            pixels.push_back(bmp.Pixel(x, y));
    EXPECT_EQ(pixels, (std::vector<TColor>{g, r, g, k, k, k, k, g, r, r, k, k})) << "rows top down";
    const std::vector<std::pair<Bytes, std::string>> broken = {
        {{5, 1, 0, 1}, "outside the bitmap"},             // run longer than the row
        {{0, 3, 1, 1, 1}, "end-of-bitmap"},               // literal whose word padding is missing
        {{0, 3, 1, 1, 9, 0, 0, 1}, "palette index 9"},    // index outside the palette of 3
        {{0, 2, 5, 0, 0, 1}, "delta"},                    // delta past the right edge
        {{0, 0, 0, 0, 0, 0, 0, 0}, "below the last row"}, // end of line below the last row
        {{2, 1}, "end-of-bitmap"},                        // no end mark
    };
    for (const auto& [stream, reason] : broken)
        EXPECT_NE(Refusal(Rle8File(stream)).find(reason), std::string::npos) << Refusal(Rle8File(stream));
    // Pixels read leftmost from the high bits, RLE4 from the high nibble.
    using Indices = std::vector<TColor>;
    EXPECT_EQ(Row(8, 1, 0, {0b10110001, 0, 0, 0}), (Indices{1, 0, 1, 1, 0, 0, 0, 1}));
    EXPECT_EQ(Row(4, 2, 0, {0b00011011, 0, 0, 0}), (Indices{0, 1, 2, 3}));
    EXPECT_EQ(Row(3, 4, 0, {0x1F, 0x30, 0, 0}), (Indices{1, 15, 3}));
    EXPECT_EQ(Row(6, 4, 2, {3, 0x12, 0, 3, 0x34, 0x50, 0, 1}), (Indices{1, 2, 1, 3, 4, 5})) << "run, literal";
    EXPECT_EQ(Row(3, 8, 0, {2, 15, 0, 0}), (Indices{2, 15, 0}));
    // 5-6-5: red 16/31, green 32/63, blue 3/31 round to 132, 130, 25 (truncating gives 131, 129, 24).
    constexpr std::uint16_t mid = 16 << 11 | 32 << 5 | 3, full = 0xFFFF;
    const Bytes fields = {mid & 0xFF, mid >> 8, full & 0xFF, full >> 8};
    const Bytes fieldFile = BmpFile(2, 1, 16, 3, {}, fields, {0xF800, 0x07E0, 0x001F});
    bmp.LoadFromMemory(fieldFile.data(), fieldFile.size());
    EXPECT_EQ(std::pair(bmp.Pixel(0, 0), bmp.Pixel(1, 0)), std::pair(RGB(132, 130, 25), RGB(255, 255, 255)));
    EXPECT_NE(Refusal(BmpFile(2, 1, 16, 3, {}, fields, {0xF800, 0xF81F, 0x001F})), "") << "overlapping";
    EXPECT_NE(Refusal(BmpFile(2, 1, 16, 3, {}, fields, {0xF800, 0x05E0, 0x001F})), "") << "with a hole";
}
