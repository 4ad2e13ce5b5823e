#include <orn/view/TOrnCamera.h>
#include <orn/view/TOrnCoordinates.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"
#include "support/MemoryExchange.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <limits>

namespace orn {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

// Refused values leave the property as it was without a notification; a good one is stored.
#define EXPECT_REFUSES(camera, Prop, kept, taken, ...)                                                       \
    do {                                                                                                     \
        SCOPED_TRACE(#Prop);                                                                                 \
        changes = 0;                                                                                         \
        for (float v : {__VA_ARGS__})                                                                        \
            camera.Set##Prop(v);                                                                             \
        EXPECT_FLOAT_EQ(camera.Prop(), kept);                                                                \
        camera.Set##Prop(taken);                                                                             \
        EXPECT_FLOAT_EQ(camera.Prop(), taken);                                                               \
        EXPECT_EQ(changes, 1);                                                                               \
    } while (false)

TEST(TOrnCameraRange, RefusedValuesKeepTheOldOneWithoutNotifying) {
    TOrnPerspectiveCamera p(nullptr);
    TOrnOrthographicCamera o(nullptr);
    int changes = 0;
    p.OnChange = o.OnChange = [&](TObject*) { ++changes; };
    EXPECT_REFUSES(p, ViewNear, 0.1f, 1.0f, 0.0f, -1.0f, kInf, kNaN);
    EXPECT_REFUSES(p, ViewFar, 10.0f, 5.0f, 0.0f, -1.0f, kInf, kNaN);
    EXPECT_REFUSES(p, ViewAngle, 45.0f, 179.5f, 0.0f, 180.0f, -30.0f, 200.0f, kNaN);
    EXPECT_REFUSES(o, ViewWidth, 2.0f, 5.0f, 0.0f, -3.0f, kNaN);
    EXPECT_REFUSES(o, ViewHeight, 2.0f, 0.25f, 0.0f, -3.0f);
}

TEST(TOrnCameraRange, TheProjectionKeepsTheLastPairOfPlanesInOrderAlsoInCopiesAndFiles) {
    auto projected = [](const TOrnCamera& c) { return std::pair(c.ProjectionNear(), c.ProjectionFar()); };
    TOrnPerspectiveCamera c(nullptr);
    c.SetViewNear(20.0f); // beyond far for now
    EXPECT_FLOAT_EQ(c.ViewNear(), 20.0f);
    EXPECT_EQ(projected(c), std::pair(0.1f, 10.0f));
    c.SetViewFar(100.0f);
    EXPECT_EQ(projected(c), std::pair(20.0f, 100.0f));
    c.SetViewFar(1.5f);
    c.SetViewNear(1.0f);
    EXPECT_EQ(projected(c), std::pair(1.0f, 1.5f));
    c.SetViewNear(20.0f);
    TOrnPerspectiveCamera copy(nullptr); // a copy projects as the original does
    copy.Assign(&c);
    EXPECT_EQ(projected(copy), std::pair(1.0f, 1.5f));

    // Reading moves both planes whatever the order: both beyond the present far plane (near must
    // wait for far), and the other way round.
    TOrnPerspectiveCamera& p = copy;
    test::MemoryExchange ex;
    for (auto [nearText, farText, nearValue, farValue] :
         {std::tuple{"20", "30", 20.0f, 30.0f}, std::tuple{"0.5", "1", 0.5f, 1.0f}}) {
        ex.Set("ViewNear", nearText);
        ex.Set("ViewFar", farText);
        ex.Load(p);
        EXPECT_EQ(std::pair(p.ViewNear(), p.ViewFar()), std::pair(nearValue, farValue));
        EXPECT_EQ(projected(p), std::pair(nearValue, farValue));
    }
}

using CameraAndAxesGL = test::GLTest;

TEST_F(CameraAndAxesGL, ProjectionFollowsTheWindowAspectAndOrthographicKeepsItsHeight) {
    TOrnCamera base(nullptr);
    TOrnPerspectiveCamera p(nullptr);
    TOrnOrthographicCamera o(nullptr);
    struct Row {
        TOrnCamera* camera;
        int width, height;
        const char* call; // nullptr: none
    };
    const Row rows[] = {
        {&p, 400, 200, "gluPerspective(45, 2, 0.1, 10)"},
        {&p, 200, 400, "gluPerspective(45, 0.5, 0.1, 10)"},
        {&p, 300, 0, "gluPerspective(45, 300, 0.1, 10)"}, // a zero side counts as one pixel
        {&p, -5, 10, "gluPerspective(45, 0.1, 0.1, 10)"},
        {&o, 400, 200, "glOrtho(-2, 2, -1, 1, 0.1, 10)"},
        {&o, 200, 400, "glOrtho(-0.5, 0.5, -1, 1, 0.1, 10)"},
        {&o, 0, 0, "glOrtho(-1, 1, -1, 1, 0.1, 10)"},
        {&base, 400, 200, nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.width) + "x" + std::to_string(row.height));
        glLoadIdentity();
        test::GLRecorder rec;
        row.camera->Adjust(row.width, row.height);
        EXPECT_EQ(rec.Calls(), row.call ? std::vector<std::string>{row.call} : std::vector<std::string>{});
    }
}

TEST_F(CameraAndAxesGL, CoordinatesDrawThreeAxesInTheirColoursOrNothing) {
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
              (std::vector<std::string>{"glVertex3fv({2, 0, 0})", "glVertex3fv({0, 2, 0})",
                                        "glVertex3fv({0, 0, 2})"}));
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
