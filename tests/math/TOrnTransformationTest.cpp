#include <orn/math/TOrnBounds.h>
#include <orn/math/TOrnMatrix.h>
#include <orn/math/TOrnTransformation.h>

#include "support/GLTestContext.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <array>

using namespace orn;

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

using TransformationGL = orn::test::GLTest;
using Matrix = std::array<double, 16>;

// Execute, and the matrix that bounds and clip volumes use, against the same steps made by hand,
// for every order of the parts and of the rotation axes.
TEST_F(TransformationGL, ExecuteAndMatrixApplyThePartsInTheirOrderAndMatricesComeFromGL) {
    auto modelView = [] {
        Matrix m;
        glGetDoublev(GL_MODELVIEW_MATRIX, m.data());
        return m;
    };
    TOrnTransformation t;
    t.Execute();
    EXPECT_EQ(modelView(), (Matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
    t.Rotation()->SetValues(30, -50, 70);
    t.Scale()->SetValues(2, 0.5f, -1);
    t.Translation()->SetValues(1, -2, 3);
    const char* parts[] = {"RTS", "RST", "TRS", "TSR", "SRT", "STR"}; // toRotTraSca …
    const char* axes[] = {"xyz", "xzy", "yxz", "yzx", "zxy", "zyx"};  // roXYZ …
    for (int order = 0; order < 6; ++order)
        for (int axis = 0; axis < 6; ++axis) {
            SCOPED_TRACE(std::string(parts[order]) + " " + axes[axis]);
            t.SetOrder(static_cast<TOrnTransformationOrder>(order));
            t.Rotation()->SetOrder(static_cast<TOrnRotationOrder>(axis));
            glLoadIdentity();
            for (const char* part = parts[order]; *part; ++part) {
                if (*part == 'T') glTranslatef(1, -2, 3);
                if (*part == 'S') glScalef(2, 0.5f, -1);
                for (const char* a = axes[axis]; *part == 'R' && *a; ++a)
                    glRotatef(*a == 'x' ? 30 : *a == 'y' ? -50 : 70, *a == 'x', *a == 'y', *a == 'z');
            }
            const Matrix want = modelView();
            glLoadIdentity();
            t.Execute();
            Matrix executed = modelView(), computed;
            OrnTransformationMatrix(t, computed.data());
            for (int i = 0; i < 16; ++i) {
                EXPECT_NEAR(executed[i], want[i], 1e-5) << i;
                EXPECT_NEAR(computed[i], want[i], 1e-5) << i;
            }
        }
    // TOrnMatrix reads and multiplies the GL matrices.
    glMatrixMode(GL_PROJECTION);
    glScalef(2, 2, 2);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
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
