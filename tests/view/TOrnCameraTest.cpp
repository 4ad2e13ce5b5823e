#include <orn/host/TComponentClass.h>
#include <orn/math/TOrnColor.h>
#include <orn/view/TOrnCamera.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"
#include "view/KeyExchange.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace orn {
namespace {

TEST(TOrnCameraDefaults, NewCameraStandsTwoUnitsBeforeTheOrigin) {
    TOrnPerspectiveCamera p(nullptr);
    EXPECT_FLOAT_EQ(p.ViewNear(), 0.1f);
    EXPECT_FLOAT_EQ(p.ViewFar(), 10.0f);
    EXPECT_FLOAT_EQ(p.ViewAngle(), 45.0f);
    const TOrnTranslation* t = p.Transformation()->Translation();
    EXPECT_EQ(t->AsMathVector(), (TOrnMathVector{0, 0, -2}));
    ASSERT_NE(p.Matrix(), nullptr);

    TOrnOrthographicCamera o(nullptr);
    EXPECT_FLOAT_EQ(o.ViewWidth(), 2.0f);
    EXPECT_FLOAT_EQ(o.ViewHeight(), 2.0f);
    EXPECT_EQ(o.Transformation()->Translation()->AsMathVector(), (TOrnMathVector{0, 0, -2}));
}

TEST(TOrnCameraRegistration, BothCamerasAreOnTheOrnPage) {
    const auto classes = GetPaletteClasses("Orn");
    auto has = [&](const char* name) {
        for (TComponentClass c : classes)
            if (std::string(c->Name) == name) return true;
        return false;
    };
    EXPECT_TRUE(has("TOrnPerspectiveCamera"));
    EXPECT_TRUE(has("TOrnOrthographicCamera"));
    TComponentClass cls = FindComponentClass("tornorthographiccamera");
    ASSERT_NE(cls, nullptr);
    std::unique_ptr<TComponent> made(cls->Create(nullptr));
    EXPECT_NE(dynamic_cast<TOrnOrthographicCamera*>(made.get()), nullptr);
}

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

TEST(TOrnCameraAssign, CopiesTheValuesOfItsOwnClass) {
    TOrnPerspectiveCamera src(nullptr);
    src.SetViewFar(50.0f);
    src.SetViewNear(2.0f);
    src.SetViewAngle(60.0f);
    src.Transformation()->Translation()->SetZ(-7.0f);

    TOrnPerspectiveCamera p(nullptr);
    p.Assign(&src);
    EXPECT_FLOAT_EQ(p.ViewNear(), 2.0f);
    EXPECT_FLOAT_EQ(p.ViewFar(), 50.0f);
    EXPECT_FLOAT_EQ(p.ViewAngle(), 60.0f);
    EXPECT_FLOAT_EQ(p.Transformation()->Translation()->Z(), -7.0f);

    // Across the family only the common camera values travel.
    TOrnOrthographicCamera o(nullptr);
    o.SetViewWidth(4.0f);
    o.Assign(&src);
    EXPECT_FLOAT_EQ(o.ViewNear(), 2.0f);
    EXPECT_FLOAT_EQ(o.ViewFar(), 50.0f);
    EXPECT_FLOAT_EQ(o.ViewWidth(), 4.0f);

    TOrnOrthographicCamera o2(nullptr);
    o2.SetViewWidth(3.0f);
    o2.SetViewHeight(1.0f);
    TOrnOrthographicCamera o3(nullptr);
    o3.Assign(&o2);
    EXPECT_FLOAT_EQ(o3.ViewWidth(), 3.0f);
    EXPECT_FLOAT_EQ(o3.ViewHeight(), 1.0f);

    TOrnColor notACamera;
    p.Assign(&notACamera);
    EXPECT_FLOAT_EQ(p.ViewAngle(), 60.0f);
}

TEST(TOrnCameraExchange, KeysAreNamedAfterTheProperties) {
    TOrnOrthographicCamera o(nullptr);
    o.SetViewFar(20.0f);
    o.SetViewHeight(3.0f);
    test::KeyExchange ex;
    o.WriteValues(ex);
    EXPECT_EQ(ex.keys.at("ViewNear"), std::to_string(double(0.1f)));
    EXPECT_EQ(ex.keys.at("ViewFar"), "20.000000");
    EXPECT_EQ(ex.keys.at("ViewWidth"), "2.000000");
    EXPECT_EQ(ex.keys.at("ViewHeight"), "3.000000");
    EXPECT_EQ(ex.keys.at("Transformation.Translation.P"), "0.000000 0.000000 -2.000000");

    TOrnPerspectiveCamera p(nullptr);
    test::KeyExchange pex;
    p.WriteValues(pex);
    EXPECT_EQ(pex.keys.at("ViewAngle"), "45.000000");
}

TEST(TOrnCameraExchange, ReadingMovesBothPlanesWhateverTheOrder) {
    TOrnPerspectiveCamera p(nullptr);
    test::KeyExchange ex;
    // Both beyond the present far plane: near must wait for far.
    ex.keys = {{"ViewNear", "20"}, {"ViewFar", "30"}, {"ViewAngle", "90"}};
    p.ReadValues(ex);
    EXPECT_FLOAT_EQ(p.ViewNear(), 20.0f);
    EXPECT_FLOAT_EQ(p.ViewFar(), 30.0f);
    EXPECT_FLOAT_EQ(p.ViewAngle(), 90.0f);

    ex.keys = {{"ViewNear", "0.5"}, {"ViewFar", "1"}, {"ViewAngle", "400"}};
    p.ReadValues(ex);
    EXPECT_FLOAT_EQ(p.ViewNear(), 0.5f);
    EXPECT_FLOAT_EQ(p.ViewFar(), 1.0f);
    EXPECT_FLOAT_EQ(p.ViewAngle(), 90.0f); // out of range: kept

    TOrnOrthographicCamera o(nullptr);
    ex.keys = {{"ViewWidth", "6"}, {"ViewHeight", "-1"}};
    o.ReadValues(ex);
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
