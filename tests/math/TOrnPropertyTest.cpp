#include <orn/math/TOrnColor.h>
#include <orn/math/TOrnMatrix.h>
#include <orn/math/TOrnVector.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace orn;

namespace {

// Counts the notifications a value object sends and who sent them.
struct ChangeCounter {
    int count = 0;
    TObject* last = nullptr;
    TNotifyEvent Handler() {
        return [this](TObject* sender) {
            ++count;
            last = sender;
        };
    }
};

} // namespace

TEST(TOrnVector, SetterNotifiesOnlyOnRealChange) {
    TOrnVector v;
    ChangeCounter c;
    v.OnChange = c.Handler();
    v.SetX(0);
    EXPECT_EQ(c.count, 0);
    v.SetX(2.5f);
    EXPECT_EQ(c.count, 1);
    EXPECT_EQ(c.last, &v);
    v.SetValues(2.5f, 1, 1);
    EXPECT_EQ(c.count, 3);
    v.incZ(0.5f);
    EXPECT_EQ(v.Z(), 1.5f);
    v.SetAsMathVector(ToVec(1, 2, 3));
    EXPECT_EQ(v.AsMathVector(), ToVec(1, 2, 3));
}

TEST(TOrnVector, AssignCopiesUncheckedNotifiesOnceAndKeepsOwnHandler) {
    TOrnVector src;
    src.SetValues(4, 5, 6);
    ChangeCounter srcCounter, dstCounter;
    src.OnChange = srcCounter.Handler();
    TOrnDirection dst; // range-checked setters are bypassed by Assign
    dst.OnChange = dstCounter.Handler();
    dst.Assign(&src);
    EXPECT_EQ(dst.AsMathVector(), ToVec(4, 5, 6));
    EXPECT_EQ(dstCounter.count, 1);
    dst.SetX(0.5f);
    EXPECT_EQ(dstCounter.count, 2);
    EXPECT_EQ(srcCounter.count, 0);
    TOrnColor notAVector;
    dst.Assign(&notAVector);
    dst.Assign(nullptr);
    EXPECT_EQ(dstCounter.count, 2);
}

TEST(TOrnDirection, StartsAlongZAndRefusesComponentsOutsideUnitRange) {
    TOrnDirection d;
    EXPECT_EQ(d.AsMathVector(), ToVec(0, 0, 1));
    d.SetX(1.5f);
    EXPECT_EQ(d.X(), 0);
    d.SetX(-1.0f);
    EXPECT_EQ(d.X(), -1.0f);
    d.SetValues(0.5f, 2, -3);
    EXPECT_EQ(d.AsMathVector(), ToVec(0.5, 0, 1));
}

TEST(TOrnNormal, NormalizeThroughSetters) {
    TOrnNormal n;
    n.SetValues(3, 0, 4);
    ChangeCounter c;
    n.OnChange = c.Handler();
    n.Normalize();
    EXPECT_FLOAT_EQ(n.X(), 0.6f);
    EXPECT_FLOAT_EQ(n.Z(), 0.8f);
    EXPECT_EQ(c.count, 2);
    TOrnNormal zero;
    zero.Normalize();
    EXPECT_EQ(zero.AsMathVector(), ToVec(0, 0, 0));
}

TEST(TOrnColor, NewColourIsOpaqueBlackAndAlphaOutsideRangeIsIgnored) {
    TOrnColor c;
    EXPECT_EQ(c.GetParams(), (std::array<float, 4>{0, 0, 0, 1}));
    ChangeCounter counter;
    c.OnChange = counter.Handler();
    c.SetAlpha(1.01f);
    c.SetAlpha(-0.1f);
    EXPECT_EQ(c.Alpha(), 1.0f);
    EXPECT_EQ(counter.count, 0);
    c.SetAlpha(0);
    EXPECT_EQ(counter.count, 1);
}

TEST(TOrnColor, ParamsUseTheLowBytesRedFirst) {
    TOrnColor c;
    c.SetColor(0x0000FF);
    c.SetAlpha(0.5f);
    EXPECT_EQ(c.GetParams(), (std::array<float, 4>{1, 0, 0, 0.5f}));
    c.SetColor(0x00FF8000);
    float p[4];
    c.GetParams(p);
    EXPECT_FLOAT_EQ(p[1], 128 / 255.0f);
    EXPECT_FLOAT_EQ(p[2], 1);
    c.SetColor(clBtnFace); // a system colour is not translated
    EXPECT_FLOAT_EQ(c.GetParams()[0], 15 / 255.0f);
}

