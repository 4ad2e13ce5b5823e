#include <orn/math/OrnMath.h>
#include <orn/math/TOrnBounds.h>
#include <orn/math/TOrnColor.h>
#include <orn/math/TOrnMatrix.h>
#include <orn/math/TOrnTransformation.h>
#include <orn/math/TOrnVector.h>

#include "support/GLTestContext.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

using namespace orn;

namespace {

/// Counts the notifications an item's handler receives: from the item itself, and from others.
struct Changes {
    int own = 0, others = 0;
    template <class T> explicit Changes(T& item) {
        item.OnChange = [this, &item](TObject* sender) { ++(sender == &item ? own : others); };
    }
};

using Matrix = std::array<double, 16>;

/// m from its rows.
void Fill(TOrnMatrix& m, const Matrix& rows) {
    for (int k = 0; k < 16; ++k)
        m.SetValue(k / 4, k % 4, rows[k]);
}

Matrix Rows(const TOrnMatrix& m) {
    Matrix rows;
    for (int k = 0; k < 16; ++k)
        rows[k] = m.GetValue(k / 4, k % 4);
    return rows;
}

} // namespace

TEST(TOrnMathVector, RoutinesOnSmallCasesVectorsNotifyPerChangedComponentAndColorChannelsAndAssign) {
    TOrnDirection d; // starts along z and refuses components outside -1 … 1
    Changes changes(d);
    EXPECT_EQ(d.AsMathVector(), ToVec(0, 0, 1));
    d.SetValues(0.5f, 2, -3);
    d.SetX(0.5f);
    EXPECT_EQ(std::pair(d.AsMathVector(), changes.own), std::pair(ToVec(0.5, 0, 1), 1));
    d.SetAsMathVector(ToVec(-1, 1, 0));
    d.incZ(0.5f);
    EXPECT_EQ(std::pair(d.AsMathVector(), changes.own), std::pair(ToVec(-1, 1, 0.5), 5));
    TOrnVector src;
    src.SetValues(4, 5, 6);
    Changes srcChanges(src);
    d.Assign(&src); // once, past the range check, and d keeps its own handler
    EXPECT_EQ(std::pair(d.AsMathVector(), changes.own), std::pair(ToVec(4, 5, 6), 6));
    TOrnColor notAVector;
    d.Assign(&notAVector);
    d.Assign(nullptr);
    d.SetX(0.25f);
    EXPECT_EQ(std::pair(changes.own, srcChanges.own), std::pair(7, 0));
    TOrnNormal n, zero;
    n.SetValues(3, 0, 4);
    Changes normalChanges(n);
    n.Normalize();
    zero.Normalize();
    EXPECT_EQ(std::tuple(n.AsMathVector(), zero.AsMathVector(), normalChanges.own), // through the setters
              std::tuple(ToVec(0.6f, 0, 0.8f), ToVec(0, 0, 0), 2));
    TOrnColor c;
    EXPECT_EQ(c.GetParams(), (std::array<float, 4>{0, 0, 0, 1}));
    Changes cChanges(c);
    c.SetAlpha(1.01f); // outside 0 … 1: ignored
    c.SetAlpha(-0.1f);
    EXPECT_EQ(cChanges.own, 0);
    c.SetAlpha(0); // the ends are inside
    c.SetAlpha(1);
    c.SetColor(0x0000FF); // red in the low byte
    c.SetAlpha(0.5f);
    EXPECT_EQ(std::pair(c.GetParams(), cChanges.own), std::pair(std::array<float, 4>{1, 0, 0, 0.5f}, 4));
    c.SetColor(0x00FF8000);
    EXPECT_EQ(c.GetParams(), (std::array<float, 4>{0, 128 / 255.0f, 1, 0.5f}));
    c.SetColor(clBtnFace); // a system colour is not translated
    EXPECT_FLOAT_EQ(c.GetParams()[0], 15 / 255.0f);
    // Half-way channels round to even, alpha is taken as it is, and nobody is told.
    const float mixed[4] = {0.2f, 0.5f, 1, 2};
    c.SetParams(mixed);
    EXPECT_EQ(std::pair(c.Color(), c.Alpha()), std::pair(51 + 128 * 256 + 255 * 65536, 2.0f));
    const float half[4] = {0.5f, 0, 0, 0.3f};
    c.SetParams(half);
    EXPECT_EQ(std::pair(c.Color(), cChanges.own), std::pair(TColor(128), 6));
    // The copy notifies its own owner once, then the handler moves to the source's.
    TOrnColor b;
    Changes bChanges(b);
    b.Assign(&c);
    EXPECT_EQ(std::pair(b.GetParams(), bChanges.own), std::pair(std::array{128 / 255.0f, 0.f, 0.f, 0.3f}, 1));
    b.SetColor(clBlue);
    EXPECT_EQ((std::array{bChanges.own, cChanges.own, cChanges.others}), (std::array{1, 6, 1}));
    const auto normalized = [](TOrnMathVector v) {
        OrnMathNormalize(v);
        return v;
    };
    TOrnMathVector r[7];
    OrnMathVectorAddition(ToVec(1, 2, 3), ToVec(-4, 5, 0.5), r[0]);
    OrnMathVectorInterpolate(ToVec(0, 0, 0), ToVec(2, 4, 6), r[1]);
    OrnMathScalarProduct(ToVec(1, -2, 3), 2, r[2]);
    OrnMathCrossProduct(ToVec(1, 0, 0), ToVec(0, 1, 0), r[3]);
    // Counter-clockwise seen from +z the normal points at the viewer; not normalised, twice the area.
    OrnMathNormalVector(ToVec(0, 0, 0), ToVec(1, 0, 0), ToVec(0, 1, 0), true, r[4]);
    OrnMathNormalVector(ToVec(0, 0, 0), ToVec(2, 0, 0), ToVec(0, 2, 0), false, r[5]);
    OrnMathNormalVector(ToVec(0, 0, 0), ToVec(1, 1, 1), ToVec(2, 2, 2), true, r[6]); // collinear
    EXPECT_EQ((std::array{r[0], r[1], r[2], r[3], r[4], r[5], r[6], normalized(ToVec(3, 0, 4)),
                          normalized(ToVec(0, 0, 0))}),
              (std::array{ToVec(-3, 7, 3.5), ToVec(1, 2, 3), ToVec(2, -4, 6), ToVec(0, 0, 1), ToVec(0, 0, 1),
                          ToVec(0, 0, 4), ToVec(0, 0, 0), ToVec(0.6, 0, 0.8), ToVec(0, 0, 0)}));
    EXPECT_EQ(
        (std::array{OrnMathDotProduct(ToVec(1, 2, 3), ToVec(4, -5, 6)),
                    OrnMathVectorDist(ToVec(1, 1, 1), ToVec(4, 5, 1)), OrnMathVectorLength(ToVec(0, 3, 4))}),
        (std::array<double, 3>{12, 5, 5}));
    const TOrnMathVector undefined = normalized(ToVec(std::numeric_limits<double>::quiet_NaN(), 1, 1));
    EXPECT_TRUE(std::isnan(undefined.x) && undefined.y == 1);
    // The plane's d is the distance along the normal, not negated.
    EXPECT_EQ(OrnMathPlanefromPoints(ToVec(0, 0, 1), ToVec(1, 0, 1), ToVec(0, 1, 1)), ToVec4D(0, 0, 1, 1));
    EXPECT_EQ(OrnMathPlanefromPoints(ToVec(1, 1, 1), ToVec(2, 2, 2), ToVec(3, 3, 3)), ToVec4D(0, 0, 0, 0));
    // The output may alias either input.
    const TOrnMathVector u = ToVec(1, 2, 3), v = ToVec(-4, 5, 0.5);
    auto check = [&](auto op) {
        TOrnMathVector separate, first = u, second = v;
        op(u, v, separate);
        op(first, v, first);
        op(u, second, second);
        EXPECT_EQ(first, separate);
        EXPECT_EQ(second, separate);
    };
    check([](const auto& x, const auto& y, auto& r) { OrnMathVectorAddition(x, y, r); });
    check([](const auto& x, const auto& y, auto& r) { OrnMathCrossProduct(x, y, r); });
    check([](const auto& x, const auto& y, auto& r) { OrnMathVectorInterpolate(x, y, r); });
    check([](const auto& x, const auto& y, auto& r) { OrnMathNormalVector(x, y, ToVec(7, 1, 2), true, r); });
    check([](const auto& x, const auto& y, auto& r) { OrnMathNormalVector(ToVec(7, 1, 2), x, y, false, r); });
}

