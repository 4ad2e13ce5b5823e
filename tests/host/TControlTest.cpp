#include <orn/host/TControl.h>

#include <gtest/gtest.h>

#include <memory>

namespace orn {
namespace {

class Probe : public TControl {
public:
    explicit Probe(TComponent* owner) : TControl(owner) { SetTabStop(true); }
    void Paint(TCanvas& canvas) override { canvas.FillRect(Rect(0, 0, Width(), Height())); }
    int downs = 0, moves = 0, ups = 0, keys = 0;
    TPoint last;

protected:
    bool DoMouseDown(TMouseButton, TShiftState, int x, int y) override {
        ++downs;
        last = Point(x, y);
        return true;
    }
    bool DoMouseMove(TShiftState, int x, int y) override {
        ++moves;
        last = Point(x, y);
        return true;
    }
    bool DoMouseUp(TMouseButton, TShiftState, int, int) override { return ++ups > 0; }
    bool DoKeyDown(std::uint16_t&, TShiftState) override { return ++keys > 0; }
};

class Parent : public TControlParent {
public:
    int invalidations = 0;

protected:
    void ControlInvalidated(TControl*) override { ++invalidations; }
};

TEST(TControlParent, RoutesToTheTopmostVisibleControlInItsOwnPixels) {
    Parent parent;
    Probe below(nullptr), above(nullptr);
    below.SetBounds(10, 10, 50, 50);
    above.SetBounds(30, 30, 50, 50);
    below.SetParent(&parent);
    above.SetParent(&parent);
    EXPECT_TRUE(parent.DispatchMouseDown(mbLeft, {}, 40, 45));
    EXPECT_EQ(above.downs, 1);
    EXPECT_EQ(above.last, Point(10, 15));
    EXPECT_EQ(below.downs, 0);
    above.SetVisible(false);
    EXPECT_TRUE(parent.DispatchMouseDown(mbLeft, {}, 40, 45));
    EXPECT_EQ(below.downs, 1);
    EXPECT_FALSE(parent.DispatchMouseDown(mbLeft, {}, 5, 5));   // nothing there: the parent's own
    EXPECT_FALSE(parent.DispatchMouseDown(mbLeft, {}, 60, 60)); // right edge is outside
    below.SetEnabled(false);
    std::uint16_t key = 'A';
    EXPECT_FALSE(parent.DispatchMouseDown(mbLeft, {}, 40, 45)) << "a disabled control takes nothing";
    EXPECT_FALSE(parent.DispatchKeyDown(key, {}));
    EXPECT_EQ(below.downs, 1);
    EXPECT_EQ(below.keys, 0);
}

TEST(TControlParent, PressCapturesMovesAndReleaseAndClickGivesTheKeys) {
    Parent parent;
    Probe a(nullptr), b(nullptr);
    a.SetBounds(0, 0, 10, 10);
    b.SetBounds(20, 0, 10, 10);
    a.SetParent(&parent);
    b.SetParent(&parent);
    std::uint16_t key = 'A';
    EXPECT_FALSE(parent.DispatchKeyDown(key, {})); // no focus yet
    parent.DispatchMouseDown(mbLeft, {}, 5, 5);
    EXPECT_TRUE(parent.DispatchMouseMove({}, 25, 5)); // over b, but a holds the mouse
    EXPECT_EQ(a.moves, 1);
    EXPECT_EQ(a.last, Point(25, 5));
    EXPECT_TRUE(parent.DispatchMouseUp(mbLeft, {}, 25, 5));
    EXPECT_EQ(a.ups, 1);
    EXPECT_EQ(b.moves + b.ups, 0);
    EXPECT_TRUE(parent.DispatchKeyDown(key, {}));
    EXPECT_EQ(a.keys, 1);
    EXPECT_EQ(parent.FocusedControl(), &a);
}

TEST(TControlParent, EitherSideMayDieFirst) {
    auto parent = std::make_unique<Parent>();
    auto a = std::make_unique<Probe>(nullptr);
    Probe b(nullptr);
    a->SetParent(parent.get());
    b.SetParent(parent.get());
    a->SetBounds(0, 0, 10, 10);
    parent->DispatchMouseDown(mbLeft, {}, 1, 1); // a has focus and capture
    a.reset();
    EXPECT_EQ(parent->ControlCount(), 1);
    EXPECT_EQ(parent->FocusedControl(), nullptr);
    EXPECT_FALSE(parent->DispatchMouseMove({}, 1, 1));
    parent.reset();
    EXPECT_EQ(b.Parent(), nullptr);
    b.Invalidate(); // must not reach the dead parent
}

TEST(TControl, ChangesRepaintThroughTheParentAndSizesClamp) {
    Parent parent;
    Probe p(nullptr);
    p.SetParent(&parent);
    const int before = parent.invalidations;
    p.SetColor(clRed);
    p.Font().SetHeight(-20);
    EXPECT_EQ(parent.invalidations, before + 2);
    p.SetColor(clRed);
    EXPECT_EQ(parent.invalidations, before + 2);
    p.SetBounds(5, 6, -3, 1 << 30);
    EXPECT_EQ(p.BoundsRect(), Rect(5, 6, 5, 6 + TControl::kMaxControlSize));
    TBitmap bitmap;
    p.SetBounds(0, 0, 3, 2);
    p.PaintTo(bitmap);
    EXPECT_EQ(bitmap.Width(), 3);
    EXPECT_EQ(bitmap.Height(), 2);
}

} // namespace
} // namespace orn
