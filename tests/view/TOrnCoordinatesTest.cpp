#include <orn/view/TOrnCoordinates.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

namespace orn {
namespace {

using Calls = std::vector<std::string>;
using TOrnCoordinatesRender = test::GLTest;

TEST_F(TOrnCoordinatesRender, ThreeAxesInTheirColoursOrNothing) {
    TOrnCoordinates c;
    int changes = 0;
    c.OnChange = [&](TObject*) { ++changes; };
    c.SetLength(0);
    c.SetLength(-2);
    c.SetVisible(true);
    EXPECT_EQ(changes, 0);
    c.SetLength(2);
    EXPECT_EQ(changes, 1);
    test::GLRecorder rec;
    c.Render();
    EXPECT_EQ(rec.Filter("glVertex3fv"),
              (Calls{"glVertex3fv({2, 0, 0})", "glVertex3fv({0, 2, 0})", "glVertex3fv({0, 0, 2})"}));
    EXPECT_EQ(rec.Count("glPushAttrib"), rec.Count("glPopAttrib"));
    // The view shows the x and y axes; turned, the z axis runs right of the centre, in blue.
    ClearTo(0, 0, 0);
    glRotatef(90, 0, 1, 0);
    c.Render();
    const test::Rgba blue{0, 0, 255, 255};
    EXPECT_TRUE(test::SameColor(ReadPixel(48, 31), blue, 0) || test::SameColor(ReadPixel(48, 32), blue, 0));
    rec.Clear();
    c.SetVisible(false);
    c.Render();
    EXPECT_TRUE(rec.Calls().empty());
}

} // namespace
} // namespace orn