TEST(TOrnMatrix, IndexingIdentityAssignInvertMultiplyTransposeAndProjections) {
    TOrnMatrix m;
    m.SetValue(1, 2, 7);
    m.SetValue(4, 0, 1);
    m.SetValue(0, -1, 1);
    EXPECT_EQ(std::pair(m.GetValue(1, 2), m.GetValue(4, 0)), std::pair(7.0, 0.0));
    EXPECT_EQ(std::vector(m.Values(), m.Values() + 16),
              (std::vector<double>{0, 0, 0, 0, 0, 0, 0, 0, 0, 7, 0, 0, 0, 0, 0, 0})); // column-major
    m.SetIdentityMatrix();
    EXPECT_TRUE(m.IsIdentityMatrix());
    m.SetValue(0, 3, 1e-16);
    EXPECT_TRUE(m.IsIdentityMatrix());
    m.SetValue(0, 3, 1e-15);
    EXPECT_FALSE(m.IsIdentityMatrix());
    TOrnMatrix b;
    Changes aChanges(m), bChanges(b);
    b.Assign(&m); // values and handler, without a notification
    EXPECT_EQ(std::pair(b.GetValue(0, 3), aChanges.own + bChanges.own), std::pair(1e-15, 0));
    b.Changed();
    EXPECT_EQ(aChanges.others, 1);
    TOrnMatrix t;
    Fill(m, {2, 0, 0, 4, 0, 4, 0, 0, 0, 0, 5, 0, 0, 0, 0, 1});
    EXPECT_TRUE(m.Invert());
    EXPECT_EQ(Rows(m), (Matrix{0.5, 0, 0, -2, 0, 0.25, 0, 0, 0, 0, 0.2, 0, 0, 0, 0, 1}));
    Fill(t, {0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}); // invertible, but not without a row exchange
    EXPECT_FALSE(t.Invert());
    EXPECT_EQ(t.GetValue(0, 1), 1);
    Fill(m, {1, 0, 0, 5, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}); // translate x by 5
    Fill(t, {2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1}); // then scale
    m.MultMatrix(t);                                           // t · m
    EXPECT_EQ(Rows(m), (Matrix{2, 0, 0, 10, 0, 1, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1}));
    TOrnMathVector4d r;
    m.MultVector(ToVec4D(1, 1, 1, 1), r);
    EXPECT_EQ(r, ToVec4D(12, 1, 3, 1));
    m.Transpose();
    EXPECT_EQ(Rows(m), (Matrix{2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 3, 0, 10, 0, 0, 1}));
    m.Add(t);
    m.Mult(0.5);
    EXPECT_EQ(Rows(m), (Matrix{2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 3, 0, 5, 0, 0, 1}));
    m.SetIdentityMatrix(); // up in the scene is up the window, and y is not turned back over
    TOrnMathVector4d u, w;
    m.Project(ToVec4D(0, 0, 0, 1), ToVec4D(0, 0, 100, 50), w);
    m.Project(ToVec4D(0.5, 0.5, 0, 1), ToVec4D(10, 20, 100, 50), r);
    m.UnProject(r, ToVec4D(10, 20, 100, 50), u);
    EXPECT_EQ((std::array{w, r, u}),
              (std::array{ToVec4D(50, 25, 0.5, 1), ToVec4D(85, 32.5, 0.5, 1), ToVec4D(0.5, -0.5, 0, 1)}));
    // Turns that do not commute with the other factor tell the order of each product. (Not by
    // 90°: the inversion, without row exchange, takes a zero pivot for singular.)
    const double c = 0.5, s = std::sqrt(3.0) / 2;
    TOrnMatrix self, other;
    Fill(self, {c, -s, 0, 0, s, c, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}); // turned by 60° about z
    Fill(other, {1, 0, 0, 0, 0, 1, 0, 3, 0, 0, 1, 0, 0, 0, 0, 1}); // at y = 3
    TOrnMathVector v;
    self.ProjectMatrix(other, ToVec(1, 1, 1), v); // (1, 4, 1) in the scene, turned back by 60°
    EXPECT_LT(OrnMathVectorDist(v, ToVec(3.964101615137754, 1.133974596215561, 1)), 1e-12);
    TOrnMatrix model, projection;
    Fill(model, {c, 0, s, 0, 0, 1, 0, 0, -s, 0, c, 0, 0, 0, 0, 1}); // turned by 60° about y
    // x and y scaled unevenly, as a wide view's projection does
    Fill(projection, {0.5, 0, 0, 0, 0, 0.25, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
    model.Project(ToVec4D(0.5, 1, 0.25, 1), ToVec4D(0, 0, 100, 50), projection, r);
    EXPECT_NEAR(r.x, 61.66265877, 1e-6);
    model.UnProject(r, ToVec4D(0, 0, 100, 50), projection, u);
    EXPECT_LT(OrnMathVectorDist(ToVec(u.x, u.y, u.z), ToVec(0.5, -1, 0.25)), 1e-12);
}

TEST(TOrnTransformation, AnglesReduceAfterTheChangeTestEmptinessNotificationsAssignAndTransformedBounds) {
    TOrnRotation r;
    const std::pair<float, float> cases[] = {{-90, 270}, {720, 0},    {359.9f, 359.9f}, {360, 0},
                                             {370, 10},  {-370, 350}, {-360, 0},        {45, 45}};
    for (auto [in, out] : cases)
        EXPECT_FLOAT_EQ(r.ModAngle(in), out) << in;
    int changes = 0;
    r.OnChange = [&](TObject*) { ++changes; };
    r.SetY(10);
    r.SetY(370); // differs from 10 before the reduction, so it notifies
    EXPECT_EQ(std::pair(r.Y(), changes), std::pair(10.0f, 2));
    // A transformation is empty while every part is at its neutral value.
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
    EXPECT_EQ(std::pair(b.Order(), b.Rotation()->Order()), std::pair(toRotTraSca, roYZX));
    EXPECT_EQ((std::array{b.Rotation()->AsMathVector(), b.Translation()->AsMathVector(),
                          b.Scale()->AsMathVector()}),
              (std::array{ToVec(10, 20, 30), ToVec(1, 2, 3), ToVec(2, 2, 2)}));
    EXPECT_EQ(senders, (std::vector<TObject*>(4, &b))); // rotation values and order, scale, translation
    b.SetRotation(nullptr);
    EXPECT_EQ(senders.size(), 4u);
    TOrnBounds box, empty;
    box.Add(ToVec(0, 0, 0));
    box.Add(ToVec(1, 2, 3));
    TOrnTransformation t;
    t.Rotation()->SetValues(45, 0, 45); // the far corner (1, 2, 3) alone reaches the top
    const TOrnBounds turned = box.Transformed(t);
    EXPECT_LT(OrnMathVectorDist(turned.Lo, ToVec(-1.4142136, -2.1213203, 0)), 1e-6);
    EXPECT_LT(OrnMathVectorDist(turned.Hi, ToVec(0.7071068, 1.5, 3.6213203)), 1e-6);
    EXPECT_TRUE(empty.Transformed(t).Empty());
}

using TransformationGL = orn::test::GLTest;

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
    glMatrixMode(GL_PROJECTION);
    glScalef(2, 2, 2);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glTranslatef(1, 2, 3);
    TOrnMatrix m, p;
    m.PickGLModelviewMatrix();
    p.PickGLProjectionMatrix();
    EXPECT_EQ((std::array{m.GetValue(0, 3), m.GetValue(2, 3), p.GetValue(0, 0)}),
              (std::array{1.0, 3.0, 2.0}));
    m.GLMultMatrix();
    m.PickGLModelviewMatrix();
    EXPECT_EQ(m.GetValue(1, 3), 4);
}
