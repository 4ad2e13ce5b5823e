#include <orn/host/EOrnError.h>
#include <orn/host/TBitmap.h>

#include "host/detail/FileTransaction.h"
#include "support/ErrorText.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace orn;
namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;
using orn::test::ErrorText;

namespace {

fs::path TempPath(const std::string& name) {
    return fs::temp_directory_path() / ("orn_bitmap_test_" + std::to_string(::getpid()) + name);
}

void FillNoise(TBitmap& bmp, unsigned seed) {
    std::mt19937 rng(seed);
    for (int y = 0; y < bmp.Height(); ++y)
        for (int i = 0; i < bmp.Width() * bmp.BytesPerPixel(); ++i)
            bmp.ScanLine(y)[i] = static_cast<std::uint8_t>(rng());
}

// The picture one letter a pixel, rows top down: k black, r red, g lime, b blue, y yellow, w white,
// a aqua, ? any other colour.
using Picture = std::vector<std::string>;
Picture Letters(const TBitmap& bmp) {
    const std::pair<TColor, char> letters[] = {{clBlack, 'k'},  {clRed, 'r'},   {clLime, 'g'}, {clBlue, 'b'},
                                               {clYellow, 'y'}, {clWhite, 'w'}, {clAqua, 'a'}};
    Picture rows(bmp.Height(), std::string(bmp.Width(), '?'));
    for (int y = 0; y < bmp.Height(); ++y)
        for (int x = 0; x < bmp.Width(); ++x)
            for (auto [colour, letter] : letters)
                if (bmp.Pixel(x, y) == colour) rows[y][x] = letter;
    return rows;
}

} // namespace

TEST(TBitmap, SetSizeKeepsSharedPixelsRowsAreBgrTopRowFirstAndEveryCompletedChangeNotifiesOnce) {
    TBitmap bmp;
    EXPECT_TRUE(bmp.Empty());
    bmp.SetSize(4, 3);
    bmp.SetPixel(1, 1, clRed);
    bmp.SetPixel(3, 2, clBlue);
    EXPECT_EQ(Letters(bmp), (Picture{"kkkk", "krkk", "kkkb"}));
    bmp.SetSize(2, 5);
    EXPECT_THROW(bmp.SetSize(100000, 100000), EOrnError);
    EXPECT_EQ(Letters(bmp), (Picture{"kk", "kr", "kk", "kk", "kk"}));
    bmp.SetSize(-3, 2);
    EXPECT_EQ(bmp.Width(), 0);
    EXPECT_TRUE(bmp.Empty());
    bmp.SetSize(3, 2);
    bmp.SetPixel(2, 0, RGB(10, 20, 30));
    const std::uint8_t* row = bmp.ScanLine(0);
    EXPECT_EQ(Bytes(row + 6, row + 9), (Bytes{30, 20, 10}));
    EXPECT_EQ(bmp.RowStride() % 4, 0);
    EXPECT_THROW(bmp.ScanLine(2), EOrnError);
    EXPECT_THROW(bmp.ScanLine(-1), EOrnError);
    int changes = 0;
    bmp.OnChange = [&](TObject* sender) {
        EXPECT_EQ(sender, &bmp);
        ++changes;
    };
    bmp.SetPixel(3, 0, clWhite);
    bmp.SetPixel(0, -1, clWhite);
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(bmp.Pixel(-1, 0), clNone);
    EXPECT_EQ(bmp.Pixel(0, 2), clNone);

    bmp.SetPixel(0, 1, RGB(40, 50, 60)); // bottom left
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(bmp.ToRGBA(true), (Bytes{40, 50, 60, 255, 0, 0, 0, 255, 0,  0,  0,  255,
                                       0,  0,  0,  255, 0, 0, 0, 255, 10, 20, 30, 255}));
    EXPECT_EQ(bmp.ToRGBA(false), (Bytes{0,  0,  0,  255, 0, 0, 0, 255, 10, 20, 30, 255,
                                        40, 50, 60, 255, 0, 0, 0, 255, 0,  0,  0,  255}));

    bmp.SetPixelFormat(pf32bit); // colours stay, alpha is opaque
    EXPECT_EQ(bmp.BytesPerPixel(), 4);
    EXPECT_EQ(bmp.Pixel(2, 0), RGB(10, 20, 30));
    EXPECT_EQ(bmp.Alpha(0, 0), 255);
    bmp.ScanLine(0)[7] = 100;
    EXPECT_EQ(bmp.ToRGBA(false)[7], 100);
    bmp.SetPixelFormat(pf24bit);
    EXPECT_EQ(bmp.Pixel(2, 0), RGB(10, 20, 30));
    EXPECT_EQ(bmp.Alpha(1, 0), 255);
    bmp.SetSize(0, 0);
    changes = 0;
    TBitmap other(5, 4, pf32bit);
    FillNoise(other, 3);
    const auto file = other.SaveToMemory();
    const std::pair<int, std::function<void()>> steps[] = {
        {1, [&] { bmp.SetSize(10, 10); }},
        {1, [&] { bmp.SetSize(10, 10); }}, // no change
        {2, [&] { bmp.SetPixelFormat(pf32bit); }},
        {3, [&] { bmp.Canvas().FillRect(Rect(0, 0, 10, 10)); }},
        {4, [&] { bmp.Canvas().Rectangle(Rect(1, 1, 8, 8)); }},
        {5, [&] { bmp.Canvas().MoveTo(0, 0), bmp.Canvas().LineTo(9, 5); }},
        {6, [&] { bmp.LoadFromMemory(file.data(), file.size()); }},
        {6, [&] { EXPECT_THROW(bmp.LoadFromMemory(file.data(), 10), EOrnError); }}, // refused: no change
        {7, [&] { bmp.Assign(&other); }},
    };
    for (std::size_t i = 0; i < std::size(steps); ++i) {
        steps[i].second();
        EXPECT_EQ(changes, steps[i].first) << "step " << i;
    }
    EXPECT_EQ(std::pair(bmp.PixelFormat(), bmp.ToRGBA()), std::pair(other.PixelFormat(), other.ToRGBA()));
    other.SetPixel(0, 0, clRed);
    EXPECT_NE(bmp.Pixel(0, 0), clRed) << "Assign must copy, not share";
    TPersistent unrelated;
    bmp.Assign(&unrelated);
    bmp.Assign(nullptr);
    EXPECT_EQ(bmp.Width(), 5);
}

