#include <orn/view/TOrnCoordinates.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"

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
