#include <orn/math/TOrnColor.h>
#include <orn/math/TOrnMatrix.h>
#include <orn/math/TOrnVector.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
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

TEST(TOrnVector, NotifiesPerChangedComponentAndAssignCopiesUnchecked) {
    TOrnDirection d; // starts along z and refuses components outside -1 … 1
    Changes changes(d);
    EXPECT_EQ(d.AsMathVector(), ToVec(0, 0, 1));
    d.SetValues(0.5f, 2, -3);
    d.SetX(0.5f);
    EXPECT_EQ(d.AsMathVector(), ToVec(0.5, 0, 1));
    EXPECT_EQ(changes.own, 1);
    d.SetAsMathVector(ToVec(-1, 1, 0));
    d.incZ(0.5f);
    EXPECT_EQ(d.AsMathVector(), ToVec(-1, 1, 0.5));
    EXPECT_EQ(changes.own, 5);
    TOrnVector src;
    src.SetValues(4, 5, 6);
    Changes srcChanges(src);
    d.Assign(&src); // once, past the range check, and d keeps its own handler
    EXPECT_EQ(d.AsMathVector(), ToVec(4, 5, 6));
    EXPECT_EQ(changes.own, 6);
    TOrnColor notAVector;
    d.Assign(&notAVector);
    d.Assign(nullptr);
    d.SetX(0.25f);
    EXPECT_EQ(changes.own, 7);
    EXPECT_EQ(srcChanges.own, 0);
    TOrnNormal n, zero;
    n.SetValues(3, 0, 4);
    Changes normalChanges(n);
    n.Normalize();
    zero.Normalize();
    EXPECT_EQ((std::array{n.AsMathVector(), zero.AsMathVector()}),
              (std::array{ToVec(0.6f, 0, 0.8f), ToVec(0, 0, 0)}));
    EXPECT_EQ(normalChanges.own, 2); // through the setters
}

TEST(TOrnColor, ChannelsAlphaAndAssign) {
    TOrnColor c;
    EXPECT_EQ(c.GetParams(), (std::array<float, 4>{0, 0, 0, 1}));
    Changes changes(c);
    c.SetAlpha(1.01f); // outside 0 … 1: ignored
    c.SetAlpha(-0.1f);
    EXPECT_EQ(changes.own, 0);
    c.SetAlpha(0); // the ends are inside
    c.SetAlpha(1);
    c.SetColor(0x0000FF); // red in the low byte
    c.SetAlpha(0.5f);
    EXPECT_EQ(c.GetParams(), (std::array<float, 4>{1, 0, 0, 0.5f}));
    EXPECT_EQ(changes.own, 4);
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
    EXPECT_EQ(c.Color(), 128);
    EXPECT_EQ(changes.own, 6);
    // The copy notifies its own owner once, then the handler moves to the source's.
    TOrnColor b;
    Changes bChanges(b);
    b.Assign(&c);
    EXPECT_EQ(b.GetParams(), (std::array<float, 4>{128 / 255.0f, 0, 0, 0.3f}));
    EXPECT_EQ(bChanges.own, 1);
    b.SetColor(clBlue);
    EXPECT_EQ((std::array{bChanges.own, changes.own, changes.others}), (std::array{1, 6, 1}));
}

TEST(TOrnMatrix, IndexingIdentityAndAssign) {
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
    EXPECT_EQ(b.GetValue(0, 3), 1e-15);
    EXPECT_EQ(aChanges.own + bChanges.own, 0);
    b.Changed();
    EXPECT_EQ(aChanges.others, 1);
}

TEST(TOrnMatrix, InvertMultiplyAndTranspose) {
    TOrnMatrix m, s;
    Fill(m, {2, 0, 0, 4, 0, 4, 0, 0, 0, 0, 5, 0, 0, 0, 0, 1});
    EXPECT_TRUE(m.Invert());
    EXPECT_EQ(Rows(m), (Matrix{0.5, 0, 0, -2, 0, 0.25, 0, 0, 0, 0, 0.2, 0, 0, 0, 0, 1}));
    Fill(s, {0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}); // invertible, but not without a row exchange
    EXPECT_FALSE(s.Invert());
    EXPECT_EQ(s.GetValue(0, 1), 1);
    Fill(m, {1, 0, 0, 5, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}); // translate x by 5
    Fill(s, {2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1}); // then scale
    m.MultMatrix(s);                                           // s · m
    EXPECT_EQ(Rows(m), (Matrix{2, 0, 0, 10, 0, 1, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1}));
    TOrnMathVector4d r;
    m.MultVector(ToVec4D(1, 1, 1, 1), r);
    EXPECT_EQ(r, ToVec4D(12, 1, 3, 1));
    m.Transpose();
    EXPECT_EQ(Rows(m), (Matrix{2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 3, 0, 10, 0, 0, 1}));
    m.Add(s);
    m.Mult(0.5);
    EXPECT_EQ(Rows(m), (Matrix{2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 3, 0, 5, 0, 0, 1}));
}

TEST(TOrnMatrix, ProjectionsBetweenFramesAndTheWindow) {
    TOrnMatrix m;
    m.SetIdentityMatrix();
    TOrnMathVector4d r, u;
    m.Project(ToVec4D(0, 0, 0, 1), ToVec4D(0, 0, 100, 50), r);
    EXPECT_EQ(r, ToVec4D(50, 25, 0.5, 1));
    m.Project(ToVec4D(0.5, 0.5, 0, 1), ToVec4D(10, 20, 100, 50), r);
    EXPECT_EQ(r, ToVec4D(85, 32.5, 0.5, 1)); // up in the scene is up the window
    m.UnProject(r, ToVec4D(10, 20, 100, 50), u);
    EXPECT_EQ(u, ToVec4D(0.5, -0.5, 0, 1)); // y is not turned back over
    // Turns that do not commute with the other factor tell the order of each product. (Not by
    // 90°: the inversion, without row exchange, takes a zero pivot for singular.)
    const double c = 0.5, s = std::sqrt(3.0) / 2;
    TOrnMatrix self, other;
    Fill(self, {c, -s, 0, 0, s, c, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}); // turned by 60° about z
    Fill(other, {1, 0, 0, 0, 0, 1, 0, 3, 0, 0, 1, 0, 0, 0, 0, 1}); // at y = 3
    TOrnMathVector v;
    self.ProjectMatrix(other, ToVec(1, 1, 1), v); // (1, 4, 1) in the scene, turned back by 60°
    for (auto [got, want] : {std::pair{v.x, 3.964101615137754}, {v.y, 1.133974596215561}, {v.z, 1.0}})
        EXPECT_NEAR(got, want, 1e-12);
    TOrnMatrix model, projection;
    Fill(model, {c, 0, s, 0, 0, 1, 0, 0, -s, 0, c, 0, 0, 0, 0, 1}); // turned by 60° about y
    // x and y scaled unevenly, as a wide view's projection does
    Fill(projection, {0.5, 0, 0, 0, 0, 0.25, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
    model.Project(ToVec4D(0.5, 1, 0.25, 1), ToVec4D(0, 0, 100, 50), projection, r);
    EXPECT_NEAR(r.x, 61.66265877, 1e-6);
    model.UnProject(r, ToVec4D(0, 0, 100, 50), projection, u);
    for (auto [got, want] : {std::pair{u.x, 0.5}, {u.y, -1.0}, {u.z, 0.25}})
        EXPECT_NEAR(got, want, 1e-12);
}
