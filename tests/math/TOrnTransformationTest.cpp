#include <orn/math/TOrnBounds.h>
#include <orn/math/TOrnMatrix.h>
#include <orn/math/TOrnTransformation.h>

#include <GL/gl.h>

#include "support/GLRecorder.h"
#include "support/GLTestContext.h"

#include <gtest/gtest.h>

using namespace orn;
using Calls = std::vector<std::string>;

TEST(TOrnRotation, AnglesReduceIntoZeroTo360AfterTheChangeTest) {
    TOrnRotation r;
    const std::pair<float, float> cases[] = {{-90, 270}, {720, 0},    {359.9f, 359.9f}, {360, 0},
                                             {370, 10},  {-370, 350}, {-360, 0},        {45, 45}};
    for (auto [in, out] : cases)
        EXPECT_FLOAT_EQ(r.ModAngle(in), out) << in;
    int changes = 0;
    r.OnChange = [&](TObject*) { ++changes; };
    r.SetY(10);
    r.SetY(370); // differs from 10 before the reduction, so it notifies
    EXPECT_EQ(r.Y(), 10);
    EXPECT_EQ(changes, 2);
}

TEST(TOrnTransformation, EmptinessNotificationsAndAssign) {
    TOrnTransformation a, b;
    EXPECT_TRUE(a.GetEmpty());
    a.Scale()->SetZ(2);
    EXPECT_FALSE(a.GetEmpty());
    a.Scale()->SetZ(1);
    a.Rotation()->SetX(360); // reduces to 0
    EXPECT_TRUE(a.GetEmpty());

    std::vector<TObject*> senders;
    b.OnChange = [&](TObject* s) { senders.push_back(s); };
    a.SetOrder(toScaTraRot);
    a.Rotation()->SetValues(10, 20, 30);
    a.Rotation()->SetOrder(roYZX);
    a.Translation()->SetValues(1, 2, 3);
    a.Scale()->SetValues(2, 2, 2);
    b.Assign(&a); // every part, but not the order
    EXPECT_EQ(b.Order(), toRotTraSca);
    EXPECT_EQ(b.Rotation()->Order(), roYZX);
    EXPECT_EQ(b.Rotation()->AsMathVector(), ToVec(10, 20, 30));
    EXPECT_EQ(b.Translation()->AsMathVector(), ToVec(1, 2, 3));
    EXPECT_EQ(b.Scale()->AsMathVector(), ToVec(2, 2, 2));
    EXPECT_EQ(senders, (std::vector<TObject*>(4, &b))); // rotation values and order, scale, translation
    b.SetRotation(nullptr);
    EXPECT_EQ(senders.size(), 4u);
}

namespace {

class TransformationGL : public orn::test::GLTest {};

} // namespace

TEST_F(TransformationGL, ExecuteSkipsEmptyPartsAndTurnsAboutEveryAxisInOrder) {
    TOrnTransformation t;
    orn::test::GLRecorder rec;
    t.Execute();
    EXPECT_TRUE(rec.Calls().empty());
    t.Rotation()->SetY(90);
    t.Rotation()->SetOrder(roZXY);
    t.Execute();
    EXPECT_EQ(rec.Calls(),
              (Calls{"glRotatef(0, 0, 0, 1)", "glRotatef(0, 1, 0, 0)", "glRotatef(90, 0, 1, 0)"}));
}

// The matrix that bounds and clip volumes use against what OpenGL makes of Execute, for every order
// of the parts and of the rotation axes.
TEST_F(TransformationGL, MatrixEqualsWhatExecuteLeavesOnTheModelView) {
    TOrnTransformation t;
    t.Rotation()->SetValues(30, -50, 70);
    t.Scale()->SetValues(2, 0.5f, -1);
    t.Translation()->SetValues(1, -2, 3);
    glMatrixMode(GL_MODELVIEW);
    for (int order = toRotTraSca; order <= toScaTraRot; ++order)
        for (int axes = roXYZ; axes <= roZYX; ++axes) {
            t.SetOrder(static_cast<TOrnTransformationOrder>(order));
            t.Rotation()->SetOrder(static_cast<TOrnRotationOrder>(axes));
            glLoadIdentity();
            t.Execute();
            double gl[16], ours[16];
            glGetDoublev(GL_MODELVIEW_MATRIX, gl);
            OrnTransformationMatrix(t, ours);
            for (int i = 0; i < 16; ++i)
                EXPECT_NEAR(ours[i], gl[i], 1e-5) << order << "/" << axes << "@" << i;
        }
}

TEST_F(TransformationGL, MatrixPicksAndMultipliesTheGLMatrices) {
    glMatrixMode(GL_PROJECTION);
    glScalef(2, 2, 2);
    glMatrixMode(GL_MODELVIEW);
    glTranslatef(1, 2, 3);
    TOrnMatrix m, p;
    m.PickGLModelviewMatrix();
    p.PickGLProjectionMatrix();
    EXPECT_EQ(m.GetValue(0, 3), 1);
    EXPECT_EQ(m.GetValue(2, 3), 3);
    EXPECT_EQ(p.GetValue(0, 0), 2);
    m.GLMultMatrix();
    m.PickGLModelviewMatrix();
    EXPECT_EQ(m.GetValue(1, 3), 4);
}
