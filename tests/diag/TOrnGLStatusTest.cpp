#include <orn/Version.h>
#include <orn/diag/OrnVersionInfo.h>
#include <orn/diag/TOrnAboutBox.h>
#include <orn/diag/TOrnGLStatus.h>
#include <orn/host/EOrnError.h>

#include "view/ViewTestSupport.h"

#include <algorithm>
#include <regex>

namespace orn {
namespace {

using GLStatusTest = test::ViewTest;

TEST_F(GLStatusTest, VersionsAndTheDriverPixelFormatAndLibrariesAreReportedInTheirPlacesAndInTheAboutBox) {
    EXPECT_EQ(OrnVersion(), ORN_VERSION_STRING);
    EXPECT_EQ(OrnVersion(), std::to_string(OrnVersionMajor()) + "." + std::to_string(OrnVersionMinor()) +
                                "." + std::to_string(OrnVersionPatch()));
    EXPECT_NE(OrnProductName().find(OrnVersion()), std::string::npos);
    EXPECT_TRUE(std::regex_match(OrnBuildDate(), std::regex(R"(20\d\d-[01]\d-[0-3]\d)"))) << OrnBuildDate();
    for (auto [file, version] :
         {std::pair{"libGLU.so.1.3.1", "1.3.1"}, {"libEGL.so.1", "1"}, {"swrast_dri.so", ""}})
        EXPECT_EQ(LibraryFileVersion(file), version) << file;
    TOrnGLStatus s{"V", "R", "2.1 Mesa", "1.3", "Mesa 1.5", "headless", {"GL_a", "GL_b"}, {}, {}};
    s.PixelFormat = {40, 1, 0x425, 0, 24, 8, 32, 1, 0};
    s.Libraries = {{"libGLU.so.1", "/usr/lib/libGLU.so.1.3.1", "1.3.1"},
                   {"swrast_dri.so", "/d/swrast_dri.so", ""}};
    const std::string head = "Vendor: V\nRenderer: R\nVersion: 2.1 Mesa\nGLU: 1.3\n";
    const std::string tail =
        "Libraries:\n  libGLU.so.1 1.3.1 /usr/lib/libGLU.so.1.3.1\n  swrast_dri.so - /d/swrast_dri.so\n";
    const std::string rgba = "EGL: Mesa 1.5\nSurface: headless\nPixel format: RGBA, colour 24 bits, alpha 8, "
                             "depth 32, stencil 1, double buffered, flags 0x425\nExtensions: 2\n";
    EXPECT_EQ(FormatGLStatus(s), head + rgba + tail);
    s.EGLVersion.clear();
    s.PixelFormat = TOrnPixelFormat{40, 1, 0x24, 1, 16, 0, 24, 0, 0};
    const std::string index =
        "Surface: headless\nPixel format: colour index, colour 16 bits, alpha 0, depth 24, "
        "stencil 0, single buffered, flags 0x24\nExtensions:\n  GL_a\n  GL_b\n";
    EXPECT_EQ(FormatGLStatus(s, true), head + index + tail);
    TOrnView view(nullptr);
    TOrnAboutBox box(nullptr);
    const std::string text = box.Text();
    EXPECT_EQ(text, OrnProductName() + "\nVersion " + OrnVersion() + "\nBuilt " + OrnBuildDate() + "\n" +
                        OrnLicence() + "\n");
    EXPECT_THROW(GetGLStatus(view), EOrnError); // not active
    EXPECT_THROW(box.LoadFromView(view), EOrnError);
    view.OpenGLConnect();
    const TOrnGLStatus got = GetGLStatus(view);
    for (const std::string& field : {got.Vendor, got.Renderer, got.GLUVersion, got.EGLVersion})
        EXPECT_FALSE(field.empty());
    EXPECT_TRUE(got.Version[0] >= '1' && got.Version[0] <= '9') << got.Version;
    EXPECT_EQ(std::tuple(got.Surface, got.PixelFormat, view.GetCurrent()),
              std::tuple("headless", view.PixelFormat(), false));
    EXPECT_GT(got.Extensions.size(), 10u);
    for (const char* prefix : {"libEGL", "libGLU"})
        EXPECT_TRUE(std::any_of(got.Libraries.begin(), got.Libraries.end(), [&](const TOrnLibraryFile& f) {
            return f.Name.starts_with(prefix) && f.Path.starts_with("/");
        })) << prefix;
    box.LoadFromView(view);
    EXPECT_EQ(box.Text(), text + "GL vendor: " + got.Vendor + "\nGL renderer: " + got.Renderer +
                              "\nGL version: " + got.Version + "\n");
    TBitmap bitmap;
    box.PaintTo(bitmap);
    int ink = 0;
    for (int y = 1; y < bitmap.Height() - 1; ++y)
        for (int x = 1; x < bitmap.Width() - 1; ++x)
            ink += bitmap.Pixel(x, y) != clWhite;
    EXPECT_EQ(std::tuple(ink > 500, bitmap.Pixel(0, 0)), std::tuple(true, clNavy)) << ink; // 7 lines of text
}

} // namespace
} // namespace orn
