#include <orn/view/TOrnCamera.h>
#include <orn/view/TOrnCoordinates.h>

#include "support/GLTestContext.h"
#include "support/MemoryExchange.h"
#include "view/ViewTestSupport.h"

#include <GL/glu.h>

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

TEST(TOrnCameraRange, RefusedValuesKeepTheOldOneAndTheProjectionTheLastPairOfPlanesInOrder) {
    TOrnPerspectiveCamera p(nullptr), c(nullptr), copy(nullptr);
    TOrnOrthographicCamera o(nullptr);
    int changes = 0;
    p.OnChange = o.OnChange = [&](TObject*) { ++changes; };
    EXPECT_REFUSES(p, ViewNear, 0.1f, 1.0f, 0.0f, -1.0f, kInf, kNaN);
    EXPECT_REFUSES(p, ViewFar, 10.0f, 5.0f, 0.0f, -1.0f, kInf, kNaN);
    EXPECT_REFUSES(p, ViewAngle, 45.0f, 179.5f, 0.0f, 180.0f, -30.0f, 200.0f, kNaN);
    EXPECT_REFUSES(o, ViewWidth, 2.0f, 5.0f, 0.0f, -3.0f, kNaN);
    EXPECT_REFUSES(o, ViewHeight, 2.0f, 0.25f, 0.0f, -3.0f);
    auto projected = [](const TOrnCamera& c) { return std::pair(c.ProjectionNear(), c.ProjectionFar()); };
    c.SetViewNear(20.0f); // beyond far for now
    EXPECT_FLOAT_EQ(c.ViewNear(), 20.0f);
    EXPECT_EQ(projected(c), std::pair(0.1f, 10.0f));
    c.SetViewFar(100.0f);
    EXPECT_EQ(projected(c), std::pair(20.0f, 100.0f));
    c.SetViewFar(1.5f);
    c.SetViewNear(1.0f);
    EXPECT_EQ(projected(c), std::pair(1.0f, 1.5f));
    c.SetViewNear(1.5f); // equal planes are no pair either
    copy.Assign(&c);     // a copy projects as the original does
    EXPECT_EQ(projected(copy), std::pair(1.0f, 1.5f));
    // Reading moves both planes whatever the order: both beyond the present far plane (near must
    // wait for far), and the other way round.
    test::MemoryExchange ex;
    for (auto [nearText, farText, nearValue, farValue] :
         {std::tuple{"20", "30", 20.0f, 30.0f}, std::tuple{"0.5", "1", 0.5f, 1.0f}}) {
        ex.Set("ViewNear", nearText);
        ex.Set("ViewFar", farText);
        ex.Load(copy);
        EXPECT_EQ(std::tuple(copy.ViewNear(), copy.ViewFar()), std::tuple(nearValue, farValue));
        EXPECT_EQ(projected(copy), std::pair(nearValue, farValue));
    }
}

using CameraAndAxesGL = test::GLTest;

TEST_F(CameraAndAxesGL, ProjectionFollowsTheWindowAspectAndOrthographicKeepsItsHeight) {
    TOrnCamera base(nullptr);
    TOrnPerspectiveCamera p(nullptr);
    TOrnOrthographicCamera o(nullptr);
    // The aspect a perspective camera passes on, or the half width of an orthographic one 4 wide, 2 high.
    const std::tuple<TOrnCamera*, int, int, double> rows[] = {
        {&p, 400, 200, 2}, {&p, 200, 400, 0.5}, {&p, 300, 0, 300}, // a zero side counts as one pixel
        {&p, -5, 10, 0.1}, {&o, 400, 200, 4},   {&o, 200, 400, 1}, {&o, 0, 0, 2}, {&base, 400, 200, 0}};
    o.SetViewWidth(4);
    p.SetViewNear(20); // beyond far: the projection keeps the last good pair
    glMatrixMode(GL_PROJECTION);
    for (auto [camera, width, height, x] : rows) {
        SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
        glLoadIdentity();
        if (camera == &p) gluPerspective(45, x, 0.1, 10);
        if (camera == &o) glOrtho(-x, x, -1, 1, 0.1, 10);
        const auto want = test::GetMatrix(GL_PROJECTION_MATRIX);
        glLoadIdentity();
        camera->Adjust(width, height);
        EXPECT_THAT(test::GetMatrix(GL_PROJECTION_MATRIX), test::MatrixNear(want));
    }
}

TEST_F(CameraAndAxesGL, CoordinatesDrawThreeAxesInTheirColoursAndLengthOrNothing) {
    using test::kBlack, test::kBlue, test::kLime, test::kRed;
    TOrnCoordinates c;
    int changes = 0;
    c.OnChange = [&](TObject*) { ++changes; };
    c.SetLength(0);
    c.SetLength(-2);
    EXPECT_EQ(changes, 0);
    c.SetLength(0.5f); // 16 pixels
    EXPECT_EQ(changes, 1);
    glTranslatef(0.5f / 32, 0.5f / 32, 0); // the axes through the centres of row and column 32
    glEnable(GL_LIGHTING);
    glColor3f(0.5f, 0.5f, 0.5f);
    for (bool turned : {false, true}) {
        ClearTo(0, 0, 0);
        if (turned) glRotatef(90, 0, 1, 0); // z runs right
        c.Render();
        EXPECT_EQ((std::array{ReadPixel(40, 32), ReadPixel(32, 40), ReadPixel(50, 32), ReadPixel(32, 50)}),
                  (std::array{turned ? kBlue : kRed, kLime, kBlack, kBlack}));
    }
    // Lighting off and the colour its own only while it draws.
    GLfloat colour[4];
    glGetFloatv(GL_CURRENT_COLOR, colour);
    EXPECT_EQ(std::tuple(glIsEnabled(GL_LIGHTING), colour[1]), std::tuple(GLboolean(1), 0.5f));
    c.SetVisible(false);
    ClearTo(0, 0, 0);
    c.Render();
    EXPECT_EQ(test::CountPixels(ReadImage(), kBlack, 0), 64u * 64u);
}

} // namespace
} // namespace orn
