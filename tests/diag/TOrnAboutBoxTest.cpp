#include <orn/diag/OrnVersionInfo.h>
#include <orn/diag/TOrnAboutBox.h>
#include <orn/diag/TOrnGLStatus.h>
#include <orn/host/EOrnError.h>
#include <orn/view/TOrnView.h>

#include "view/ViewTestSupport.h"

#include <gtest/gtest.h>

#include <regex>

namespace orn {
namespace {

class AboutBoxTest : public test::ViewTest {};

TEST_F(AboutBoxTest, ShowsTheLibraryAndTheViewsGLStrings) {
    EXPECT_TRUE(std::regex_match(OrnBuildDate(), std::regex(R"(20\d\d-[01]\d-[0-3]\d)"))) << OrnBuildDate();
    TOrnAboutBox box(nullptr);
    ASSERT_EQ(box.Lines().size(), 4u);
    EXPECT_EQ(box.Lines()[0], OrnProductName());
    TOrnView view(nullptr);
    EXPECT_THROW(box.LoadFromView(view), EOrnError); // not active
    view.OpenGLConnect();
    box.LoadFromView(view);
    const TOrnGLStatus status = GetGLStatus(view);
    ASSERT_EQ(box.Lines().size(), 7u);
    EXPECT_EQ(box.Lines()[4], "GL vendor: " + status.Vendor);
    EXPECT_EQ(box.Lines()[5], "GL renderer: " + status.Renderer);
    EXPECT_EQ(box.Lines()[6], "GL version: " + status.Version);
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
