#include <orn/view/TOrnCoordinates.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"
#include "view/KeyExchange.h"

#include <gtest/gtest.h>

namespace orn {
namespace {

TEST(TOrnCoordinates, DefaultsAndRefusedLengths) {
    TOrnCoordinates c;
    EXPECT_TRUE(c.Visible());
    EXPECT_FLOAT_EQ(c.Length(), 1.0f);
    EXPECT_EQ(c.ColorX(), clRed);
    EXPECT_EQ(c.ColorY(), clLime);
    EXPECT_EQ(c.ColorZ(), clBlue);
    int changes = 0;
    c.OnChange = [&](TObject*) { ++changes; };
    c.SetLength(0);
    c.SetLength(-2);
    c.SetVisible(true);
    EXPECT_EQ(changes, 0);
    c.SetLength(2.5f);
    c.SetColorZ(clWhite);
    EXPECT_EQ(changes, 2);
}

TEST(TOrnCoordinates, AssignCopiesAllAndNotifiesOnce) {
    TOrnCoordinates src;
    src.SetVisible(false);
    src.SetLength(3);
    src.SetColorX(clYellow);
    TOrnCoordinates dst;
    int changes = 0;
    dst.OnChange = [&](TObject*) { ++changes; };
    dst.Assign(&src);
    EXPECT_FALSE(dst.Visible());
    EXPECT_FLOAT_EQ(dst.Length(), 3.0f);
    EXPECT_EQ(dst.ColorX(), clYellow);
    EXPECT_EQ(changes, 1);
    EXPECT_TRUE(dst.OnChange); // keeps its own handler
}

TEST(TOrnCoordinates, KeysRoundTrip) {
    TOrnCoordinates src;
    src.SetLength(4);
    src.SetColorY(clGray);
    test::KeyExchange ex;
    src.WriteValues(ex);
    EXPECT_EQ(ex.keys.size(), 5u);
    EXPECT_EQ(ex.keys.at("Visible"), "1");
    TOrnCoordinates dst;
    dst.ReadValues(ex);
    EXPECT_FLOAT_EQ(dst.Length(), 4.0f);
    EXPECT_EQ(dst.ColorY(), clGray);
    ex.keys["Length"] = "-1";
    dst.ReadValues(ex);
    EXPECT_FLOAT_EQ(dst.Length(), 4.0f);
}

class TOrnCoordinatesRender : public test::GLTest {};

TEST_F(TOrnCoordinatesRender, ThreeLinesOrNothing) {
    TOrnCoordinates c;
    c.SetLength(2);
    test::GLRecorder rec;
    c.Render();
    EXPECT_EQ(rec.Filter({"glVertex3fv"}),
              (std::vector<std::string>{"glVertex3fv({2, 0, 0})", "glVertex3fv({0, 2, 0})",
                                        "glVertex3fv({0, 0, 2})"}));
    EXPECT_EQ(rec.Count("glPushAttrib"), rec.Count("glPopAttrib"));
    rec.Clear();
    c.SetVisible(false);
    c.Render();
    EXPECT_TRUE(rec.Calls().empty());
}

} // namespace
} // namespace orn
