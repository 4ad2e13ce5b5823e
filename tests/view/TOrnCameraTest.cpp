#include <orn/view/TOrnCamera.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"
#include "support/MemoryExchange.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>
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

TEST(TOrnCameraRange, TheProjectionKeepsTheLastPairOfPlanesInOrder) {
    TOrnPerspectiveCamera c(nullptr);
    c.SetViewNear(20.0f); // beyond far for now
    EXPECT_FLOAT_EQ(c.ViewNear(), 20.0f);
    EXPECT_FLOAT_EQ(c.ProjectionNear(), 0.1f);
    EXPECT_FLOAT_EQ(c.ProjectionFar(), 10.0f);
    c.SetViewFar(100.0f);
    EXPECT_FLOAT_EQ(c.ProjectionNear(), 20.0f);
    EXPECT_FLOAT_EQ(c.ProjectionFar(), 100.0f);
    c.SetViewFar(1.5f);
    c.SetViewNear(1.0f);
    EXPECT_FLOAT_EQ(c.ProjectionNear(), 1.0f);
    EXPECT_FLOAT_EQ(c.ProjectionFar(), 1.5f);
    c.SetViewNear(20.0f);
    TOrnPerspectiveCamera copy(nullptr); // a copy projects as the original does
    copy.Assign(&c);
    EXPECT_FLOAT_EQ(copy.ProjectionNear(), 1.0f);
    EXPECT_FLOAT_EQ(copy.ProjectionFar(), 1.5f);
}

TEST(TOrnCameraExchange, ReadingMovesBothPlanesWhateverTheOrder) {
    TOrnPerspectiveCamera p(nullptr);
    test::MemoryExchange ex;
    // Both beyond the present far plane: near must wait for far; and the other way round.
    for (auto [nearText, farText, nearValue, farValue] :
         {std::tuple{"20", "30", 20.0f, 30.0f}, std::tuple{"0.5", "1", 0.5f, 1.0f}}) {
        ex.Set("ViewNear", nearText);
        ex.Set("ViewFar", farText);
        ex.Load(p);
        EXPECT_FLOAT_EQ(p.ViewNear(), nearValue);
        EXPECT_FLOAT_EQ(p.ViewFar(), farValue);
        EXPECT_FLOAT_EQ(p.ProjectionNear(), nearValue);
    }
}

using TOrnCameraAdjust = test::GLTest;

TEST_F(TOrnCameraAdjust, ProjectionFollowsTheWindowAspectAndOrthographicKeepsItsHeight) {
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
        GLdouble m[16];
        glGetDoublev(GL_MODELVIEW_MATRIX, m);
        for (double v : m)
            EXPECT_TRUE(std::isfinite(v));
    }
}

} // namespace
} // namespace orn
