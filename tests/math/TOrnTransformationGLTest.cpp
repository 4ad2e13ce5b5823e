#include <orn/math/TOrnMatrix.h>
#include <orn/math/TOrnTransformation.h>

#include <GL/gl.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"

#include <gtest/gtest.h>

using namespace orn;
using orn::test::GLRecorder;
using Calls = std::vector<std::string>;

namespace {

class TransformationExecute : public orn::test::GLTest {};

} // namespace

TEST_F(TransformationExecute, EmptyTransformationIssuesNoCall) {
    TOrnTransformation t;
    GLRecorder rec;
    t.Execute();
    EXPECT_TRUE(rec.Calls().empty());
}

TEST_F(TransformationExecute, RotationIssuesAllThreeAxesInItsOrder) {
    TOrnTransformation t;
    t.Rotation()->SetY(90);
    GLRecorder rec;
    t.Execute();
    EXPECT_EQ(rec.Calls(), (Calls{"glRotatef(0, 1, 0, 0)", "glRotatef(90, 0, 1, 0)", "glRotatef(0, 0, 0, 1)"}));
    rec.Clear();
    t.Rotation()->SetOrder(roZXY);
    t.Execute();
    EXPECT_EQ(rec.Calls(), (Calls{"glRotatef(0, 0, 0, 1)", "glRotatef(0, 1, 0, 0)", "glRotatef(90, 0, 1, 0)"}));
}

TEST_F(TransformationExecute, PartsFollowTheTransformationOrderAndSkipEmptyParts) {
    TOrnTransformation t;
    t.Translation()->SetValues(1, 2, 3);
    t.Scale()->SetValues(1, 1, 2);
    const std::pair<TOrnTransformationOrder, Calls> cases[] = {
        {toRotTraSca, {"glTranslatef(1, 2, 3)", "glScalef(1, 1, 2)"}},
        {toScaTraRot, {"glScalef(1, 1, 2)", "glTranslatef(1, 2, 3)"}},
        {toScaRotTra, {"glScalef(1, 1, 2)", "glTranslatef(1, 2, 3)"}},
        {toTraScaRot, {"glTranslatef(1, 2, 3)", "glScalef(1, 1, 2)"}},
    };
    for (const auto& [order, expected] : cases) {
        t.SetOrder(order);
        GLRecorder rec;
        t.Execute();
        EXPECT_EQ(rec.Calls(), expected) << kTransformationOrderNames[order];
    }
    t.Rotation()->SetX(45);
    t.SetOrder(toTraRotSca);
    GLRecorder rec;
    t.Execute();
    EXPECT_EQ(rec.Names(), (std::vector<std::string>{"glTranslatef", "glRotatef", "glRotatef", "glRotatef",
                                                    "glScalef"}));
}

TEST_F(TransformationExecute, MatrixPicksAndMultipliesTheGLMatrices) {
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glTranslatef(1, 2, 3);
    TOrnMatrix m;
    m.PickGLModelviewMatrix();
    EXPECT_EQ(m.GetValue(0, 3), 1);
    EXPECT_EQ(m.GetValue(2, 3), 3);
    glLoadIdentity();
    m.GLMultMatrix();
    TOrnMatrix again;
    again.PickGLModelviewMatrix();
    EXPECT_EQ(again.GetValue(1, 3), 2);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glScalef(2, 2, 2);
    again.PickGLProjectionMatrix();
    EXPECT_EQ(again.GetValue(0, 0), 2);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
}
