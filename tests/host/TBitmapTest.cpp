#include <orn/host/EOrnError.h>
#include <orn/host/TBitmap.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace orn;

namespace {

// Counts OnChange notifications of a bitmap.
struct ChangeCounter {
    int Count = 0;
    explicit ChangeCounter(TBitmap& bmp) {
        bmp.OnChange = [this, &bmp](TObject* sender) {
            EXPECT_EQ(sender, &bmp);
            ++Count;
        };
    }
};

std::string TempPath(const std::string& name) {
    return (std::filesystem::temp_directory_path() / ("orn_bitmap_test_" + std::to_string(::getpid()) + name))
        .string();
}

void FillNoise(TBitmap& bmp, unsigned seed) {
    std::mt19937 rng(seed);
    for (int y = 0; y < bmp.Height(); ++y)
        for (int i = 0; i < bmp.Width() * bmp.BytesPerPixel(); ++i)
            bmp.ScanLine(y)[i] = static_cast<std::uint8_t>(rng());
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

TEST(TBitmapSize, NewBitmapIsEmptyAndSetSizeKeepsTheSharedPixels) {
    TBitmap bmp;
    EXPECT_TRUE(bmp.Empty());
    EXPECT_EQ(bmp.PixelFormat(), pf24bit);
    bmp.SetSize(4, 3);
    EXPECT_FALSE(bmp.Empty());
    EXPECT_EQ(bmp.Pixel(3, 2), clBlack);
    bmp.SetPixel(1, 1, clRed);
    bmp.SetPixel(3, 2, clBlue);
    bmp.SetSize(2, 5);
    EXPECT_EQ(bmp.Width(), 2);
    EXPECT_EQ(bmp.Height(), 5);
    EXPECT_EQ(bmp.Pixel(1, 1), clRed);
    EXPECT_EQ(bmp.Pixel(1, 4), clBlack);
    bmp.SetSize(-3, 2);
    EXPECT_EQ(bmp.Width(), 0);
    EXPECT_TRUE(bmp.Empty());
}

TEST(TBitmapSize, SizeAboveTheMemoryLimitIsRefusedAndChangesNothing) {
    TBitmap bmp(3, 3);
    EXPECT_THROW(bmp.SetSize(100000, 100000), EOrnError);
    EXPECT_EQ(bmp.Width(), 3);
    EXPECT_EQ(bmp.Height(), 3);
}

TEST(TBitmapPixels, ScanLineHoldsBlueGreenRedTopRowFirst) {
    TBitmap bmp(3, 2);
    bmp.SetPixel(2, 0, RGB(10, 20, 30));
    const std::uint8_t* row = bmp.ScanLine(0);
    EXPECT_EQ(row[6], 30);
    EXPECT_EQ(row[7], 20);
    EXPECT_EQ(row[8], 10);
    EXPECT_EQ(bmp.RowStride() % 4, 0);
    EXPECT_THROW(bmp.ScanLine(2), EOrnError);
    EXPECT_THROW(bmp.ScanLine(-1), EOrnError);
}

TEST(TBitmapPixels, OutsideReadsClNoneAndWritesNothing) {
    TBitmap bmp(2, 2);
    ChangeCounter changes(bmp);
    bmp.SetPixel(2, 0, clWhite);
    bmp.SetPixel(0, -1, clWhite);
    EXPECT_EQ(changes.Count, 0);
    EXPECT_EQ(bmp.Pixel(-1, 0), clNone);
    EXPECT_EQ(bmp.Pixel(0, 2), clNone);
}

TEST(TBitmapPixels, ToRgbaGivesBottomRowFirstWhenAsked) {
    TBitmap bmp(2, 2);
    bmp.SetPixel(0, 0, RGB(1, 2, 3));    // top left
    bmp.SetPixel(1, 1, RGB(40, 50, 60)); // bottom right
    const auto up = bmp.ToRGBA(true);
    ASSERT_EQ(up.size(), 16u);
    EXPECT_EQ(std::vector<std::uint8_t>(up.begin() + 4, up.begin() + 8),
              (std::vector<std::uint8_t>{40, 50, 60, 255}));
    EXPECT_EQ(std::vector<std::uint8_t>(up.begin() + 8, up.begin() + 12),
              (std::vector<std::uint8_t>{1, 2, 3, 255}));
    const auto down = bmp.ToRGBA(false);
    EXPECT_EQ(std::vector<std::uint8_t>(down.begin(), down.begin() + 4),
              (std::vector<std::uint8_t>{1, 2, 3, 255}));
}

TEST(TBitmapPixels, PixelFormatConversionKeepsColoursAndSetsAlpha) {
    TBitmap bmp(3, 1);
    bmp.SetPixel(1, 0, RGB(7, 8, 9));
    bmp.SetPixelFormat(pf32bit);
    EXPECT_EQ(bmp.BytesPerPixel(), 4);
    EXPECT_EQ(bmp.Pixel(1, 0), RGB(7, 8, 9));
    EXPECT_EQ(bmp.Alpha(0, 0), 255);
    bmp.ScanLine(0)[7] = 100;
    EXPECT_EQ(bmp.ToRGBA(false)[7], 100);
    bmp.SetPixelFormat(pf24bit);
    EXPECT_EQ(bmp.Pixel(1, 0), RGB(7, 8, 9));
    EXPECT_EQ(bmp.Alpha(1, 0), 255);
}

TEST(TBitmapChange, EveryCompletedOperationNotifiesOnce) {
    TBitmap bmp;
    ChangeCounter changes(bmp);
    bmp.SetSize(10, 10);
    EXPECT_EQ(changes.Count, 1);
    bmp.SetSize(10, 10);
    EXPECT_EQ(changes.Count, 1);
    bmp.SetPixelFormat(pf32bit);
    EXPECT_EQ(changes.Count, 2);
    bmp.Canvas().FillRect(Rect(0, 0, 10, 10));
    EXPECT_EQ(changes.Count, 3);
    bmp.Canvas().Rectangle(Rect(1, 1, 8, 8));
    EXPECT_EQ(changes.Count, 4);
    bmp.Canvas().MoveTo(0, 0);
    bmp.Canvas().LineTo(9, 5);
    EXPECT_EQ(changes.Count, 5);
    TBitmap other(2, 2);
    bmp.Assign(&other);
    EXPECT_EQ(changes.Count, 6);
    const auto file = other.SaveToMemory();
    bmp.LoadFromMemory(file.data(), file.size());
    EXPECT_EQ(changes.Count, 7);
    EXPECT_THROW(bmp.LoadFromMemory(file.data(), 10), EOrnError);
    EXPECT_EQ(changes.Count, 7);
}

TEST(TBitmapAssign, CopiesSizeFormatAndPixelsAndIgnoresOtherSources) {
    TBitmap src(5, 4, pf32bit);
    FillNoise(src, 3);
    TBitmap dst(1, 1);
    dst.Assign(&src);
    EXPECT_TRUE(SamePixels(src, dst));
    src.SetPixel(0, 0, clRed);
    EXPECT_NE(dst.Pixel(0, 0), clRed) << "Assign must copy, not share";
    TPersistent unrelated;
    dst.Assign(&unrelated);
    dst.Assign(nullptr);
    EXPECT_EQ(dst.Width(), 5);
}

TEST(TBitmapFiles, BmpAndPngFilesRoundTripExactly) {
    for (TPixelFormat pf : {pf24bit, pf32bit})
        for (const char* ext : {".bmp", ".png", ".PNG"}) {
            SCOPED_TRACE(ext);
            TBitmap src(13, 6, pf);
            FillNoise(src, 11);
            const std::string path = TempPath(ext);
            src.SaveToFile(path);
            TBitmap back;
            back.LoadFromFile(path);
            std::filesystem::remove(path);
            EXPECT_TRUE(SamePixels(src, back));
        }
}

TEST(TBitmapFiles, UnsupportedExtensionOrMissingFileNamesTheFile) {
    TBitmap bmp(2, 2);
    try {
        bmp.SaveToFile("picture.gif");
        ADD_FAILURE();
    } catch (const EOrnError& e) {
        EXPECT_NE(std::string(e.what()).find("picture.gif"), std::string::npos);
        EXPECT_NE(std::string(e.what()).find("unsupported format"), std::string::npos);
    }
    EXPECT_THROW(bmp.LoadFromFile("picture.jpg"), EOrnError);
    try {
        bmp.LoadFromFile("/nonexistent/dir/x.bmp");
        ADD_FAILURE();
    } catch (const EOrnError& e) {
        EXPECT_NE(std::string(e.what()).find("/nonexistent/dir/x.bmp"), std::string::npos);
    }
    EXPECT_THROW(TBitmap().SaveToMemory(), EOrnError);
}

TEST(TBitmapFiles, AFailedSaveLeavesThePreviousImageAndNoTemporaryFile) {
    namespace fs = std::filesystem;
    const fs::path dir = fs::temp_directory_path() / ("orn_bitmap_save_" + std::to_string(::getpid()));
    fs::remove_all(dir);
    fs::create_directories(dir);
    TBitmap small;
    small.SetSize(4, 4);
    for (const char* name : {"old.bmp", "old.png"}) {
        const std::string file = (dir / name).string();
        small.SaveToFile(file);
        const std::uintmax_t before = fs::file_size(file);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            // As a full disk would: the file system refuses the bigger image part-way through.
            rlimit limit{};
            ::getrlimit(RLIMIT_FSIZE, &limit);
            limit.rlim_cur = 8192;
            ::setrlimit(RLIMIT_FSIZE, &limit);
            TBitmap big;
            big.SetSize(512, 512);
            for (int y = 0; y < 512; ++y)
                for (int x = 0; x < 512; ++x)
                    big.SetPixel(x, y, static_cast<TColor>((x * 7919 + y * 104729) & 0xFFFFFF));
            try {
                big.SaveToFile(file);
            } catch (const EOrnError&) {
                ::_exit(0);
            }
            ::_exit(1);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status)) << name << ": killed by signal " << WTERMSIG(status);
        EXPECT_EQ(WEXITSTATUS(status), 0) << name << ": the save did not fail";
        EXPECT_EQ(fs::file_size(file), before) << name;
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 2);
    fs::remove_all(dir);
}