TEST(TBitmapFiles, BmpAndPngRoundTripExactlyBrokenFilesAreRefusedNamedAndFailedSavesLeaveTheOldFiles) {
    for (TPixelFormat pf : {pf24bit, pf32bit})
        for (const char* ext : {".bmp", ".png", ".PNG"})
            for (int width : {1, 3, 13}) {
                SCOPED_TRACE(std::string(ext) + " " + std::to_string(width));
                TBitmap src(width, 6, pf);
                FillNoise(src, 11);
                const fs::path path = TempPath(ext);
                src.SaveToFile(path.string());
                TBitmap back;
                back.LoadFromFile(path.string());
                fs::remove(path);
                EXPECT_EQ(std::pair(back.PixelFormat(), back.ToRGBA()), std::pair(pf, src.ToRGBA()));
            }
    TBitmap rgb(20, 20);
    FillNoise(rgb, 5);
    auto png = rgb.SavePngToMemory();
    TBitmap back(1, 1, pf32bit);
    back.LoadPngFromMemory(png.data(), png.size());
    EXPECT_EQ(std::pair(back.PixelFormat(), back.ToRGBA()), std::pair(pf24bit, rgb.ToRGBA()))
        << "an image without alpha loads as 24 bit";
    // Only the closing IEND chunk (12 bytes) may be missing: the image is whole without it.
    for (std::size_t n = 0; n < png.size() - 12; n += 7)
        EXPECT_THROW(back.LoadPngFromMemory(png.data(), n), EOrnError) << n;
    png[png.size() / 2] ^= 0x55; // breaks a CRC
    EXPECT_THROW(back.LoadPngFromMemory(png.data(), png.size()), EOrnError);
    const std::string text = "not a png at all";
    EXPECT_THROW(back.LoadPngFromMemory(text.data(), text.size()), EOrnError);
    // Errors name the file and the fault.
    TBitmap bmp(2, 2);
    const std::string gif = ErrorText([&] { bmp.SaveToFile("picture.gif"); });
    for (const char* part : {"picture.gif", "unsupported format"})
        EXPECT_NE(gif.find(part), std::string::npos) << gif;
    EXPECT_NE(ErrorText([&] { bmp.LoadFromFile("picture.jpg"); }), "");
    EXPECT_NE(ErrorText([&] { bmp.LoadFromFile("/nonexistent/dir/x.bmp"); }).find("/nonexistent/dir/x.bmp"),
              std::string::npos);
    EXPECT_NE(ErrorText([] { TBitmap().SaveToMemory(); }), "");
    // A huge file is judged by its header and size before it is read. Sparse: 3 GB that take no
    // disk and, were they read, 3 GB of memory.
    const fs::path file = TempPath("huge.bmp");
    for (const char* start : {"MZ", "BM"}) {
        std::ofstream(file, std::ios::binary) << start;
        fs::resize_file(file, std::uintmax_t{3} << 30);
        const std::string what = ErrorText([&] { bmp.LoadFromFile(file.string()); });
        EXPECT_NE(what.find(start[0] == 'M' ? "does not start as a bmp file does" : "bytes are more than"),
                  std::string::npos)
            << start << ": " << what;
        EXPECT_EQ(bmp.Width(), 2);
    }
    fs::remove(file);
    // A failed save leaves the previous image and no temporary file.
    const fs::path dir = TempPath("_save");
    fs::remove_all(dir);
    fs::create_directories(dir);
    for (const char* name : {"old.bmp", "old.png"}) {
        const std::string file = (dir / name).string();
        TBitmap(4, 4).SaveToFile(file);
        const std::uintmax_t before = fs::file_size(file);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            // As a full disk would: the file system refuses the bigger image part-way through.
            const rlimit limit{8192, 8192};
            ::setrlimit(RLIMIT_FSIZE, &limit);
            TBitmap big(512, 512);
            FillNoise(big, 1);
            ::_exit(ErrorText([&] { big.SaveToFile(file); }).empty() ? 1 : 0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status)) << name << ": killed by signal " << WTERMSIG(status);
        EXPECT_EQ(WEXITSTATUS(status), 0) << name << ": the save did not fail";
        EXPECT_EQ(fs::file_size(file), before) << name;
    }
    // Files saved together are put in place together: a rename that fails halfway gives the files put
    // before it their old content back and leaves nothing else behind.
    {
        detail::FileTransaction t;
        t.Write((dir / "old.png").string(), "new picture");
        t.Write((dir / "new.txt").string(), "side file");
        t.Write((dir / "blocked.bmp").string(), "bitmap");
        // Once staged, the last target turns into a folder with something in it: renaming a file
        // over it fails.
        fs::create_directories(dir / "blocked.bmp" / "inside");
        const std::string what = ErrorText([&] { t.Commit(); });
        EXPECT_NE(what.find("blocked.bmp"), std::string::npos) << what;
    }
    bmp.LoadFromFile((dir / "old.png").string());
    EXPECT_EQ(bmp.Width(), 4);
    std::vector<std::string> left;
    for (const auto& entry : fs::directory_iterator(dir))
        left.push_back(entry.path().filename().string());
    std::sort(left.begin(), left.end());
    EXPECT_EQ(left, (std::vector<std::string>{"blocked.bmp", "old.bmp", "old.png"}));
    fs::remove_all(dir);
}

