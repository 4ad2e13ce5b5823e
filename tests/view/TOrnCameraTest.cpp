#include <orn/host/TComponentClass.h>
#include <orn/math/TOrnColor.h>
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

struct ChangeCounter {
    int count = 0;
    TNotifyEvent Handler() {
        return [this](TObject*) { ++count; };
    }
};

TEST(TOrnCameraRange, NearAndFarStickInEitherOrder) {
    TOrnPerspectiveCamera c(nullptr);
    ChangeCounter changes;
    c.OnChange = changes.Handler();
    const float inf = std::numeric_limits<float>::infinity();
    for (float bad : {0.0f, -1.0f, inf, std::numeric_limits<float>::quiet_NaN()}) {
        c.SetViewNear(bad);
        c.SetViewFar(bad);
    }
    EXPECT_FLOAT_EQ(c.ViewNear(), 0.1f);
    EXPECT_FLOAT_EQ(c.ViewFar(), 10.0f);
    EXPECT_EQ(changes.count, 0);

    c.SetViewNear(20.0f); // beyond far for now: the projection keeps the last valid pair
    EXPECT_FLOAT_EQ(c.ProjectionNear(), 0.1f);
    EXPECT_FLOAT_EQ(c.ProjectionFar(), 10.0f);
    c.SetViewFar(100.0f);
    c.SetViewFar(100.0f); // unchanged: no notification
    EXPECT_FLOAT_EQ(c.ViewNear(), 20.0f);
    EXPECT_FLOAT_EQ(c.ProjectionNear(), 20.0f);
    EXPECT_FLOAT_EQ(c.ProjectionFar(), 100.0f);
    EXPECT_EQ(changes.count, 2);

    c.SetViewFar(1.5f);
    c.SetViewNear(1.0f);
    EXPECT_FLOAT_EQ(c.ProjectionNear(), 1.0f);
    EXPECT_FLOAT_EQ(c.ProjectionFar(), 1.5f);
}

TEST(TOrnCameraRange, AngleMustLieStrictlyBetweenZeroAndHalfATurn) {
    TOrnPerspectiveCamera c(nullptr);
    for (float bad : {0.0f, 180.0f, -30.0f, 200.0f, std::numeric_limits<float>::quiet_NaN()})
        c.SetViewAngle(bad);
    EXPECT_FLOAT_EQ(c.ViewAngle(), 45.0f);
    c.SetViewAngle(179.5f);
    EXPECT_FLOAT_EQ(c.ViewAngle(), 179.5f);
    c.SetViewAngle(0.5f);
    EXPECT_FLOAT_EQ(c.ViewAngle(), 0.5f);
}

TEST(TOrnCameraRange, OrthographicExtentsMustBePositive) {
    TOrnOrthographicCamera c(nullptr);
    c.SetViewWidth(0.0f);
    c.SetViewHeight(-3.0f);
    EXPECT_FLOAT_EQ(c.ViewWidth(), 2.0f);
    EXPECT_FLOAT_EQ(c.ViewHeight(), 2.0f);
    c.SetViewWidth(5.0f);
    c.SetViewHeight(0.25f);
    EXPECT_FLOAT_EQ(c.ViewWidth(), 5.0f);
    EXPECT_FLOAT_EQ(c.ViewHeight(), 0.25f);
}

TEST(TOrnCameraChange, TransformationChangesReachTheOwner) {
    TOrnOrthographicCamera c(nullptr);
    ChangeCounter changes;
    c.OnChange = changes.Handler();
    c.Transformation()->Rotation()->SetY(30.0f);
    EXPECT_EQ(changes.count, 1);
}

TEST(TOrnCameraExchange, ReadingMovesBothPlanesWhateverTheOrder) {
    TOrnPerspectiveCamera p(nullptr);
    test::MemoryExchange ex;
    // Both beyond the present far plane: near must wait for far.
    ex.Set("ViewNear", "20");
    ex.Set("ViewFar", "30");
    ex.Set("ViewAngle", "90");
    ex.Load(p);
    EXPECT_FLOAT_EQ(p.ViewNear(), 20.0f);
    EXPECT_FLOAT_EQ(p.ViewFar(), 30.0f);
    EXPECT_FLOAT_EQ(p.ViewAngle(), 90.0f);

    ex.Set("ViewNear", "0.5");
    ex.Set("ViewFar", "1");
    ex.Set("ViewAngle", "400");
    ex.Load(p);
    EXPECT_FLOAT_EQ(p.ViewNear(), 0.5f);
    EXPECT_FLOAT_EQ(p.ViewFar(), 1.0f);
    EXPECT_FLOAT_EQ(p.ViewAngle(), 90.0f); // out of range: kept

    TOrnOrthographicCamera o(nullptr);
    test::MemoryExchange ox;
    ox.Set("ViewWidth", "6");
    ox.Set("ViewHeight", "-1");
    ox.Load(o);
    EXPECT_FLOAT_EQ(o.ViewWidth(), 6.0f);
    EXPECT_FLOAT_EQ(o.ViewHeight(), 2.0f);
}

} // namespace
} // namespace orn

namespace orn {
namespace {

using test::GLRecorder;
using Calls = std::vector<std::string>;

class TOrnCameraAdjust : public test::GLTest {};

TEST_F(TOrnCameraAdjust, PerspectiveUsesTheWindowAspect) {
    TOrnPerspectiveCamera c(nullptr);
    GLRecorder rec;
    c.Adjust(400, 200);
    c.Adjust(200, 400);
    EXPECT_EQ(rec.Calls(), (Calls{"gluPerspective(45, 2, 0.1, 10)", "gluPerspective(45, 0.5, 0.1, 10)"}));
}

TEST_F(TOrnCameraAdjust, OrthographicKeepsItsHeight) {
    TOrnOrthographicCamera c(nullptr);
    GLRecorder rec;
    c.Adjust(400, 200);
    c.Adjust(200, 400);
    EXPECT_EQ(rec.Calls(), (Calls{"glOrtho(-2, 2, -1, 1, 0.1, 10)", "glOrtho(-0.5, 0.5, -1, 1, 0.1, 10)"}));
}

TEST_F(TOrnCameraAdjust, AZeroHeightCountsAsOnePixel) {
    TOrnPerspectiveCamera p(nullptr);
    TOrnOrthographicCamera o(nullptr);
    GLRecorder rec;
    p.Adjust(300, 0);
    o.Adjust(0, 0);
    p.Adjust(-5, 10);
    EXPECT_EQ(rec.Calls(), (Calls{"gluPerspective(45, 300, 0.1, 10)", "glOrtho(-1, 1, -1, 1, 0.1, 10)",
                                  "gluPerspective(45, 0.1, 0.1, 10)"}));
    GLdouble m[16];
    glGetDoublev(GL_PROJECTION_MATRIX, m);
    for (double v : m)
        EXPECT_TRUE(std::isfinite(v));
}

TEST_F(TOrnCameraAdjust, BaseCameraSetsNoProjection) {
    TOrnCamera c(nullptr);
    GLRecorder rec;
    c.Adjust(400, 200);
    EXPECT_TRUE(rec.Calls().empty());
}

} // namespace
} // namespace orn