TEST(TBitmapFiles, AHugeFileIsJudgedByItsHeaderAndSizeBeforeItIsRead) {
    namespace fs = std::filesystem;
    const fs::path file =
        fs::temp_directory_path() / ("orn_bitmap_huge_" + std::to_string(::getpid()) + ".bmp");
    // Sparse: 3 GB that take no disk and, were they read, 3 GB of memory.
    for (const char* start : {"MZ", "BM"}) {
        {
            std::ofstream out(file, std::ios::binary);
            out << start;
        }
        fs::resize_file(file, std::uintmax_t{3} << 30);
        TBitmap bmp;
        try {
            bmp.LoadFromFile(file.string());
            ADD_FAILURE() << start << ": loaded";
        } catch (const EOrnError& e) {
            const std::string what = e.what();
            EXPECT_NE(
                what.find(start[0] == 'M' ? "does not start as a bmp file does" : "bytes are more than"),
                std::string::npos)
                << what;
        }
        EXPECT_TRUE(bmp.Empty());
    }
    fs::remove(file);
}

TEST(TBitmapPng, ImageWithoutAlphaLoadsAs24Bit) {
    TBitmap rgb(4, 4);
    FillNoise(rgb, 5);
    const auto png = rgb.SavePngToMemory();
    TBitmap back;
    back.SetPixelFormat(pf32bit);
    back.LoadPngFromMemory(png.data(), png.size());
    EXPECT_EQ(back.PixelFormat(), pf24bit);
    EXPECT_TRUE(SamePixels(rgb, back));
}