TEST(TOrnColor, SetParamsRoundsHalfToEvenWithoutNotifying) {
    TOrnColor c;
    ChangeCounter counter;
    c.OnChange = counter.Handler();
    const float half[4] = {0.5f, 0, 0, 0.3f};
    c.SetParams(half); // 127.5 rounds to 128
    EXPECT_EQ(c.Color(), 128);
    EXPECT_FLOAT_EQ(c.Alpha(), 0.3f);
    EXPECT_EQ(counter.count, 0);
    const float mixed[4] = {0.2f, 0.5f, 1, 2}; // 51, 127.5 → 128, 255; alpha is not checked
    c.SetParams(mixed);
    EXPECT_EQ(c.Color(), 51 + 128 * 256 + 255 * 65536);
    EXPECT_EQ(c.Alpha(), 2);
}

TEST(TOrnColor, AssignHandsNotificationsToTheSourcesOwner) {
    TOrnColor a, b;
    ChangeCounter ownerA, ownerB;
    a.OnChange = ownerA.Handler();
    b.OnChange = ownerB.Handler();
    a.SetColor(clRed);
    ownerA.count = 0;
    b.Assign(&a);
    EXPECT_EQ(b.Color(), clRed);
    EXPECT_EQ(ownerB.count, 1); // the copy notifies b's owner before the handler moves
    b.SetColor(clBlue);
    EXPECT_EQ(ownerA.count, 1);
    EXPECT_EQ(ownerB.count, 1);
}

TEST(TOrnMatrix, IndexingIsColumnMajorAndOutOfRangeIsSafe) {
    TOrnMatrix m;
    m.SetValue(1, 2, 7);
    EXPECT_EQ(m.Values()[2 * 4 + 1], 7);
    EXPECT_EQ(m.GetValue(1, 2), 7);
    m.SetValue(4, 0, 1);
    m.SetValue(0, -1, 1);
    EXPECT_EQ(m.GetValue(4, 0), 0);
    for (int k = 0; k < 16; ++k)
        if (k != 9) {
            EXPECT_EQ(m.Values()[k], 0);
        }
}

TEST(TOrnMatrix, IdentityToleranceIsStrict) {
    TOrnMatrix m;
    m.SetIdentityMatrix();
    EXPECT_TRUE(m.IsIdentityMatrix());
    m.SetValue(0, 3, 1e-16);
    EXPECT_TRUE(m.IsIdentityMatrix());
    m.SetValue(0, 3, 1e-15);
    EXPECT_FALSE(m.IsIdentityMatrix());
}

TEST(TOrnMatrix, InvertDiagonalAndRefusePivotWithoutRowExchange) {
    TOrnMatrix m;
    const double d[4] = {2, 4, 5, 10};
    for (int i = 0; i < 4; ++i)
        m.SetValue(i, i, d[i]);
    EXPECT_TRUE(m.Invert());
    for (int i = 0; i < 4; ++i)
        EXPECT_DOUBLE_EQ(m.GetValue(i, i), 1 / d[i]);
    TOrnMatrix p; // swaps rows 0 and 1: invertible, but not without an exchange
    p.SetValue(0, 1, 1);
    p.SetValue(1, 0, 1);
    p.SetValue(2, 2, 1);
    p.SetValue(3, 3, 1);
    EXPECT_FALSE(p.Invert());
    EXPECT_EQ(p.GetValue(0, 1), 1);
    EXPECT_EQ(p.GetValue(0, 0), 0);
}

TEST(TOrnMatrix, MultMatrixPremultipliesAndTransposeSwaps) {
    TOrnMatrix t, s;
    t.SetIdentityMatrix();
    t.SetValue(0, 3, 5); // translate x by 5
    s.SetIdentityMatrix();
    s.SetValue(0, 0, 2); // scale x by 2
    t.MultMatrix(s);     // s · t: translate, then scale
    TOrnMathVector4d r;
    t.MultVector(ToVec4D(1, 0, 0, 1), r);
    EXPECT_EQ(r, ToVec4D(12, 0, 0, 1));
    t.Transpose();
    EXPECT_EQ(t.GetValue(3, 0), 10);
    EXPECT_EQ(t.GetValue(0, 3), 0);
}