TEST(TCanvas, RectanglesLeaveOutTheRightAndBottomEdgesAndLinesTheirEndPoint) {
    TBitmap bmp(12, 8);
    TCanvas& c = bmp.Canvas();
    c.Brush().SetColor(clRed);
    c.FillRect(Rect(1, 2, 4, 5));
    c.Brush().SetColor(clBlue);
    c.FillRect(Rect(-10, -10, 1, 100)); // clipped, not a crash
    c.Pen().SetColor(clLime);
    c.Brush().SetColor(clYellow);
    c.Rectangle(5, 1, 9, 5); // outline in the pen, inside in the brush
    c.Brush().SetStyle(bsClear);
    c.Pen().SetColor(clRed);
    c.Rectangle(4, 0, 11, 7);
    c.FillRect(Rect(4, 0, 10, 6)); // a clear brush fills nothing
    c.Pen().SetColor(clWhite);
    for (auto [x0, y0, x1, y1] : {std::array{5, 7, 9, 7}, {11, 0, 11, 3}, {4, 7, 11, 0}}) {
        c.MoveTo(x0, y0);
        c.LineTo(x1, y1);
    }
    EXPECT_EQ(c.PenPos(), Point(11, 0));
    c.SetPixels(10, 5, clAqua);
    EXPECT_EQ(c.Pixels(10, 5), clAqua);
    // Lime outline around yellow, the red outline over it; white lines without their end points.
    EXPECT_EQ(Letters(bmp), (Picture{"bkkkrrrrrrrw", "bkkkrggggkww", "brrrrgyygwrw", "brrrrgyywkrk",
                                     "brrrrggwgkrk", "bkkkrkwkkkak", "bkkkrwrrrrrk", "bkkkwwwwwkkk"}));
}