TEST(TBitmapPng, TruncatedOrCorruptDataIsRefused) {
    TBitmap src(20, 20, pf32bit);
    FillNoise(src, 9);
    auto png = src.SavePngToMemory();
    // Only the closing IEND chunk (12 bytes) may be missing: the image is whole without it.
    for (std::size_t n = 0; n < png.size() - 12; n += 7) {
        TBitmap bmp;
        EXPECT_THROW(bmp.LoadPngFromMemory(png.data(), n), EOrnError) << n;
    }
    png[png.size() / 2] ^= 0x55; // breaks a CRC
    TBitmap bmp;
    EXPECT_THROW(bmp.LoadPngFromMemory(png.data(), png.size()), EOrnError);
    const std::string text = "not a png at all";
    EXPECT_THROW(bmp.LoadPngFromMemory(text.data(), text.size()), EOrnError);
}

TEST(TCanvasRectangles, FillRectExcludesTheRightAndBottomEdges) {
    TBitmap bmp(6, 6);
    bmp.Canvas().Brush().SetColor(clRed);
    bmp.Canvas().FillRect(Rect(1, 2, 4, 5));
    EXPECT_EQ(bmp.Pixel(1, 2), clRed);
    EXPECT_EQ(bmp.Pixel(3, 4), clRed);
    EXPECT_EQ(bmp.Pixel(4, 4), clBlack);
    EXPECT_EQ(bmp.Pixel(3, 5), clBlack);
    EXPECT_EQ(bmp.Pixel(0, 2), clBlack);
    bmp.Canvas().Brush().SetColor(clBlue);
    bmp.Canvas().FillRect(Rect(-10, -10, 1, 100)); // clipped, not a crash
    EXPECT_EQ(bmp.Pixel(0, 5), clBlue);
    EXPECT_EQ(bmp.Pixel(1, 5), clBlack);
}

