#include <orn/Version.h>
#include <orn/diag/OrnVersionInfo.h>
#include <orn/diag/TOrnAboutBox.h>
#include <orn/diag/TOrnGLStatus.h>
#include <orn/host/EOrnError.h>
#include <orn/view/TOrnView.h>

#include "view/ViewTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

namespace orn {
namespace {

TEST(OrnVersionInfo, VersionsAndLibraryFileVersions) {
    EXPECT_EQ(OrnVersion(), ORN_VERSION_STRING);
    EXPECT_EQ(OrnVersion(), std::to_string(OrnVersionMajor()) + "." + std::to_string(OrnVersionMinor()) +
                                "." + std::to_string(OrnVersionPatch()));
    EXPECT_NE(OrnProductName().find(OrnVersion()), std::string::npos);
    EXPECT_TRUE(std::regex_match(OrnBuildDate(), std::regex(R"(20\d\d-[01]\d-[0-3]\d)"))) << OrnBuildDate();
    EXPECT_EQ(LibraryFileVersion("libGLU.so.1.3.1"), "1.3.1");
    EXPECT_EQ(LibraryFileVersion("libEGL.so.1"), "1");
    EXPECT_EQ(LibraryFileVersion("swrast_dri.so"), "");
    EXPECT_EQ(LibraryFileVersion(""), "");
}

TEST(FormatGLStatus, WritesEveryFieldInItsPlace) {
    TOrnGLStatus s;
    s.Vendor = "V";
    s.Renderer = "R";
    s.Version = "2.1 Mesa";
    s.GLUVersion = "1.3";
    s.EGLVersion = "Mesa 1.5";
    s.Surface = "headless";
    s.Extensions = {"GL_a", "GL_b"};
    s.PixelFormat = TOrnPixelFormat{40, 1, 0x425, 0, 24, 8, 32, 1, 0};
    s.Libraries = {{"libGLU.so.1", "/usr/lib/libGLU.so.1.3.1", "1.3.1"},
                   {"swrast_dri.so", "/d/swrast_dri.so", ""}};
    const std::string tail =
        "Libraries:\n  libGLU.so.1 1.3.1 /usr/lib/libGLU.so.1.3.1\n  swrast_dri.so - /d/swrast_dri.so\n";
    EXPECT_EQ(FormatGLStatus(s),
              "Vendor: V\nRenderer: R\nVersion: 2.1 Mesa\nGLU: 1.3\nEGL: Mesa 1.5\nSurface: headless\n"
              "Pixel format: RGBA, colour 24 bits, alpha 8, depth 32, stencil 1, double buffered, "
              "flags 0x425\nExtensions: 2\n" +
                  tail);
    s.EGLVersion.clear();
    s.PixelFormat = TOrnPixelFormat{40, 1, 0x24, 1, 16, 0, 24, 0, 0};
    EXPECT_EQ(FormatGLStatus(s, true),
              "Vendor: V\nRenderer: R\nVersion: 2.1 Mesa\nGLU: 1.3\nSurface: headless\n"
              "Pixel format: colour index, colour 16 bits, alpha 0, depth 24, stencil 0, "
              "single buffered, flags 0x24\nExtensions:\n  GL_a\n  GL_b\n" +
                  tail);
}

using GLStatusTest = test::ViewTest;

TEST_F(GLStatusTest, ReportsTheDriverThePixelFormatAndTheLibrariesAndTheAboutBoxShowsThem) {
    TOrnView view(nullptr);
    TOrnAboutBox box(nullptr);
    ASSERT_EQ(box.Lines().size(), 4u);
    EXPECT_EQ(box.Lines()[0], OrnProductName());
    EXPECT_THROW(GetGLStatus(view), EOrnError); // not active
    EXPECT_THROW(box.LoadFromView(view), EOrnError);
    view.OpenGLConnect();
    const TOrnGLStatus s = GetGLStatus(view);
    EXPECT_FALSE(s.Vendor.empty());
    EXPECT_FALSE(s.Renderer.empty());
    ASSERT_FALSE(s.Version.empty());
    EXPECT_TRUE(s.Version[0] >= '1' && s.Version[0] <= '9') << s.Version;
    EXPECT_FALSE(s.GLUVersion.empty());
    EXPECT_FALSE(s.EGLVersion.empty());
    EXPECT_EQ(s.Surface, "headless");
    EXPECT_GT(s.Extensions.size(), 10u);
    EXPECT_EQ(s.PixelFormat, view.PixelFormat());
    for (const char* prefix : {"libEGL", "libGLU"})
        EXPECT_TRUE(std::any_of(s.Libraries.begin(), s.Libraries.end(), [&](const TOrnLibraryFile& f) {
            return f.Name.starts_with(prefix) && f.Path.starts_with("/");
        })) << prefix;
    EXPECT_FALSE(view.GetCurrent());

    box.LoadFromView(view);
    ASSERT_EQ(box.Lines().size(), 7u);
    EXPECT_EQ(box.Lines()[4], "GL vendor: " + s.Vendor);
    EXPECT_EQ(box.Lines()[5], "GL renderer: " + s.Renderer);
    EXPECT_EQ(box.Lines()[6], "GL version: " + s.Version);
    EXPECT_NE(box.Text().find("Version " + OrnVersion() + "\n"), std::string::npos);
    TBitmap bitmap;
    box.PaintTo(bitmap);
    int ink = 0;
    for (int y = 1; y < bitmap.Height() - 1; ++y)
        for (int x = 1; x < bitmap.Width() - 1; ++x)
            ink += bitmap.Pixel(x, y) != clWhite;
    EXPECT_GT(ink, 500); // seven lines of text
    EXPECT_EQ(bitmap.Pixel(0, 0), clNavy);
}

} // namespace
} // namespace orn