TEST(TOrnMatrix, ProjectTurnsYOverAndUnProjectDoesNot) {
    TOrnMatrix m;
    m.SetIdentityMatrix();
    TOrnMathVector4d r;
    m.Project(ToVec4D(0, 0, 0, 1), ToVec4D(0, 0, 100, 50), r);
    EXPECT_EQ(r, ToVec4D(50, 25, 0.5, 1));
    m.Project(ToVec4D(0.5, 0.5, 0, 1), ToVec4D(10, 20, 100, 50), r);
    EXPECT_DOUBLE_EQ(r.x, 85);
    EXPECT_DOUBLE_EQ(r.y, 32.5); // up in the scene is up the window
    TOrnMathVector4d u;
    m.UnProject(ToVec4D(85, 32.5, 0.5, 1), ToVec4D(10, 20, 100, 50), u);
    EXPECT_DOUBLE_EQ(u.x, 0.5);
    EXPECT_DOUBLE_EQ(u.y, -0.5); // the kept asymmetry
}

TEST(TOrnMatrix, ProjectMatrixMapsBetweenComponentFrames) {
    // A rotation does not commute with a translation, so it tells the order of the product. (Not
    // by 90°: the inversion, without row exchange, takes a zero pivot for singular.)
    const double c = 0.5, s = std::sqrt(3.0) / 2;
    TOrnMatrix self, other;
    self.SetIdentityMatrix();
    self.SetValue(0, 0, c); // self's frame is turned by 60° about z
    self.SetValue(0, 1, -s);
    self.SetValue(1, 0, s);
    self.SetValue(1, 1, c);
    other.SetIdentityMatrix();
    other.SetValue(1, 3, 3); // other's frame sits at y = 3
    TOrnMathVector r;
    self.ProjectMatrix(other, ToVec(1, 1, 1), r);
    // The point is (1, 4, 1) in the scene; turned back by 60° into self's frame: self⁻¹ · other · v.
    EXPECT_NEAR(r.x, c * 1 + s * 4, 1e-12);
    EXPECT_NEAR(r.y, -s * 1 + c * 4, 1e-12);
    EXPECT_NEAR(r.z, 1, 1e-12);
}

TEST(TOrnMatrix, UnProjectUndoesModelAndProjectionInTheirOrder) {
    TOrnMatrix model, projection;
    const double c = 0.5, s = std::sqrt(3.0) / 2;
    model.SetIdentityMatrix(); // turned by 60° about y
    model.SetValue(0, 0, c);
    model.SetValue(0, 2, s);
    model.SetValue(2, 0, -s);
    model.SetValue(2, 2, c);
    projection.SetIdentityMatrix(); // x and y scaled unevenly, as a projection of a wide view does
    projection.SetValue(0, 0, 0.5);
    projection.SetValue(1, 1, 0.25);
    const TOrnMathVector4d viewport = ToVec4D(0, 0, 100, 50);
    TOrnMathVector4d window, back;
    model.Project(ToVec4D(0.5, 1, 0.25, 1), viewport, projection, window);
    EXPECT_DOUBLE_EQ(window.x, (0.5 * (c * 0.5 + s * 0.25) + 1) / 2 * 100);
    model.UnProject(window, viewport, projection, back);
    EXPECT_NEAR(back.x, 0.5, 1e-12);
    EXPECT_NEAR(back.y, -1, 1e-12); // y is not turned back over
    EXPECT_NEAR(back.z, 0.25, 1e-12);
}

TEST(TOrnMatrix, AssignTakesHandlerAndValuesWithoutNotifying) {
    TOrnMatrix a, b;
    ChangeCounter ca, cb;
    a.OnChange = ca.Handler();
    b.OnChange = cb.Handler();
    a.SetIdentityMatrix();
    b.Assign(&a);
    EXPECT_TRUE(b.IsIdentityMatrix());
    EXPECT_EQ(ca.count + cb.count, 0);
    b.Changed();
    EXPECT_EQ(ca.count, 1);
}