TEST(TCanvasRectangles, RectangleOutlinesInPenAndFillsInBrush) {
    TBitmap bmp(6, 6);
    TCanvas& c = bmp.Canvas();
    c.Pen().SetColor(clLime);
    c.Brush().SetColor(clYellow);
    c.Rectangle(1, 1, 5, 5);
    EXPECT_EQ(bmp.Pixel(1, 1), clLime);
    EXPECT_EQ(bmp.Pixel(4, 4), clLime);
    EXPECT_EQ(bmp.Pixel(4, 2), clLime);
    EXPECT_EQ(bmp.Pixel(2, 2), clYellow);
    EXPECT_EQ(bmp.Pixel(3, 3), clYellow);
    EXPECT_EQ(bmp.Pixel(5, 5), clBlack);
    c.Brush().SetStyle(bsClear);
    c.Pen().SetColor(clRed);
    c.Rectangle(0, 0, 6, 6);
    EXPECT_EQ(bmp.Pixel(5, 5), clRed);
    EXPECT_EQ(bmp.Pixel(2, 2), clYellow) << "a clear brush leaves the inside";
    c.FillRect(Rect(0, 0, 6, 6));
    EXPECT_EQ(bmp.Pixel(2, 2), clYellow);
}

TEST(TCanvasLines, LineToStopsBeforeItsEndPoint) {
    TBitmap bmp(8, 8);
    TCanvas& c = bmp.Canvas();
    c.Pen().SetColor(clWhite);
    c.MoveTo(1, 1);
    c.LineTo(5, 1);
    EXPECT_EQ(bmp.Pixel(1, 1), clWhite);
    EXPECT_EQ(bmp.Pixel(4, 1), clWhite);
    EXPECT_EQ(bmp.Pixel(5, 1), clBlack);
    EXPECT_EQ(c.PenPos(), Point(5, 1));
    c.LineTo(5, 5);
    EXPECT_EQ(bmp.Pixel(5, 1), clWhite);
    EXPECT_EQ(bmp.Pixel(5, 4), clWhite);
    c.MoveTo(0, 7);
    c.LineTo(7, 0);
    EXPECT_EQ(bmp.Pixel(3, 4), clWhite);
    c.SetPixels(6, 6, clAqua);
    EXPECT_EQ(c.Pixels(6, 6), clAqua);
}
