#include <orn/view/TOrnCamera.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"
#include "support/MemoryExchange.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

namespace orn {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

TEST(TOrnCameraRange, RefusedValuesKeepTheOldOneWithoutNotifying) {
    TOrnPerspectiveCamera p(nullptr);
    TOrnOrthographicCamera o(nullptr);
    int changes = 0;
    p.OnChange = o.OnChange = [&](TObject*) { ++changes; };
    struct Row {
        const char* name;
        std::function<void(float)> set;
        std::function<float()> get;
        float kept;
        std::vector<float> refused, taken;
    };
    const Row rows[] = {
        {"ViewNear",
         [&](float v) { p.SetViewNear(v); },
         [&] { return p.ViewNear(); },
         0.1f,
         {0, -1, kInf, kNaN},
         {1}},
        {"ViewFar",
         [&](float v) { p.SetViewFar(v); },
         [&] { return p.ViewFar(); },
         10,
         {0, -1, kInf, kNaN},
         {5}},
        {"ViewAngle",
         [&](float v) { p.SetViewAngle(v); },
         [&] { return p.ViewAngle(); },
         45,
         {0, 180, -30, 200, kNaN},
         {179.5f, 0.5f}},
        {"ViewWidth",
         [&](float v) { o.SetViewWidth(v); },
         [&] { return o.ViewWidth(); },
         2,
         {0, -3, kNaN},
         {5}},
        {"ViewHeight",
         [&](float v) { o.SetViewHeight(v); },
         [&] { return o.ViewHeight(); },
         2,
         {-3, 0},
         {0.25f}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        changes = 0;
        for (float v : row.refused)
            row.set(v);
        EXPECT_FLOAT_EQ(row.get(), row.kept);
        EXPECT_EQ(changes, 0);
        for (float v : row.taken) {
            row.set(v);
            EXPECT_FLOAT_EQ(row.get(), v);
        }
        EXPECT_EQ(changes, static_cast<int>(row.taken.size()));
    }
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
